#!/usr/bin/env bash
# Installs into a scratch prefix, compiles a host against what lies there as the host guide says, and
# runs it. Usage: install_check.sh BUILD_DIR CXX [FLAGS...]
set -eu
build=$1
compiler=$2
shift 2

prefix=$(mktemp -d)
trap 'rm -rf "$prefix"' EXIT
cmake --install "$build" --prefix "$prefix" >"$prefix/install.log"

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
LD_LIBRARY_PATH=$(pkg-config --variable=libdir velkor) "$prefix/host"
