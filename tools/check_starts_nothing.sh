#!/usr/bin/env bash
# Looks into every object file of a build for calls that start a process, signal one, or run a test in
# a process of its own. A build whose tests run under an emulator must have none: see
# cmake/velkor_tests.cmake. Of a linked program or library, which may be stripped, it looks into what that
# takes from others. Usage: tools/check_starts_nothing.sh BUILD_DIR|PROGRAM NM
# Exit 0: none. 1: some, printed as "file: name". 2: wrong usage, or nothing to look into.
set -eu
if [ $# -ne 2 ] || [ ! -e "$1" ]; then
    echo "usage: check_starts_nothing.sh BUILD_DIR|PROGRAM NM" >&2
    exit 2
fi
build=$1
nm=$2

if [ -d "$build" ]; then
    objects=$(find "$build" -name '*.o' -path '*/CMakeFiles/*' ! -path '*/CMakeScratch/*')
    symbols=-uAC
else
    objects=$build
    symbols=-DuAC
fi
if [ -z "$objects" ]; then
    echo "$build has no object files" >&2
    exit 2
fi
forbidden='(v?fork|_Fork|forkpty|clone3?|system|popen|posix_spawnp?|exec[lv]p?e?|fexecve|p?kill|killpg|tgkill|sigqueue|pthread_kill|syscall)(@.*)?$'
forbidden+='|^QProcess::|^testing::internal::DeathTest::'
# Undefined names of one file a line: "file: U name".
undefined=$(xargs "$nm" "$symbols" <<<"$objects")
[ -n "$undefined" ] || { echo "$build takes nothing from others; it cannot be judged" >&2; exit 2; }
found=$(sed -E 's/^([^:]*): *[Uw] /\1: /' <<<"$undefined" |
    awk -F': ' -v forbidden="^$forbidden" '$2 ~ forbidden')
[ -n "$found" ] || exit 0
echo "these start or signal processes:" >&2
echo "$found" >&2
exit 1
