#!/usr/bin/env bash
# Tries an ARM velkor-panel against a live PLC: the panel runs under the emulator, the PLC is a simulated
# one of this machine. They are started from here because no program that starts another one may run under
# the emulator (cmake/velkor_tests.cmake says why).
# Usage: tools/check_arm_panel.sh [PANEL [VELKOR_PLC]]
#   PANEL        default build/arm/velkor-panel
#   VELKOR_PLC   default build/release/velkor-plc
# The environment variable SYSROOT names the panel's sysroot, default build/arm-sysroot.
# Exit code: 0 all is well, 1 something is not (told), 2 wrong usage.
set -euo pipefail
cd "$(dirname "$0")/.."
if [ $# -gt 2 ] || [[ ${1:-} == -* ]]; then
    echo "usage: tools/check_arm_panel.sh [PANEL [VELKOR_PLC]]" >&2
    exit 2
fi
panel_program=${1:-build/arm/velkor-panel}
plc_program=${2:-build/release/velkor-plc}
sysroot=${SYSROOT:-build/arm-sysroot}

fail() {
    echo "check_arm_panel.sh: $1" >&2
    exit 1
}
# shellcheck source=tools/live_trials.sh
. tools/live_trials.sh
trap end_plc EXIT

command -v qemu-arm-static >/dev/null || fail "no qemu-arm-static"
[ -d "$sysroot/usr" ] || fail "there is no sysroot in $sysroot; tools/make_arm_sysroot.sh makes one"
for program in "$panel_program" "$plc_program"; do
    [ -x "$program" ] || fail "there is no program $program"
done
[[ $(readelf -h "$panel_program" | tr -s ' ') == *'Machine: ARM'* ]] ||
    fail "$panel_program is not built for ARM"
may_be_emulated "$panel_program"
try_panel "$plc_program" examples/tank qemu-arm-static -L "$sysroot" "$panel_program"
echo "$panel_program: probed, watched, wrote and moved a recipe, under the emulator"
