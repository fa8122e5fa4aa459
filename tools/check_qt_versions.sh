#!/usr/bin/env bash
# Holds together where the code asks which Qt it is built with: once for the records, once for the
# programs, once for the tests. Everything else is written in what all versions share.
# Usage: tools/check_qt_versions.sh [TREE]   (default: the tree this script lies in)
# Exit code: 0 nowhere else, 1 elsewhere (told as file:line), 2 wrong usage.
set -eu
export LC_ALL=C
tree=${1:-$(dirname "$0")/..}
if [ $# -gt 1 ] || [ ! -d "$tree/driver" ]; then
    echo "usage: tools/check_qt_versions.sh [TREE]   (TREE: a folder that holds driver/, data/, ...)" >&2
    exit 2
fi
cd "$tree"

found=$(grep -rnE --include='*.h' --include='*.cpp' --exclude-dir=build --exclude-dir=qt48 \
    '^[[:space:]]*#[[:space:]]*(el)?if.*QT_VERSION' . | sed 's|^\./||') || true
elsewhere=$(grep -vE '^(driver/records\.h|panel/main\.cpp|tests/support/message_handler\.h):' <<<"$found") || true
[ -z "$elsewhere" ] || {
    echo "these ask for Qt's version; write them in what all versions share:" >&2
    echo "$elsewhere" >&2
    exit 1
}
