#!/usr/bin/env bash
# Compares the binary interface of the built library (exports, signatures, record layouts) with the
# committed baseline of its architecture in packaging/abi/. Any difference fails: whether hosts bear
# it is to be judged by somebody, see docs/abi.md.
#
# Usage: tools/check_abi.sh [--update] [BUILD...]    (default build/release)
#        tools/check_abi.sh --selftest               builds altered libraries, which have to fail
#   BUILD      built folders, of amd64 or armhf, with debug information
#   --update   write the baseline instead of comparing with it
# Exit code: 0 the same, 1 different or not compared, 2 wrong usage.
set -euo pipefail
cd "$(dirname "$0")/.."
readonly baselines=$PWD/packaging/abi

fail() {
    echo "check_abi.sh: $1" >&2
    exit 1
}

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

architecture() { # FILE
    local header
    header=$(readelf -h "$1" | tr -s ' ')
    case $header in
    *'Machine: Advanced Micro Devices X86-64'*) echo amd64 ;;
    *'Machine: ARM'*'hard-float ABI'*) echo armhf ;;
    *) fail "$1 is built for neither amd64 nor armhf" ;;
    esac
}

# The interface as XML. Without places in the source, which are no part of it.
describe() { # LIBRARY OUTPUT
    readelf -SW "$1" | grep -qF .debug_info || fail "$1 has no debug information to read"
    abidw --suppressions "$baselines/types.ini" --exported-interfaces-only --no-corpus-path \
        --no-comp-dir-path --no-show-locs --no-elf-needed --no-write-default-sizes \
        --type-id-style hash --out-file "$2" "$1"
    # A description without the records would be the same as any other without them.
    for record in VARIABLE KEY_ADDRESS FRAME_PRO _RCP_VAR_PRO _DATA_ velkor; do
        grep -qE "<class-decl name='$record' size-in-bits=" "$2" || fail "$1: no layout of $record was found"
    done
}

# 0 when the library is as the baseline says; else the differences, and 1.
compare() { # LIBRARY
    local target
    target=$(architecture "$1")
    describe "$1" "$scratch/found.xml"
    [ -e "$baselines/$target.xml" ] || fail "there is no baseline for $target"
    if ! abidiff --no-show-locs "$baselines/$target.xml" "$scratch/found.xml" >"$scratch/report"; then
        cat "$scratch/report"
        return 1
    fi
    echo "binary interface of $target: as the baseline has it"
}

# Builds the copied tree and holds against what is expected whether its interface is the same.
judge_copy() { # WHAT yes|no
    cmake --build "$scratch/tree/build" --target velkor >"$scratch/log" 2>&1 ||
        { tail -n 20 "$scratch/log" >&2; fail "selftest: the library with $1 does not compile"; }
    local same=yes
    (compare "$scratch/tree/build/libvelkor.so.1") >"$scratch/said" 2>&1 || same=no
    [ "$same" = "$2" ] || { cat "$scratch/said" >&2; fail "selftest: with $1, \"the same\" was answered with $same"; }
}

selftest() {
    local tree=$scratch/tree
    mkdir "$tree"
    git ls-files CMakeLists.txt CMakePresets.json cmake driver data scan fins packaging examples CHANGELOG.md |
        tar -cT - | tar -x -C "$tree"
    cmake -S "$tree" -B "$tree/build" -G Ninja -DCMAKE_BUILD_TYPE=Debug -DVELKOR_TESTS=OFF \
        -DVELKOR_TOOLS=OFF >"$scratch/log" 2>&1 || { cat "$scratch/log" >&2; fail "selftest: no configuration"; }
    judge_copy 'nothing altered' yes
    sed -i '/^intf_multiCopy$/d' "$tree/packaging/exports.txt"
    judge_copy 'an export less' no
    cp packaging/exports.txt "$tree/packaging/exports.txt"
    # The last field of a record becomes wider; nothing of the code minds.
    sed -i 's/^    int spare; .*/    long long spare;/' "$tree/driver/records.h"
    sed -i 's/^VELKOR_32BIT_LAYOUT.*//' "$tree/driver/records.h"
    ! cmp -s driver/records.h "$tree/driver/records.h" || fail "selftest: records.h was not altered"
    judge_copy 'a wider field' no
    grep -q FRAME_PRO "$scratch/said" ||
        { cat "$scratch/said" >&2; fail "selftest: the altered record is not named"; }
    echo "binary interface: an unaltered build and two altered ones were judged rightly"
}

for program in abidw abidiff readelf; do
    command -v "$program" >/dev/null || fail "no $program; the Debian package is abigail-tools"
done
case ${1:-} in
--selftest)
    [ $# -eq 1 ] || { echo "usage: tools/check_abi.sh --selftest" >&2; exit 2; }
    selftest
    exit 0
    ;;
--update) update=yes && shift ;;
-*) echo "usage: tools/check_abi.sh [--update] [BUILD...] | --selftest" >&2 && exit 2 ;;
*) update=no ;;
esac
[ $# -gt 0 ] || set -- build/release
for build in "$@"; do
    library=$build/libvelkor.so.1
    [ -e "$library" ] || fail "$build holds no libvelkor.so.1"
    if [ "$update" = yes ]; then
        describe "$library" "$scratch/new.xml"
        mv "$scratch/new.xml" "$baselines/$(architecture "$library").xml"
    else
        compare "$library" || fail "$library is not as packaging/abi has it; docs/abi.md says what may change"
    fi
done
