#!/usr/bin/env bash
# Looks into every object file of a build for calls that start a process, signal one, or run a test in
# a process of its own. A build whose tests run under an emulator must have none: see
# cmake/velkor_tests.cmake. Usage: tools/check_starts_nothing.sh BUILD_DIR NM
# Exit 0: none. 1: some, printed as "file: name". 2: wrong usage, or nothing to look into.
set -eu
if [ $# -ne 2 ] || [ ! -d "$1" ]; then
    echo "usage: check_starts_nothing.sh BUILD_DIR NM" >&2
    exit 2
fi
build=$1
nm=$2

objects=$(find "$build" -name '*.o' -path '*/CMakeFiles/*' ! -path '*/CMakeScratch/*')
if [ -z "$objects" ]; then
    echo "$build has no object files" >&2
    exit 2
fi
forbidden='(v?fork|_Fork|forkpty|clone3?|system|popen|posix_spawnp?|exec[lv]p?e?|fexecve|p?kill|killpg|tgkill|sigqueue|pthread_kill|syscall)(@.*)?$'
forbidden+='|^QProcess::|^testing::internal::DeathTest::'
# Undefined names of one file a line: "file: U name".
found=$(xargs "$nm" -uAC <<<"$objects" | sed -E 's/^([^:]*\.o): *[Uw] /\1: /' |
    awk -F': ' -v forbidden="^$forbidden" '$2 ~ forbidden')
[ -n "$found" ] || exit 0
echo "these start or signal processes:" >&2
echo "$found" >&2
exit 1
