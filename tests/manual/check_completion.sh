#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# What the completion offers is what --help prints: the sub-commands, the options of each, the range
# of a short numeric option and the words of a named one; and files by their endings.
#
#   check_completion.sh [--exec-prefix COMMAND] COMPLETION PROGRAM...
#
# Exit status: 0 it is, 1 it is not, 2 wrong use.
set -uo pipefail
export LC_ALL=C

run=()
if [ "${1:-}" = --exec-prefix ]; then
    read -r -a run <<<"$2"
    shift 2
fi
if [ $# -lt 2 ] || [ ! -r "$1" ]; then
    echo "usage: check_completion.sh [--exec-prefix COMMAND] COMPLETION PROGRAM..." >&2
    exit 2
fi
# shellcheck source=/dev/null
. "$1"
shift
failures=0

# offered WORD...: what is offered for the last word, one a line.
offered() {
    local function
    function=$(complete -p "$1" | sed 's/.* -F \([^ ]*\) .*/\1/')
    COMP_WORDS=("$@") COMP_CWORD=$(($# - 1))
    COMPREPLY=()
    "$function"
    printf '%s\n' "${COMPREPLY[@]}" | sed '/^$/d' | sort
}

# expect TITLE WANTED OFFERED
expect() {
    local difference
    if ! difference=$(diff <(sort -u <<<"$2" | sed '/^$/d') <(sed '/^$/d' <<<"$3")); then
        failures=$((failures + 1))
        printf '%s (< wanted, > offered):\n%s\n' "$1" "$(grep '^[<>]' <<<"$difference")"
    fi
}

# options_of HELP: from the option list, or from a usage text without one.
options_of() {
    if grep -q '^Options:$' <<<"$1"; then
        sed -nE 's/^  (-[^ ]+) .*/\1/p' <<<"$1" | tr ',' '\n'
    else
        grep -oE '(^|[^A-Za-z-])--?[a-z][a-z-]*' <<<"$1" | grep -oE -- '--?[a-z][a-z-]*' |
            grep -v -- -selftest
        printf '%s\n' -h --help
    fi
}

# check_values HELP COMMAND...: what is offered behind an option that names its values.
check_values() {
    local help=$1 option from to words
    shift
    while read -r option from to; do
        expect "$* $option" "$(seq "$from" "$to")" "$(offered "$@" "$option" '')"
    done < <(sed -nE 's/^  (-[^ ,]+,)?(--[^ ]+) .*INT in \[([0-9]+) - ([0-9])\].*/\2 \3 \4/p' <<<"$help")
    while read -r option words; do
        expect "$* $option" "${words//,/$'\n'}" "$(offered "$@" "$option" '')"
    done < <(sed -nE 's/^  (-[^ ,]+,)?(--[^ ]+) .*:\{([a-z,-]+)\}.*/\2 \3/p' <<<"$help")
}

folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
touch "$folder"/{a.pgm,b.png,c.bmp,d.bin,e.txt,"f g.pgm",h.tif,i.tiff,j.jp2,k.j2k}
mkdir "$folder/gallery"

for program in "$@"; do
    name=$(basename "$program")
    help=$("${run[@]}" "$program" --help)
    commands=$(awk '/^Subcommands:/ {inside = 1; next} /^[^ ]/ {inside = 0}
        inside && /^  [a-z]/ {print $1}' <<<"$help")
    if [ -z "$commands" ]; then
        expect "$name" "$(options_of "$help")" "$(offered "$name" '')"
        check_values "$help" "$name"
        continue
    fi
    expect "$name" "$commands"$'\n'"$(options_of "$help" | grep -vx -- -h)" "$(offered "$name" '')"
    for command in $commands; do
        help=$("${run[@]}" "$program" "$command" --help)
        expect "$name $command" "$(options_of "$help")" "$(offered "$name" "$command" -)"
        check_values "$help" "$name" "$command"
        # Files: images and templates, where the text of the arguments speaks of them.
        arguments=$(sed '1,/^Positionals:$/d; /^$/,$d' <<<"$help")
        wanted=gallery
        ! grep -qi 'image' <<<"$arguments" || wanted+=$'\na.pgm\nb.png\nc.bmp\nf g.pgm\nh.tif\ni.tiff\nj.jp2\nk.j2k'
        ! grep -qi 'template' <<<"$arguments" || wanted+=$'\nd.bin'
        files=$(cd "$folder" && offered "$name" "$command" '')
        expect "$name $command, files" "$wanted" "$files"
    done
    expect "$name, what was begun" "$(grep '^check' <<<"$commands")" "$(offered "$name" che)"
    expect "$name, an unknown command" '' "$(offered "$name" absent '')"
done

if [ "$failures" -ne 0 ]; then
    echo "$failures differences"
    exit 1
fi
echo "the completion offers what --help prints, for ${*##*/}"
