#!/usr/bin/env bash
# How much of the library the committed inputs of the fuzzing targets reach: replays them in a build
# that counts (preset fuzz-coverage, clang). Exit 1 below the limits, 2 wrong usage.
#
# Usage: tools/fuzz_coverage.sh [folder-of-inputs]
#
# folder-of-inputs: has a folder for each target (default tests/fuzz/corpus).
# Prints the table of files, then each place with a branch that is taken only one way or not at all.
set -eu
cd "$(dirname "$0")/.."
readonly lines_wanted=97 branches_wanted=95
readonly targets='replies settings addresses merge recipe calls'
inputs=${1:-tests/fuzz/corpus}
if [ $# -gt 1 ] || [ ! -d "$inputs" ]; then
    echo "usage: tools/fuzz_coverage.sh [folder-of-inputs]" >&2
    exit 2
fi

if ! command -v clang++ >/dev/null || ! command -v llvm-cov >/dev/null; then
    echo "clang or llvm is missing; tools/install_dependencies.sh --ci installs them" >&2
    exit 2
fi
cmake --preset fuzz-coverage >/dev/null
cmake --build --preset fuzz-coverage

folder=build/fuzz-coverage/profiles
rm -rf "$folder"
mkdir "$folder"
objects=()
for target in $targets; do
    program=build/fuzz-coverage/fuzz/replay_$target
    LLVM_PROFILE_FILE=$folder/$target.profraw "$program" "$inputs/$target" >"$folder/$target.log" 2>&1 || {
        tail -3 "$folder/$target.log" >&2
        echo "$target: the replay failed" >&2
        exit 1
    }
    objects+=(${objects:+-object} "$program") # all but the first want the option
done
llvm-profdata merge -o "$folder/all.profdata" "$folder"/*.profraw

# Everything but the four folders of the library.
readonly others='(^|/)(tests|usr)/'
llvm-cov report "${objects[@]}" -instr-profile="$folder/all.profdata" --show-region-summary=false \
    -ignore-filename-regex="$others" | tee "$folder/report.txt"

# Columns: name, functions (number, missed, share), lines (the same), branches (the same).
awk -v lines="$lines_wanted" -v branches="$branches_wanted" '
    $1 == "TOTAL" { found = 1; line_share = $7 + 0; branch_share = $10 + 0 }
    END {
        if (!found) { print "no totals: nothing was counted"; exit 1 }
        printf "reached by fuzzing alone: %.2f %% of lines (at least %d), %.2f %% of branches (at least %d)\n",
               line_share, lines, branch_share, branches
        exit line_share < lines || branch_share < branches
    }' "$folder/report.txt" || result=1

echo "lines never reached (count 0) and branches never taken (True or False: 0):"
llvm-cov show "${objects[@]}" -instr-profile="$folder/all.profdata" --show-branches=count \
    --show-instantiations=false -ignore-filename-regex="$others" |
    awk '/^[^ ]*:$/ { file = $0; sub(/^.*\.\.\//, "", file) }
         /^ *[0-9]+\| +0\|/ { print file $0 }
         /Branch \(.*: 0[],]/ { print file $0 }' | sed "s|$PWD/||" | tee "$folder/missed.txt"
exit ${result:-0}
