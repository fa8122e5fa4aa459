#!/usr/bin/env bash
# Counts the instructions that the driver takes for one call, with callgrind, and prints a table.
# A figure is the difference between two runs of one program that differ only in the number of calls,
# so it is exact, and the same every time on one machine with one compiler and one Qt.
#
# Usage: tools/instructions.sh [--check]
#   --check   fail when a figure is beyond its budget in bench/instruction_budgets.txt
# Reads VELKOR_BUILD (default: build/release), which must be built.
# Exit code: 0 counted (and within the budgets), 1 beyond a budget or not counted, 2 wrong usage.
set -euo pipefail
cd "$(dirname "$0")/.."
readonly build=${VELKOR_BUILD:-build/release}
readonly budgets=bench/instruction_budgets.txt
readonly rounds=2
check=no
case "$#${1:-}" in
0) ;;
1--check) check=yes ;;
*)
    echo "usage: tools/instructions.sh [--check]" >&2
    exit 2
    ;;
esac

fail() {
    echo "instructions.sh: $1" >&2
    exit 1
}

[ "$(uname -m)" = x86_64 ] || fail "the budgets are of amd64; nothing was counted"
command -v valgrind >/dev/null || fail "no valgrind: install the Debian package of that name"
[ -x "$build/bench/driver_calls" ] || fail "no $build/bench/driver_calls: build it first"

# Prints the instructions of a whole run.
instructions() { # CALL WORDS ORDER ROUNDS
    local log counted
    log=$(QT_HASH_SEED=0 valgrind --tool=callgrind --callgrind-out-file=/dev/null \
        "$build/bench/driver_calls" "$build/libvelkor.so.1" "$@" 2>&1) || fail "driver_calls $*: $log"
    counted=$(sed -n 's/^==[0-9]*== Collected : //p' <<<"$log")
    [[ $counted =~ ^[0-9]+$ ]] || fail "callgrind told no count: $log"
    echo "$counted"
}

beyond=0
printf '%-18s %6s  %-8s %12s %10s\n' call words order instructions budget
while read -r call words order budget; do
    units=$("$build/bench/driver_calls" "$build/libvelkor.so.1" "$call" "$words" "$order" 0)
    none=$(instructions "$call" "$words" "$order" 0)
    some=$(instructions "$call" "$words" "$order" "$rounds")
    each=$(((some - none) / (rounds * units)))
    [ "$each" -gt 0 ] || fail "$call $words $order: $each instructions cannot be"
    note=
    if [ "$each" -gt "$budget" ]; then
        note=' beyond its budget'
        beyond=$((beyond + 1))
    fi
    printf '%-18s %6d  %-8s %12d %10d%s\n' "$call" "$words" "$order" "$each" "$budget" "$note"
done < <(sed 's/#.*//' "$budgets" | grep -E '[^[:space:]]')

if [ "$check" = yes ] && [ "$beyond" -ne 0 ]; then
    fail "$beyond figure(s) beyond the budget; see docs/performance.md"
fi
