#!/usr/bin/env bash
# Checks the documentation: every test that docs/irregularities.md names exists, and every relative
# link leads somewhere. Exit 1 with the lines that are wrong.
set -eu
cd "${1:-$(dirname "$0")/..}"
bad=0

declared=$(find tests -name '*_test.cpp' -exec cat {} + | tr -s ' \n' ' ' |
    grep -oE 'TEST(_F|_P)?\( ?[A-Za-z0-9_]+, ?[A-Za-z0-9_]+' |
    sed -E 's/.*\( ?([A-Za-z0-9_]+), ?/\1./' | sort -u)
for name in $(grep -oE '`[A-Z][A-Za-z0-9]+\.[A-Za-z0-9_]+_[A-Za-z0-9_]+`' docs/irregularities.md |
    tr -d '`'); do
    grep -qxF "$name" <<<"$declared" || { echo "docs/irregularities.md: no test $name"; bad=1; }
done

for page in README.md docs/*.md examples/tank/README.md; do
    for link in $(grep -oE '\]\([^)#:]+' "$page" | cut -c3-); do
        [ -e "$(dirname "$page")/$link" ] || { echo "$page: nothing at $link"; bad=1; }
    done
done
exit $bad
