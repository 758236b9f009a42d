#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# check_library.sh must refuse a library that has every fault, and name each one.
#
#   check_faults.sh [--sanitize NAMES] FAULTY_LIBRARY
set -uo pipefail
output=$("$(dirname "$0")/check_library.sh" "$@" 2>&1)
status=$?
if [ "$status" -eq 77 ]; then
    echo "$output"
    exit 77
fi

expected=(
    '> QORFP_NotInTheList'
    '< QORFP_Verify'
    'SONAME is not libqorfp.so.1:'
    'its own functions can be replaced:'
    'needs more than the C library:'
    'uses functions that are not in imports.txt:'
    '    rand'
    'uses the C++ run-time library:'
    'start-up constructors:'
    '.init_array holds more than one pointer:'
    'floating-point helper functions:'
    'executable stack:'
    'text relocations:'
    'no RELRO:'
    'no BIND_NOW:'
)
case $output in
    *'instructions are not looked at'*) ;;
    *) expected+=('floating-point instructions:') ;;
esac
failed=0
if [ "$status" -ne 1 ]; then
    echo "exit status $status instead of 1"
    failed=1
fi
for line in "${expected[@]}"; do
    if ! grep -qF -- "$line" <<<"$output"; then
        echo "not reported: $line"
        failed=1
    fi
done
[ "$failed" -eq 0 ] || printf 'The report was:\n%s\n' "$output"
exit "$failed"
