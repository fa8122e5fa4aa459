#!/usr/bin/env bash
# Feeds tools/check_layers.sh good and bad trees: a check that cannot fail checks nothing.
# The check is run few times, since each run costs a process for each folder and more: all breaches
# lie in one tree, and what it names must be exactly they.
# Usage: check_layers_selftest.sh CHECK
set -u
export LC_ALL=C
check=$(realpath "$1")
tree=$(mktemp -d)
trap 'rm -rf "$tree"' EXIT
failures=0

# put FILE LINE...: a file of the tree
put() {
    local file=$tree/$1
    shift
    mkdir -p "${file%/*}"
    printf '%s\n' "$@" >"$file"
}

# A tree that keeps every rule.
good_tree() {
    rm -rf "${tree:?}"/*
    put driver/records.h '#include <QtCore/QString>' '#include <cstddef>'
    put driver/velkor.h '#include "records.h"' '#include "driver/records.h"'
    put data/data_area.h '#include "driver/velkor.h"' '#include <QtCore/QList>'
    put scan/merge.cpp '#include "data/data_area.h"' '#include "driver/velkor.h"' '#include <vector>'
    put fins/wire.cpp '#include "scan/merge.h"' '#include "data/data_area.h"' '  #  include "fins/x.h"'
    put panel/main.cpp '#include <velkor/host/line.h>' '#include <QtNetwork/QUdpSocket>' \
        '#include "panel/commands/commands.h"'
    put panel/picture/cells.cpp '#include "panel/picture/cells.h"' '#include "panel/host_names.h"'
    put panel/screen/screen.cpp '#include "panel/picture/cells.h"' '#include <sys/signalfd.h>'
    put panel/commands/watch.cpp '#include "panel/options/options.h"' '#include "panel/screen/screen.h"'
    put examples/host.cpp '#include <velkor/records.h>'
    put host/include/velkor/host/line.h '#include <velkor/host/tag.h>' '#include <QtCore/QString>' \
        '#include <functional>' '#include <pcap/pcap.h>'
    put host/include/velkor/host/tag.h '#include <QtNetwork/QHostAddress>'
    put host/values/tag.cpp '#include <velkor/host/tag.h>' '#include <vector>'
    put host/driver/copy.h '#include "host/values/tag.h"' '#include <velkor/host_interface.h>'
    put host/driver/copy.cpp '#include <dlfcn.h>' '#include <link.h>'
    put host/line/link.cpp '#include <sys/socket.h>' '#include <netinet/in.h>'
    put host/line/core.cpp '#include "host/watch/trace.h"' '#include "host/line/core.h"' \
        '#include <velkor/host/line.h>' '#include <QtNetwork/QUdpSocket>' '#include <variant>'
    put plc/codec.cpp '#include "plc/codec.h"' '#include <pcap/pcap.h>'
}

fail() { # description
    echo "FAILED: $1; output:" >&2
    echo "$output" >&2
    failures=$((failures + 1))
}

expect() { # description expected_exit expected_line(or empty)
    local code
    output=$("$check" "$tree" 2>&1)
    code=$?
    if [ "$code" -ne "$2" ] || ! grep -qF -- "$3" <<<"$output"; then
        fail "$1: exit code $code, want $2 and \"$3\""
    fi
}

places=() # file:line of each breach of the tree
names=()  # of what it is a breach

# breach DESCRIPTION FILE INCLUDE: a file that no other call names, whose second line breaks a rule
breach() {
    if [ -e "$tree/$2" ]; then
        output=
        fail "$1: $2 is there already"
    fi
    put "$2" '// a comment' "$3"
    places+=("$2:2")
    names+=("$1")
}

# Every breach of the tree is named, each once, and nothing else is.
expect_breaches() {
    local i found
    expect 'all breaches' 1 "${#places[@]} place(s)"
    found=$(sed -nE 's/^([^: ]+:[0-9]+): includes .*/\1/p' <<<"$output" | sort)
    for i in "${!places[@]}"; do
        grep -qxF -- "${places[i]}" <<<"$found" || fail "${names[i]}: ${places[i]} is not named"
    done
    if [ "$found" != "$(printf '%s\n' "${places[@]}" | sort)" ]; then
        fail 'more is named than the breaches, or one twice'
    fi
}

good_tree
expect 'a good tree passes' 0 ''

put driver/bad.cpp '// a comment' '#include "data/data_area.h"'
expect 'one breach is enough' 1 'driver/bad.cpp:2:'
expect 'one breach is counted' 1 '1 place(s)'

