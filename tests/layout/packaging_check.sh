#!/usr/bin/env bash
# Holds what the packages are told by hand against where it comes from: the symbols file against the
# reviewed exports, the changelog against the version.
# Usage: packaging_check.sh SOURCE_DIR VERSION
set -u
source=$1/packaging
version=$2
export LC_ALL=C
failures=0

fail() {
    echo "FAILED: $1" >&2
    failures=$((failures + 1))
}

exports=$(sed 's/#.*//' "$source/exports.txt" | awk 'NF {print $1}' | sort)
symbols=$(sed -nE 's/^ ([^@ ]+)@Base [0-9.]+$/\1/p' "$source/debian/libvelkor1/symbols" | sort)
diff <(echo "$exports") <(echo "$symbols") >&2 ||
    fail "packaging/debian/libvelkor1/symbols is not packaging/exports.txt (<)"
[ "$(head -n 1 "$source/debian/libvelkor1/symbols")" = "libvelkor.so.${version%%.*} libvelkor1 #MINVER#" ] ||
    fail "packaging/debian/libvelkor1/symbols begins with another library"
grep -qE "^velkor \(${version//./\\.}-1\) " <(head -n 1 "$source/debian/changelog") ||
    fail "packaging/debian/changelog does not begin with version $version-1"

[ "$failures" -eq 0 ]
