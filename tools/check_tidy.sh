#!/usr/bin/env bash
# Runs clang-tidy, and with it Clang's own warnings, over every file of the build.
#
# Usage: tools/check_tidy.sh [--changed N] [preset] [folder...]    (default: release, all folders)
#   --changed N   only what the last N commits have changed, and what stands beside a header of that name
# Exit code: 0 no findings, 1 findings, 2 wrong usage.
set -eu
cd "$(dirname "$0")/.."
commits=
if [ "${1:-}" = --changed ]; then
    [[ ${2:-} =~ ^[1-9][0-9]*$ ]] || {
        echo "usage: tools/check_tidy.sh [--changed N] [preset] [folder...]   (N: a number of commits)" >&2
        exit 2
    }
    commits=$2
    shift 2
fi
preset=${1:-release}
shift || true
folders=${*:-driver data scan fins host panel plc examples tests bench}

sources=$(for folder in $folders; do git ls-files "$folder/*.cpp"; done)
if [ -n "$commits" ]; then
    changed=$(git log -n "$commits" --name-only --format= -- $folders | sed 's/\.h$/.cpp/' | sort -u)
    sources=$(comm -12 <(sort <<<"$sources") - <<<"$changed")
fi
# What only GCC understands is taken out of the compile commands. Without the headers precompiled for
# the tests a file that forgets to include what it uses is found.
commands=build/$preset/tidy
mkdir -p "$commands"
sed -E 's/ -fno-gnu-unique//; s/ -Winvalid-pch//; s/ -include [^ ]*cmake_pch\.hxx//' \
    "build/$preset/compile_commands.json" >"$commands/compile_commands.json"
printf '%s\n' $sources | xargs -r -P "$(nproc)" -n 4 clang-tidy --quiet -p "$commands" 2>/dev/null
echo "clang-tidy: no findings in $(printf '%s\n' $sources | wc -w) files"
