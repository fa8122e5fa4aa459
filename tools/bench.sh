#!/usr/bin/env bash
# Times the driver's calls beside a textbook's way of doing the same, and prints one table.
# Usage: tools/bench.sh [--benchmark_filter=REGEX ...]   (options of Google Benchmark)
# The figures are those of this machine, and sway with whatever else it does; tools/instructions.sh counts
# what does not.
set -eu
cd "$(dirname "$0")/.."
build=${VELKOR_BUILD:-build/release}

tools/install_dependencies.sh --ci
[ -f "$build/CMakeCache.txt" ] || cmake --preset release >/dev/null
cmake --build "$build" --target driver_benchmarks >/dev/null

sed -n 's/^model name[^:]*: //p' /proc/cpuinfo | head -1
"$build/bench/driver_benchmarks" "$@" "$build/libvelkor.so.1"
