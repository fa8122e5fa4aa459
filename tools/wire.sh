#!/usr/bin/env bash
# How close to the wire the driver comes, over loopback: a bare client, a host's plain loop around the
# driver and a line of the host layer against an echo and against velkor-plc, in turn, medians of nine
# rounds; then 1,000 scattered tags, merged and one by one. About 40 seconds; the figures are those of this
# machine, and are worth something only when it does nothing else. Usage: tools/wire.sh
set -eu
cd "$(dirname "$0")/.."
build=${VELKOR_BUILD:-build/release}

tools/install_dependencies.sh
[ -f "$build/CMakeCache.txt" ] || cmake --preset release >/dev/null
cmake --build "$build" --target wire_rates scattered_tags >/dev/null

sed -n 's/^model name[^:]*: //p' /proc/cpuinfo | head -1
"$build/bench/wire_rates" "$build/libvelkor.so.1" "$build/velkor-plc"
"$build/bench/scattered_tags" "$build/libvelkor.so.1" "$build/velkor-plc"
