# Helpers shared by the end-to-end scripts (sourced). They expect $home, the test's temporary
# folder, and set $admin, $lookup and $level1 in make_home.

# Runs SCRIPT ARGS... again under a fresh Xvfb screen unless this is that run already; exits 77
# (skipped) when one of TOOLS (a space-separated list) is not installed.
rerun_under_xvfb() {
    local script=$1 tools=$2 tool
    shift 2
    [[ "${SKYCHART_E2E_INSIDE:-}" == 1 ]] && return 0
    for tool in xvfb-run Xvfb $tools; do
        if ! command -v "$tool" >/dev/null 2>&1; then
            echo "SKIP: $tool is not installed"
            exit 77
        fi
    done
    SKYCHART_E2E_INSIDE=1 exec xvfb-run -a -s "-screen 0 1600x1000x24" "$script" "$@"
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
