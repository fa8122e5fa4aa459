#!/usr/bin/env bash
# Takes the C++ code out of a page, so that it can be compiled as it stands there: every
# ```cpp block, in the order of the page, with the page's line numbers. A numbered chapter without
# its rule, its trap or its code is an error, and so is a fence of another kind, whose code nobody
# would compile.
# Usage: tools/guide_code.sh GUIDE OUTPUT     Exit code: 0 done, 1 wrong page, 2 wrong usage.
set -eu
if [ $# -ne 2 ] || [ ! -r "$1" ]; then
    echo "usage: tools/guide_code.sh GUIDE OUTPUT   (GUIDE: a page that can be read)" >&2
    exit 2
fi

awk -v page="$1" '
function wrong(line, text) {
    print page ":" line ": " text > "/dev/stderr"
    failed = 1
}
function endChapter() {
    if (chapter == "") return
    if (!rule) wrong(begun, "chapter \"" chapter "\" has no **Rule.**")
    if (!trap) wrong(begun, "chapter \"" chapter "\" has no **Trap.**")
    if (!code) wrong(begun, "chapter \"" chapter "\" has no ```cpp block")
}
BEGIN { print "// Made from a page of the documentation; change it there." }
inCode && /^```$/ { inCode = 0; next }
inCode { print; next }
/^```cpp$/ { inCode = 1; opened = NR; code = 1; ++blocks; print "#line " NR + 1 " \"" page "\""; next }
/^[ \t]*(```|~~~)/ { wrong(NR, "a block that is not compiled; C++ begins with ```cpp, all else is indented") }
/^## / {
    endChapter()
    chapter = /^## [0-9]+\. / ? substr($0, 4) : ""
    begun = NR
    rule = trap = code = 0
}
/^\*\*Rule\.\*\* / { rule = 1 }
/^\*\*Trap\.\*\* / { trap = 1 }
END {
    if (inCode) wrong(opened, "the block is not closed")
    endChapter()
    if (!blocks) wrong(1, "no ```cpp block")
    exit failed
}' "$1" >"$2" || { rm -f "$2"; exit 1; }
