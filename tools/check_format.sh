#!/usr/bin/env bash
# Says which files clang-format would change. Exit 1 when there is one.
set -eu
cd "$(dirname "$0")/.."
git ls-files '*.cpp' '*.h' | xargs clang-format --dry-run --Werror
