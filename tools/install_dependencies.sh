#!/usr/bin/env bash
# Installs what velkor is built and tested with, and only what is missing. Asks nothing.
# Usage: tools/install_dependencies.sh [--ci]   (--ci: also what .ci/run needs beyond ./test.sh)
set -eu
cd "$(dirname "$0")/.."

case ${1:-} in
'') packages=$(sed 's/#.*//; /^\[ci\]$/,$d' tools/dependencies.txt) ;;
--ci) packages=$(sed 's/#.*//; /^\[ci\]$/d' tools/dependencies.txt) ;;
*)
    echo "usage: tools/install_dependencies.sh [--ci]" >&2
    exit 2
    ;;
esac

if ! command -v dpkg-query >/dev/null || ! command -v apt-get >/dev/null; then
    echo "This script installs Debian packages; this system has no apt-get." >&2
    echo "Install the counterparts of these by hand, then build with cmake --preset release:" >&2
    printf '  %s\n' $packages >&2
    exit 1
fi

missing=
for package in $packages; do
    status=$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null || true)
    [ "$status" = installed ] || missing="$missing $package"
done
[ -n "$missing" ] || exit 0

as_root=
if [ "$(id -u)" -ne 0 ]; then
    if ! command -v sudo >/dev/null; then
        echo "Missing:$missing" >&2
        echo "Run this as root, or install sudo." >&2
        exit 1
    fi
    as_root=sudo
fi

echo "Installing:$missing"
# Questions (tshark asks who may capture) are answered with the defaults.
$as_root apt-get update -qq
$as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends \
    $missing </dev/null >/dev/null
