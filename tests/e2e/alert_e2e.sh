#!/usr/bin/env bash
# End to end: price alerts. On a private D-Bus session bus, with a notification service of the
# test's own (notification_listener, which also records every AlertFired signal), Skychart shows
# a token's live minute bars from a portico on a fast clock. Two level alerts go in through
# AddAlert a tick and a half above and below the last trade; the random walk crosses both again
# and again. Each must fire exactly once: one AlertFired with its price and one Notify naming it,
# with the sound hint, however often the trades cross it afterwards; Alerts() says both fired,
# and so does a restarted Skychart, which read them from its trendline file. That one shows
# another symbol: two more alerts on the token, about the last trade again, still fire from the
# watch their alerts keep: the walk leaves the band between them soon, and none fires twice. (A
# level on one side of the last trade only is not sure to be crossed: the walk may wander off
# for the rest of the day.)
# Usage: alert_e2e.sh SKYCHART_EXECUTABLE NOTIFICATION_LISTENER
# Exits 77 (skipped) when dbus-run-session or gdbus is missing.
set -uo pipefail

skychart=$1
listener=$2
portico=$(dirname "$skychart")/portico

source "$(dirname "$(readlink -f "$0")")/e2e_lib.sh"
rerun_on_session_bus "$0" "gdbus python3" "$@"

home=$(mktemp -d /tmp/skychart-alert-e2e-XXXXXX)
symbol=AURX

fail_details() {
    echo "--- notifications and signals"
    cat "$notes"
    echo "--- trades seen: $(wc -l <"$trades")"
}

make_home
notes=$home/notes.txt
trades=$home/trades.txt
: >"$trades"

"$listener" >"$notes" 2>&1 &
helper_pids+=" $!"
wait_for 20 grep -qx READY "$notes" || fail "the notification listener did not start"

# The test's own portico on the Startup.conf ports with a fast clock: the one Skychart launches
# finds the admin port taken and leaves.
"$portico" --start-time "2026-11-20 12:00:00" --clock-rate 120 --linger 0 \
    >"$home/portico.txt" 2>&1 &
helper_pids+=" $!"
wait_for 20 grep -qs "^portico: listening" "$home/portico.txt" || fail "portico did not start"

# The symbol's trades as the service sends them, one price per line.
watch_trades() {
    exec 3<>"/dev/tcp/127.0.0.1/$level1" || return 1
    printf 'S,SET PROTOCOL,6.1\r\nS,SELECT UPDATE FIELDS,Symbol,Most Recent Trade,%s\r\nw%s\r\n' \
        "Message Contents" "$symbol" >&3
    local kind rest price contents
    while IFS=, read -r kind rest price contents <&3; do
        [[ "$kind" == Q && "$rest" == "$symbol" && "$contents" == *[CEO]* ]] &&
            echo "$price" >>"$trades"
    done
}
watch_trades &
helper_pids+=" $!"

# start_skychart SHOWN: Skychart showing SHOWN's minute bars.
start_skychart() {
    "$skychart" -symbol "$1" -type Minute >/dev/null 2>&1 &
    skychart_pid=$!
    name=org.skychart.Skychart.pid$skychart_pid
    log=$(log_of "$skychart_pid")
    wait_for 90 grep -qsE "StatusBar: [0-9]+ datapoints available\." "$log" ||
        fail "the chart never loaded"
    wait_for 20 grep -qF "as $name on the session bus" "$log" || fail "the bus name is not owned"
}
start_skychart "$symbol"
wait_for 30 test -s "$trades" || fail "no trades of $symbol"