good_tree
breach 'driver sees data' driver/data.cpp '#include "data/data_area.h"'
breach 'driver sees fins' driver/fins.h '#include "fins/wire.h"'
breach 'data sees scan' data/scan.cpp '#include "scan/merge.h"'
breach 'scan sees fins' scan/fins.cpp '#include "fins/wire.h"'
breach 'spaces do not hide it' data/spaces.cpp '  #  include   "fins/wire.h" // why not'
breach 'a way round by ..' data/round.cpp '#include "../scan/merge.h"'
breach 'a way round by .. in the middle' data/middle.cpp '#include "data/../scan/merge.h"'
breach 'a way round by brackets' data/brackets.cpp '#include <scan/merge.h>'
breach 'a sibling that is not there' data/sibling.cpp '#include "merge.h"'
breach 'a macro' driver/macro.cpp '#include HEADER'
breach 'the library sees the panel' fins/panel.cpp '#include "panel/screen.h"'
breach 'the library sees the PLC' fins/plc.cpp '#include "plc/codec.h"'
breach 'the library sees a test' driver/test.h '#include "tests/support/fresh_driver.h"'
breach 'more of Qt than QtCore' fins/network.cpp '#include <QtNetwork/QUdpSocket>'
breach 'Qt without its module' fins/string.cpp '#include <QString>'
breach 'the operating system' driver/socket.cpp '#include <sys/socket.h>'
breach 'a header of C' driver/unistd.cpp '#include <unistd.h>'
breach 'a deeper folder' driver/deep/deep.cpp '#include "fins/wire.h"'
breach 'the panel looks inside' panel/inside.cpp '#include "driver/velkor.h"'
breach 'the panel looks inside by brackets' panel/files/below.cpp '#include <data/data_area.h>'
breach 'the panel sees the driver' panel/watch/driver.cpp '#include <velkor/host_interface.h>'
breach 'the panel sees a room of the host layer' panel/watch/host_room.cpp '#include "host/line/core.h"'
breach 'a picture sees the screen' panel/picture/screen.cpp '#include "panel/screen/screen.h"'
breach 'output sees a command' panel/output/exit.cpp '#include "panel/context/context.h"'
breach 'a screen sees a command' panel/screen/command.cpp '#include "panel/context/context.h"'
breach 'a way round in the panel' panel/picture/round.cpp '#include "../screen/screen.h"'
breach 'main sees the driver' panel/second_main.cpp '#include <velkor/records.h>'
breach 'the panel takes what is not installed' panel/taken.cpp '#include <velkor/velkor.h>'
breach 'an example looks inside' examples/inside.cpp '#include "fins/wire.h"'
breach 'a room of the host layer sees a later one' host/values/later.cpp '#include "host/poll/plan.h"'
breach 'the wire sees the driver' host/wire/wire_driver.cpp '#include "host/driver/copy.h"'
breach 'polling sees the jobs' host/poll/polling.h '#include "host/jobs/transfer.h"'
breach 'the witnesses see the line' host/watch/witness.cpp '#include "host/line/core.h"'
breach 'the host layer looks inside the library' host/line/inside.cpp '#include "driver/velkor.h"'
breach 'the host layer looks inside by brackets' host/line/bracket.cpp '#include <driver/velkor.h>'
breach 'the host layer takes what is not installed' host/driver/taken.cpp '#include <velkor/velkor.h>'
breach 'the host layer names no header of its own' host/poll/none.cpp '#include <velkor/host/none.h>'
breach 'the host layer sees the panel' host/line/panel.cpp '#include "panel/screen.h"'
breach 'the host layer sees the PLC' host/line/plc.cpp '#include "plc/codec.h"'
breach 'the host layer sees more of Qt' host/line/gui.cpp '#include <QtGui/QImage>'
breach 'the host layer sees the operating system' host/line/system.cpp '#include <sys/stat.h>'
breach 'another room asks for sockets' host/poll/sockets.cpp '#include <sys/socket.h>'
breach 'another room asks for addresses of sockets' host/poll/addresses.cpp '#include <netinet/in.h>'
breach 'another room asks the loader' host/poll/loader.cpp '#include <dlfcn.h>'
breach 'an installed header sees the loader' host/include/velkor/host/loader.h '#include <link.h>'
breach 'a way round in the host layer' host/poll/way_round.cpp '#include "../line/core.h"'
breach 'a bare name in the host layer' host/poll/bare.cpp '#include "isolation.h"'
breach 'an installed header sees a private one' host/include/velkor/host/private.h '#include "host/line/core.h"'
breach 'an installed header sees the panel' host/include/velkor/host/panel.h '#include <panel/screen.h>'
breach 'the PLC sees the host layer' plc/sees_host.cpp '#include <velkor/host/line.h>'
breach 'the PLC looks into the host layer' plc/looks_host.cpp '#include "host/wire/fins_decode.h"'
breach 'the library sees the host layer' fins/host.cpp '#include "host/wire/fins_decode.h"'
breach 'the PLC sees the driver' plc/driver.cpp '#include "driver/byte_order.h"'
breach 'the PLC sees the frames' plc/frames.cpp '#include "fins/fins_wire.h"'
breach 'the PLC sees the installed headers' plc/installed.cpp '#include <velkor/records.h>'
put driver/two.cpp '#include "data/x.h"' '#include "scan/x.h"'
places+=(driver/two.cpp:1 driver/two.cpp:2)
names+=('the first breach of a file' 'the second breach of a file')
expect_breaches

good_tree
rm -r "$tree/scan"
expect 'a missing layer is not a clean one' 2 'no folder scan/'

good_tree
put host/extra/file.cpp '#include <vector>'
expect 'a room that is not known is a breach' 1 'host/extra/ is no room'

good_tree
put panel/extra/file.cpp '#include <vector>'
expect 'a room of the panel that is not known is a breach' 1 'panel/extra/ is no room'

good_tree
for number in {1..13}; do
    put "panel/files/file$number.h" '#include <vector>'
done
expect 'a room of many files is a breach' 1 'panel/files/ has 1'

tree_before=$tree
tree=$tree_before/not_there
expect 'no such tree is wrong usage' 2 'usage:'
tree=$tree_before

[ "$failures" -eq 0 ]
