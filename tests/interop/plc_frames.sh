#!/usr/bin/env bash
# A stranger's reading of the frames in tests/vectors/plc_*.txt, which the simulated PLC is held to:
# Wireshark's dissector must see in each frame what was meant when it was written.
# Usage: plc_frames.sh VECTORS EXPECTED
#
# EXPECTED/plc_NAME.expected has one line for each frame: SID, '>' or '<', command, then of a request
# area, address, bit and count, of a reply the end code; then data, mode and status. '-' is "not
# there". Frames that the dissector cannot take apart are "malformed".
set -eu
vectors=$1
expected=$2
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

# frames FILE: one line for each frame of a vector file, as the dissector reads it
frames() {
    sed -n 's/^[<>] */000000 /p' "$1" | text2pcap -q -u 9600,9600 - "$folder/frames.pcap" 2>/dev/null
    tshark -r "$folder/frames.pcap" -T fields -E separator=/t -E occurrence=a -E aggregator=+ \
        -e _ws.malformed -e omron.sid -e omron.icf.dtb -e omron.command \
        -e omron.memory.area.read -e omron.memory.address -e omron.memory.address.bits \
        -e omron.memory.numitems -e omron.response.code -e omron.command.data \
        -e omron.response.data -e omron.mode_code -e omron.status -e omron.controller.model 2>/dev/null |
        awk -F '\t' 'function field(i) { return $i == "" ? "-" : $i }
            function model() { gsub(/ /, "", $14); return $14 == "" ? "" : " model " $14 }
            $1 != "" { print "malformed"; next }
            $2 == "" { print "no FINS"; next }
            $3 ~ /1/ { print $2, "<", $4, field(9), field(11), field(12), field(13) model(); next }
            { print $2, ">", $4, field(5), field(6), field(7), field(8), field(10), field(12) }'
}

failures=0
for file in "$vectors"/plc_*.txt; do
    want=$expected/$(basename "$file" .txt).expected
    if [ ! -f "$want" ]; then
        echo "$want is missing: $file has frames that nobody else has read" >&2
        failures=$((failures + 1))
        continue
    fi
    grep -v '^#' "$want" >"$folder/want"
    frames "$file" >"$folder/got"
    if ! diff -u --label "$want" --label "$file by the dissector" "$folder/want" "$folder/got" >&2; then
        failures=$((failures + 1))
    fi
done
exit "$((failures > 0))"
