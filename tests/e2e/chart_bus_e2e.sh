#!/usr/bin/env bash
# End to end: on a private D-Bus session bus a running Skychart (offscreen, with the real portico
# it starts) is driven through org.skychart.Chart: Load, ExportSeries polled until the history is
# in (its rows and header checked against the file and against "Skychart --export" of the same
# chart), Render of a 640x480 PNG, SetPriceScale and Compare stored in the settings file,
# DeletePoint and RestorePoints checked against the exports,
# AddTrendline, Trendlines and DeleteAllTrendlines against the trendline file, and the error
# replies of bad calls, and Reconnect after the service was killed.
# Usage: chart_bus_e2e.sh SKYCHART_EXECUTABLE
# Exits 77 (skipped) when dbus-run-session or gdbus is missing.
set -uo pipefail

skychart=$1

source "$(dirname "$(readlink -f "$0")")/e2e_lib.sh"
rerun_on_session_bus "$0" "gdbus python3" "$@"

home=$(mktemp -d /tmp/skychart-e2e-XXXXXX)

# expect_error NAME TEXT METHOD ARGS...: the call fails with the error NAME and a message
# holding TEXT.
expect_error() {
    local error=$1 text=$2 reply
    shift 2
    reply=$(chart "$@") && fail "$* succeeded: $reply"
    grep -qF "$error" <<<"$reply" || fail "$* answered \"$reply\", not $error"
    grep -qF "$text" <<<"$reply" || fail "$* answered \"$reply\" without \"$text\""
}

make_home
"$skychart" >/dev/null 2>&1 &
skychart_pid=$!
name=org.skychart.Skychart.pid$skychart_pid
log=$(log_of "$skychart_pid")
wait_for 60 grep -qs "StatusBar: Connected to Kestrel\.\.\." "$log" || fail "never connected"
grep -qF "as $name on the session bus" "$log" || fail "the bus name is not owned"
gdbus introspect --session --dest "$name" --object-path /Skychart |
    grep -q "ExportSeries(in  s path," || fail "ExportSeries is not served"
gdbus introspect --session --dest "$name" --object-path /Skychart |
    grep -q "Reconnect()" || fail "Reconnect is not served"

# Before a chart is loaded there is nothing to export, render, delete or restore.
expect_error org.skychart.Chart.Error.NoChart "call Load first" ExportSeries "$home/early.csv"
expect_error org.skychart.Chart.Error.NoChart "call Load first" DeletePoint "2024-03-05"
expect_error org.skychart.Chart.Error.NoChart "call Load first" RestorePoints
[[ -e "$home/early.csv" ]] && fail "a file was written without a chart"

expect_error org.skychart.Chart.Error.InvalidArgument '"Hourly"' Load LUMA Hourly ""
expect_error org.skychart.Chart.Error.InvalidArgument "symbol is empty" Load "  " Daily ""
reply=$(chart Load luma Daily "") || fail "Load failed: $reply"
[[ "$reply" == "()" ]] || fail "Load answered \"$reply\""

csv=$home/bus.csv
rows=0
exported() {
    local reply
    reply=$(chart ExportSeries "$csv") || return 1
    rows=$(sed -E 's/^\(([0-9]+),\)$/\1/' <<<"$reply")
    [[ "$rows" =~ ^[0-9]+$ && "$rows" -gt 0 ]]
}
wait_for 90 exported || fail "the export never had rows: $(chart ExportSeries "$csv")"
data_rows=$(($(wc -l <"$csv") - 1))
((rows == data_rows)) || fail "ExportSeries answered $rows rows, the file holds $data_rows"
header=$(head -n 1 "$csv")
[[ "$header" == DateTime,Open,High,Low,Close,Volume,OpenInterest* ]] ||
    fail "not the header of daily bars: $header"
# The window stored the chart as the ribbon does.
conf=$home/config/Orvane/Kestrel/DisplayApps/Skychart.conf
grep -qx "CurrentSymbol=LUMA" "$conf" || fail "CurrentSymbol not stored"

# The export mode writes the same columns for the same chart, from the same settings.
"$skychart" --export "$home/mode.csv" -symbol LUMA -type Daily >/dev/null 2>&1 ||
    fail "--export of the same chart failed"
