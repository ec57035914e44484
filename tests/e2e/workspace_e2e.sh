#!/usr/bin/env bash
# End to end: on a private D-Bus session bus, "Skychart --save-workspace NAME" makes a running
# Skychart store its chart under NAME, and "Skychart --open-workspace NAME" reopens that chart.
# Usage: workspace_e2e.sh SKYCHART_EXECUTABLE
# Exits 77 (skipped) when dbus-run-session is missing.
set -uo pipefail

skychart=$1

source "$(dirname "$(readlink -f "$0")")/e2e_lib.sh"
rerun_on_session_bus "$0" "python3" "$@"

home=$(mktemp -d /tmp/skychart-e2e-XXXXXX)
pids=()
cleanup() {
    local pid
    for pid in "${pids[@]}"; do
        kill "$pid" 2>/dev/null && wait "$pid" 2>/dev/null
    done
    stop_portico
    rm -rf "$home"
}
fail() {
    echo "FAIL: $*"
    local file
    for file in "$home"/logs/*.txt; do
        [[ -f "$file" ]] && { echo "--- $file"; cat "$file"; }
    done
    cleanup
    exit 1
}

make_home
"$skychart" -symbol krno -type Daily -interval 1-Minute -left 40 -top 30 -right 1040 -bottom 730 \
    >/dev/null 2>&1 &
first=$!
pids+=("$first")
log=$(log_of "$first")
wait_for 60 grep -qs "StatusBar: Connected to Kestrel\.\.\." "$log" || fail "never connected"
grep -q "Listening for the KESTREL_SAVE_WORKSPACE broadcast" "$log" || fail "not listening"

"$skychart" --save-workspace "Morning Desk" || fail "--save-workspace failed"
store=$home/config/Orvane/Kestrel/Workspaces.conf
saved() { grep -q "^Skychart=-symbol KRNO -type Daily -interval 1-Minute" "$store" 2>/dev/null; }
wait_for 20 saved || fail "nothing stored: $(cat "$store" 2>/dev/null)"
grep -q -- "-left 40 -right 1040" "$store" || fail "frame position not stored: $(cat "$store")"
kill "$first"
wait "$first" 2>/dev/null

# A fresh start from the workspace loads and watches the same symbol.
sed -i 's/^CurrentSymbol=.*/CurrentSymbol=LUMA/' "$home/config/Orvane/Kestrel/DisplayApps/Skychart.conf"
"$skychart" --open-workspace "Morning Desk" >/dev/null 2>&1 &
second=$!
pids+=("$second")
log=$(log_of "$second")
wait_for 60 grep -qs "Watch KRNO sent" "$log" || fail "the workspace's symbol was not loaded"
grep -q "^CurrentSymbol=KRNO" "$home/config/Orvane/Kestrel/DisplayApps/Skychart.conf" ||
    fail "CurrentSymbol not restored"

echo "PASS: workspace saved over the session bus and reopened"
cleanup
exit 0
