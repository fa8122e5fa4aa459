#!/usr/bin/env bash
# Takes what tools/fuzz.sh has found new into the committed inputs, and keeps of all of them no more
# than it takes to reach the same code.
#
# Usage: tools/fuzz_merge.sh [target...]   (default: all; the programs must have been built)
# Exit codes: 0 done, 1 a target failed and its inputs are as before, 2 wrong usage.
set -eu
cd "$(dirname "$0")/.."
programs=build/fuzz/fuzz
work=${VELKOR_FUZZ_WORK:-fuzz-work}
corpus=tests/fuzz/corpus

targets=("$@")
if [ $# -eq 0 ]; then
    for folder in "$corpus"/*/; do
        targets+=("$(basename "$folder")")
    done
fi

merge() { # target
    local sources=("$corpus/$1") kept
    [ -d "$work/$1/new" ] && sources+=("$work/$1/new")
    kept=$(mktemp -d)
    # By code reached alone, not by how often: a small set, replayed at every build.
    if ! "$programs/fuzz_$1" -set_cover_merge=1 -use_counters=0 -timeout=20 -max_len=4096 \
        "$kept" "${sources[@]}" >"$kept.log" 2>&1; then
        tail -5 "$kept.log" >&2
        rm -r "$kept" "$kept.log"
        return 1
    fi
    rm -rf "${corpus:?}/$1"
    mkdir "$corpus/$1"
    cp "$kept"/* "$corpus/$1/"
    rm -r "$kept" "$kept.log"
}

bad=0
for target in "${targets[@]}"; do
    if [ ! -d "$corpus/$target" ] || [ ! -x "$programs/fuzz_$target" ]; then
        echo "tools/fuzz_merge.sh: $target is no target that is built" >&2
        exit 2
    fi
    if merge "$target"; then
        echo "$target: $(find "$corpus/$target" -type f | wc -l) inputs," \
            "$(cat "$corpus/$target"/* | wc -c) bytes"
    else
        echo "$target: not merged; its inputs are as before" >&2
        bad=1
    fi
done
exit $bad
