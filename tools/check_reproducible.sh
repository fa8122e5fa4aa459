#!/usr/bin/env bash
# Builds and packs one commit twice, in folders of different names and depth, at another time, with
# another umask and without a compiler cache, and compares the bytes of the products and packages.
#
# Usage: tools/check_reproducible.sh [--arm] [--built] [COMMIT]    (default HEAD)
#   --arm     for armhf (preset package-arm) against the sysroot in build/arm-sysroot
#   --built   half the time: the first build is the one in build/package (with --arm build/package-arm),
#             built of this commit and packed
# Exit code: 0 the same bytes, 1 not, or not built (told), 2 wrong usage.
set -euo pipefail
cd "$(dirname "$0")/.."
preset=package
built=no
while [[ ${1:-} == -* ]]; do
    case $1 in
    --arm) preset=package-arm ;;
    --built) built=yes ;;
    *) set -- wrong usage ;;
    esac
    shift
done
if [ $# -gt 1 ] || ! commit=$(git rev-parse --verify --quiet "${1:-HEAD}^{commit}"); then
    echo "usage: tools/check_reproducible.sh [--arm] [--built] [COMMIT]" >&2
    exit 2
fi

fail() {
    echo "check_reproducible.sh: $1" >&2
    exit 1
}

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
SOURCE_DATE_EPOCH=$(git log -1 --format=%ct "$commit")
export SOURCE_DATE_EPOCH
export CCACHE_DISABLE=1 # what was built elsewhere proves nothing
unset CMAKE_CXX_COMPILER_LAUNCHER

build() { # FOLDER UMASK ZONE
    mkdir -p "$1/build"
    git archive "$commit" | tar -x -C "$1"
    ln -s "$PWD/build/arm-sysroot" "$1/build/arm-sysroot" # where the preset looks for it
    (
        cd "$1"
        umask "$2"
        export TZ=$3
        cmake --preset "$preset" && cmake --build --preset "$preset" && cd "build/$preset" && cpack
    ) >"$scratch/log" 2>&1 || { tail -n 30 "$scratch/log" >&2; fail "cannot build in $1"; }
}

if [ "$built" = yes ]; then
    first=$PWD
    [ -e "build/$preset/packages" ] || fail "there are no packages in build/$preset"
else
    first=$scratch/a
    build "$first" 022 UTC
fi
second=$scratch/another/folder/with-a-longer-name
build "$second" 077 Asia/Tokyo

compared=0
for file in "$second/build/$preset"/packages/*.* "$second/build/$preset"/libvelkor*.so.1 \
    "$second/build/$preset"/velkor-panel "$second/build/$preset"/velkor-plc; do
    [ -f "$file" ] || continue
    cmp "$first${file#"$second"}" "$file" || fail "${file#"$second/"} differs between two builds"
    compared=$((compared + 1))
done
[ "$compared" -eq 9 ] || fail "$compared files were compared; there should be 9"
for file in "$second/build/$preset"/libvelkor*.so.1 "$second/build/$preset"/velkor-p*; do
    ! grep -qaF "$scratch" "$file" || fail "${file##*/} names the folder it was built in"
done
echo "reproducible: $compared files of commit ${commit:0:12} are the same from two folders ($preset)"
