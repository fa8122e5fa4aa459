#!/usr/bin/env bash
# Makes wrong versions of the library (or of the host layer), each wrong in a single token or statement, and
# sees whether the quick tests notice. A version that they let pass is either no different in anything that
# a host can see (then it stands in tests/mutants_equivalent.txt, with the reason) or a hole in the tests.
#
# Usage: tools/mutants.sh [--of driver|host] [--sample N] [--seed S] [--jobs N]
#
# --of       driver (default): driver/ data/ scan/ fins/; host: host/
# --sample   only so many, drawn by --seed (default: all; a thousand of the driver take about an hour)
# --seed     default 1
# --jobs     versions at a time (default: one for each core)
#
# Works on a copy of what is committed, in build/mutants. Exit codes: 0 every version was noticed or is known
# to be no different, 1 one was not, 2 wrong usage.
set -eu
cd "$(dirname "$0")/.."
top=$PWD
of=driver sample=0 seed=1 jobs=$(nproc)

usage() {
    echo "tools/mutants.sh: $1" >&2
    echo "usage: tools/mutants.sh [--of driver|host] [--sample N] [--seed S] [--jobs N]" >&2
    exit 2
}

while [ $# -gt 0 ]; do
    case $1 in
    --of) [[ ${2:-} =~ ^(driver|host)$ ]] || usage "--of takes driver or host"; of=$2 ;;
    --sample | --seed | --jobs)
        [[ ${2:-} =~ ^[1-9][0-9]{0,5}$ ]] || usage "$1 takes a whole number from 1 to 999999"
        printf -v "${1#--}" %s "$2" ;;
    *) usage "unknown option \"$1\"" ;;
    esac
    shift 2
done

case $of in
driver)
    files=(driver/*.cpp data/*.cpp scan/*.cpp fins/*.cpp)
    programs=(unit_tests contract_tests driver_loop_tests driver_property_tests model_run) ;;
host)
    mapfile -t files < <(git ls-files 'host/*.cpp')
    programs=(host_unit_tests host_line_tests) ;;
esac

folder=$top/build/mutants
mkdir -p "$folder"
tools/mutants.pl "${files[@]}" >"$folder/all"
if [ "$sample" -gt 0 ]; then
    perl -e 'my $s = shift; my $n = shift; srand $s; my @l = <>; my @d;
             push @d, splice @l, int rand @l, 1 while @l and @d < $n; print @d' \
        "$seed" "$sample" "$folder/all" >"$folder/list"
else
    cp "$folder/all" "$folder/list"
fi
total=$(wc -l <"$folder/list")
: >"$folder/results"

# prepare JOB: a copy of what is committed, built, and its tests pass.
prepare() {
    local copy=$folder/$1
    rm -rf "$copy/source"
    mkdir -p "$copy/source"
    git archive HEAD | tar -x -C "$copy/source"
    cmake -S "$copy/source" -B "$copy/build" -G Ninja -DCMAKE_BUILD_TYPE=Debug >"$copy/log" 2>&1 &&
        build "$copy" && tests_pass "$copy"
}

build() { # copy
    cmake --build "$1/build" --target velkor "${programs[@]}" >"$1/log" 2>&1
}

# Whole programs, the quickest first; a version that loops for ever is ended.
tests_pass() { # copy
    local program arguments
    for program in "${programs[@]}"; do
        arguments=(--gtest_brief=1)
        [ "$program" != model_run ] || arguments=(--part 1/20)
        (cd "$1/build" && ASAN_OPTIONS=detect_odr_violation=0 timeout -k 5 120 \
            "tests/$program" "${arguments[@]}") >"$1/log" 2>&1 || return 1
    done
}

# judge JOB FILE LINE COLUMN LENGTH REPLACEMENT: one line for the results.
judge() {
    local copy=$folder/$1 file=$2 line=$3 column=$4 length=$5 replacement=$6 text wrong verdict
    text=$(sed -n "${line}p" "$top/$file")
    wrong=${text:0:column}$replacement${text:column+length}
    LINE=$line WRONG=$wrong perl -pe '$_ = "$ENV{WRONG}\n" if $. == $ENV{LINE}' "$top/$file" \
        >"$copy/source/$file"
    if ! build "$copy"; then
        verdict=invalid # does not compile
    elif ! tests_pass "$copy"; then
        verdict=noticed
    elif grep -qxF -- "$file: $(sed 's/^ *//' <<<"$text") -> $(sed 's/^ *//' <<<"$wrong")" \
        <(grep -v '^#' "$top/tests/mutants_equivalent.txt"); then
        verdict=equivalent
    else
        verdict=MISSED
    fi
    cp "$top/$file" "$copy/source/$file"
    printf '%s\t%s:%s: %s -> %s\n' "$verdict" "$file" "$line" "$(sed 's/^ *//' <<<"$text")" \
        "$(sed 's/^ *//' <<<"$wrong")"
}

work() { # job
    local number=0 file line column length replacement
    prepare "$1" || {
        echo "tools/mutants.sh: the right version does not pass, see $folder/$1/log" >&2
        exit 1
    }
    while IFS=$'\t' read -r file line column length replacement; do
        number=$((number + 1))
        if [ $((number % jobs)) -eq $(($1 % jobs)) ]; then
            judge "$1" "$file" "$line" "$column" "$length" "$replacement" >>"$folder/results"
            progress
        fi
    done <"$folder/list"
}

progress() {
    local done_now
    done_now=$(wc -l <"$folder/results")
    if [ -t 2 ]; then
        printf '\r%d of %d, %d missed' "$done_now" "$total" "$(grep -c ^MISSED "$folder/results")" >&2
    elif [ $((done_now % 25)) -eq 0 ]; then
        echo "$done_now of $total, $(grep -c ^MISSED "$folder/results") missed" >&2
    fi
}

git diff --quiet HEAD -- "${files[@]}" || usage "${files[0]%%/*} and its like have changes that are not committed"
workers=()
for ((job = 1; job <= jobs; job++)); do
    work "$job" &
    workers+=($!)
done
failed=0
for worker in "${workers[@]}"; do
    wait "$worker" || failed=1
done
[ "$failed" -eq 0 ] || exit 1

count() { grep -c "^$1" "$folder/results" || true; }
echo
grep ^MISSED "$folder/results" | cut -f2- || true
echo "$total wrong versions of $of: $(count noticed) noticed, $(count invalid) do not compile," \
    "$(count equivalent) known to be no different, $(count MISSED) missed"
[ "$(count MISSED)" -eq 0 ]
