#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# The self-test must find each fault of FaultyCalls.c, and say the right thing about it.
#
#   check_faults.sh [EMULATOR...] PROGRAM
set -uo pipefail
failed=0

# run FAULT WANTED_STATUS WANTED_OUTPUT COMMAND...
run() {
    local fault=$1 wanted_status=$2 wanted=$3 output status=0
    shift 3
    output=$(FAULT=$fault "$@" 2>&1) || status=$?
    if [ "$status" -ne "$wanted_status" ] || [ "$output" != "$wanted" ]; then
        printf 'fault "%s": exit status %d, expected %d\n  %s\nexpected\n  %s\n' \
            "$fault" "$status" "$wanted_status" "$output" "$wanted"
        failed=1
    fi
}

# fault NAME VERDICT: the program is in the positional parameters of the script.
program=("$@")
fault() {
    run "$1" 1 "FAIL $2" "${program[@]}"
}

run '' 0 'PASS MEL_FPR_AI3_V1.1.3, 121 calls' "${program[@]}"
fault version-text 'QORFP_Version: text is "MEL_FPR_AI3_V1.1.2", expected "MEL_FPR_AI3_V1.1.3"'
fault version-null 'QORFP_Version, null pointer: result is 0, expected 4'
fault build-time-longer 'QORFP_BuildTime: byte behind the text is 0, expected 35'
fault initial-silent 'QORFP_Initial: text on standard output is "", expected "[QOR_FPR]:QORFP_Initial_431_QORFP_Initial SUCC? "'
fault extract-unready 'QORFP_Extract, before QORFP_Initial: result is 0, expected 3'
fault finger 'QORFP_CheckFinger, no finger: result is 0, expected 6'
fault extract-result 'QORFP_Extract, largest image: result is 1, expected 0'
fault extract-quality 'QORFP_Extract, largest image: quality is 93, expected 92'
fault extract-template 'QORFP_Extract, largest image: byte 200 of the template is 153, expected 152'
fault extract-image 'QORFP_Extract, largest image: checksum of the image is 3983038260, expected 3130271161'
fault extract-overrun 'QORFP_Extract, largest image: byte 0 of the memory behind the template is 0, expected 165'
fault extract-crash 'QORFP_Extract, largest image: illegal instruction'
fault enroll-template 'QORFP_Enroll, row 0, of 3 templates: byte 511 of the template is 247, expected 119'
fault improve-refused 'QORFP_Improve, row 2, template 8 by template 3: byte 10 of the enrolled template is 58, expected 59'
fault check-upgrade 'QORFP_CheckFeature, upgrade of an older template: byte 400 of the template is 51, expected 35'
fault verify-score 'QORFP_Verify, row 5, template 0 with 3, level 1: score is 13, expected 12'
fault identify-index 'QORFP_Identify, row 0, template 1 in 6, level 3: index is 6, expected 5'
fault search-output 'QORFP_Search, row 4, template 6 in 4, level 4: score is 0, expected 12345'
fault search-noise 'QORFP_Search, level 6: text on standard output is "noise?", expected ""'

# Times come only when asked for, one line a call.
verbose=$("${program[@]}" -v) || failed=1
if [ "$(grep -cE '^ *[0-9]+ us  QORFP_' <<<"$verbose")" -ne 121 ] ||
    [ "$(tail -n 1 <<<"$verbose")" != 'PASS MEL_FPR_AI3_V1.1.3, 121 calls' ]; then
    printf 'with -v:\n%s\n' "$verbose"
    failed=1
fi
exit "$failed"
