#!/usr/bin/env bash
# What velkor-panel tells when this computer's network goes away: in a network namespace of its own,
# whose loopback interface loses its address once the first try has met a closed port. (To take the
# interface down would be no failure to send: the system goes on taking frames then, and drops them.)
# Usage: cannot_send_check.sh BUILD_DIR. Exit code 77: no such namespace may be made here.
set -u
build=$1

if [ "${2:-}" != inside ]; then
    [ -n "$(command -v ip)" ] && unshare --map-root-user --net ip link set lo up 2>/dev/null ||
        { echo "no network namespace can be made here"; exit 77; }
    exec unshare --map-root-user --net "$0" "$build" inside
fi

failures=0
scratch=$(mktemp -d)
panel=
plc=
trap 'for started in $panel $plc; do kill "$started" 2>/dev/null; done; rm -rf "$scratch"' EXIT
cd "$scratch" || exit 1

# Until the file says so; 20 s at most.
wait_for() { # file text
    local left=400
    until grep -qF -- "$2" "$1"; do
        left=$((left - 1))
        [ "$left" -gt 0 ] || { echo "FAILED: \"$2\" has not come:" >&2; cat "$1" >&2; return 1; }
        sleep 0.05
    done
}

expect() { # file text
    grep -qF -- "$2" "$1" && return
    echo "FAILED: no \"$2\" in:" >&2
    cat "$1" >&2
    failures=$((failures + 1))
}

expect_none() { # file text
    ! grep -qF -- "$2" "$1" && return
    echo "FAILED: \"$2\" in:" >&2
    cat "$1" >&2
    failures=$((failures + 1))
}

plug_in() {
    ip link set lo up
    ip address replace 127.0.0.1/8 dev lo
}

unplug() {
    ip address delete 127.0.0.1/8 dev lo
}

start() { # panel arguments
    : >out
    plug_in
    "$build/velkor-panel" --plc 127.0.0.1:9600 "$@" >>out 2>err &
    panel=$!
}

# A write: its first try is refused by the closed port, the others never leave.
start --timeout 1000 --trace --format csv write DM 100 5
wait_for err icmp || exit 1
unplug
wait "$panel"
code=$?
panel=
[ "$code" -eq 1 ] || { echo "FAILED: exit code $code" >&2; failures=$((failures + 1)); }
expect out ',,DM,100,1,not reached,,0,0,'
expect err 'fail sid='
expect err '1 of 3 tries met a closed port; 2 of 3 tries never left this computer: cannot send: Network is unreachable'
expect err "1. this computer's network"
expect_none out 'unknown'

# A tag that was read, while nothing can be sent, and once something can again.
plug_in
"$build/velkor-plc" --listen 127.0.0.1:9600 >plc &
plc=$!
wait_for plc listening || exit 1
start --timeout 100 --scan-interval 50 --format csv watch DM:0
wait_for out ',read,' || exit 1
unplug
wait_for out ',stale,"cannot send: Network is unreachable, to 127.0.0.1:9600"' || exit 1
expect_none out 'no answer'
: >out
plug_in
wait_for out ',read,' || exit 1
exit "$((failures > 0))"
