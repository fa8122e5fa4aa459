#!/usr/bin/env bash
# Whether tools/instructions.sh says what it should of what callgrind counts; callgrind and the
# program that it runs are stood in for.
# Usage: instructions_selftest.sh path/to/instructions.sh
set -u
script=$1
if [ "$(uname -m)" != x86_64 ]; then
    echo "the script counts on amd64 only"
    exit 0
fi
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir -p "$work/bin" "$work/build/bench"
failed=0

# The program has 10 calls a round; callgrind counts 1,000 instructions and $PER_CALL for each call.
cat >"$work/build/bench/driver_calls" <<'END'
#!/bin/sh
echo 10
END
cat >"$work/bin/valgrind" <<'END'
#!/bin/sh
[ "$PER_CALL" = dies ] && exit 1
for rounds; do :; done
echo "==1== Collected : $((1000 + rounds * 10 * PER_CALL))"
END
chmod +x "$work/build/bench/driver_calls" "$work/bin/valgrind"

expect() { # exit code, text on either output, instructions of a call, arguments
    local code=$1 text=$2 per_call=$3 said
    shift 3
    said=$(PER_CALL=$per_call PATH="$work/bin:$PATH" VELKOR_BUILD="$work/build" "$script" "$@" 2>&1)
    local got=$?
    if [ "$got" -ne "$code" ] || [[ $said != *"$text"* ]]; then
        echo "$per_call instructions, arguments '$*': expected exit code $code and '$text', got $got:"
        echo "$said"
        failed=1
    fi
}

expect 0 'merge                1000  ordered            50 ' 50
expect 0 'merge' 50 --check
expect 1 'figure(s) beyond the budget' 999999 --check
expect 0 'beyond its budget' 999999
expect 1 '0 instructions cannot be' 0
expect 1 'instructions.sh: ' dies --check
expect 2 'usage' 50 --no-such-option
expect 2 'usage' 50 --check further
exit $failed
