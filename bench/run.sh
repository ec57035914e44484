#!/usr/bin/env bash
# Runs every benchmark against the build folder given (default build/release).
set -euo pipefail
build=${1:-build/release}
echo "== micro-benchmarks"
"$build/bin/base_bench" --benchmark_min_time=0.2
echo
echo "== end-to-end: 5,000,000 ticks from portico over loopback"
"$build/bin/portico_load_bench" "$build/bin/portico" --ticks 5000000 --runs 3
echo
echo "== history: 5,000,000 ticks parsed into the series, against pandas"
"$build/bin/history_bench" "$build/bin/portico" --ticks 5000000 --runs 5 \
    --script "$(dirname "$0")/pandas_parse.py"
echo
echo "== data files: a 5,000,000-row tick file indexed and answered by portico, against pandas"
"$build/bin/datafiles_bench" "$build/bin/portico" --rows 5000000 --runs 3 \
    --script "$(dirname "$0")/pandas_parse.py"
echo
echo "== chart redraw: eleven panes against one stock QCustomPlot candlestick replot"
QT_QPA_PLATFORM=offscreen "$build/bin/chart_redraw_bench" --runs 15
echo
echo "== chart load: Enter in the main frame to the first painted chart, 5,000,000 ticks"
QT_QPA_PLATFORM=offscreen "$build/bin/chart_load_bench" "$build/bin/portico" --ticks 5000000 \
    --runs 3
echo
echo "== studies: 5,000,000 bars through our study kernels against TA-Lib"
if [ -x "$build/bin/study_bench" ]; then
    "$build/bin/study_bench" --runs 5
else
    echo "study_bench is not built: the study kernels are not in src/studies yet."
fi
echo
echo "== live soak: 60 s of 320,000 Level 1 lines a second into a chart with eleven panes"
QT_QPA_PLATFORM=offscreen "$build/bin/live_soak_bench" "$build/bin/portico" --seconds 60 \
    --rate 320000
