#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# stack_depth.py must refuse each of the libraries made of FaultyStack.cpp, for the right reason, and
# give the depth of the one without a fault.
#
#   check_refusals.sh PYTHON NM OBJDUMP READELF FOLDER
#
# FOLDER holds libfaulty_stack_N.so for each fault N, and N.objects with its object files' names.
set -uo pipefail
python=$1 nm=$2 objdump=$3 readelf=$4 folder=$5
here=$(dirname "$0")
exports=$(mktemp)
trap 'rm -f "$exports"' EXIT
echo Entry >"$exports"
failed=0

# expect LIBRARY_FAULT OBJECTS_FAULT WANTED_STATUS WANTED_PATTERN
expect() {
    local output status=0
    output=$("$python" "$here/stack_depth.py" --objects "$folder/$2.objects" --exports "$exports" \
        --nm "$nm" --objdump "$objdump" --readelf "$readelf" "$folder/libfaulty_stack_$1.so" 2>&1) ||
        status=$?
    if [ "$status" -ne "$3" ] || ! grep -qE "$4" <<<"$output"; then
        printf 'library %s with objects %s: exit status %d, expected %d and "%s"\n%s\n' \
            "$1" "$2" "$status" "$3" "$4" "$output"
        failed=1
    fi
}

expect 0 0 0 '^ +8[0-9]{2} bytes  Entry$'
expect 1 1 1 'recursion: Entry > .*Middle.* > Entry'
expect 2 2 1 'Entry has a frame of variable size \(dynamic'
expect 2 0 1 'change of the stack pointer not understood'
expect 3 3 1 "Entry calls a pointer, and no function's address is taken"
expect 4 4 0 '^ +1[67][0-9]{2} bytes  Entry$'
expect 0 4 1 'Middle.* has a frame of 1[67][0-9]{2} bytes in the objects and of 8[0-9]{2} in the library'
expect 5 0 1 'Middle.* calls .*OtherLeaf.* in the library, but not in the objects'
exit "$failed"
