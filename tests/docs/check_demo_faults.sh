#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Pictures that differ from what the commands print, which check_demo.py must refuse.
#
#   check_demo_faults.sh SOURCE_FOLDER BUILD_FOLDER C_COMPILER
set -uo pipefail
here=$(dirname "$(realpath "$0")")
picture=$1/docs/images/demo.svg
changed=$(mktemp)
trap 'rm -f "$changed"' EXIT
failed=0

# refuse WHAT SED_SCRIPT
refuse() {
    sed "$2" "$picture" >"$changed"
    if cmp -s "$picture" "$changed"; then
        echo "$1: nothing was changed"
        failed=1
    elif "$here/check_demo.py" "${arguments[@]}" "$changed" >/dev/null 2>&1; then
        echo "$1 is not found"
        failed=1
    fi
}
arguments=("$1" "$2" "$3")

refuse "another score" 's/score&#160;830/score\&#160;831/'
refuse "another heading" 's/2\.&#160;Build/2.\&#160;Make/'
refuse "another command" 's/2_3\.pgm/2_2.pgm/'
refuse "a line less" '/Verification/d'
exit "$failed"
