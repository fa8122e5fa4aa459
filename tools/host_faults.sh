#!/usr/bin/env bash
# Writes over a network with 5 % of each fault, polls meanwhile, and holds each outcome that was
# told against what the simulated PLC has executed and holds in its memory. Four runs: faults of
# the replies (and lost commands); those and faults of the commands; those of the first run and
# damaged replies; and, without faults, writes for which the PLC's mode must be switched, each of
# which it must execute exactly once.
#
# Usage: tools/host_faults.sh [SECONDS [WRITES [SEED]]]   (defaults: 600 and 10000 in all, seed 1)
# Reads VELKOR_BUILD (default: build/release), which must be built with its tests.
# Exit code: 0 all agree, 1 one does not or it could not run, 2 wrong usage.
set -eu
cd "$(dirname "$0")/.."
seconds=${1:-600}
writes=${2:-10000}
seed=${3:-1}
for number in "$seconds" "$writes" "$seed"; do
    case $number in
    '' | *[!0-9]* | 0*)
        echo "usage: tools/host_faults.sh [SECONDS [WRITES [SEED]]]   (numbers above 0)" >&2
        exit 2
        ;;
    esac
done
build=${VELKOR_BUILD:-build/release}
if [ ! -x "$build/tests/host_faults" ]; then
    echo "no $build/tests/host_faults: build it first, or name the build folder in VELKOR_BUILD" >&2
    exit 1
fi

replies='drop 5%; silent 5%; duplicate 5%; truncate 5% to 13; delay 5% by 120ms; late 5%; sid+100 5%'
commands='duplicate-request 5%; truncate-request 5% to 14; delay-request 5% by 120ms; late-request 5%'
failed=0

# run <share of time and writes, in percent> <argument>...
run() {
    local share=$1
    shift
    "$build/tests/host_faults" --plc "$build/velkor-plc" --driver "$build/libvelkor.so.1" \
        --seed "$seed" --seconds $((seconds * share / 100 + 1)) \
        --writes $((writes * share / 100 + 1)) "$@" || failed=1
    echo
}

run 40 --faults "$replies"
run 25 --faults "$replies; $commands"
run 25 --faults "$replies; corrupt 5%"
run 10 --switch-mode
exit $failed
