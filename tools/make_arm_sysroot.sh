#!/usr/bin/env bash
# Makes the sysroot that the presets "arm" and "package-arm" build against, from Debian's armhf packages:
# what they contain is unpacked, nothing is installed or run; tools/prepare_sysroot.sh then makes it fit
# for linking and packing. A sysroot that is there already is kept as long as it was made from the same
# list in the same way.
# Usage: tools/make_arm_sysroot.sh [FOLDER]   (default build/arm-sysroot)
set -eu
cd "$(dirname "$0")/.."
sysroot=${1:-build/arm-sysroot}

suite=bookworm
packages=libc6-dev,libstdc++-12-dev,qtbase5-dev,libpcap-dev,libncurses-dev,libgtest-dev,libgmock-dev
made_from=$sysroot/made-from
key="$suite $packages $(sha256sum <tools/prepare_sysroot.sh | cut -c 1-16)"
[ "$(cat "$made_from" 2>/dev/null)" = "$key" ] && exit 0

if ! command -v mmdebstrap >/dev/null; then
    echo "mmdebstrap is missing; tools/install_dependencies.sh --ci installs it" >&2
    exit 1
fi
if [ -e "$sysroot" ] && [ ! -e "$made_from" ]; then
    echo "$sysroot is there, and this script has not made it; name another folder" >&2
    exit 1
fi
# The mirror that this machine uses. The release's own packages are enough.
mirror=$(apt-get indextargets --format '$(REPO_URI)' \
    'Created-By: Packages' "Codename: $suite" 'Component: main' | head -n 1)
if [ -z "$mirror" ]; then
    echo "apt-get knows no mirror of Debian 12 ($suite) on this machine" >&2
    exit 1
fi

mkdir -p "$(dirname "$sysroot")"
unfinished=$(mktemp -d "$(dirname "$sysroot")/unfinished-sysroot.XXXXXX")
trap 'rm -rf "$unfinished"' EXIT
echo "Making $sysroot from Debian's armhf packages"
echo "deb $mirror $suite main" |
    mmdebstrap --quiet --architectures=armhf --variant=extract --include="$packages" \
        --extract-hook='tools/prepare_sysroot.sh "$1"' "$suite" "$unfinished/root" -
mkdir -p "$unfinished/root/tmp"
echo "$key" >"$unfinished/root/made-from"
rm -rf "$sysroot"
mv "$unfinished/root" "$sysroot"
