#!/usr/bin/env bash
# Builds the libFuzzer programs (the `fuzz` preset) and runs each target in turn on a copy of its
# seed corpus, then prints one line per target: executions, coverage (cov and ft of libFuzzer's
# last status line) and findings (crash, leak, timeout and out-of-memory files).
#
#   fuzz/run.sh [TARGET...]      all targets when none is named
#
# FUZZ_RUNS   executions per target (default 2000000)
# FUZZ_JOBS   build jobs (default 2)
# FUZZ_PARALLEL  targets fuzzed at once (default: the number of processors, at most 4); the
#                slowest targets start first, the summary keeps the order below
# FUZZ_WORKERS   processes per target (default 1): each runs FUZZ_RUNS / FUZZ_WORKERS executions
#                on the shared corpus, so that one slow target can use every processor
# Work folders, logs and findings: build/fuzz/runs/<target>/. Exits 1 when anything was found.
set -u

cd "$(dirname "$0")/.."
root=$(pwd)
runs=${FUZZ_RUNS:-2000000}
build=build/fuzz

# The longest input of each target: a few lines of commands, a few KB of protocol text.
declare -A max_len=(
    [portico_commands]=1024
    [portico_history]=512
    [data_file]=4096
    [line_splitter]=8192
    [service_stats]=4096
    [symbol_search]=4096
    [lookup_tables]=8192
    [history_lines]=4096
    [level1_updates]=8192
    [command_line]=512
    [settings_file]=4096
    [trend_store]=16384
)
# QSettings keeps the files it parsed last in a cache, so an input of settings_file often
# allocates more than it frees and libFuzzer would scan the whole heap for leaks after each one;
# its leaks are left to the replay under the asan preset, which checks at exit.
declare -A extra=(
    [settings_file]="-detect_leaks=0"
)
# settings_file allocates and frees many small blocks per input (every line QSettings parses).
# Under ASan's defaults its resident size passed 1 GB and its pace fell by two thirds over 300,000
# inputs while the live heap stayed near 25 MB: the unwinder follows frame pointers through Qt,
# which is built without them, so most allocation stacks it stores are new ones. Without stored
# stacks and with a small quarantine it stays near 80 MB at a steady pace; a finding still shows
# where it happened, and its replay under the asan preset shows the rest.
declare -A asan_extra=(
    [settings_file]="quarantine_size_mb=16:malloc_context_size=0"
)
all=(portico_commands portico_history data_file line_splitter service_stats symbol_search
     lookup_tables history_lines level1_updates command_line settings_file trend_store)
# Slowest first (executions a second on one core, roughly: settings_file 500, history_lines 1,000,
# level1_updates and portico_history 1,500, service_stats 3,500, the rest 5,000 and more).
slowest_first=(settings_file history_lines level1_updates portico_history service_stats
               data_file trend_store portico_commands lookup_tables line_splitter symbol_search
               command_line)

targets=("$@")
if [ ${#targets[@]} -eq 0 ]; then
    targets=("${all[@]}")
fi
for target in "${targets[@]}"; do
    if [ -z "${max_len[$target]:-}" ]; then
        echo "unknown fuzz target: $target (known: ${all[*]})" >&2
        exit 2
    fi
done

if [ ! -f "$build/build.ninja" ]; then
    cmake --preset fuzz || exit 2
fi
cmake --build "$build" -j "${FUZZ_JOBS:-2}" --target "${targets[@]/%/_fuzz}" || exit 2

# Fuzzes one target and writes its summary line to build/fuzz/runs/<target>/summary.line.
fuzz_one() {
    local target=$1
    local work="$build/runs/$target"
    rm -rf "$work"
    mkdir -p "$work/corpus" "$work/findings"
    cp "fuzz/corpus/$target/"* "$work/corpus/"
    echo "== $target: $runs runs (log: $work/fuzz.log)"
    local split=()
    local logs=("$work/fuzz.log")
    if [ "$workers" -gt 1 ]; then
        split=(-jobs="$workers" -workers="$workers")
        logs=()
        for ((job = 0; job < workers; ++job)); do
            logs+=("$work/fuzz-$job.log")
        done
    fi
    local asan_options=${ASAN_OPTIONS:-}
    if [ -n "${asan_extra[$target]:-}" ]; then
        asan_options+="${asan_options:+:}${asan_extra[$target]}"
    fi
    (
        cd "$work" &&
            ASAN_OPTIONS="$asan_options" "$root/$build/bin/${target}_fuzz" \
                -runs="$((runs / workers))" "${split[@]}" -max_len="${max_len[$target]}" \
                ${extra[$target]:-} -dict="$root/fuzz/fuzz.dict" -timeout=60 -rss_limit_mb=4096 \
                -print_final_stats=1 -artifact_prefix=findings/ corpus >fuzz.log 2>&1
    )
    local status=$?
    local executions=0 cov=0 ft=0 log last value findings line
    for log in "${logs[@]}"; do
        value=$(awk '/^stat::number_of_executed_units:/ {print $2}' "$log" 2>/dev/null | tail -1)
        executions=$((executions + ${value:-0}))
        last=$(grep -E '^#[0-9]+.*cov: ' "$log" 2>/dev/null | tail -1)
        value=$(sed -nE 's/.* cov: ([0-9]+).*/\1/p' <<<"$last")
        cov=$((${value:-0} > cov ? ${value:-0} : cov))
        value=$(sed -nE 's/.* ft: ([0-9]+).*/\1/p' <<<"$last")
        ft=$((${value:-0} > ft ? ${value:-0} : ft))
    done
    findings=$(find "$work/findings" -maxdepth 1 -type f \
        \( -name 'crash-*' -o -name 'leak-*' -o -name 'timeout-*' -o -name 'oom-*' \) | wc -l)
    line=$(printf '%-17s executions %9s  cov %5s  ft %6s  findings %d' "$target" \
        "${executions:-?}" "${cov:-?}" "${ft:-?}" "$findings")
    if [ "$findings" -gt 0 ]; then
        line+="  ($work/findings)"
    elif [ "$status" -ne 0 ]; then
        line+="  (the fuzzer exited with $status: see $log)"
    fi
    echo "$line"
    echo "$line" >"$work/summary.line"
}

workers=${FUZZ_WORKERS:-1}
if [ "$workers" -lt 1 ]; then
    workers=1
fi
parallel=${FUZZ_PARALLEL:-$(nproc 2>/dev/null || echo 1)}
if [ "$parallel" -gt 4 ]; then
    parallel=4
elif [ "$parallel" -lt 1 ]; then
    parallel=1
fi
for target in "${slowest_first[@]}"; do
    for wanted in "${targets[@]}"; do
        if [ "$wanted" = "$target" ]; then
            while [ "$(jobs -rp | wc -l)" -ge "$parallel" ]; do
                wait -n
            done
            fuzz_one "$target" &
        fi
    done
done
wait

summary=()
failed=0
for target in "${targets[@]}"; do
    line=$(cat "$build/runs/$target/summary.line" 2>/dev/null ||
        echo "$target: no summary (see $build/runs/$target/fuzz.log)")
    if [[ "$line" == *"("* || "$line" == *"no summary"* ]]; then
        failed=1
    fi
    summary+=("$line")
done

echo
echo "Fuzz summary ($runs runs per target):"
printf '%s\n' "${summary[@]}" | tee "$build/runs/summary.txt"
exit $failed
