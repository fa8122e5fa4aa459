#!/usr/bin/env bash
# Checks the built library's file: what it exports, what it needs, how it binds its own names.
# Usage: library_file_check.sh LIBRARY EXPORTS_TXT QTCORE_SONAME [sanitized]
# NM and READELF name the tools for another machine's files.
set -u
if [ $# -lt 3 ]; then
    echo "usage: library_file_check.sh LIBRARY EXPORTS_TXT QTCORE_SONAME [sanitized]" >&2
    exit 2
fi
library=$1
exports=$2
qtcore=${3//./\\.}
nm=${NM:-nm}
readelf=${READELF:-readelf}
sanitized=${4:-}
export LC_ALL=C
failures=0

fail() {
    echo "FAILED: $1" >&2
    failures=$((failures + 1))
}

# same TITLE EXPECTED ACTUAL: lists of lines
same() {
    diff <(echo "$2") <(echo "$3") >&2 || fail "$1 (< expected, > found)"
}

# Exactly the reviewed list ...
exported=$("$nm" -D --defined-only --format=posix "$library")
names=$(awk '{print $1}' <<<"$exported" | grep -v '^__odr_asan\.' | sort)
reviewed=$(sed 's/#.*//' "$exports" | awk 'NF {print $1}' | sort)
same 'the exports differ from the reviewed list' "$reviewed" "$names"

# ... and that list is these: the entry points, the object and two functions of C++ linkage.
required=$(sort <<'END'
intf_initProperty
intf_setAddrValueChangeCallBack
intf_getProtocolType
intf_getDriverParameter
intf_getDriverPropertyPage
intf_SetDriverPropertyPage
intf_getRegListByType
intf_getRegDiscription
intf_checkAddrValidity
intf_checkAddr
intf_addConditionRead
intf_addrMerge
intf_setRcpAddress
intf_getSendFrame
intf_dealRcvFrame
intf_getData
intf_setData
intf_multiCopy
driver
_Z15connectToServerv
_Z15_byteDataChangePhS_i7QStringi
END
)
same 'the reviewed list is not what hosts rely on' "$required" "$reviewed"

unique=$(awk '$2 == "u"' <<<"$exported")
[ -z "$unique" ] || fail "unique symbols pin the library in memory: $unique"
weak=$(awk '$2 ~ /^[VW]$/' <<<"$exported")
[ -z "$weak" ] || fail "weak symbols may be taken from another library: $weak"

dynamic=$("$readelf" -dW "$library")
soname=$(sed -n 's/.*(SONAME).*\[\(.*\)\]/\1/p' <<<"$dynamic")
[ "$soname" = libvelkor.so.1 ] || fail "soname is '$soname', want libvelkor.so.1"
grep -qE '\(SYMBOLIC\)|\(FLAGS\).*SYMBOLIC' <<<"$dynamic" ||
    fail 'not linked with -Bsymbolic: two drivers in one process would share an object'
grep -qE '\((RPATH|RUNPATH)\)' <<<"$dynamic" && fail 'has a run path of the build machine'

allowed="${qtcore}|libstdc\+\+\.so\.6|libm\.so\.6|libgcc_s\.so\.1|libc\.so\.6|ld-linux[-a-z0-9_]*\.so\.[0-9]"
[ "$sanitized" = sanitized ] && allowed="$allowed|lib(asan|ubsan)\.so\.[0-9]+"
needed=$(sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p' <<<"$dynamic")
grep -qxE "$qtcore" <<<"$needed" || fail "$3 is not needed"
others=$(grep -vxE "$allowed" <<<"$needed")
[ -z "$others" ] || fail "needs more than QtCore and the C/C++ runtime: $others"

# One file builds the static objects, so their order is that of their definitions. A sanitizer's
# own initialisers are numbered.
initialisers=$("$nm" "$library" | awk '{print $3}' | grep '^_GLOBAL__sub_I_' |
    grep -vE '\.cold$|^_GLOBAL__sub_I_[0-9]{5}_')
[ "$(grep -c . <<<"$initialisers")" -eq 1 ] ||
    fail "want one translation unit with static initialisers, found: ${initialisers:-none}"
if [ "$sanitized" != sanitized ]; then
    # The compiler's frame_dummy and that one.
    size=$("$readelf" -SW "$library" | sed -n 's/.* INIT_ARRAY *[0-9a-f]* [0-9a-f]* \([0-9a-f]*\) .*/\1/p')
    pointer=8
    "$readelf" -h "$library" | grep -q 'ELF32' && pointer=4
    [ $((0x${size:-0})) -eq $((2 * pointer)) ] ||
        fail ".init_array has $((0x${size:-0})) bytes, want two entries of $pointer"
fi

[ "$failures" -eq 0 ]
