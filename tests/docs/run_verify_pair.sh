#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Runs the example program: two images of one finger, of two fingers, and one that is no image.
#
#   run_verify_pair.sh PROGRAM IMAGE_FOLDER
set -uo pipefail
program=$1
data=$2
failed=0

# run WANTED_STATUS WANTED_OUTPUT_PATTERN A B: the pattern is for the last line of the output.
run() {
    local status=0 last
    last=$("$program" "$3" "$4" 2>&1) || status=$?
    last=$(tail -n 1 <<<"$last")
    if [ "$status" -ne "$1" ] || ! grep -qE "$2" <<<"$last"; then
        echo "verify_pair $3 $4: exit status $status (expected $1), last line \"$last\""
        failed=1
    fi
}

run 0 '^ score [0-9]+: match$' "$data/1_1.pgm" "$data/1_2.pgm"
run 1 '^ score [0-9]+: no match$' "$data/1_1.pgm" "$data/2_1.pgm"
run 2 '' "$data/1_1.pgm" "$program"
run 2 '' "$data/1_1.pgm" "$data/absent.pgm"
exit "$failed"
