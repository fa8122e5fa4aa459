#!/usr/bin/env bash
# Builds and packs one commit twice, in folders of different names and depth, at another time, with
# another umask and without a compiler cache, and compares the bytes of the products and packages.
#
# Usage: tools/check_reproducible.sh [--arm] [--built] [--driver] [COMMIT]    (default HEAD)
#   --arm      for armhf (preset package-arm) against the sysroot in build/arm-sysroot
#   --built    half the time: the first build is the one in build/package (with --arm build/package-arm),
#              built of this commit, without a compiler cache that rewrites paths, and packed
#   --driver   a sixth of the time: the driver's library and its package alone
# Exit code: 0 the same bytes, 1 not, or not built (told), 2 wrong usage.
set -euo pipefail
cd "$(dirname "$0")/.."
preset=package
built=no
what=(libvelkor-dev_ libvelkor-host1_ libvelkor1_ velkor-tools_ velkor-1 libvelkor.so.1 libvelkor-host.so.1
    velkor-panel velkor-plc)
targets=()
components=()
while [[ ${1:-} == -* ]]; do
    case $1 in
    --arm) preset=package-arm ;;
    --built) built=yes ;;
    --driver)
        what=(libvelkor1_ libvelkor.so.1)
        targets=(--target velkor)
        components=(-G DEB -D CPACK_COMPONENTS_ALL=velkor)
        ;;
    *) set -- wrong usage ;;
    esac
    shift
done
if [ $# -gt 1 ] || ! commit=$(git rev-parse --verify --quiet "${1:-HEAD}^{commit}"); then
    echo "usage: tools/check_reproducible.sh [--arm] [--built] [--driver] [COMMIT]" >&2
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
        cmake --preset "$preset" &&
            cmake --build --preset "$preset" ${targets[@]+"${targets[@]}"} &&
            cd "build/$preset" && cpack ${components[@]+"${components[@]}"}
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

for name in "${what[@]}"; do
    file=$(find "$second/build/$preset" -maxdepth 2 ! -type d \( -path "*/packages/$name*" -o \
        -path "*/$preset/$name" \))
    [ "$(wc -l <<<"$file")" -eq 1 ] && [ -e "$file" ] || fail "one file $name was to be built, and there is: $file"
    cmp "$first${file#"$second"}" "$file" || fail "${file#"$second/"} differs between two builds"
    ! grep -qaF "$scratch" "$file" || fail "$name names the folder it was built in"
done
echo "reproducible: ${#what[@]} files of commit ${commit:0:12} are the same from two folders ($preset)"
