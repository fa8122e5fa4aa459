#!/usr/bin/env bash
# The main job, live: velkor-panel polls a simulated PLC through libvelkor.so.1 over UDP on loopback,
# with a few per cent of the replies lost or late. Installs and builds what is missing; asks nothing.
# Exit status: 0 when everything shown also held.
set -u
cd "$(dirname "$0")"

build=build/release
tank=examples/tank
work=$(mktemp -d)
plc_pid=
watch_pid=
summary=
failed=0

stop_plc() {
    [ -n "$plc_pid" ] || return 0
    kill "$plc_pid" 2>/dev/null
    wait "$plc_pid" 2>/dev/null
    plc_pid=
    grep '^stopped' "$work/plc.log" | sed 's/^/velkor-plc /'
}

clean_up() {
    [ -z "$watch_pid" ] || kill "$watch_pid" 2>/dev/null
    stop_plc
    rm -rf "$work"
}
trap clean_up EXIT
trap 'exit 1' INT TERM

# start_plc PORT: starts the PLC on loopback and sets $plc to its address. Its memory is kept in a
# file from one start to the next, as a real one's battery does.
start_plc() {
    : >"$work/plc.log"
    "$build/velkor-plc" --listen "127.0.0.1:$1" --process tank --seed 7 \
        --faults "drop 3%; late 2%" --image "$work/memory.txt" >"$work/plc.log" 2>&1 &
    plc_pid=$!
    for _ in $(seq 100); do
        plc=$(sed -n 's/^listening on //p' "$work/plc.log")
        [ -z "$plc" ] || return 0
        kill -0 "$plc_pid" 2>/dev/null || break
        sleep 0.05
    done
    echo "The simulated PLC did not start:" >&2
    cat "$work/plc.log" >&2
    exit 1
}

panel() { "$build/velkor-panel" --plc "$plc" --timeout 150 "$@"; }

title() { printf '\n== %s\n' "$1"; }

# verify TEXT COMMAND...: notes in the summary whether the command succeeded.
verify() {
    local text=$1
    shift
    if "$@"; then
        summary="$summary  ok      $text"$'\n'
    else
        summary="$summary  FAILED  $text"$'\n'
        failed=1
    fi
}

# value REGISTER ADDRESS: the word as the PLC has it.
value() { panel --format csv read "$1" "$2" | tail -n 1 | cut -d, -f3; }

title "Installing and building what is missing"
tools/install_dependencies.sh || exit 1
cmake --preset release >"$work/build.log" 2>&1 || { cat "$work/build.log"; exit 1; }
# The first time this takes some minutes, so what ninja says stays visible. All products: whoever goes on
# from here installs them.
cmake --build --preset release --target velkor velkor_host velkor-panel velkor-plc || exit 1

title "A PLC with a tank process, 3 % of its replies lost and 2 % late"
start_plc 0
echo "velkor-plc listens on $plc"

title "Does it answer, and how fast?"
verify "the PLC answered a probe" panel probe

title "Watching $(($(wc -l <$tank/tags.csv) - 1)) tags for 8 seconds"
verify "all tags were polled" panel --seconds 8 watch $tank/tags.csv

title "Writing the set point of the temperature"
verify "DM 101 was written" panel write DM 101 650
verify "the PLC has the new set point" test "$(value DM 101)" = 650

title "Writing to a word that the PLC protects"
refusal=$(panel write AR 5 1 2>&1)
refused=$?
printf '%s\n' "$refusal"
verify "the refused write ended with exit code 1" test $refused -eq 1
verify "it was told as refused, with the PLC's end code" \
    grep -q 'writing AR 5 .* failed: the PLC refused: end code 2101' <<<"$refusal"
verify "it was not told as written" test "${refusal/written:/}" = "$refusal"
verify "the PLC has its old value" test "$(value AR 5)" = 0

title "Downloading a recipe of three blocks and reading it back"
verify "the recipe was downloaded" \
    panel --values $tank/recipe_values.csv recipe download $tank/recipe.csv
verify "the recipe was uploaded" \
    panel --values "$work/uploaded.csv" recipe upload $tank/recipe.csv
verify "what was uploaded is what was downloaded" \
    diff <(tr -d '\r' <$tank/recipe_values.csv) <(tr -d '\r' <"$work/uploaded.csv")

title "Stopping the PLC for two seconds while it is being watched"
panel --seconds 8 watch DM:6 DM:100 > >(tee "$work/watch.txt") &
watch_pid=$!
sleep 2
echo "the PLC goes"
port=${plc##*:}
stop_plc
sleep 2
echo "the PLC comes back"
start_plc "$port"
wait "$watch_pid"
watched=$?
sleep 0.2 # for the last lines to reach the file
verify "the panel went on through it" test $watched -eq 0
watch_pid=
verify "values were shown as stale while the PLC was away" \
    grep -q ' DM:6 .* stale: ' "$work/watch.txt"
verify "every tag was fresh again when it was back" \
    test "$(sed '1,/ stale: /d' "$work/watch.txt" | grep -v ' stale: ' | awk '{print $2}' | sort -u | wc -l)" -eq 2

title "Stopping the PLC for good"
stop_plc

title "What was done and verified"
printf '%s' "$summary"
exit $failed
