#!/usr/bin/env bash
# Run by tools/check_packages.sh inside an empty Debian: installs the packages that lie beside it and
# uses them. Exit code: 0 all is well, 1 something is not (told).
set -euo pipefail
cd "$(dirname "$0")"
export DEBIAN_FRONTEND=noninteractive LC_ALL=C
unset CMAKE_CXX_COMPILER_LAUNCHER # a compiler cache of outside

fail() {
    echo "FAILED: $1" >&2
    exit 1
}
# shellcheck source=tools/live_trials.sh
. ./live_trials.sh
trap end_plc EXIT

# 1. The tools, from a Debian that has no Qt, no compiler and no driver.
[ ! -e /usr/bin/cc ] || fail "this Debian is not empty"
! ls /usr/lib/*/libQt5Core.so.5 2>/dev/null || fail "this Debian is not empty"
apt-get -qq install -y ./velkor-tools_*.deb ./libvelkor1_*.deb
try_panel /usr/bin/velkor-plc examples/tank /usr/bin/velkor-panel
[ -e /usr/share/bash-completion/completions/velkor-panel ] || fail "no completion"

# 2. The tar.gz, in a folder of its own; the libraries that it needs are there now.
mkdir -p /opt/panel
tar -xzf velkor-*.tar.gz -C /opt/panel
[ "$(cut -d/ -f1 <(tar -tzf velkor-*.tar.gz) | sort -u | wc -l)" -eq 1 ] || fail "the tar.gz has no one folder"
apt-get -qq purge -y libvelkor1 velkor-tools
programs=$(echo /opt/panel/velkor-*/bin)
try_panel "$programs/velkor-plc" examples/tank "$programs/velkor-panel"
rm -r /opt/panel

# 3. Building against the packages.
apt-get -qq install -y ./*.deb g++ make cmake pkg-config >/dev/null
cmake -S examples/installed -B build >/dev/null
cmake --build build -j "$(nproc)" >/dev/null
try_host velkor-plc build/minimal_host
status=0
build/two_lines >two_lines.out 2>&1 || status=$?
# With no address it ends at once, with a sentence of the layer's.
[ "$status" -eq 2 ] && grep -q 'right is an IPv4 address' two_lines.out ||
    fail "two_lines ended with $status: $(cat two_lines.out)"

# shellcheck disable=SC2046 # the flags are meant to be split
g++ -std=c++11 examples/minimal_host.cpp examples/udp_link.cpp -o by_pkg_config \
    $(pkg-config --cflags --libs velkor)
try_host velkor-plc ./by_pkg_config
