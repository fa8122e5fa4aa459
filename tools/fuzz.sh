#!/usr/bin/env bash
# Runs the fuzzing targets, each for a chosen time, on all cores. Builds them first (preset fuzz).
#
# Usage: tools/fuzz.sh [--seconds N] [--jobs N] [--no-build] [target...]
#
# --seconds N  of each target (default 60; hours are welcome: tools/fuzz.sh --seconds 36000 calls)
# --jobs N     targets at a time (default: one for each core)
# --no-build   uses the programs as they are
# target...    names of tests/fuzz/*_target.cpp without the ending (default: all)
#
# Inputs that reach something new are kept in fuzz-work/TARGET/new, findings in
# fuzz-work/TARGET/findings (fuzz-work: another folder by VELKOR_FUZZ_WORK); later runs go on from
# there. Findings are run once more, those of earlier runs too; what is sound now is taken away.
# tools/fuzz_merge.sh takes what is new into tests/fuzz/corpus. A finding does not end the run: the
# target goes on for its time.
#
# Exit codes: 0 no finding, 1 a finding (told with the command that replays it) or a target that does
# not run, 2 wrong usage.
set -eu
cd "$(dirname "$0")/.."
top=$PWD
programs=build/fuzz/fuzz
work=${VELKOR_FUZZ_WORK:-fuzz-work}
# Short stacks of allocations and a small quarantine: half as many executions again.
export ASAN_OPTIONS=${ASAN_OPTIONS:-malloc_context_size=8:quarantine_size_mb=32}

usage() {
    echo "tools/fuzz.sh: $1" >&2
    echo "usage: tools/fuzz.sh [--seconds N] [--jobs N] [--no-build] [target...]" >&2
    exit 2
}

whole_number() { # option value
    [[ ${2:-} =~ ^[1-9][0-9]{0,6}$ ]] || usage "$1 takes a whole number from 1 to 9999999"
}

# --- One target, in slices, so that the count of executions is never far behind -----------------

# slice TARGET SECONDS: its results are appended to TARGET/executions and TARGET/log.
slice() {
    local target=$1 seconds=$2 folder=$work/$1 dictionary=tests/fuzz/dictionaries/$1.dict run=0
    local flags=(-max_total_time="$seconds" -timeout=20 -report_slow_units=60 -rss_limit_mb=2560 -max_len=4096
        -print_final_stats=1 -artifact_prefix="$folder/findings/")
    [ -f "$dictionary" ] && flags+=(-dict="$dictionary")
    local inputs=("$folder/new")
    [ -d "tests/fuzz/corpus/$target" ] && inputs+=("tests/fuzz/corpus/$target")
    # The time limit is for a program that does not keep its own.
    timeout -k 10 $((seconds + 120)) "$programs/fuzz_$target" "${flags[@]}" \
        "${inputs[@]}" >"$folder/log" 2>&1 || run=$?
    # The last line that tells a number of executions; after a finding there are no final statistics.
    sed -nE 's/^#([0-9]+).*/\1/p; s/^stat::number_of_executed_units: ([0-9]+)/\1/p' "$folder/log" |
        tail -1 >>"$folder/executions"
    if [ "$run" -ne 0 ]; then
        cp "$folder/log" "$folder/last_finding.log"
        [ -n "$(ls "$folder/findings")" ] || touch "$folder/failed" # it ended for another reason
    fi
}

# drop_sound TARGET PREFIX: takes away the findings of that kind that are none (any more): mended
# since, or a time-out of a machine that was busy with something else.
drop_sound() {
    local finding
    for finding in "$work/$1/findings/$2"*; do
        [ -f "$finding" ] || continue
        timeout -k 10 60 "$programs/fuzz_$1" "$finding" >/dev/null 2>&1 && rm "$finding"
    done
    return 0
}

fuzz_target() { # target seconds
    local target=$1 end=$((SECONDS + $2)) left longest=60
    drop_sound "$target" ''
    while left=$((end - SECONDS)) && [ "$left" -gt 0 ] && [ ! -e "$work/$target/failed" ]; do
        slice "$target" $((left < longest ? left : longest))
        if [ "$(find "$work/$target/findings" -type f | wc -l)" -ge 20 ]; then
            break # the same one again and again, most likely
        fi
    done
    drop_sound "$target" timeout-
}

if [ "${1:-}" = --one-target ]; then # this script, called by itself
    fuzz_target "$2" "$3"
    exit 0
fi

# --- What is told -------------------------------------------------------------------------------

sum() { # TARGET: executions of all runs so far
    awk '{ total += $1 } END { printf "%d", total }' "$work/$1/executions"
}

last_in_log() { # TARGET pattern: the number behind it in the log
    grep -aoE "$2 ?[0-9]+" "$work/$1/log" 2>/dev/null | tail -1 | grep -oE '[0-9]+$' || echo 0
}

