#!/usr/bin/env bash
# Tests that run for as long as one likes. Each prints what it has done so far.
#
# Usage: tools/soak.sh model [--sequences N] [--calls N] [--seed N] [--jobs N]
#            The library against the model of tests/model: random sequences of calls, by default
#            1,000,000 of 200 calls from a seed of the day, on all processors. Stops at the first
#            difference and prints the shortest sequence found that shows it.
#
# Reads VELKOR_BUILD (default: build/release), which must be built with its tests.
# Exit code: 0 nothing found, 1 something was or it could not run, 2 wrong usage.
set -eu
cd "$(dirname "$0")/.."
readonly build=${VELKOR_BUILD:-build/release}

usage() {
    sed -n '/^# Usage:/,/^# Exit code:/s/^# \{0,1\}//p' tools/soak.sh >&2
    exit 2
}

need_program() { # path
    if [ ! -x "$1" ]; then
        echo "no $1: build it first, or name the build folder in VELKOR_BUILD" >&2
        exit 1
    fi
}

# Sets the variable that an option names, when its value is a number: option value allowed...
read_number() {
    local option=$1 value=$2 allowed
    shift 2
    for allowed in "$@"; do
        if [ "$option" = "--$allowed" ]; then
            case $value in
            '' | *[!0-9]*)
                echo "$option takes a number, not \"$value\"" >&2
                usage ;;
            esac
            printf -v "$allowed" '%d' "$((10#$value))"
            return
        fi
    done
    echo "$option is no option" >&2
    usage
}

soak_model() {
    local sequences=1000000 calls=200 seed jobs
    seed=$(date +%y%m%d)0000
    jobs=$(nproc)
    while [ $# -gt 0 ]; do
        read_number "$1" "${2:-}" sequences calls seed jobs
        shift 2
    done
    local program=$build/tests/model_run chunk=5000 first
    need_program "$program"
    echo "$sequences sequences of $calls calls from seed $seed, $jobs at a time"
    # A chunk that finds something ends with 255, at which xargs starts no further one.
    for ((first = 0; first < sequences; first += chunk)); do
        echo "$((seed + first)) $((sequences - first < chunk ? sequences - first : chunk))"
    done |
        xargs -P "$jobs" -L 1 bash -c '"$0" --calls "$1" --seed "$2" --sequences "$3" || exit 255' \
            "$program" "$calls" || exit 1
    echo "no difference in $sequences sequences"
}

[ $# -gt 0 ] || usage
command=$1
shift
case $command in
model) soak_model "$@" ;;
*)
    echo "$command is none of: model" >&2
    usage ;;
esac
