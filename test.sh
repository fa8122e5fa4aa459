#!/usr/bin/env bash
# Builds velkor and runs every test. Installs what is missing; asks nothing.
# Usage: ./test.sh [preset]   (release, debug, asan, qt6, clang-qt6, asan-qt6 or arm; default release)
set -eu
cd "$(dirname "$0")"
preset=${1:-release}

case $preset in
release | debug) tools/install_dependencies.sh ;;
arm) tools/install_dependencies.sh --ci && tools/make_arm_sysroot.sh ;;
*) tools/install_dependencies.sh --ci ;; # the other compiler, the other Qt
esac
werror=OFF
[ "${CI:-}" = true ] && werror=ON
cmake --preset "$preset" -DVELKOR_WERROR=$werror
cmake --build --preset "$preset"
progress=
[ -t 1 ] && progress=--progress # one line on a terminal instead of two for each test
ctest --preset "$preset" -j "$(nproc)" $progress
