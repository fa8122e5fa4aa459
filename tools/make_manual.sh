#!/usr/bin/env bash
# Makes what a program says of itself from its manual: PROGRAM_manual.h with the texts of --help,
# PROGRAM.1.gz, and PROGRAM, its completion for bash. The build calls it; nothing that it runs is
# built first, so it serves a cross build as well.
# Usage: tools/make_manual.sh PROGRAM MANUAL VERSION FOLDER
# Exit code: 0 done, 1 the manual is wrong or a file cannot be written, 2 wrong usage.
set -eu
[ $# -eq 4 ] || { echo "usage: tools/make_manual.sh PROGRAM MANUAL VERSION FOLDER" >&2; exit 2; }
program=$1
manual=$2
version=$3
folder=$4
top=$(dirname "$0")/..

# form NAME FILE: a file is complete or the old one.
form() {
    awk -v form="$1" -v version="$version" -v template="$top/packaging/completion.bash.in" \
        -f "$top/tools/manual.awk" "$manual" >"$folder/$2.new"
    mv "$folder/$2.new" "$folder/$2"
}

mkdir -p "$folder"
form header "${program}_manual.h"
form completion "$program"
form man "$program.1"
gzip -9nf "$folder/$program.1" # without name and time: the same text gives the same bytes
