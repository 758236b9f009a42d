#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# check_abi.sh must find a function that has gone, one that has come, and a type that has changed.
#
#   check_abi_changes.sh [--sanitize NAMES] BASELINE LIBRARY
set -uo pipefail
check=$(dirname "$0")/check_abi.sh
options=()
if [ "${1:-}" = --sanitize ]; then
    options=(--sanitize "$2")
    shift 2
fi
baseline=$1 library=$2
changed=$(mktemp)
trap 'rm -f "$changed"' EXIT
failed=0

# expect WANTED SED_COMMAND: with this done to the baseline, the library differs from it.
expect() {
    local output status=0
    sed -E "$2" "$baseline" >"$changed"
    if cmp -s "$baseline" "$changed"; then
        echo "nothing is changed by: $2"
        failed=1
    fi
    output=$("$check" "${options[@]}" "$changed" "$library" 2>&1) || status=$?
    if [ "$status" -eq 77 ]; then
        echo "$output"
        exit 77
    fi
    if [ "$status" -ne 1 ] || ! grep -qE "$1" <<<"$output"; then
        printf 'after %s: exit status %d, expected 1 and "%s"\n%s\n' "$2" "$status" "$1" "$output"
        failed=1
    fi
}

expect "\[D\] 'function uint32_t QORFP_Absent\(" 's/QORFP_Search/QORFP_Absent/g'
expect "\[A\] 'function uint32_t QORFP_Search\(" 's/QORFP_Search/QORFP_Absent/g'
expect "\[C\] 'function char QORFP_Version\(" \
    "/<function-decl name='QORFP_Version'/,/<\/function-decl>/s/<return .*/<return type-id='a84c031d'\/>/"
expect 'type size changed from 64 to 32' "/<type-decl name='int'/s/'32'/'64'/"
exit "$failed"
