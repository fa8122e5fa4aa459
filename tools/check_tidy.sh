#!/usr/bin/env bash
# Runs clang-tidy over every file of the build. Usage: tools/check_tidy.sh [preset] [folder...]
# Exit 1 when there is a finding.
set -eu
cd "$(dirname "$0")/.."
preset=${1:-release}
shift || true
folders=${*:-driver data scan fins host panel plc examples tests bench}

sources=$(for folder in $folders; do git ls-files "$folder/*.cpp"; done)
# GCC's own options are taken out of the compile commands: clang refuses what it does not know.
commands=build/$preset/tidy
mkdir -p "$commands"
sed 's/ -fno-gnu-unique//' "build/$preset/compile_commands.json" >"$commands/compile_commands.json"
printf '%s\n' $sources |
    xargs -P "$(nproc)" -n 4 clang-tidy --quiet -p "$commands" 2>/dev/null
echo "clang-tidy: no findings in $(printf '%s\n' $sources | wc -l) files"
