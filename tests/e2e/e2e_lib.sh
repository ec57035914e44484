# Helpers shared by the end-to-end scripts (sourced). They expect $home, the test's temporary
# folder, and set $admin, $lookup and $level1 in make_home.

# Exits 77 (skipped) when one of TOOLS (a space-separated list) is not installed.
require_tools() {
    local tool
    for tool in $1; do
        if ! command -v "$tool" >/dev/null 2>&1; then
            echo "SKIP: $tool is not installed"
            exit 77
        fi
    done
}

# Runs SCRIPT ARGS... again under a fresh Xvfb screen unless this is that run already; skipped
# when one of TOOLS is not installed.
rerun_under_xvfb() {
    local script=$1 tools=$2
    shift 2
    [[ "${SKYCHART_E2E_INSIDE:-}" == 1 ]] && return 0
    require_tools "xvfb-run Xvfb $tools"
    SKYCHART_E2E_INSIDE=1 exec xvfb-run -a -s "-screen 0 1600x1000x24" "$script" "$@"
}

# Runs SCRIPT ARGS... again on a private D-Bus session bus, offscreen, unless this is that run
# already; skipped when one of TOOLS is not installed.
rerun_on_session_bus() {
    local script=$1 tools=$2
    shift 2
    export QT_QPA_PLATFORM=offscreen
    [[ "${SKYCHART_E2E_INSIDE:-}" == 1 ]] && return 0
    require_tools "dbus-run-session $tools"
    SKYCHART_E2E_INSIDE=1 exec dbus-run-session -- "$script" "$@"
}

# A test that runs one Skychart at a time keeps it in $skychart_pid and its log in $log; the
# other processes it starts go in $helper_pids.
skychart_pid=
log=
helper_pids=

# Ends the test's Skychart, helpers and portico and removes its folder.
cleanup() {
    local pid
    for pid in $helper_pids; do
        kill "$pid" 2>/dev/null
        wait "$pid" 2>/dev/null
    done
    if [[ -n "$skychart_pid" ]] && kill -0 "$skychart_pid" 2>/dev/null; then
        kill "$skychart_pid" 2>/dev/null
        wait "$skychart_pid" 2>/dev/null
    fi
    stop_portico
    rm -rf "$home"
}

# Ends the test with MESSAGE, the Skychart log and the log of the portico it started; a test that
# defines fail_details adds what else it knows.
fail() {
    echo "FAIL: $*"
    [[ -n "$log" && -f "$log" ]] && { echo "--- Skychart log"; cat "$log"; }
    local portico_log=${home:-}/logs/porticoLog.txt
    [[ -f "$portico_log" ]] && { echo "--- portico log"; cat "$portico_log"; }
    declare -F fail_details >/dev/null && fail_details
    cleanup
    exit 1
}

# A free port below the kernel's ephemeral range: the ports are released before Skychart's
# portico binds them, and a port from the ephemeral range could meanwhile go to another test's
# portico listening on port 0.
free_port() {
    python3 - <<'PY'
import random, socket
low = int(open("/proc/sys/net/ipv4/ip_local_port_range").read().split()[0])
while True:
    port = random.randrange(20000 if low > 21000 else 1024, low)
    s = socket.socket()
    try:
        s.bind(("127.0.0.1", port))
    except OSError:
        continue
    print(port)
    break
PY
}

# Runs COMMAND... until it succeeds; false after SECONDS.
wait_for() {
    local seconds=$1
    shift
    local end=$((SECONDS + seconds))
    until "$@"; do
        ((SECONDS > end)) && return 1
        sleep 0.2
    done
}

# A configuration and state folder of our own with a Startup.conf on free ports.
make_home() {
    mkdir -p "$home/config/Orvane/Kestrel" "$home/state"
    export XDG_CONFIG_HOME=$home/config XDG_STATE_HOME=$home/state
    admin=$(free_port)
    lookup=$(free_port)
    level1=$(free_port)
    cat >"$home/config/Orvane/Kestrel/Startup.conf" <<CONF
[General]
AdminPort=$admin
LookupPort=$lookup
Level1Port=$level1
LogPath=$home/logs
CONF
    # A sanitizer build must not fail on the system D-Bus library's own leak.
    export LSAN_OPTIONS="${LSAN_OPTIONS:+$LSAN_OPTIONS:}suppressions=$(dirname "${BASH_SOURCE[0]}")/lsan_suppressions.txt"
}

# The portico processes of this test: the ones whose XDG_CONFIG_HOME is ours.
portico_pids() {
    local environ pid
    for environ in /proc/[0-9]*/environ; do
        pid=${environ#/proc/}
        pid=${pid%/environ}
        [[ "$(readlink "/proc/$pid/exe" 2>/dev/null)" == */portico ]] || continue
        tr '\0' '\n' <"$environ" 2>/dev/null | grep -qx "XDG_CONFIG_HOME=$home/config" &&
            echo "$pid"
    done
}

no_portico() { [[ -z "$(portico_pids)" ]]; }

# Ends this test's portico processes (they would otherwise linger for a minute).
stop_portico() {
    local pid
    for pid in $(portico_pids); do
        kill "$pid" 2>/dev/null
    done
    wait_for 20 no_portico
}

# Field 6 of the service's statistics line: the number of symbols it watches.
service_watch_count() {
    local line
    exec 3<>"/dev/tcp/127.0.0.1/$admin" || return 1
    while IFS= read -r -t 10 line <&3; do
        if [[ "$line" == S,STATS,* ]]; then
            exec 3<&-
            echo "$line" | cut -d, -f6
            return 0
        fi
    done
    exec 3<&-
    return 1
}

# The log file of the Skychart process PID.
log_of() { echo "$home/logs/SkychartLog_$1.txt"; }

# chart METHOD ARGS...: calls the method of the chart that owns the bus name $name; its reply or
# error on standard output.
chart() {
    local method=$1
    shift
    timeout 30 gdbus call --session --dest "$name" --object-path /Skychart \
        --method "org.skychart.Chart.$method" -- "$@" 2>&1
}
