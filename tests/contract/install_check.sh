#!/usr/bin/env bash
# Installs into a scratch prefix, moves that elsewhere, compiles a host against what lies there as the
# host guide says, by pkg-config and by CMake, and runs it.
# Usage: install_check.sh BUILD_DIR VERSION CXX [FLAGS...]
# For another machine: VELKOR_SYSROOT is its sysroot, VELKOR_EMULATOR runs its programs here, and
# VELKOR_TOOLCHAIN is what CMake has to be told; pkg-config is told by its own variables.
set -eu
build=$1
version=$2
compiler=$3
shift 3

# In the sysroot, as for a panel: pkg-config and CMake take everything from there.
scratch=$(mktemp -d ${VELKOR_SYSROOT:+-p "$VELKOR_SYSROOT/tmp"})
emulator=${VELKOR_EMULATOR:-}
trap 'rm -rf "$scratch"' EXIT
cmake --install "$build" --prefix "$scratch/first" >"$scratch/install.log"
prefix=$scratch/moved
mv "$scratch/first" "$prefix"

pc=$(find "$prefix" -name velkor.pc)
export PKG_CONFIG_PATH=${pc%/*}
cat >"$prefix/host.cpp" <<'HOST'
#include <velkor/host_interface.h>

#include <cstdio>

int main() {
    QString parameters;
    intf_getDriverParameter(parameters);
    std::puts(qPrintable(parameters));
    return parameters.count(QLatin1Char(',')) == 21 ? 0 : 1;
}
HOST
# shellcheck disable=SC2046 # the flags are meant to be split
"$compiler" "$@" "$prefix/host.cpp" -o "$prefix/host" $(pkg-config --cflags --libs velkor)
LD_LIBRARY_PATH=${pc%/*/*} $emulator "$prefix/host"

# project VERSION: configures a host that wants this version of the package.
project() {
    mkdir -p "$prefix/project"
    cp "$prefix/host.cpp" "$prefix/project"
    cat >"$prefix/project/CMakeLists.txt" <<PROJECT
cmake_minimum_required(VERSION 3.16)
project(host LANGUAGES CXX)
find_package(velkor $1 REQUIRED)
add_executable(host host.cpp)
target_link_libraries(host velkor::velkor)
PROJECT
    cmake -S "$prefix/project" -B "$prefix/project/build" -DCMAKE_PREFIX_PATH="$prefix" \
        -DCMAKE_CXX_COMPILER="$compiler" -DCMAKE_CXX_FLAGS="$flags" ${VELKOR_TOOLCHAIN:-} >"$prefix/cmake.log" 2>&1
}
flags=$*
project "$version" && cmake --build "$prefix/project/build" >>"$prefix/cmake.log" ||
    { cat "$prefix/cmake.log" >&2; exit 1; }
LD_LIBRARY_PATH=${pc%/*/*} $emulator "$prefix/project/build/host"

# The next major version is another binary interface, which this package does not have.
if project "$((${version%%.*} + 1)).0"; then
    echo "find_package(velkor $((${version%%.*} + 1)).0) took version $version" >&2
    exit 1
fi
grep -q "The following configuration files were considered but not accepted" "$prefix/cmake.log" ||
    { cat "$prefix/cmake.log" >&2; exit 1; }

# Nothing that is installed for builders names the folders of this build.
if grep -rlF -e "$build" -e "$scratch/first" "${pc%/*}" "${pc%/*/*}/cmake"; then
    echo "these name the folder they were built in or installed to" >&2
    exit 1
fi
