#!/usr/bin/env bash
# End to end: the real Skychart under Xvfb draws LUMA's daily bars as candles in its panes; the
# trader zooms with the keys and the wheel and minimises the study pane from its menu, and each
# of these is stored in the settings file. The screenshot shows up and down candles.
# Usage: chart_e2e.sh SKYCHART_EXECUTABLE OUTPUT_FOLDER
# Exits 77 (skipped) when the X tools are missing.
set -uo pipefail

skychart=$1
output=$2

source "$(dirname "$(readlink -f "$0")")/e2e_lib.sh"
rerun_under_xvfb "$0" "xdotool import convert python3" "$@"

home=$(mktemp -d /tmp/skychart-e2e-XXXXXX)
fail_details() { [[ -f "$conf" ]] && { echo "--- settings"; cat "$conf"; }; }

make_home
mkdir -p "$output" "$home/config/Orvane/Kestrel/DisplayApps"
conf=$home/config/Orvane/Kestrel/DisplayApps/Skychart.conf
"$skychart" -symbol LUMA -type Daily >"$output/chart.out" 2>&1 &
skychart_pid=$!
log=$(log_of "$skychart_pid")

wait_for 60 test -f "$log" || fail "no log file"
wait_for 120 grep -qsE "StatusBar: [0-9]+ datapoints available\.  Displaying 120\." "$log" ||
    fail "the load never completed"
window=$(xdotool search --sync --onlyvisible --name '^Skychart' | head -n 1)
[[ -n "$window" ]] || fail "no Skychart window"
sleep 1
import -window root "$output/chart_e2e.png" || fail "no screenshot"
# Default candle colours: pure green up, pure red down.
colours=$(convert "$output/chart_e2e.png" -format %c histogram:info:-)
grep -q "#00FF00" <<<"$colours" || fail "no up candles on the screenshot"
grep -q "#FF0000" <<<"$colours" || fail "no down candles on the screenshot"

# The chart is under the ribbon; the price pane fills most of the view's top.
eval "$(xdotool getwindowgeometry --shell "$window")"
chart_x=$((X + WIDTH / 2))
price_y=$((Y + HEIGHT / 2 - 60))
xdotool mousemove "$chart_x" "$price_y" click 1
xdotool key minus
wait_for 10 grep -qs "Displaying 240\." "$log" || fail "'-' did not zoom out"
grep -qx "PTS%20INDEX=4" "$conf" || fail "PTS INDEX not stored after '-'"
xdotool click 4
wait_for 10 grep -qx "PTS%20INDEX=3" "$conf" || fail "the wheel did not zoom in"

# The study pane sits at the bottom of the view: its menu minimises it.
study_y=$((Y + HEIGHT - 80))
xdotool mousemove "$chart_x" "$study_y" click 3
sleep 0.5
xdotool key Down Return
wait_for 10 grep -qx "Chart%201%20Minimized=1" "$conf" || fail "the pane menu did not minimise"
sleep 0.5
import -window root "$output/chart_e2e_minimized.png" || fail "no second screenshot"

xdotool key ctrl+q
skychart_gone() { ! kill -0 "$skychart_pid" 2>/dev/null || [[ "$(ps -o stat= -p "$skychart_pid")" == Z* ]]; }
wait_for 20 skychart_gone || fail "Skychart did not close"
wait "$skychart_pid"
status=$?
skychart_pid=
[[ $status == 0 ]] || fail "Skychart exited with status $status"
stop_portico || fail "portico still running"

echo "PASS: LUMA drawn, zoomed, pane minimised; screenshots in $output"
cleanup
exit 0