# One line: executions of this run, with those of the slices under way, coverage, new inputs.
progress() { # seconds gone
    local target executions=0 covered=0 new=0 findings=0
    for target in "${targets[@]}"; do
        executions=$((executions + $(sum "$target") - ${before[$target]}))
        if [ -e "$work/$target/log" ] && ! grep -qa '^stat::\|^SUMMARY' "$work/$target/log"; then
            executions=$((executions + $(sed -nE 's/^#([0-9]+).*/\1/p' "$work/$target/log" |
                tail -1 | grep . || echo 0)))
        fi
        covered=$((covered + $(last_in_log "$target" 'cov:')))
        new=$((new + $(find "$work/$target/new" -type f | wc -l) - ${new_before[$target]}))
        findings=$((findings + $(find "$work/$target/findings" -type f | wc -l)))
    done
    # Between the end of a slice and its entry in the sum its executions are counted nowhere.
    shown=$((executions > shown ? executions : shown))
    printf '%6d s: %d executions, coverage %d, %d new inputs, %d findings\n' \
        "$1" "$shown" "$covered" "$new" "$findings"
}

report() {
    local target executions all=0 run=0 finding bad=0
    printf '%-14s %14s %10s %12s\n' target executions coverage 'new inputs'
    for target in "${targets[@]}"; do
        executions=$(($(sum "$target") - ${before[$target]}))
        run=$((run + executions))
        printf '%-14s %14d %10d %12d\n' "$target" "$executions" "$(last_in_log "$target" 'cov:')" \
            $(($(find "$work/$target/new" -type f | wc -l) - ${new_before[$target]}))
    done
    for target in $(known_targets); do
        [ -e "$work/$target/executions" ] && all=$((all + $(sum "$target")))
    done
    echo "executions: $run in this run, $all of all targets since $work/ was made"
    for target in "${targets[@]}"; do
        while IFS= read -r finding; do
            echo "FINDING $target: $finding"
            echo "  replay: $programs/fuzz_$target $finding"
            echo "  shrink: $programs/fuzz_$target -minimize_crash=1 -max_total_time=60 $finding"
            bad=1
        done < <(find "$work/$target/findings" -type f)
        if [ -e "$work/$target/failed" ] || [ $((${before[$target]})) -eq "$(sum "$target")" ]; then
            echo "$target did not run: $(tail -1 "$work/$target/log" 2>/dev/null)"
            bad=1
        fi
    done
    return $bad
}

known_targets() {
    local file
    for file in tests/fuzz/*_target.cpp; do
        file=${file##*/}
        echo "${file%_target.cpp}"
    done
}

# --- The run ------------------------------------------------------------------------------------

seconds=60
jobs=$(nproc)
build=yes
targets=()
while [ $# -gt 0 ]; do
    case $1 in
    --seconds) whole_number "$1" "${2:-}" && seconds=$2 && shift ;;
    --jobs) whole_number "$1" "${2:-}" && jobs=$2 && shift ;;
    --no-build) build=no ;;
    -*) usage "$1 is no option" ;;
    *)
        [ -f "tests/fuzz/$1_target.cpp" ] ||
            usage "$1 is no target; the targets are $(known_targets | paste -sd ' ')"
        targets+=("$1") ;;
    esac
    shift
done
[ ${#targets[@]} -gt 0 ] || mapfile -t targets < <(known_targets | grep -vx planted)

if [ "$build" = yes ]; then
    command -v clang++ >/dev/null || usage "clang is missing; tools/install_dependencies.sh --ci"
    cmake --preset fuzz >/dev/null
    cmake --build --preset fuzz
fi

declare -A before new_before
for target in "${targets[@]}"; do
    [ -x "$programs/fuzz_$target" ] || usage "$programs/fuzz_$target is not built"
    mkdir -p "$work/$target/new" "$work/$target/findings"
    rm -f "$work/$target/log" "$work/$target/failed"
    touch "$work/$target/executions"
    before[$target]=$(sum "$target")
    new_before[$target]=$(find "$work/$target/new" -type f | wc -l)
done

echo "fuzzing ${#targets[@]} targets for $seconds s each, $jobs at a time"
printf '%s\n' "${targets[@]}" |
    xargs -P "$jobs" -I TARGET "$top/tools/fuzz.sh" --one-target TARGET "$seconds" &
runner=$!
# The children are told by their id; each fuzzing program ends by itself within its slice.
trap 'kill "$runner" 2>/dev/null; wait "$runner" 2>/dev/null; report || true; exit 1' INT TERM
shown=0
interval=$((seconds < 100 ? 10 : 60))
while kill -0 "$runner" 2>/dev/null; do
    for ((tick = 0; tick < interval; ++tick)); do
        kill -0 "$runner" 2>/dev/null || break
        sleep 1
    done
    progress "$SECONDS"
done
wait "$runner" || true
report
