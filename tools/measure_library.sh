#!/usr/bin/env bash
# Measures the built library: the size of its code when stripped, the relocations that loading it
# takes, what it takes from the heap when loaded and with 10,000 words cached. Prints a table.
#
# Usage: tools/measure_library.sh [--check] [BUILD...]
#   --check   fail when a figure is beyond its budget in bench/library_budgets.txt
#   BUILD     built folders, of amd64 or armhf (that one runs under the emulator it was configured
#             with); default build/release
# Exit code: 0 measured (and within the budgets), 1 beyond a budget or not measured, 2 wrong usage.
set -euo pipefail
cd "$(dirname "$0")/.."
readonly budgets=bench/library_budgets.txt
check=no
if [ "${1:-}" = --check ]; then
    check=yes
    shift
fi
case ${1:-} in
-*)
    echo "usage: tools/measure_library.sh [--check] [BUILD...]" >&2
    exit 2
    ;;
esac
[ $# -gt 0 ] || set -- build/release

fail() {
    echo "measure_library.sh: $1" >&2
    exit 1
}

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

# The Debian name of what a file is built for.
architecture() { # FILE
    local header
    header=$(readelf -h "$1" | tr -s ' ')
    case $header in
    *'Class: ELF64'*'Machine: Advanced Micro Devices X86-64'*) echo amd64 ;;
    *'Class: ELF32'*'Machine: ARM'*'hard-float ABI'*) echo armhf ;;
    *) fail "$1 is built for neither amd64 nor armhf" ;;
    esac
}

cached() { # BUILD VARIABLE
    sed -n "s/^$2:[^=]*=//p" "$1/CMakeCache.txt"
}

# Prints "FIGURE VALUE" lines.
measure() { # BUILD ARCHITECTURE
    local library=$1/libvelkor.so.1 emulator=() heap
    [ "$(cached "$1" CMAKE_BUILD_TYPE)" = RelWithDebInfo ] ||
        fail "$1 is not built for release; its figures would mean nothing"
    [ "$2" = amd64 ] || IFS=';' read -ra emulator <<<"$(cached "$1" VELKOR_ARM_EMULATOR)"
    [ "$2" = amd64 ] || [ "${#emulator[@]}" -gt 0 ] || fail "$1 names no emulator to run its programs"
    "$(cached "$1" CMAKE_STRIP)" -o "$scratch/stripped" "$library"
    # As the loader sees it: what is mapped to be read and executed, constants included.
    size "$scratch/stripped" | awk 'NR == 2 {print "text", $1}'
    echo "relocations $(readelf -rW "$scratch/stripped" | grep -cE '^[0-9a-f]{8,} ')"
    # The loader keeps the name of the file, too; that is not to differ from folder to folder.
    heap=$(QT_HASH_SEED=0 ${emulator[@]+"${emulator[@]}"} "$1/bench/library_heap" "$scratch/stripped") ||
        fail "$1/bench/library_heap failed"
    [[ $heap =~ ^[0-9]+\ [0-9]+$ ]] || fail "$1/bench/library_heap told: $heap"
    echo "heap-loaded ${heap% *}"
    echo "heap-10000-words ${heap#* }"
}

beyond=0
printf '%-6s %-17s %9s %9s\n' for figure bytes budget
for build in "$@"; do
    [ -e "$build/libvelkor.so.1" ] && [ -x "$build/bench/library_heap" ] ||
        fail "$build holds no built libvelkor.so.1 and bench/library_heap"
    target=$(architecture "$build/libvelkor.so.1")
    figures=$(measure "$build" "$target") || exit 1
    while read -r figure value; do
        [ "$value" -gt 0 ] || fail "$target $figure: $value cannot be"
        budget=$(awk -v a="$target" -v f="$figure" '$1 == a && $2 == f {print $3}' "$budgets")
        [ -n "$budget" ] || fail "$budgets has no budget for $target $figure"
        note=
        if [ "$value" -gt "$budget" ]; then
            note=' beyond its budget'
            beyond=$((beyond + 1))
        fi
        printf '%-6s %-17s %9d %9d%s\n' "$target" "$figure" "$value" "$budget" "$note"
    done <<<"$figures"
done
if [ "$check" = yes ] && [ "$beyond" -ne 0 ]; then
    fail "$beyond figure(s) beyond the budget; docs/performance.md says what to do"
fi
