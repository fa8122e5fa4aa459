#!/usr/bin/env bash
# Checks the documentation: every row of docs/irregularities.md names a test, every test that a page names
# exists, and every relative link leads somewhere, to a heading where it names one. Exit 1 with the
# lines that are wrong.
set -eu
cd "${1:-$(dirname "$0")/..}"
bad=0

declared=$(find tests -name '*_test.cpp' -exec cat {} + | tr -s ' \n' ' ' |
    grep -oE 'TEST(_F|_P)?\( ?[A-Za-z0-9_]+, ?[A-Za-z0-9_]+' |
    sed -E 's/.*\( ?([A-Za-z0-9_]+), ?/\1./' | sort -u)
test_name='`[A-Z][A-Za-z0-9]+\.[A-Za-z0-9_]+_[A-Za-z0-9_]+`'
while IFS= read -r row; do
    echo "docs/irregularities.md: no test in the row $row"
    bad=1
done < <(grep '^|' docs/irregularities.md | grep -vE "^\|-|^\| What looks wrong \||$test_name")
for page in README.md docs/*.md; do
    for name in $(grep -oE "$test_name" "$page" | tr -d '`'); do
        grep -qxF "$name" <<<"$declared" || { echo "$page: no test $name"; bad=1; }
    done
done

# headings PAGE: the anchors that its headings have.
headings() {
    grep -E '^#+ ' "$1" | sed -E 's/^#+ //' | tr '[:upper:]' '[:lower:]' |
        sed -E 's/[^a-z0-9 _-]//g; s/ /-/g'
}

for page in README.md docs/*.md examples/tank/README.md; do
    for link in $(sed '/^```/,/^```/d' "$page" | grep -oE '\]\([^)]+' | cut -c3- | grep -v '://'); do
        file=${link%%#*}
        target=$page
        [ -z "$file" ] || target=$(dirname "$page")/$file
        if [ ! -e "$target" ]; then
            echo "$page: nothing at $link"
            bad=1
        elif [ "$link" != "$file" ] && ! grep -qxF -- "${link#*#}" <<<"$(headings "$target")"; then
            echo "$page: no heading for $link"
            bad=1
        fi
    done
done
exit $bad
