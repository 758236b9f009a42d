#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# The checks of manual page and completion must name each of these faults. A fault is one sed
# command; it must change the file.
#
#   check_faults.sh [--exec-prefix COMMAND] VERSION PAGE COMPLETION PROGRAM
set -uo pipefail
here=$(dirname "$0")
run=()
if [ "${1:-}" = --exec-prefix ]; then
    read -r -a run <<<"$2"
    shift 2
fi
version=$1 page=$2 completion=$3 program=$4
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
failed=0

# The checks run the program often: a stand-in repeats what it printed.
stand_in=$folder/$(basename "$program")
"${run[@]}" "$program" --help >"$folder/--help" || exit 1
mapfile -t commands < <(sed -n '/^\.SS [a-z\\-]*$/{s/^\.SS //; s/\\//g; p}' "$page")
for command in "${commands[@]}"; do
    "${run[@]}" "$program" "$command" --help >"$folder/$command" || exit 1
done
# shellcheck disable=SC2016
printf '#!/bin/sh\nexec cat "%s/$1"\n' "$folder" >"$stand_in"
chmod +x "$stand_in"
mkdir "$folder/changed"

# expect WANTED FILE FAULT CHECK [ARGUMENT...]: CHECK, given the changed file in place of "@".
expect() {
    local wanted=$1 file=$2 fault=$3 output status changed
    changed=$folder/changed/$(basename "$file")
    shift 3
    sed "$fault" "$file" >"$changed"
    if cmp -s "$file" "$changed"; then
        echo "does not change $file: $fault"
        failed=1
    fi
    output=$("${@/#@/$changed}" 2>&1)
    status=$?
    if [ "$status" -ne 1 ] || ! grep -qF -- "$wanted" <<<"$output"; then
        printf '%s: exit status %d, "%s" not reported, but:\n%s\n' "$fault" "$status" "$wanted" "$output"
        failed=1
    fi
}
in_page() {
    expect "$1" "$page" "$2" "$here/check_manual.sh" "$version" @ "$stand_in"
}
in_completion() {
    expect "$1" "$completion" "$2" "$here/check_completion.sh" @ "$stand_in"
}

in_page 'Picture pixels a finger pixel. 1 to 8, default 3' 's/1 to 8, default 3/1 to 8, default 2/'
in_page 'Template file to write (512 bytes). Required' 's/^Required\.$//'
in_page 'qorfp identify: option > --strict' 's/\\-\\-strict//'
in_page 'qorfp extract: option < --fat' 's/\\-\\-fit/\\-\\-fat/'
in_page 'qorfp: command > draw' 's/^\.SS draw/.SS paint/'
in_page 'qorfp info: not in the page: Print JSON' 's/Print JSON/Print XML/'
in_page 'Exit status: 0 found, 1 no match, 2 error.' 's/0 found, 1 no match/0 no match, 1 found/'
in_page 'the .TH line is not as it should be' '/^\.TH/s/qorfp [0-9.]*/qorfp 0.0.0/'

in_completion '< improve' 's/ improve / /'
in_completion '> absent' 's/--help --version/& absent/'
in_completion '< --strict' 's/--strict//'
in_completion '< 8' 's/ 7 8 / /'
in_completion '< d.bin' '/ check)/s/bin/pgm/'
exit "$failed"
