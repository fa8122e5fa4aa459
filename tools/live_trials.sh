# shellcheck shell=bash
# Sourced by scripts that try built programs against a simulated PLC on loopback. The PLC is always a
# program of this machine; the panel or host that talks to it may be a command of several words, such as
# an emulator with its options. Everything ends within a bounded time, and only processes that were
# started here are ended, by their ID. Fails by the sourcing script's own fail().

plc_process=

# Starts a simulated PLC; sets plc (its address) and plc_process.
start_plc() { # PROGRAM
    local line said
    said=$(mktemp -u)
    mkfifo "$said"
    "$1" --process tank --listen 127.0.0.1:0 >"$said" &
    plc_process=$!
    exec {plc_output}<"$said"
    rm "$said"
    read -r -t 20 -u "$plc_output" line || { end_plc; fail "$1 did not say where it listens"; }
    plc=${line#listening on }
    [[ $plc == 127.0.0.1:* ]] || { end_plc; fail "$1 said: $line"; }
}

# Ends it, if there is one, and waits for it. Sourcing scripts call it when they end.
end_plc() {
    [ -n "$plc_process" ] || return 0
    local process=$plc_process
    plc_process=
    [ "$process" -le 1 ] || kill -TERM "$process" 2>/dev/null || true # it may have ended by itself
    wait "$process" || true
    exec {plc_output}<&-
}

# Under an emulator runs only what neither starts nor signals a process: cmake/velkor_tests.cmake says why.
may_be_emulated() { # PROGRAM OR LIBRARY...
    local file
    for file in "$@"; do
        tools/check_starts_nothing.sh "$file" nm || fail "$file is not run under the emulator"
    done
}

# A panel does its main jobs: says who answers, watches, writes, moves a recipe there and back.
try_panel() { # VELKOR_PLC TANK_FOLDER PANEL...
    local program=$1 tank=$2 words panel
    shift 2
    panel=(timeout --foreground 60 "$@")
    start_plc "$program"
    panel+=(--plc "$plc")
    "${panel[@]}" probe >/dev/null || fail "$*: probe ended with $?"
    "${panel[@]}" write DM 500 4711 >/dev/null || fail "$*: write ended with $?"
    words=$("${panel[@]}" --format csv read DM 499 3) || fail "$*: read ended with $?"
    [ "$words" = $'register,address,value\nDM,499,0\nDM,500,4711\nDM,501,0' ] ||
        fail "$*: 4711 was written to DM 500, and read were: $words"
    # The tank's water and temperatures never stand still.
    words=$("${panel[@]}" --format csv watch DM:0:4 --seconds 2) || fail "$*: watch ended with $?"
    [ "$(grep -c ',DM:0:4,DM 0,' <<<"$words")" -ge 2 ] || fail "$*: watch told no change: $words"
    "${panel[@]}" recipe download "$tank/recipe.csv" --values "$tank/recipe_values.csv" --verify \
        >/dev/null || fail "$*: recipe download ended with $?"
    words=$("${panel[@]}" --format csv recipe upload "$tank/recipe.csv") ||
        fail "$*: recipe upload ended with $?"
    diff "$tank/recipe_values.csv" - <<<"$words" >&2 ||
        fail "$*: a recipe came back otherwise than it went (<)"
    end_plc
}

# A host on the bare contract polls: it has to tell a value.
try_host() { # VELKOR_PLC HOST...
    local program=$1 line errors
    shift
    errors=$(mktemp)
    start_plc "$program"
    line=$(timeout --foreground 20 "$@" libvelkor.so.1 "${plc%:*}" "${plc##*:}" 2>"$errors" |
        head -n 1) || true
    if ! grep -qE '^(DM|CIO_bit) [0-9]+ = [0-9]+$' <<<"$line"; then
        line+=" $(tail -n 5 "$errors")"
        rm "$errors"
        fail "$*: told: $line"
    fi
    rm "$errors"
    end_plc
}
