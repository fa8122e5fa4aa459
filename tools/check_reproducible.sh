#!/usr/bin/env bash
# Builds and packs one commit twice, in folders of different names and depth, at another time, with
# another umask and without a compiler cache, and compares the bytes of the products and packages.
#
# Usage: tools/check_reproducible.sh [COMMIT]    (default HEAD)
# Exit code: 0 the same bytes, 1 not, or not built (told), 2 wrong usage.
set -euo pipefail
cd "$(dirname "$0")/.."
if [ $# -gt 1 ] || ! commit=$(git rev-parse --verify --quiet "${1:-HEAD}^{commit}"); then
    echo "usage: tools/check_reproducible.sh [COMMIT]" >&2
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
    mkdir -p "$1"
    git archive "$commit" | tar -x -C "$1"
    (
        cd "$1"
        umask "$2"
        export TZ=$3
        cmake --preset package &&
            cmake --build --preset package --target velkor velkor_host velkor_host_core \
                velkor-panel velkor-plc &&
            cd build/package && cpack
    ) >"$scratch/log" 2>&1 || { tail -n 30 "$scratch/log" >&2; fail "cannot build in $1"; }
}

first=$scratch/a
second=$scratch/another/folder/with-a-longer-name
build "$first" 022 UTC
build "$second" 077 Asia/Tokyo

compared=0
for file in "$first"/build/package/packages/*.* "$first"/build/package/libvelkor*.so.1 \
    "$first"/build/package/velkor-panel "$first"/build/package/velkor-plc; do
    [ -f "$file" ] || continue
    cmp "$file" "$second${file#"$first"}" || fail "${file#"$first"/} differs between two builds"
    compared=$((compared + 1))
done
[ "$compared" -eq 9 ] || fail "$compared files were compared; there should be 9"
for file in "$first"/build/package/libvelkor*.so.1 "$first"/build/package/velkor-p*; do
    ! grep -qaF "$scratch" "$file" || fail "${file##*/} names the folder it was built in"
done
echo "reproducible: $compared files of commit ${commit:0:12} are the same from two folders"
