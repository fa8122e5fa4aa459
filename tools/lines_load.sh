#!/usr/bin/env bash
# Polls 100 simulated PLCs, each over a line of its own in one process, 100 tags at five scans a
# second, and prints what it costs. Fails when a value was stale, and when the load was not there: a
# line made less than 90 % of the scans asked for, or a value was older than three scans and a
# time-out.
#
# Usage: tools/lines_load.sh [--lines N] [--seconds N] [--scan MS]   (defaults: 100, 30, 200)
#                            [--least-rate PERCENT] [--most-age MS]
# Reads VELKOR_BUILD (default: build/release), which must be built with its tests.
# Exit code: 0 all of that holds, 1 something does not or it could not run, 2 wrong usage.
set -eu
cd "$(dirname "$0")/.."
build=${VELKOR_BUILD:-build/release}
if [ ! -x "$build/tests/lines_load" ]; then
    echo "no $build/tests/lines_load: build it first, or name the build folder in VELKOR_BUILD" >&2
    exit 1
fi
exec "$build/tests/lines_load" --plc "$build/velkor-plc" --driver "$build/libvelkor.so.1" "$@"
