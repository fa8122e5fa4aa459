#!/usr/bin/env bash
# Holds tools/fuzz.sh to what it says, with a target that has a planted fault: a finding is told with
# a command that replays it, ends the run with 1, and is found again; a sound target ends with 0.
# Run by .ci/run, after tools/fuzz.sh has built the targets.
set -eu
cd "$(dirname "$0")/../.."
folder=$(mktemp -d)
trap 'rm -r "$folder"' EXIT
export VELKOR_FUZZ_WORK=$folder

fail() {
    echo "fuzz_selftest: $1" >&2
    cat "$folder/said" >&2
    exit 1
}

# run WANTED_EXIT_CODE ARGUMENT...
run() {
    local wanted=$1 code=0
    shift
    tools/fuzz.sh --no-build "$@" >"$folder/said" 2>&1 || code=$?
    [ "$code" -eq "$wanted" ] || fail "tools/fuzz.sh $* ended with $code, not $wanted"
}

run 1 --seconds 4 planted
grep -q '^FINDING planted: ' "$folder/said" || fail "the finding is not told"
replay=$(sed -n 's/^  replay: //p' "$folder/said" | head -1)
[ -n "$replay" ] || fail "no command to replay it"
$replay >"$folder/replayed" 2>&1 && fail "the replay finds nothing: $replay"
grep -q 'no input is bad' "$folder/replayed" || fail "the replay finds something else: $replay"
run 1 --seconds 1 planted # it is still there

run 0 --seconds 2 settings
grep -qE '^executions: [1-9][0-9]* in this run' "$folder/said" || fail "no sum of executions"
run 2 --seconds none
run 2 no_such_target
echo "fuzz_selftest: passed"
