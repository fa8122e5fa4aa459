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

# Ends a program of this script's own and waits for it.
end() { # PID
    [ "$1" -gt 1 ] || fail "$1 is no process of this script"
    kill -TERM "$1"
    wait "$1" || true
}

# Starts a simulated PLC in this folder; sets plc (its address) and plc_process.
start_plc() { # PROGRAM
    local line
    rm -f plc.out
    mkfifo plc.out
    "$1" --process tank --listen 127.0.0.1:0 >plc.out &
    plc_process=$!
    read -r -t 20 line <plc.out || { end "$plc_process"; fail "$1 said nothing"; }
    plc=${line#listening on }
    [[ $plc == 127.0.0.1:* ]] || { end "$plc_process"; fail "$1 said: $line"; }
}

use_tools() { # FOLDER OF THE PROGRAMS
    local read_back
    start_plc "$1/velkor-plc"
    trap 'end "$plc_process"' EXIT
    "$1/velkor-panel" --plc "$plc" probe
    "$1/velkor-panel" --plc "$plc" write DM 500 4711
    read_back=$("$1/velkor-panel" --plc "$plc" --format csv read DM 500 | tail -n 1)
    [ "$read_back" = DM,500,4711 ] || fail "read back: $read_back"
    trap - EXIT
    end "$plc_process"
}

# A host polls the PLC: it has to tell a value before its time is over.
try_host() { # PROGRAM
    local line
    start_plc velkor-plc
    trap 'end "$plc_process"' EXIT
    line=$(timeout 20 "$1" libvelkor.so.1 "${plc%:*}" "${plc##*:}" | head -n 1) || true
    grep -qE '^(DM|CIO_bit) [0-9]+ = [0-9]+$' <<<"$line" || fail "$1 told: $line"
    trap - EXIT
    end "$plc_process"
}

# 1. The tools, from a Debian that has no Qt, no compiler and no driver.
[ ! -e /usr/bin/cc ] || fail "this Debian is not empty"
ls /usr/lib/*/libQt5Core.so.5 2>/dev/null && fail "this Debian is not empty"
apt-get -qq install -y ./velkor-tools_*.deb ./libvelkor1_*.deb
use_tools /usr/bin
[ -e /usr/share/bash-completion/completions/velkor-panel ] || fail "no completion"

# 2. The tar.gz, in a folder of its own; the libraries that it needs are there now.
mkdir -p /opt/panel
tar -xzf velkor-*.tar.gz -C /opt/panel
[ "$(cut -d/ -f1 <(tar -tzf velkor-*.tar.gz) | sort -u | wc -l)" -eq 1 ] || fail "the tar.gz has no one folder"
apt-get -qq purge -y libvelkor1 velkor-tools
use_tools /opt/panel/velkor-*/bin
rm -r /opt/panel

# 3. Building against the packages.
apt-get -qq install -y ./*.deb g++ make cmake pkg-config >/dev/null
cat >CMakeLists.txt <<'PROJECT'
cmake_minimum_required(VERSION 3.16)
project(hosts LANGUAGES CXX)
find_package(velkor 1.0 REQUIRED)
find_package(velkor-host 1.0 REQUIRED)
find_package(Qt5 REQUIRED COMPONENTS Network)
set(CMAKE_CXX_STANDARD 17)
add_executable(minimal_host minimal_host.cpp)
target_link_libraries(minimal_host velkor::velkor Qt5::Network)
add_executable(two_lines two_lines.cpp)
target_link_libraries(two_lines velkor::host)
PROJECT
cmake -S . -B build >/dev/null
cmake --build build >/dev/null
try_host build/minimal_host
status=0
build/two_lines >two_lines.out 2>&1 || status=$?
[ "$status" -eq 1 ] && grep -q 'right is 1 to 65535' two_lines.out ||
    fail "two_lines ended with $status: $(cat two_lines.out)"

# shellcheck disable=SC2046 # the flags are meant to be split
g++ -std=c++17 minimal_host.cpp -o by_pkg_config $(pkg-config --cflags --libs velkor Qt5Network)
try_host ./by_pkg_config
