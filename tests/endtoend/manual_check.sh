#!/usr/bin/env bash
# Holds the man page of each tool against what its --help prints, word for word, in both directions;
# and what is said of defaults and choices against what the tools do.
# Usage: manual_check.sh BUILD_DIR SOURCE_DIR
set -u
build=$1
source=$2
failures=0
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

fail() {
    echo "FAILED: $1" >&2
    failures=$((failures + 1))
}

# A page of roff as plain words: requests and fonts gone, characters as they are printed.
plain() {
    sed -E 's/^\.(SH|TP|B|BR|TH) ?//; s/\\f[BIR]//g; s/\\-/-/g; s/\\\(aq/'"'"'/g; /^\.\\"/d'
}

one_line() {
    tr -s ' \n' ' '
}

for program in velkor-panel velkor-plc; do
    page=$(find "$build" -path "*/manual/$program.1.gz")
    [ -n "$page" ] || { fail "no man page of $program"; continue; }
    # In the help < and > stand around the value of an option.
    help=$("$build/$program" --help | tr -d '<>')
    words=$(one_line <<<"$help")
    text=$(gzip -dc "$page" | plain)

    # Every entry of the page, its name and its text, is in the help.
    entries=$(gzip -dc "$page" | sed -n '/^\.SH COMMANDS/,/^\.SH EXIT/p;/^\.SH OPTIONS/,/^\.SH EXIT/p' |
        grep -v '^\.SH\|^\.TP' | plain)
    [ "$(grep -c . <<<"$entries")" -ge 20 ] || fail "$program: too few entries in the man page"
    while IFS= read -r line; do
        [[ $words == *"$(one_line <<<"$line")"* ]] || fail "$program --help lacks: $line"
    done <<<"$entries"

    # Every option and command of the help is in the page.
    names=$(sed -nE 's/^  (-.*|[a-z]+( [^ ]+)*)(   *.*)?$/\1/p' <<<"$help" | sed -E 's/  .*//')
    [ "$(grep -c '^-' <<<"$names")" -ge 14 ] || fail "$program: too few options found in the help"
    while IFS= read -r name; do
        grep -qxF -- "$name" <<<"$text" || fail "the man page of $program lacks: $name"
    done <<<"$names"

    # The page wants no more than it has, where there is somebody to say so.
    if command -v man >/dev/null && command -v groff >/dev/null; then
        complaints=$(LC_ALL=C.UTF-8 MANROFFSEQ='' man --warnings -E UTF-8 -l -Tutf8 -Z "$page" \
            2>&1 >/dev/null)
        [ -z "$complaints" ] || fail "$program.1: $complaints"
    fi
done

# A manual that is wrong is told with its place and makes nothing.
wrong() { # line reason
    { cat "$source/plc/manual.txt"; printf '%s\n' "$1"; } >"$scratch/manual.txt"
    local line complaint
    line=$(wc -l <"$scratch/manual.txt")
    if complaint=$("$source/tools/make_manual.sh" velkor-plc "$scratch/manual.txt" 1 "$scratch/made" 2>&1); then
        fail "taken as a manual: $1"
    elif [ "$complaint" != "$scratch/manual.txt:$line: $2" ]; then
        fail "\"$1\" is told as: $complaint"
    fi
    [ -z "$(find "$scratch/made" -type f ! -name '*.new')" ] || fail "something was made of: $1"
}
wrong 'optoin trace' '"optoin" is no keyword'
wrong '    a caf\303\251' 'a backslash, which means something in each of the forms'
wrong '    größer' 'a character that is not plain ASCII'

[ "$failures" -eq 0 ]
