#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Compares the binary interface of the finished library (functions, their arguments and results, as
# the debug information has them) with the committed baseline. Additions count as well as changes.
#
#   check_abi.sh [--sanitize NAMES] [--renew] BASELINE LIBRARY
#
# With --renew the baseline is written anew: when the interface has grown, or with a new SONAME.
# The baseline is of x86-64 with the GNU C library; sizes and types are fixed, so that it stands for
# the other machines. Exit status: 0 no difference, 1 a difference, 2 wrong use, 77 skipped (another
# machine or C library, no debug information, a sanitizer, or abigail-tools is missing).
set -uo pipefail
readelf=${READELF:-readelf}

skip() {
    echo "skipped: $*"
    exit 77
}

if [ "${1:-}" = --sanitize ]; then
    [ -z "$2" ] || skip "built with -fsanitize=$2"
    shift 2
fi
renew=
if [ "${1:-}" = --renew ]; then
    renew=1
    shift
fi
if [ $# -ne 2 ] || [ ! -r "$2" ]; then
    echo "usage: check_abi.sh [--sanitize NAMES] [--renew] BASELINE LIBRARY" >&2
    exit 2
fi
baseline=$1 library=$2

if ! command -v abidw >/dev/null || ! command -v abidiff >/dev/null; then
    skip "abidw and abidiff are missing (Debian package abigail-tools)"
fi
"$readelf" -hW "$library" | grep -qE 'Machine: .*X86-64' || skip "$library is not for x86-64"
"$readelf" -dW "$library" | grep -qF '[libc.so.6]' || skip "another C library than the baseline's"
"$readelf" -SW "$library" | grep -qE ' \.debug_info ' || skip "$library has no debug information"

current=$(mktemp)
trap 'rm -f "$current"' EXIT
abidw --exported-interfaces-only --drop-private-types --no-corpus-path --no-comp-dir-path \
    --no-show-locs --no-parameter-names --no-write-default-sizes --type-id-style hash "$library" |
    sed -E "s|(<abi-instr .*path=')[^']*/([^/']+/[^/']+')|\1\2|" >"$current" || exit 1
if [ -n "$renew" ]; then
    cp "$current" "$baseline"
    exit
fi
if ! abidiff --no-show-locs "$baseline" "$current"; then
    echo "The binary interface of $library is not the one in $baseline."
    echo "If that is meant: ninja renew_abi, and a CHANGELOG line."
    exit 1
fi