mode_header=$(head -n 1 "$home/mode.csv")
[[ "$header" == "$mode_header" ]] || fail "header \"$header\" is not --export's \"$mode_header\""
mode_rows=$(($(wc -l <"$home/mode.csv") - 1))
# A daily answer is the same but for a new session's bar while the two loads ran.
((mode_rows >= rows - 1 && mode_rows <= rows + 1)) ||
    fail "--export wrote $mode_rows rows, the bus $rows"

png=$home/chart.png
reply=$(chart Render "$png" 640 480) || fail "Render failed: $reply"
size=$(python3 -c '
import struct, sys
data = open(sys.argv[1], "rb").read(24)
assert data[:8] == b"\x89PNG\r\n\x1a\n", "not a PNG"
print("%dx%d" % struct.unpack(">II", data[16:24]))' "$png") || fail "no PNG written"
[[ "$size" == 640x480 ]] || fail "the PNG is $size, not 640x480"

expect_error org.skychart.Chart.Error.InvalidArgument "width" Render "$home/small.png" 99 480
expect_error org.skychart.Chart.Error.InvalidArgument "absolute" ExportSeries relative.csv
expect_error org.skychart.Chart.Error.Failed "cannot write" ExportSeries "$home/no/such/dir.csv"
expect_error org.skychart.Chart.Error.Failed "$home/no/such" Render "$home/no/such/c.png" 640 480
[[ -e "$home/small.png" ]] && fail "a refused render wrote its file"

# The price scale and the compare symbols are set and stored as the pane menu does.
chart SetPriceScale log >/dev/null || fail "SetPriceScale failed"
chart Compare "krno, aurx" >/dev/null || fail "Compare failed"
wait_for 10 grep -qE '^Price( |%20)Scale=1$' "$conf" || fail "the price scale was not stored"
wait_for 10 grep -qE '^Compare( |%20)Symbols="?KRNO,AURX"?$' "$conf" ||
    fail "the compare symbols were not stored"
expect_error org.skychart.Chart.Error.InvalidArgument "at most 3" Compare "A,B,C,D"
expect_error org.skychart.Chart.Error.InvalidArgument "own symbol" Compare "LUMA"
expect_error org.skychart.Chart.Error.InvalidArgument "none of linear" SetPriceScale tilted
chart Compare "" >/dev/null && chart SetPriceScale linear >/dev/null || fail "clearing failed"

# DeletePoint takes the point of a DateTime out of the series; RestorePoints answers once the
# history is in again, every point back once.
count_of() { sed -E 's/^\(([0-9]+),\)$/\1/' <<<"$1"; }
chart ExportSeries "$csv" >/dev/null || fail "no export before the deletion"
before=$(($(wc -l <"$csv") - 1))
deleted=$(sed -n 6p "$csv" | cut -d, -f1)
reply=$(chart DeletePoint "$deleted") || fail "DeletePoint $deleted failed: $reply"
left=$(count_of "$reply")
((left == before - 1)) || fail "DeletePoint answered \"$reply\" for $before points"
chart ExportSeries "$home/deleted.csv" >/dev/null || fail "no export after the deletion"
(($(wc -l <"$home/deleted.csv") - 1 == left)) || fail "the export does not hold $left rows"
grep -q "^$deleted," "$home/deleted.csv" && fail "the deleted $deleted is still exported"
expect_error org.skychart.Chart.Error.InvalidArgument "no point" DeletePoint "$deleted"
expect_error org.skychart.Chart.Error.InvalidArgument '"yesterday" is no point time' \
    DeletePoint yesterday
reply=$(chart RestorePoints) || fail "RestorePoints failed: $reply"
restored=$(count_of "$reply")
((restored >= before && restored <= before + 1)) || fail "RestorePoints answered \"$reply\""
chart ExportSeries "$home/restored.csv" >/dev/null || fail "no export after the restore"
(($(grep -c "^$deleted," "$home/restored.csv") == 1)) || fail "$deleted is not back once"
[[ -z "$(cut -d, -f1 "$home/restored.csv" | sort | uniq -d)" ]] || fail "doubled rows"
reply=$(chart RestorePoints) || fail "RestorePoints with nothing deleted failed: $reply"
(($(count_of "$reply") >= restored)) || fail "RestorePoints again answered \"$reply\""

# AddTrendline draws a line through two bars, keeps it in the trendline file beside the settings
# and Trendlines() gives it back; DeleteAllTrendlines removes it from both.
trendfile=$home/config/Orvane/Kestrel/DisplayApps/Skychart.trendlines.json
first=$(sed -n 10p "$csv" | cut -d, -f1)
last=$(tail -n 1 "$csv" | cut -d, -f1)
reply=$(chart AddTrendline Sloping "['$first', '$last']" "[10.5, 20.25]") ||
    fail "AddTrendline failed: $reply"
[[ "$reply" == "(1,)" ]] || fail "AddTrendline answered \"$reply\""
reply=$(chart Trendlines) || fail "Trendlines failed: $reply"
grep -qF '"kind":"Sloping"' <<<"$reply" || fail "Trendlines answered \"$reply\""
grep -qF "\"$first\"" "$trendfile" || fail "the trendline is not in $trendfile"
expect_error org.skychart.Chart.Error.InvalidArgument "no trendline kind" AddTrendline Ray \
    "['$first', '$last']" "[1.0, 2.0]"
expect_error org.skychart.Chart.Error.InvalidArgument "no bar" AddTrendline Sloping \
    "['$first', '1900-01-01']" "[1.0, 2.0]"
reply=$(chart DeleteAllTrendlines) || fail "DeleteAllTrendlines failed: $reply"
[[ "$reply" == "(1,)" ]] || fail "DeleteAllTrendlines answered \"$reply\""
grep -qF "$first" "$trendfile" && fail "the deleted trendline is still in $trendfile"

# Another type and interval go through the combos' texts.
reply=$(chart Load LUMA Minute 5-Minute) || fail "Load of minute bars failed: $reply"
minute_header() {
    chart ExportSeries "$csv" >/dev/null &&
        [[ "$(head -n 1 "$csv")" == DateTime,Open,High,Low,Close,Volume,Size* ]]
}
wait_for 90 minute_header || fail "the minute bars were never exported: $(head -n 1 "$csv")"
grep -qx "RequestIntervalIndex=4" "$conf" || fail "the interval was not stored"

# The service killed: the window says so; Reconnect starts a new one, loads the chart again and
# keeps its trendline.
first=$(sed -n 2p "$csv" | cut -d, -f1)
last=$(tail -n 1 "$csv" | cut -d, -f1)
reply=$(chart AddTrendline Sloping "['$first', '$last']" "[10.5, 20.25]") ||
    fail "AddTrendline on minute bars failed: $reply"
old_portico=$(portico_pids)
[[ -n "$old_portico" ]] || fail "no portico of Skychart's own"
kill -9 $old_portico
wait_for 30 grep -qs "StatusBar: The market-data service closed the .* - use Reconnect" "$log" ||
    fail "the killed service is not named"
at=$(wc -l <"$log")
reply=$(chart Reconnect) || fail "Reconnect failed: $reply"
reloaded() { tail -n "+$((at + 1))" "$log" | grep -q "StatusBar: [0-9]* datapoints available"; }
wait_for 90 reloaded || fail "the chart was not loaded again after Reconnect"
new_portico=$(portico_pids)
[[ -n "$new_portico" && "$new_portico" != "$old_portico" ]] || fail "no new portico was started"
reply=$(chart Trendlines) || fail "Trendlines after Reconnect failed: $reply"
grep -qF "\"$first\"" <<<"$reply" || fail "the trendline is gone after Reconnect: $reply"
minute_header || fail "no minute bars exported after Reconnect"

# Without a session bus the window loads as before and the log says once that bus control is
# off.
kill "$skychart_pid"
wait "$skychart_pid" 2>/dev/null
DBUS_SESSION_BUS_ADDRESS=unix:path=$home/no-bus "$skychart" -symbol LUMA -type Daily \
    >/dev/null 2>&1 &
skychart_pid=$!
log=$(log_of "$skychart_pid")
wait_for 60 grep -qsE "StatusBar: [0-9]+ datapoints available\." "$log" ||
    fail "no chart without a session bus"
(($(grep -c "Bus control is off" "$log") == 1)) || fail "bus control off not logged once"

echo "PASS: Load, ExportSeries ($rows rows), Render, SetPriceScale, Compare, DeletePoint," \
    "RestorePoints, the trendline calls, Reconnect and the error replies over the session bus"
cleanup
exit 0
