#!/usr/bin/env bash
# Feeds tools/check_layers.sh good and bad trees: a check that cannot fail checks nothing.
# Usage: check_layers_selftest.sh CHECK
set -u
check=$(realpath "$1")
tree=$(mktemp -d)
trap 'rm -rf "$tree"' EXIT
failures=0

# put FILE LINE...: a file of the tree
put() {
    local file=$tree/$1
    shift
    mkdir -p "$(dirname "$file")"
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
    put panel/main.cpp '#include <velkor/host_interface.h>' '#include <QtNetwork/QUdpSocket>' \
        '#include "panel/screen.h"'
    put examples/host.cpp '#include <velkor/records.h>'
    put plc/codec.cpp '#include "plc/codec.h"' '#include <pcap/pcap.h>'
}

expect() { # description expected_exit expected_line(or empty)
    local output code
    output=$("$check" "$tree" 2>&1)
    code=$?
    if [ "$code" -ne "$2" ] || ! grep -qF -- "$3" <<<"$output"; then
        echo "FAILED: $1: exit code $code, want $2 and \"$3\"; output:" >&2
        echo "$output" >&2
        failures=$((failures + 1))
    fi
}

# breach DESCRIPTION FILE INCLUDE: the file's second line is found and named
breach() {
    good_tree
    put "$2" '// a comment' "$3"
    expect "$1" 1 "$2:2:"
}

good_tree
expect 'a good tree passes' 0 ''

breach 'driver sees data' driver/bad.cpp '#include "data/data_area.h"'
breach 'driver sees fins' driver/bad.h '#include "fins/wire.h"'
breach 'data sees scan' data/bad.cpp '#include "scan/merge.h"'
breach 'scan sees fins' scan/bad.cpp '#include "fins/wire.h"'
breach 'spaces do not hide it' data/bad.cpp '  #  include   "fins/wire.h" // why not'
breach 'a way round by ..' data/bad.cpp '#include "../scan/merge.h"'
breach 'a way round by .. in the middle' data/bad.cpp '#include "data/../scan/merge.h"'
breach 'a way round by brackets' data/bad.cpp '#include <scan/merge.h>'
breach 'a sibling that is not there' data/bad.cpp '#include "merge.h"'
breach 'a macro' driver/bad.cpp '#include HEADER'
breach 'the library sees the panel' fins/bad.cpp '#include "panel/screen.h"'
breach 'the library sees the PLC' fins/bad.cpp '#include "plc/codec.h"'
breach 'the library sees a test' driver/bad.h '#include "tests/support/fresh_driver.h"'
breach 'more of Qt than QtCore' fins/bad.cpp '#include <QtNetwork/QUdpSocket>'
breach 'Qt without its module' fins/bad.cpp '#include <QString>'
breach 'the operating system' driver/bad.cpp '#include <sys/socket.h>'
breach 'a header of C' driver/bad.cpp '#include <unistd.h>'
breach 'a deeper folder' driver/deep/bad.cpp '#include "fins/wire.h"'
breach 'the panel looks inside' panel/bad.cpp '#include "driver/velkor.h"'
breach 'the panel looks inside from below' panel/deep/bad.cpp '#include "../../data/data_area.h"'
breach 'the panel takes what is not installed' panel/bad.cpp '#include <velkor/velkor.h>'
breach 'an example looks inside' examples/bad.cpp '#include "fins/wire.h"'
breach 'the PLC sees the driver' plc/bad.cpp '#include "driver/byte_order.h"'
breach 'the PLC sees the frames' plc/bad.cpp '#include "fins/fins_wire.h"'
breach 'the PLC sees the installed headers' plc/bad.cpp '#include <velkor/records.h>'

good_tree
put driver/one.cpp '#include "data/x.h"' '#include "scan/x.h"'
put plc/two.cpp '#include "fins/x.h"'
expect 'every breach is counted' 1 '3 include(s)'
expect 'the second breach of a file is named' 1 'driver/one.cpp:2:'

good_tree
rm -r "$tree/scan"
expect 'a missing layer is not a clean one' 2 'no folder scan/'

tree_before=$tree
tree=$tree_before/not_there
expect 'no such tree is wrong usage' 2 'usage:'
tree=$tree_before

[ "$failures" -eq 0 ]
