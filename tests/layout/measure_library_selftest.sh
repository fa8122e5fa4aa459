#!/usr/bin/env bash
# Whether tools/measure_library.sh says what it should: a copy of it measures a real program in the
# place of the library, whose use of the heap is stood in for.
# Usage: measure_library_selftest.sh path/to/measure_library.sh
set -u
script=$1
if [ "$(uname -m)" != x86_64 ]; then
    echo "measured on amd64 only"
    exit 0
fi
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir -p "$work/tools" "$work/bench" "$work/build/bench"
cp "$script" "$work/tools"
cp -L /bin/true "$work/build/libvelkor.so.1"
cat >"$work/build/bench/library_heap" <<'END'
#!/bin/sh
echo "$HEAP"
END
chmod +x "$work/build/bench/library_heap"
printf '%s\n' CMAKE_BUILD_TYPE:STRING=RelWithDebInfo "CMAKE_STRIP:FILEPATH=$(command -v strip)" \
    >"$work/build/CMakeCache.txt"
failed=0

budgets() { # TEXT RELOCATIONS LOADED CACHED
    printf 'amd64 %s\n' "text $1" "relocations $2" "heap-loaded $3" "heap-10000-words $4" \
        >"$work/bench/library_budgets.txt"
}

expect() { # exit code, text on either output, what the heap program says, arguments
    local code=$1 text=$2 heap=$3 said got
    shift 3
    said=$(HEAP=$heap "$work/tools/measure_library.sh" "$@" 2>&1)
    got=$?
    if [ "$got" -ne "$code" ] || [[ $said != *"$text"* ]]; then
        echo "heap $heap, arguments '$*': expected exit code $code and '$text', got $got:"
        echo "$said"
        failed=1
    fi
}

budgets 999999 9999 100 2000
expect 0 'heap-loaded             100       100' '100 2000' --check "$work/build"
expect 1 'heap-loaded             101       100 beyond its budget' '101 2000' --check "$work/build"
expect 1 '1 figure(s) beyond the budget' '100 2001' --check "$work/build"
expect 0 'beyond its budget' '101 2000' "$work/build"
expect 1 '0 cannot be' '0 2000' "$work/build"
expect 1 'told: nothing' nothing --check "$work/build"
budgets 10 9999 100 2000
expect 1 'text' '100 2000' --check "$work/build"
budgets 999999 1 100 2000
expect 1 'relocations' '100 2000' --check "$work/build"
sed -i '/heap-loaded/d' "$work/bench/library_budgets.txt"
expect 1 'no budget for amd64 heap-loaded' '100 2000' --check "$work/build"
expect 1 'holds no built' '100 2000' "$work"
expect 2 usage '100 2000' --no-such-option
sed -i s/RelWithDebInfo/Debug/ "$work/build/CMakeCache.txt"
expect 1 'not built for release' '100 2000' --check "$work/build"
exit $failed
