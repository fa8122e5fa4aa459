#!/usr/bin/env bash
# Checks tools/check_docs.sh on a small tree: quiet where the papers hold, and one line for each fault.
# Usage: check_docs_selftest.sh CHECK_DOCS_SH
set -u
check=$1
tree=$(mktemp -d)
trap 'rm -rf "$tree"' EXIT
failures=0
mkdir -p "$tree/tests/unit" "$tree/docs" "$tree/examples/tank"
printf 'TEST_F(Suite,\n       longName_wrapped_isFound) {}\nTEST(Other, name_any_holds) {}\n' \
    >"$tree/tests/unit/some_test.cpp"
echo 'See [the guide](../../docs/guide.md).' >"$tree/examples/tank/README.md"

# papers ROW LINK: writes pages with this row and this link, and checks them.
papers() {
    printf '%s\n' '# Odd' '' '| What looks wrong | Held by |' '|---|---|' "$1" \
        >"$tree/docs/irregularities.md"
    printf '%s\n' '# The guide' '' '## 2. Load, and "bind"' '' '[itself](#the-guide)' '' \
        '```cpp' 'auto noLink = [](int number) { return number; };' '```' >"$tree/docs/guide.md"
    printf '%s\n' '# Top' '' "$2" >"$tree/README.md"
    said=$("$check" "$tree" 2>&1)
    status=$?
}

good_row='| Odd | `Suite.longName_wrapped_isFound`, `Other.name_any_holds` |'
good_link='[bind](docs/guide.md#2-load-and-bind), [page](docs/guide.md), [web](https://example.org/x#y)'

papers "$good_row" "$good_link"
if [ $status -ne 0 ] || [ -n "$said" ]; then
    echo "FAILED: good papers: status $status, $said" >&2
    failures=1
fi

# faulty WORDS ROW LINK: the papers are refused with exactly this line.
faulty() {
    papers "$2" "$3"
    if [ $status -ne 1 ] || [ "$said" != "$1" ]; then
        printf 'FAILED: status %s\n  said: %s\n  want: %s\n' "$status" "$said" "$1" >&2
        failures=1
    fi
}

faulty 'docs/irregularities.md: no test Suite.none_any_holds' \
    '| Odd | `Suite.none_any_holds` |' "$good_link"
faulty 'docs/irregularities.md: no test in the row | Odd | nothing |' '| Odd | nothing |' "$good_link"
faulty 'README.md: no test Suite.gone_any_holds' "$good_row" "$good_link, see \`Suite.gone_any_holds\`"
faulty 'README.md: nothing at docs/none.md' "$good_row" '[x](docs/none.md)'
faulty 'README.md: no heading for docs/guide.md#3-none' "$good_row" '[x](docs/guide.md#3-none)'
faulty 'README.md: no heading for #none' "$good_row" '[x](#none)'

exit $failures
