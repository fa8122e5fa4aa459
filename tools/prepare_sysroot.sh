#!/usr/bin/env bash
# Makes of unpacked Debian packages a sysroot that can be linked and packed against:
# - Links that begin at / lead into this machine when followed from here; the linker then takes the
#   static library beside them. They are made relative.
# - It is noted which package each library comes from, as dpkg does when it installs them; what
#   packages for the target depend on is found out from that (tools/shlibdeps_sysroot.sh).
# mmdebstrap calls it (--extract-hook) while the packages still lie in the sysroot.
# Usage: tools/prepare_sysroot.sh SYSROOT
set -eu
[ $# -eq 1 ] && [ -d "$1/var/cache/apt/archives" ] ||
    { echo "usage: tools/prepare_sysroot.sh SYSROOT" >&2; exit 2; }
find "$1/lib" "$1/usr/lib" -type l -lname '/*' | while IFS= read -r link; do
    ln -sfnr "$1$(readlink "$link")" "$link"
done

records=$1/var/lib/dpkg
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
mkdir -p "$records/info"
echo 1 >"$records/info/format" # the architecture is part of the names of its files

for package in "$1"/var/cache/apt/archives/*.deb; do
    rm -rf "$scratch/control"
    dpkg-deb -e "$package" "$scratch/control"
    [ -e "$scratch/control/symbols" ] || [ -e "$scratch/control/shlibs" ] || continue
    name=$(dpkg-deb -f "$package" Package)
    architecture=$(dpkg-deb -f "$package" Architecture)
    for control in symbols shlibs; do
        [ ! -e "$scratch/control/$control" ] ||
            cp "$scratch/control/$control" "$records/info/$name:$architecture.$control"
    done
    dpkg-deb --fsys-tarfile "$package" | tar -t | sed 's/^\.//; s/^\/$/\/./; s/\(.\)\/$/\1/' \
        >"$records/info/$name:$architecture.list"
    # What dpkg looks at of a package that is installed.
    sed '/^Package:/a Status: install ok installed' "$scratch/control/control" >>"$records/status"
    echo >>"$records/status"
done
