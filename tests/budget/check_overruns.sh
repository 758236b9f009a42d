#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# check_budget.py must refuse every line that is above its budget, and every budget that is above its
# ceiling.
#
#   check_overruns.sh BUDGET PYTHON ARGUMENT...      arguments of check_budget.py but --budget
set -uo pipefail
budget=$1 python=$2
shift 2
changed=$(mktemp)
trap 'rm -f "$changed"' EXIT
failed=0

# expect NUMBER WANTED: with the number as budget of all lines, each is refused with this reason.
expect() {
    local output status=0 line
    sed -E "s/^([a-z_]+) +[0-9]+$/\1 $1/" "$budget" >"$changed"
    output=$("$python" "$(dirname "$0")/check_budget.py" --budget "$changed" "${@:3}" 2>&1) ||
        status=$?
    for line in code data bss stack stack_in_use; do
        if [ "$status" -ne 1 ] || ! grep -qE "^$line +[0-9]+ of +$1 bytes  $2" <<<"$output"; then
            printf '%s %s: exit status %d, expected 1 and "%s"\n' "$line" "$1" "$status" "$2"
            failed=1
        fi
    done
    if ! grep -q 'integration.md does not state the budget' <<<"$output"; then
        echo "a document with other numbers is not found"
        failed=1
    fi
    [ "$failed" -eq 0 ] || printf 'The report was:\n%s\n' "$output"
}

expect 1 'above the budget' "$@"
expect 1000000 'the budget is above the ceiling' "$@"
exit "$failed"
