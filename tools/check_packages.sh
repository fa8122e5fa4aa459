#!/usr/bin/env bash
# Tries the packages as a user gets them. Those of amd64 are installed into an empty Debian 12, where
# the tools then run against each other on loopback and the example is built by CMake and by
# pkg-config. Those of armhf are unpacked and looked at; nothing of them is started. lintian judges all.
#
# Usage: tools/check_packages.sh [FOLDER...]    (default build/package/packages)
#   FOLDER   the packages of one architecture, as cpack made them
# Needs root, mmdebstrap and lintian, and the network: the mirror is that of this machine.
# Exit code: 0 all is well, 1 something is not (told), 2 wrong usage.
set -euo pipefail
cd "$(dirname "$0")/.."
case ${1:-} in
-*)
    echo "usage: tools/check_packages.sh [FOLDER...]" >&2
    exit 2
    ;;
esac
[ $# -gt 0 ] || set -- build/package/packages
readonly suite=bookworm

fail() {
    echo "check_packages.sh: $1" >&2
    exit 1
}
[ "$(id -u)" -eq 0 ] || fail "installing into an empty Debian needs root"
for program in mmdebstrap lintian readelf dpkg-deb; do
    command -v "$program" >/dev/null || fail "no $program"
done
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

# The packages are there, of one version, and nothing else is.
packages_in() { # FOLDER -> the architecture
    local architectures names
    names=$(for deb in "$1"/*.deb; do dpkg-deb -f "$deb" Package; done | tr '\n' ' ')
    [ "$names" = 'libvelkor-dev libvelkor-host1 libvelkor1 velkor-tools ' ] ||
        fail "$1 holds the packages: $names"
    [ "$(ls "$1"/*.tar.gz | wc -l)" -eq 1 ] || fail "$1 holds no tar.gz, or several"
    architectures=$(for deb in "$1"/*.deb; do dpkg-deb -f "$deb" Architecture; done | sort -u)
    [ "$(wc -l <<<"$architectures")" -eq 1 ] || fail "$1 holds packages of several architectures"
    echo "$architectures"
}

judged_by_lintian() { # FOLDER
    local tags
    tags=$(lintian --allow-root --fail-on none "$1"/*.deb) || fail "lintian failed"
    if grep -qE '^[EW]:' <<<"$tags"; then
        grep -E '^[EW]:' <<<"$tags" >&2
        fail "lintian is not content with the packages in $1"
    fi
}

# What is inside is built for the architecture, has the names that hosts load, and the packages want
# those that its libraries come from.
looked_at() { # FOLDER ARCHITECTURE MACHINE LIBRARY_FOLDER
    local root=$scratch/$2 file header depends package want
    for deb in "$1"/*.deb; do
        dpkg-deb -x "$deb" "$root"
    done
    for file in "usr/lib/$4/libvelkor.so.1" "usr/lib/$4/libvelkor-host.so.1" \
        usr/bin/velkor-panel usr/bin/velkor-plc; do
        header=$(readelf -hdW "$root/$file" | tr -s ' ')
        [[ $header == *"Machine: $3"* ]] || fail "$file is not built for $2"
        [[ $header != *RPATH* && $header != *RUNPATH* ]] || fail "$file has a run path"
        [ -z "$(readelf -SW "$root/$file" | grep -F .debug_)" ] || fail "$file is not stripped"
        case $file in
        *.so.1) [[ $header == *"Library soname: [${file##*/}]"* ]] || fail "$file has another soname" ;;
        esac
    done
    while read -r package want; do
        depends=$(dpkg-deb -f "$1/$package"_*.deb Depends)
        grep -qE "(^|, )$want( |,|\$)" <<<"$depends" || fail "$2: $package does not depend on $want: $depends"
    done <<'DEPENDS'
libvelkor1 libc6 \(>= [0-9.]+\)
libvelkor1 libqt5core5a \(>= 5[0-9.]+\)
libvelkor-host1 libqt5network5 \(>= 5[0-9.]+\)
libvelkor-host1 libpcap0\.8 \(>= [0-9.]+\)
libvelkor-host1 libvelkor1 \(= [0-9.-]+\)
velkor-tools libvelkor1 \(= [0-9.-]+\)
velkor-tools libncursesw6 \(>= [0-9.]+\)
libvelkor-dev libvelkor1 \(= [0-9.-]+\)
libvelkor-dev libvelkor-host1 \(= [0-9.-]+\)
libvelkor-dev qtbase5-dev
DEPENDS
    ! grep -q network "$(dpkg-deb -e "$1"/libvelkor1_*.deb "$scratch/control.$2" && echo "$scratch/control.$2/control")" ||
        fail "$2: libvelkor1 wants more of Qt than QtCore"
}

# The first line of this machine's sources that has the release's own packages.
mirror() {
    # shellcheck disable=SC2016 # apt-get puts the values in
    apt-get indextargets --format '$(REPO_URI)' \
        'Created-By: Packages' "Codename: $suite" 'Component: main' | head -n 1
}

tried_in_empty_debian() { # FOLDER
    local from
    from=$(mirror)
    [ -n "$from" ] || fail "apt-get knows no mirror of Debian 12 ($suite) on this machine"
    mkdir "$scratch/try"
    cp "$1"/*.deb "$1"/*.tar.gz examples/minimal_host.cpp examples/two_lines.cpp \
        tools/check_packages_inside.sh "$scratch/try"
    if ! echo "deb $from $suite main" |
        mmdebstrap --quiet --variant=apt --format=null \
            --aptopt='Apt::Install-Recommends "false"' --dpkgopt=force-unsafe-io \
            --customize-hook="cp -r '$scratch/try' \"\$1/try\"" \
            --customize-hook='chroot "$1" bash /try/check_packages_inside.sh' \
            "$suite" - - >"$scratch/log" 2>&1; then
        tail -n 40 "$scratch/log" >&2
        fail "the packages do not work in an empty Debian 12"
    fi
}

for folder in "$@"; do
    architecture=$(packages_in "$folder")
    judged_by_lintian "$folder"
    case $architecture in
    amd64)
        looked_at "$folder" amd64 'Advanced Micro Devices X86-64' x86_64-linux-gnu
        tried_in_empty_debian "$folder"
        echo "packages of amd64: installed into an empty Debian 12, run, and built against"
        ;;
    armhf)
        looked_at "$folder" armhf ARM arm-linux-gnueabihf
        echo "packages of armhf: unpacked and looked at"
        ;;
    *) fail "$folder: packages of $architecture" ;;
    esac
done
