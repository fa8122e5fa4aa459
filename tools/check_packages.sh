#!/usr/bin/env bash
# Tries the packages as a user gets them. Those of amd64 are installed into an empty Debian 12, where
# the tools then run against each other on loopback and the example is built by CMake and by
# pkg-config. Those of armhf are unpacked into a copy of the sysroot; the panel runs there under the
# emulator against a PLC of this machine, and the example is built by the cross compiler and run. lintian
# judges all.
#
# Usage: tools/check_packages.sh [FOLDER...]    (default build/package/packages)
#   FOLDER   the packages of one architecture, as cpack made them
# Needs lintian; for amd64 root, mmdebstrap and the network (the mirror is that of this machine); for
# armhf the cross compiler, the emulator, the sysroot that SYSROOT in the environment names (default
# build/arm-sysroot), and the packages of amd64 before it or build/release/velkor-plc.
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
# shellcheck source=tools/live_trials.sh
. tools/live_trials.sh

need() { # PROGRAM...
    for program in "$@"; do
        command -v "$program" >/dev/null || fail "no $program"
    done
}
need lintian readelf dpkg-deb
scratch=$(mktemp -d)
target=
trap 'end_plc; rm -rf "$scratch" ${target:+"$target"}' EXIT

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
    dpkg-deb -e "$1"/libvelkor1_*.deb "$scratch/control.$2"
    ! grep -q network "$scratch/control.$2/control" || fail "$2: libvelkor1 wants more of Qt than QtCore"
    cmp -s packaging/debian/libvelkor1/symbols "$scratch/control.$2/symbols" ||
        fail "$2: libvelkor1 has no symbols file, or another one"
}

# The first line of this machine's sources that has the release's own packages.
mirror() {
    # shellcheck disable=SC2016 # apt-get puts the values in
    apt-get indextargets --format '$(REPO_URI)' \
        'Created-By: Packages' "Codename: $suite" 'Component: main' | head -n 1
}

tried_in_empty_debian() { # FOLDER
    local from status=0
    need mmdebstrap timeout
    [ "$(id -u)" -eq 0 ] || fail "installing into an empty Debian needs root"
    from=$(mirror)
    [ -n "$from" ] || fail "apt-get knows no mirror of Debian 12 ($suite) on this machine"
    mkdir "$scratch/try"
    cp -r "$1"/*.deb "$1"/*.tar.gz examples tools/check_packages_inside.sh tools/live_trials.sh "$scratch/try"
    echo "deb $from $suite main" |
        timeout 900 mmdebstrap --quiet --variant=apt --format=null \
            --aptopt='Apt::Install-Recommends "false"' --dpkgopt=force-unsafe-io \
            --customize-hook="cp -r '$scratch/try' \"\$1/try\"" \
            --customize-hook='chroot "$1" bash /try/check_packages_inside.sh' \
            "$suite" - - >"$scratch/log" 2>&1 || status=$?
    [ "$status" -ne 0 ] || return 0
    tail -n 40 "$scratch/log" >&2
    [ "$status" -ne 124 ] || fail "trying the packages in an empty Debian 12 took more than 15 minutes"
    fail "the packages do not work in an empty Debian 12"
}

# As a panel maker has them: unpacked into the sysroot.
tried_under_the_emulator() { # FOLDER
    local sysroot=${SYSROOT:-build/arm-sysroot} plc_program=$scratch/amd64/usr/bin/velkor-plc run programs
    need qemu-arm-static arm-linux-gnueabihf-g++ cmake pkg-config
    [ -d "$sysroot/usr" ] || fail "there is no sysroot in $sysroot; tools/make_arm_sysroot.sh makes one"
    [ -x "$plc_program" ] || plc_program=build/release/velkor-plc
    [ -x "$plc_program" ] || fail "there is no PLC to try the packages with; build the preset release"
    target=$(mktemp -d "$(realpath "$sysroot").trial.XXXXXX")
    cp -al "$sysroot/." "$target" # links: nothing writes into a file that is there
    for deb in "$1"/*.deb; do
        dpkg-deb -x "$deb" "$target"
    done
    mkdir -p "$target/opt"
    tar -xzf "$1"/velkor-*.tar.gz -C "$target/opt"

    programs=$(echo "$target"/opt/velkor-*/bin)
    may_be_emulated "$target"/usr/bin/velkor-* "$target"/usr/lib/*/libvelkor*.so.1 "$programs"/velkor-*
    run=(qemu-arm-static -L "$target")
    try_panel "$plc_program" examples/tank "${run[@]}" "$target/usr/bin/velkor-panel"
    try_panel "$plc_program" examples/tank "${run[@]}" "$programs/velkor-panel"
    "${run[@]}" "$target/usr/bin/velkor-plc" --version >/dev/null || fail "velkor-plc of armhf does not run"

    cmake -S examples/installed -B "$scratch/hosts" -DVELKOR_ARM_SYSROOT="$target" \
        -DCMAKE_TOOLCHAIN_FILE="$PWD/cmake/arm_toolchain.cmake" >"$scratch/log" 2>&1 &&
        cmake --build "$scratch/hosts" >>"$scratch/log" 2>&1 ||
        { tail -n 40 "$scratch/log" >&2; fail "the examples do not build against the packages of armhf"; }
    may_be_emulated "$scratch/hosts/minimal_host"
    try_host "$plc_program" "${run[@]}" "$scratch/hosts/minimal_host"
    # shellcheck disable=SC2046 # the flags are meant to be split
    arm-linux-gnueabihf-g++ --sysroot="$target" -std=c++11 -Wno-psabi examples/minimal_host.cpp \
        examples/udp_link.cpp -o "$scratch/by_pkg_config" $(for_target pkg-config --cflags --libs velkor)
    may_be_emulated "$scratch/by_pkg_config"
    try_host "$plc_program" "${run[@]}" "$scratch/by_pkg_config"
}

for_target() { # COMMAND...
    PKG_CONFIG_SYSROOT_DIR=$target \
        PKG_CONFIG_LIBDIR=$target/usr/lib/arm-linux-gnueabihf/pkgconfig:$target/usr/share/pkgconfig "$@"
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
        tried_under_the_emulator "$folder"
        echo "packages of armhf: unpacked into a sysroot, run under the emulator, and built against"
        ;;
    *) fail "$folder: packages of $architecture" ;;
    esac
done
