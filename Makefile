# The front door: `make run` and `make test` install what they need, configure and build first.
PRESET ?= default
BUILD_DIR := build/$(PRESET)
JOBS ?= $(shell nproc)

.PHONY: all deps configure build test run bench asan-test format format-check clean

all: build

deps:
	@bash scripts/deps.sh

configure: deps
	@if [ ! -f $(BUILD_DIR)/build.ninja ]; then cmake --preset $(PRESET); fi

build: configure
	cmake --build --preset $(PRESET) -j $(JOBS)

test: build
	ctest --preset $(PRESET) -j $(JOBS)

# Until the chart window exists, `make run` serves the simulated market in the foreground.
run: build
	@echo "Starting portico, the local market-data service, in the foreground (Ctrl+C stops it)."
	$(BUILD_DIR)/bin/portico --linger 0

bench:
	@$(MAKE) --no-print-directory build PRESET=release
	bash bench/run.sh build/release

asan-test:
	@$(MAKE) --no-print-directory test PRESET=asan

format:
	clang-format -i $$(git ls-files '*.cpp' '*.h')

format-check:
	clang-format --dry-run --Werror $$(git ls-files '*.cpp' '*.h')

clean:
	rm -rf build
