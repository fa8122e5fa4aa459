#!/usr/bin/env bash
# Feeds tools/check_qt_versions.sh good and bad trees. Usage: qt_versions_selftest.sh CHECK
set -u
check=$1
tree=$(mktemp -d)
trap 'rm -rf "$tree"' EXIT
failures=0

expect() { # description exit_code text
    local output code=0
    output=$("$check" "$tree" 2>&1) || code=$?
    if [ "$code" -ne "$2" ] || [[ $output != *"$3"* ]]; then
        echo "FAILED: $1: exit code $code, want $2 and \"$3\"; output: $output" >&2
        failures=$((failures + 1))
    fi
}

expect 'a tree without the driver is none' 2 'usage:'
mkdir -p "$tree/driver" "$tree/host" "$tree/build" "$tree/tests/qt48"
echo '#if QT_VERSION < 0x060000' >"$tree/driver/records.h"
echo '#if QT_VERSION < 0x060000' >"$tree/build/made.h"
echo '#define QT_VERSION 0x040807' >"$tree/tests/qt48/qglobal.h"
echo '// QT_VERSION is not asked for here' >"$tree/host/line.cpp"
expect 'the places that may' 0 ''
printf '\n # if defined(X) && QT_VERSION >= QT_VERSION_CHECK(6, 0, 0)\n' >"$tree/host/line.cpp"
expect 'another place' 1 'host/line.cpp:2:'
printf '#if A\n#elif QT_VERSION < 5\n#endif\n' >"$tree/host/line.cpp"
expect 'another branch' 1 'host/line.cpp:2:'
[ "$failures" -eq 0 ]
