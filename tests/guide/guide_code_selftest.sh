#!/usr/bin/env bash
# Checks tools/guide_code.sh: what it takes out of a page, and which pages it refuses.
# Usage: guide_code_selftest.sh GUIDE_CODE_SH
set -u
extract=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failures=0

good='# A page

## 1. First

**Rule.** Do.

**Trap.** Do not.

```cpp
int one = 1;
```

    g++ indented.cpp

```cpp
int two = 2;
```

## A table

No code.'

# page TEXT: extracts; the status is in $status, what was said in $said.
page() {
    printf '%s\n' "$1" >"$work/page.md"
    rm -f "$work/code.h"
    said=$("$extract" "$work/page.md" "$work/code.h" 2>&1)
    status=$?
}

fail() {
    echo "FAILED: $1" >&2
    failures=$((failures + 1))
}

page "$good"
[ $status -eq 0 ] || fail "a good page is refused: $said"
diff - "$work/code.h" <<END || fail "the code differs (< expected, > found)"
// Made from a page of the documentation; change it there.
#line 10 "$work/page.md"
int one = 1;
#line 16 "$work/page.md"
int two = 2;
END

# refused TITLE LINE WORDS TEXT: the page is refused, at that line, with these words.
refused() {
    page "$4"
    [ $status -eq 1 ] || fail "$1: status $status, want 1"
    grep -qF "page.md:$2: " <<<"$said" || fail "$1: wrong place: $said"
    grep -qF "$3" <<<"$said" || fail "$1: wrong words: $said"
    [ ! -e "$work/code.h" ] || fail "$1: code was left behind"
}

refused 'no rule' 3 'no **Rule.**' "${good/\*\*Rule.\*\*/Rule:}"
refused 'no trap' 3 'no **Trap.**' "${good/\*\*Trap.\*\*/Trap:}"
refused 'no code' 3 'no ```cpp block' $'# A page\n\n## 1. First\n\n**Rule.** Do.\n\n**Trap.** Do not.'
refused 'no code in the last chapter' 19 'no ```cpp block' "${good/A table/2. Second}"
refused 'a block that is not closed' 3 'not closed' $'# A page\n\n```cpp\nint one = 1;'
refused 'a fence of another kind' 9 'not compiled' "${good/\`\`\`cpp/\`\`\`c++}"
refused 'a page without code' 1 'no ```cpp block' '# A page'

"$extract" "$work/none.md" "$work/code.h" 2>/dev/null
[ $? -eq 2 ] || fail 'a page that is not there is no wrong usage'

[ $failures -eq 0 ]
