#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# The list of exported names, the linker's version script and the public header must agree. The two
# sorts are exported without being declared.
#
#   check_exports.sh VERSION_SCRIPT HEADER
set -uo pipefail
export LC_ALL=C
list=$(dirname "$0")/exports.txt
failed=0

if ! sort -c "$list"; then
    echo "exports.txt is not sorted"
    failed=1
fi
in_script=$(sed '/local:/,$d' "$1" | sed -n 's/^ *\([A-Za-z_][A-Za-z0-9_]*\);$/\1/p' | sort)
if ! diff "$list" - <<<"$in_script"; then
    echo "exports.txt (<) and $1 (>) differ"
    failed=1
fi
in_header=$(sed -n 's/^QORFP_EXPORT .*\b\(QORFP_[A-Za-z0-9]*\)(.*/\1/p' "$2" | sort)
if ! diff <(grep -vxE 'quickSort(Ex)?' "$list") - <<<"$in_header"; then
    echo "exports.txt (<) and the calls that $2 declares (>) differ"
    failed=1
fi
exit "$failed"
