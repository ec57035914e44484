#!/usr/bin/env bash
# End to end: the real Skychart under Xvfb launches the real portico from beside itself; a
# lower-case symbol typed into the symbol box is stored upper case, watched by the service and
# its history loaded: the status bar reports the retrieval, then the datapoints available.
# Usage: skychart_e2e.sh SKYCHART_EXECUTABLE OUTPUT_FOLDER
# Exits 77 (skipped) when the X tools are missing.
set -uo pipefail

skychart=$1
output=$2

source "$(dirname "$(readlink -f "$0")")/e2e_lib.sh"
rerun_under_xvfb "$0" "xdotool import python3" "$@"

home=$(mktemp -d /tmp/skychart-e2e-XXXXXX)

make_home
mkdir -p "$output" "$home/config/Orvane/Kestrel/DisplayApps"
# A symbol from the last session: the box shows it, and typing replaces it. The longest tick
# request keeps the load going past the first progress ticks (a million ticks can load within
# one).
printf '[ApplicationSettings]\nCurrentSymbol=KRNO\nSymbols=KRNO\nRequestDataType=0\nRequestDatapoints="5000000,10000,10000,10000,10000"\n' \
    >"$home/config/Orvane/Kestrel/DisplayApps/Skychart.conf"
"$skychart" >"$output/skychart.out" 2>&1 &
skychart_pid=$!
log=$(log_of "$skychart_pid")

wait_for 60 test -f "$log" || fail "no log file"
wait_for 60 grep -qs "StatusBar: Connected to Kestrel\.\.\." "$log" || fail "never connected"
[[ -n "$(portico_pids)" ]] || fail "Skychart did not start portico"

window=$(xdotool search --sync --onlyvisible --name '^Skychart' | head -n 1)
[[ -n "$window" ]] || fail "no Skychart window"
xdotool windowfocus --sync "$window" 2>/dev/null || true
# Once connected, the keyboard focus sits in the symbol box.
xdotool type --delay 60 "luma"
sleep 0.5
xdotool key Return

conf=$home/config/Orvane/Kestrel/DisplayApps/Skychart.conf
stored() { grep -qx "CurrentSymbol=LUMA" "$conf" 2>/dev/null; }
wait_for 20 stored || fail "CurrentSymbol=LUMA not in $conf: $(cat "$conf" 2>/dev/null)"
wait_for 20 grep -qs "Watch LUMA sent" "$log" || fail "no watch in the log"
watched() { [[ "$(service_watch_count)" == 1 ]]; }
wait_for 30 watched || fail "the service does not watch LUMA"
wait_for 60 grep -qs "History request sent: HTX,LUMA,5000000,1,Lookup0" "$log" ||
    fail "no tick history request in the log"
wait_for 120 grep -qsE "StatusBar: [0-9]+ datapoints available\.  Displaying 120\." "$log" ||
    fail "the load never completed"
grep -qE "StatusBar: Retrieving Tick Data \([0-9]+ Ticks Received\)" "$log" ||
    fail "no retrieval progress in the status bar"
# The retrieval texts come before the datapoints text, never after it.
last_status=$(grep -E "StatusBar: (Retrieving|[0-9]+ datapoints)" "$log" | tail -n 1)
[[ "$last_status" == *"datapoints available"* ]] || fail "retrieval text after the load: $last_status"
sleep 1
import -window root "$output/skychart_e2e.png" || fail "no screenshot"

# Close Skychart (Ctrl+Q), then make sure portico goes too.
xdotool key ctrl+q
skychart_gone() { ! kill -0 "$skychart_pid" 2>/dev/null || [[ "$(ps -o stat= -p "$skychart_pid")" == Z* ]]; }
wait_for 20 skychart_gone || fail "Skychart did not close"
wait "$skychart_pid"
status=$?
skychart_pid=
[[ $status == 0 ]] || fail "Skychart exited with status $status"
stop_portico || fail "portico still running"

echo "PASS: LUMA stored, watched and loaded; screenshot $output/skychart_e2e.png"
cleanup
exit 0