# levels_by_last: a tick and a half either side of the last trade (no trade is ever on a level).
levels_by_last() {
    read -r above below tick < <(python3 -c '
import sys
text = sys.argv[1]
tick = 10.0 ** -len(text.partition(".")[2])
print(round(float(text) + 1.5 * tick, 10), round(float(text) - 1.5 * tick, 10), tick)' \
        "$(tail -n 1 "$trades")")
}
levels_by_last
ids=()
for level in "$above" "$below"; do
    reply=$(chart AddAlert "$symbol" "$level" Crosses) || fail "AddAlert $level failed: $reply"
    [[ "$reply" =~ ^\(([0-9]+),\)$ ]] || fail "AddAlert answered \"$reply\""
    ids+=("${BASH_REMATCH[1]}")
done
[[ "${ids[0]}" != "${ids[1]}" ]] || fail "both alerts got the id ${ids[0]}"

# check MODE TOTAL LEVEL..., over the recorded notes and trades: "fired" succeeds once every
# level fired, "some" once one did; "crossed" once the trades recorded since $trades was emptied
# crossed each level three times; "once" once each level fired exactly once, with its Notify,
# and TOTAL alerts fired in all; "atmost" once no level fired more than once, each with its
# Notify. Only the notes after the first $notes_from lines count.
notes_from=0
check() {
    python3 - "$1" "$notes" "$trades" "$symbol" "$tick" "$notes_from" "${@:2}" <<'PY'
import sys
mode, notes, trades, symbol = sys.argv[1:5]
tick = float(sys.argv[5])
skipped = int(sys.argv[6])
total = int(sys.argv[7])
levels = [float(v) for v in sys.argv[8:]]
lines = [l.rstrip("\n").split("\t") for l in open(notes)][skipped:]
fired = [l for l in lines if l[0] == "ALERTFIRED"]
notified = [l for l in lines if l[0] == "NOTIFY"]
def near(a, b, d):
    return abs(a - b) <= d
if mode in ("fired", "some"):
    hit = [any(near(float(f[2]), v, 1e-9) for f in fired) for v in levels]
    sys.exit(0 if (all(hit) if mode == "fired" else any(hit)) and
             len(notified) >= min(total, sum(hit)) else 1)
prices = [float(p) for p in open(trades).read().split()]
if mode == "crossed":
    # Each level crossed at least three times by the trades recorded since the file was emptied.
    for v in levels:
        sides = [p > v for p in prices]
        if sum(a != b for a, b in zip(sides, sides[1:])) < 3:
            sys.exit(1)
    sys.exit(0)
errors = []
for v in levels:
    mine = [f for f in fired if near(float(f[2]), v, 1e-9)]
    if mode == "atmost" and not mine:
        continue
    if len(mine) != 1 or mine[0][1] != symbol:
        errors.append("level %s: %d AlertFired" % (v, len(mine)))
    shown = [n for n in notified
             if n[1] == "Skychart alert: " + symbol and "%s Crosses " % symbol in n[2]
             and near(float(n[2].split(" Crosses ")[1].split()[0]), v, tick)]
    hints = sorted(shown[0][3].split(",")) if shown else []
    if len(shown) != 1 or hints != ["sound-name=dialog-warning", "urgency=2"]:
        errors.append("level %s: %d Notify, hints %s" % (v, len(shown), [n[3] for n in shown]))
if mode == "once" and (len(fired) != total or len(notified) != total):
    errors.append("%d AlertFired and %d Notify for %d alerts" % (len(fired), len(notified), total))
print("\n".join(errors))
sys.exit(1 if errors else 0)
PY
}
both="2 $above $below"
wait_for 240 check fired $both || fail "the alerts did not both fire"
# Trades after both fires.
: >"$trades"
wait_for 240 check crossed $both || fail "the trades did not cross the levels again"
check once $both || fail "not exactly one AlertFired and one Notify per alert"

# state_of ID: the alert's state in Alerts().
state_of() {
    chart Alerts | python3 -c '
import ast, json, sys
alerts = json.loads(ast.literal_eval(sys.stdin.read().strip())[0])
print(" ".join(a["state"] for a in alerts if a["id"] == int(sys.argv[1])))' "$1"
}
for id in "${ids[@]}"; do
    [[ "$(state_of "$id")" == fired ]] || fail "Alerts() does not say alert $id fired"
done

# A restart, showing another symbol, reads the fired alerts back; further crossings still do
# not fire them.
kill "$skychart_pid"
wait "$skychart_pid" 2>/dev/null
start_skychart LUMA
for id in "${ids[@]}"; do
    [[ "$(state_of "$id")" == fired ]] || fail "alert $id is not fired after a restart"
done
: >"$trades"
wait_for 240 check crossed $both || fail "the trades did not cross the levels after the restart"
check once $both || fail "a restarted Skychart fired a fired alert"

# New alerts on the token, which the chart does not show: its symbol is watched for them.
levels_by_last
notes_from=$(wc -l <"$notes")
for level in "$above" "$below"; do
    reply=$(chart AddAlert "$symbol" "$level" Crosses) || fail "AddAlert $level failed: $reply"
done
grep -qF "Watch $symbol sent" "$log" || fail "Skychart did not watch $symbol for its alerts"
wait_for 240 check some 2 "$above" "$below" || fail "no alert on $symbol fired beside LUMA"
: >"$trades"
wait_for 240 eval '[ "$(wc -l <"$trades")" -ge 2000 ]' || fail "no more trades of $symbol"
check atmost 2 "$above" "$below" || fail "an alert on $symbol beside LUMA fired more than once"

echo "PASS: level alerts of $symbol fired once each (AlertFired, Notify, Alerts()), stayed" \
    "fired over further crossings and a restart, and one fired while the chart showed LUMA"
cleanup
exit 0
