#!/usr/bin/env bash
# Completes command lines of both tools in bash, from the completions that the build made.
# Usage: completion_check.sh BUILD_DIR
set -u
build=$1
PATH=$build:$PATH
failures=0
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
cd "$scratch" || exit 1
mkdir -p tags/more
touch tags.csv other.csv notes.txt 'two words.csv' tags/more.csv

# shellcheck source=/dev/null
. "$build/panel/manual/velkor-panel"
# shellcheck source=/dev/null
. "$build/plc/manual/velkor-plc"

# Offers for a line with the cursor at its end, which bash takes apart at blanks, = and :.
offers() { # line
    mapfile -t COMP_WORDS < <(sed -E 's/[=:]+/\n&\n/g; s/ +/\n/g' <<<"$1" | sed '/^$/d')
    [[ $1 != *[' '=:] ]] || COMP_WORDS+=('')
    [[ $1 != *[=:] ]] || unset 'COMP_WORDS[-1]'
    COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
    COMPREPLY=()
    "_${COMP_WORDS[0]//-/_}"
}

expect() { # line offer...
    local line=$1 expected found
    shift
    offers "$line"
    expected=$(printf '%s\n' "$@" | sort)
    found=$(printf '%s\n' ${COMPREPLY[@]+"${COMPREPLY[@]}"} | sort)
    if [ "$expected" != "$found" ]; then
        echo "FAILED: \"$line\" offers: ${COMPREPLY[*]-}; expected: $*" >&2
        failures=$((failures + 1))
    fi
}

expect 'velkor-panel ' check layout probe read recipe registers watch write
expect 'velkor-panel re' read recipe registers
expect 'velkor-panel --fo' --force --format
expect 'velkor-panel -' -h -v --help --version --plc --nodes --words-per-frame --retries --timeout \
    --scan-interval --bind --library --type --allow-mode-change --force --verify --values \
    --seconds --until-stable --trace --pcap --format
expect 'velkor-panel --format ' table csv json
expect 'velkor-panel --format=' table csv json
expect 'velkor-panel --format=c' csv
expect 'velkor-panel --type u' uint16 uint32
expect 'velkor-panel --retries ' ''
expect 'velkor-panel --values n' notes.txt

# Options and their values, with colons or without, are no arguments.
expect 'velkor-panel --plc 127.0.0.1:9600 --trace reci' recipe
expect 'velkor-panel --plc left=127.0.0.1:9600 --format=json recipe ' download upload
expect 'velkor-panel recipe down' download
expect 'velkor-panel recipe upload o' other.csv
expect 'velkor-panel recipe sideways o' ''

# Registers as the driver has them, files where a file may stand.
expect 'velkor-panel read ' AR AR_bit C CIO CIO_bit DM DM_bit HR HR_bit T WR WR_bit
expect 'velkor-panel read D' DM DM_bit
expect 'velkor-panel write t' tags tags.csv 'two words.csv'
expect 'velkor-panel write D' DM DM_bit
expect 'velkor-panel watch t' tags tags.csv 'two words.csv'
expect 'velkor-panel watch tags/' tags/more tags/more.csv
expect 'velkor-panel read DM 1' ''
expect 'velkor-panel registers ' ''

expect 'velkor-plc --m' --max-message --mode
expect 'velkor-plc --mode ' program debug monitor run
expect 'velkor-plc --process=t' tank
expect 'velkor-plc --image n' notes.txt
expect 'velkor-plc ' ''

# Typed at a terminal, through bash's own line editing: the completed line is executed.
cat >rc <<RC
PS1=
. "$build/panel/manual/velkor-panel"
RC
typed=$'velkor-panel --form\tc\t check HR_\t10.5 >answer\nexit\n'
timeout 20 script -qec "bash --noprofile --rcfile rc -i" terminal.log <<<"$typed" >/dev/null 2>&1
if ! grep -q '^HR_bit,10.5,1,.*,valid' answer 2>/dev/null; then
    echo "FAILED: a line completed at a terminal; the terminal showed:" >&2
    cat terminal.log >&2
    failures=$((failures + 1))
fi

[ "$failures" -eq 0 ]
