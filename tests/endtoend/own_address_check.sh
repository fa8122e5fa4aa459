#!/usr/bin/env bash
# What velkor-panel does while this computer has no route to a PLC, and when it gets another address: in
# two network namespaces with a cable between them, here the panel and there the PLC.
# Usage: own_address_check.sh BUILD_DIR. Exit code 77: no such namespaces may be made here.
set -u
build=$1

if [ "${2:-}" != inside ]; then
    [ -n "$(command -v ip)" ] && [ -n "$(command -v nsenter)" ] &&
        unshare --map-root-user --net ip link add here type veth peer name there 2>/dev/null ||
        { echo "no network namespaces can be made here"; exit 77; }
    exec unshare --map-root-user --net "$0" "$build" inside
fi

failures=0
scratch=$(mktemp -d)
panel=
plcs=
trap 'for started in $panel $plcs; do kill "$started" 2>/dev/null; done; rm -rf "$scratch"' EXIT
cd "$scratch" || exit 1

# Until a line of the file is so; 20 s at most.
wait_for() { # file pattern
    local left=400
    until grep -qE -- "$2" "$1"; do
        left=$((left - 1))
        [ "$left" -gt 0 ] || { echo "FAILED: \"$2\" has not come:" >&2; cat "$1" >&2; return 1; }
        sleep 0.05
    done
}

fail() {
    echo "FAILED: $1" >&2
    failures=$((failures + 1))
}

captured() { # bytes in hex
    od -An -tx1 -v capture | tr -d ' \n' | grep -q "$1"
}

start() { # panel arguments
    : >out
    "$build/velkor-panel" --timeout 100 --scan-interval 50 --format csv "$@" >>out 2>err &
    panel=$!
}

stop() {
    kill "$panel"
    wait "$panel"
    panel=
}

unshare --net "$build/velkor-plc" --listen 0.0.0.0:9600 >far &
far=$!
plcs=$far
ip link set lo up
"$build/velkor-plc" --listen 127.0.0.1:9600 >near &
plcs="$plcs $!"
wait_for far listening && wait_for near listening || exit 1
ip link add here type veth peer name there
ip link set there netns "$far"
nsenter --net --target "$far" ip address add 10.1.1.1/24 dev there
nsenter --net --target "$far" ip link set there up
ip link set here up

# Nothing can be done while there is no route.
"$build/velkor-panel" --plc 10.1.1.1 --timeout 50 read DM 0 >out 2>err
code=$?
[ "$code" -eq 1 ] || fail "exit code $code"
wait_for err 'cannot send: Network is unreachable \(3 tries' || exit 1

# One PLC without a route does not end the watch of all; it is read once there is one.
start --pcap capture --plc near=127.0.0.1 --plc far=10.1.1.1 watch near/DM:0 far/DM:0
wait_for out ',near,.*,read,' || exit 1
wait_for out ',far,.*,not read,"?cannot send: Network is unreachable, to 10.1.1.1:9600' || exit 1
ip address add 10.1.1.2/24 dev here
wait_for out ',far,.*,read,' || exit 1
stop
captured 0a0101020a010101 || fail "the capture does not name the address that was sent from"
captured 000000000a010101 && fail "the capture names an address that nothing was sent from"
captured 80000200010000020 || fail "frames do not carry the node of the address"

# Another address, and the port that was asked for.
start --pcap capture --bind 0.0.0.0:9700 --plc 10.1.1.1 watch DM:0
wait_for out ',read,' || exit 1
ip address flush dev here
wait_for out ',stale,.*cannot send' || exit 1
ip address add 10.1.1.3/24 dev here
"$build/velkor-panel" --plc 10.1.1.1 write DM 0 77 >written || fail "the new address does not do"
wait_for out ',77,,read,' || exit 1
stop
captured 0a0101030a01010125e42580 || fail "the second address or the port is another"
captured 80000200010000030 || fail "frames do not carry the node of the second address"
exit "$((failures > 0))"
