# The front door: `make run` and `make test` install what they need, configure and build first.
PRESET ?= default
BUILD_DIR := build/$(PRESET)
JOBS ?= $(shell nproc)

.PHONY: all deps configure build test run bench asan-test package fuzz fuzz-seeds format format-check clean

all: build

deps:
	@bash scripts/deps.sh

configure: deps
	@if [ ! -f $(BUILD_DIR)/build.ninja ]; then cmake --preset $(PRESET); fi

build: configure
	cmake --build --preset $(PRESET) -j $(JOBS)

test: build
	ctest --preset $(PRESET) -j $(JOBS)

# Opens the Skychart window (under xvfb-run when there is no display); Skychart starts portico.
run: build
	@if [ -n "$$DISPLAY" ] || [ -n "$$WAYLAND_DISPLAY" ]; then \
		$(BUILD_DIR)/bin/Skychart $(ARGS); \
	else \
		echo "No display: running Skychart under xvfb-run."; \
		xvfb-run -a -s "-screen 0 1600x1000x24" $(BUILD_DIR)/bin/Skychart $(ARGS); \
	fi

bench:
	@$(MAKE) --no-print-directory build PRESET=release
	bash bench/run.sh build/release

asan-test:
	@$(MAKE) --no-print-directory test PRESET=asan

# The Debian package build/release/skychart_<version>-1_<arch>.deb, from a release build of the
# two programs and the files installed with them.
package:
	@$(MAKE) --no-print-directory configure PRESET=release
	cmake --build --preset release -j $(JOBS) --target Skychart portico skychart_install_files
	cd build/release && cpack -G DEB

# libFuzzer: every parser's target for FUZZ_RUNS executions on a copy of its seed corpus (clang,
# the fuzz preset); one summary line per target, non-zero exit on any finding.
FUZZ_RUNS ?= 2000000
fuzz: deps
	FUZZ_RUNS=$(FUZZ_RUNS) bash fuzz/run.sh $(FUZZ_TARGETS)

# Rewrites the seed corpora from real portico traffic and the application's own files.
fuzz-seeds: configure
	cmake --build --preset $(PRESET) --target portico fuzz_capture_seeds -j $(JOBS)
	$(BUILD_DIR)/bin/fuzz_capture_seeds $(BUILD_DIR)/bin/portico fuzz/corpus

format:
	clang-format -i $$(git ls-files '*.cpp' '*.h')

format-check:
	clang-format --dry-run --Werror $$(git ls-files '*.cpp' '*.h')

clean:
	rm -rf build
