#!/usr/bin/env bash
# dpkg-shlibdeps for files built against the sysroot in the environment variable SYSROOT, in which
# tools/prepare_sysroot.sh has noted its packages. cpack is given it in dpkg-shlibdeps' place.
# Usage: SYSROOT=folder tools/shlibdeps_sysroot.sh [dpkg-shlibdeps' own arguments]
set -eu
[ -s "${SYSROOT:-}/var/lib/dpkg/status" ] ||
    { echo "shlibdeps_sysroot.sh: \"${SYSROOT:-}\" is no sysroot with its packages noted" >&2; exit 1; }

# dpkg's records as they would be if the sysroot's libraries were installed where they lie.
records=$(mktemp -d)
trap 'rm -rf "$records"' EXIT
sysroot=$(realpath "$SYSROOT")
cp -r "$SYSROOT/var/lib/dpkg/." "$records"
sed -i "s|^|$sysroot|" "$records"/info/*.list
echo armhf >"$records/arch"
export DPKG_ADMINDIR=$records DEB_HOST_ARCH=armhf
folders=()
for folder in lib usr/lib lib/arm-linux-gnueabihf usr/lib/arm-linux-gnueabihf; do
    folders+=("-l$sysroot/$folder")
done
dpkg-shlibdeps --admindir="$records" "${folders[@]}" "$@"
