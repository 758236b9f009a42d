#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# A manual page and what its program prints for --help say the same. For the program, and for each
# sub-command:
#   - every option of the help stands in the page, and every option of the page in the help;
#   - every sentence of the help (descriptions, exit status, example) stands in the page, word for
#     word but for capitals;
#   - behind the words of an option stands its range and default, as "1 to 5, default 3", or that it
#     is required.
# The sub-commands of the page are those of the help.
#
#   check_manual.sh [--exec-prefix COMMAND] VERSION PAGE PROGRAM
#
# VERSION must stand in the first line. Where man or mandoc is installed, it must find nothing
# to warn of. Fonts in the page are written \fB...\fR, so that a line without them reads as it is
# printed.
# Exit status: 0 they agree, 1 they do not, 2 wrong use.
set -uo pipefail
export LC_ALL=C

run=()
if [ "${1:-}" = --exec-prefix ]; then
    read -r -a run <<<"$2"
    shift 2
fi
if [ $# -ne 3 ] || [ ! -r "$2" ] || [ ! -x "$3" ]; then
    echo "usage: check_manual.sh [--exec-prefix COMMAND] VERSION PAGE PROGRAM" >&2
    exit 2
fi
version=$1
page=$2
program=$3
name=$(basename "$program")
failures=0

report() {
    failures=$((failures + 1))
    printf '%s: %s\n' "$1" "$2"
}

help_of() {  # [sub-command]
    "${run[@]}" "$program" "$@" --help 2>&1
}

# The page without fonts, escapes and comments; macros stay at the line starts.
plain=$(sed -E -e '/^\.\\"/d' -e 's/\\f[BIRP]//g' -e 's/\\-/-/g' -e 's/\\&//g' "$page")

# part_of PATTERN: from the heading that matches to the next one of its kind or above.
part_of() {
    awk -v heading="$1" '
        $0 ~ "^" heading "$" {inside = 1; level = $1; next}
        inside && ($1 == ".SH" || $1 == level) {exit}
        inside' <<<"$plain"
}

# One line, one blank between words, no macros.
one_line() {
    sed -E 's/^\.[A-Za-z]+ ?//' | tr -s ' \n' '  '
}

options_in() {
    grep -oE '(^|[^A-Za-z0-9-])--?[a-zA-Z][a-z-]*' | grep -oE -- '--?[a-zA-Z][a-z-]*' | sort -u
}

# sentences HELP: what must stand in the page word for word. In the lists the terms stand in columns
# 1 to 30 and their text behind them, or on the next line when a term is longer.
sentences() {
    awk -v name="$name" '
        function isTextOnly(line) {return length(line) > 30 && substr(line, 1, 30) ~ /^ +$/}
        # What a term says of its value: "INT:INT in [1 - 5]=3" is " 1 to 5, default 3."
        function limits(term,    words) {
            if (match(term, /in \[[0-9]+ - [0-9]+\]/)) {
                words = substr(term, RSTART + 4, RLENGTH - 5)
                sub(/ - /, " to ", words)
            } else if (match(term, /:\{[a-z,-]+\}/)) {
                words = substr(term, RSTART + 2, RLENGTH - 3)
                gsub(/,/, ", ", words)
                words = "One of " words
            }
            if (match(term, /=[^ =]+ *$/)) {
                term = substr(term, RSTART + 1)
                sub(/ *$/, "", term)
                words = words (words == "" ? "" : words ~ /^One/ ? "; " : ", ") "default " term
            } else if (term ~ /^ *-.* REQUIRED/) {
                words = "Required"
            }
            return words == "" ? "" : ". " words
        }
        {lines[NR] = $0}
        END {
            for (i = 1; i <= NR; ++i) {
                line = lines[i]
                if (line ~ /^(Positionals|Options):$/) {
                    inList = 1
                } else if (line ~ /^[Uu]sage:/ || line == "") {
                    inList = 0
                } else if (!inList) {
                    sub("^" name ": ", "", line)
                    print line
                } else if (isTextOnly(line)) {
                    print substr(line, 31) limits(lines[i - 1])
                } else if (!isTextOnly(lines[i + 1])) {
                    print substr(line, 31) limits(substr(line, 1, 30))
                }
            }
        }' <<<"$1"
}

# compare TITLE HELP PART OTHER: PART is the command's own text; what OTHER explains need not be
# explained there again.
compare() {
    local title=$1 help=$2 part=$3 other=$4 line text all
    if [ -z "$part" ]; then
        report "$title" "not in the page"
        return
    fi
    while read -r line; do
        report "$title" "option $line: (< in the page, > in the help)"
    done < <(diff <(options_in <<<"$part" | grep -vxE -- '-h|--help') \
        <(options_in <<<"$help" | grep -vxE -- '-h|--help') | grep '^[<>]')
    all=$(one_line <<<"$part
$other")
    while IFS= read -r line; do
        text=${line%.}
        [[ ${all,,} == *"${text,,}"* ]] || report "$title" "not in the page: $line"
    done < <(sentences "$help")
}

main_help=$(help_of) || { echo "$name --help failed: $main_help"; exit 1; }
commands=$(awk '/^Subcommands:/ {inside = 1; next} /^[^ ]/ {inside = 0}
    inside && /^  [a-z]/ {print $1}' <<<"$main_help")
whole=$(one_line <<<"$plain")

if [ -n "$commands" ]; then
    compare "$name" "$(sed '/^Subcommands:/,/^$/d' <<<"$main_help")" \
        "$(part_of '[.]SH OPTIONS' | sed '/^\.SS/,$d')" "$plain"
    shared=$(part_of '[.]SH OPTIONS')
    while read -r line; do
        report "$name" "command $line: (< in the page, > in the help)"
    done < <(diff <(part_of '[.]SH COMMANDS' | sed -n 's/^\.SS //p' | sort) \
        <(sort <<<"$commands") | grep '^[<>]')
    for command in $commands; do
        help=$(help_of "$command") || report "$name $command" "--help failed"
        compare "$name $command" "$help" "$(part_of "[.]SS $command")" "$shared"
    done
else
    compare "$name" "$main_help" "$(part_of '[.]SH OPTIONS')" "$plain"
fi

grep -qxE "\.TH ${name^^} 1 [0-9]{4}-[0-9]{2}-[0-9]{2} \"qorfp ${version//./\\.}\" \"User Commands\"" \
    <<<"$plain" || report "$name" "the .TH line is not as it should be"

if command -v man >/dev/null; then
    # What Debian's lintian runs.
    warnings=$(LC_ALL=C.UTF-8 MANROFFSEQ='' MANWIDTH=80 \
        man --warnings -E UTF-8 -l -Tutf8 -Z "$page" 2>&1 >/dev/null)
    [ -z "$warnings" ] || report "man" "$warnings"
fi

if command -v mandoc >/dev/null; then
    warnings=$(mandoc -T lint -W warning "$page")
    [ -z "$warnings" ] || report "mandoc" "$warnings"
fi

if [ "$failures" -ne 0 ]; then
    echo "$page and $name --help differ in $failures places"
    exit 1
fi
echo "$page: as $name --help, $(wc -w <<<"$commands") sub-commands, $(wc -w <<<"$whole") words"
