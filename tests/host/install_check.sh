#!/usr/bin/env bash
# Installs into a scratch prefix, and builds the example against what lies there: by pkg-config, by
# CMake, and with the static library. What the shared library shows must be its own.
# Usage: install_check.sh BUILD_DIR SOURCE_DIR QT_MAJOR CXX [FLAGS...]
set -eu
build=$1
source=$2
qt=$3
compiler=$4
shift 4

prefix=$(mktemp -d)
trap 'rm -rf "$prefix"' EXIT
cmake --install "$build" --prefix "$prefix" >"$prefix/install.log"
pc=$(find "$prefix" -name velkor-host.pc)
export PKG_CONFIG_PATH=${pc%/*}
libdir=$(pkg-config --variable=libdir velkor-host)

# Without a PLC it says what is missing and ends with 1, once everything has been found and loaded.
run() {
    local status=0
    LD_LIBRARY_PATH=$libdir "$@" 127.0.0.1:0 127.0.0.1:0 >"$prefix/out" 2>&1 || status=$?
    if [ $status -ne 1 ] || ! grep -q 'plc.port is 0; right is 1 to 65535' "$prefix/out"; then
        echo "$* ended with $status:" >&2
        cat "$prefix/out" >&2
        exit 1
    fi
}

# shellcheck disable=SC2046 # the flags are meant to be split
"$compiler" -std=c++17 "$@" "$source/examples/two_lines.cpp" -o "$prefix/shared" \
    $(pkg-config --cflags --libs velkor-host)
run "$prefix/shared"
# shellcheck disable=SC2046
"$compiler" -std=c++17 "$@" "$source/examples/two_lines.cpp" -o "$prefix/static" \
    $(pkg-config --cflags velkor-host) "$libdir/libvelkor-host.a" \
    $(pkg-config --libs "Qt${qt}Network") -lpcap
run "$prefix/static"

mkdir "$prefix/project"
cp "$source/examples/two_lines.cpp" "$prefix/project"
cat >"$prefix/project/CMakeLists.txt" <<'PROJECT'
cmake_minimum_required(VERSION 3.16)
project(host LANGUAGES CXX)
find_package(velkor-host REQUIRED)
add_executable(two_lines two_lines.cpp)
set_target_properties(two_lines PROPERTIES POSITION_INDEPENDENT_CODE ON)
target_link_libraries(two_lines velkor::host)
PROJECT
cmake -S "$prefix/project" -B "$prefix/project/build" -DCMAKE_PREFIX_PATH="$prefix" \
    -DCMAKE_CXX_COMPILER="$compiler" -DCMAKE_CXX_FLAGS="$*" >"$prefix/cmake.log" ||
    { cat "$prefix/cmake.log" >&2; exit 1; }
cmake --build "$prefix/project/build" >>"$prefix/cmake.log" || { cat "$prefix/cmake.log" >&2; exit 1; }
run "$prefix/project/build/two_lines"

# From a prefix of its own, found by its run path: the layer finds the driver beside itself. Nothing
# listens on the discard port, which is told once the driver has been loaded.
# shellcheck disable=SC2046
"$compiler" -std=c++17 "$@" "$source/examples/two_lines.cpp" -o "$prefix/elsewhere" \
    $(pkg-config --cflags --libs velkor-host) "-Wl,-rpath,$libdir"
# Deep enough that no folder of the prefix lies beside it as ../lib.
away=$prefix/away/from/it
mkdir -p "$away"
mv "$prefix/elsewhere" "$away"
# The static one has no layer to look beside: what is left is its run path.
# shellcheck disable=SC2046
"$compiler" -std=c++17 "$@" "$source/examples/two_lines.cpp" -o "$away/static" \
    $(pkg-config --cflags velkor-host) "$libdir/libvelkor-host.a" \
    $(pkg-config --libs "Qt${qt}Network") -lpcap "-Wl,-rpath,$libdir"
for host in elsewhere static; do
    status=0
    env -u LD_LIBRARY_PATH "$away/$host" 127.0.0.1:9 127.0.0.1:9 >"$prefix/out" 2>&1 || status=$?
    if [ $status -ne 1 ] || ! grep -q '^writing left/DM 101 (1 word) failed: ' "$prefix/out"; then
        echo "a host outside the prefix ($host) ended with $status:" >&2
        cat "$prefix/out" >&2
        exit 1
    fi
done
# With the driver taken away it says where it has looked, and what the host may set.
rm "$libdir"/libvelkor.so*
env -u LD_LIBRARY_PATH "$away/elsewhere" 127.0.0.1:9 127.0.0.1:9 >"$prefix/out" 2>&1 || true
if ! grep -q "there is no libvelkor.so.1 in .*$(realpath -s "$libdir"),.*LineSettings::driverFile" "$prefix/out"; then
    echo "without a driver a host outside the prefix said:" >&2
    cat "$prefix/out" >&2
    exit 1
fi

# Every function that an installed header declares can be linked with.
here=$(dirname "$0")
includes=$(pkg-config --variable=includedir velkor-host)
awk -f "$here/exports_check.awk" "$includes"/velkor/host/*.h | sort | uniq -c >"$prefix/declared"
if [ "$(wc -l <"$prefix/declared")" -lt 60 ]; then
    echo "only $(wc -l <"$prefix/declared") functions were found in the installed headers" >&2
    exit 1
fi
nm -DC --defined-only "$libdir/libvelkor-host.so" | cut -d ' ' -f 3- | sort -u >"$prefix/shown"
while read -r count name; do
    if [ "$(grep -cF "$name(" "$prefix/shown")" -lt "$count" ]; then
        echo "libvelkor-host.so does not show $name, which a header declares" >&2
        exit 1
    fi
done <"$prefix/declared"

# Weak symbols are templates and inline functions of Qt and the standard library.
alien=$(nm -DC --defined-only "$libdir/libvelkor-host.so" | grep -E '^[0-9a-f]+ [TDBR] ' |
    grep -v ' velkor_host::\|for velkor_host::' || true)
if [ -n "$alien" ]; then
    echo "libvelkor-host.so shows what is not its own:" >&2
    echo "$alien" >&2
    exit 1
fi
