#!/usr/bin/env bash
# Makes the sysroot that the preset "arm" builds against, from Debian's armhf packages: what they
# contain is unpacked, nothing is installed or run. A sysroot that is there already is kept as long
# as it was made from the same list.
# Usage: tools/make_arm_sysroot.sh [FOLDER]   (default build/arm-sysroot)
set -eu
cd "$(dirname "$0")/.."
sysroot=${1:-build/arm-sysroot}

suite=bookworm
packages=libc6-dev,libstdc++-12-dev,qtbase5-dev,libpcap-dev,libncurses-dev,libgtest-dev,libgmock-dev
made_from=$sysroot/made-from
[ "$(cat "$made_from" 2>/dev/null)" = "$suite $packages" ] && exit 0

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
        "$suite" "$unfinished/root" -
mkdir -p "$unfinished/root/tmp"
echo "$suite $packages" >"$unfinished/root/made-from"
rm -rf "$sysroot"
mv "$unfinished/root" "$sysroot"
