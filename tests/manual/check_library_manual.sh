#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# The page that is made from the header has all of it: every exported call with its prototype and its
# parameters in order, and every line of every comment. man must format it without a warning.
#
#   check_library_manual.sh PAGE HEADER EXPORTS
set -uo pipefail
export LC_ALL=C
page=$1 header=$2 exports=$3
failures=0

report() {
    failures=$((failures + 1))
    printf '%s\n' "$*"
}

# The page as it reads, on one line.
plain=$(sed -E -e '/^\.\\"/d' -e '/^\.(nf|fi|nh|ad l)$/d' -e 's/\\f[BIR]//g' -e 's/\\-/-/g' -e 's/\\&//g' \
    -e 's/\\e/\\/g' -e 's/^\.(PP|TP|HP|B|BR|SH|SS) ?//' "$page" | tr -s ' \n' '  ')

# Exported calls: the names of the page, and prototype and parameters of each.
calls=$(grep '^QORFP_' "$exports")
diff <(sort <<<"$calls") <(sed -n 's/^\.SS //p' "$page" | sort) ||
    report "the sections of calls (>) are not the exported calls (<)"
diff <(sort <<<"$calls") <(sed -n '/^\.SH NAME$/{n; s/ .- .*//; s/, /\n/g; p}' "$page" | sed 's/ .*//' | sort) ||
    report "the names (>) are not the exported calls (<)"
declarations=$(tr -s ' \n' '  ' <"$header" | grep -oE 'QORFP_EXPORT uint32_t [^;]*;' | sed 's/^QORFP_EXPORT //')
for call in $calls; do
    declaration=$(grep -F " $call(" <<<"$declarations")
    [[ -n $declaration && $plain == *"$call $declaration"* ]] || report "$call: not with its prototype"
    diff <(sed -E 's/.*\((.*)\);/\1/; s/, /\n/g' <<<"$declaration" | sed 's/.*[ *]//') \
        <(sed -n "/^\.SS $call\$/,/^Returns\$/p" "$page" | sed -n '/^\.TP$/{n; s/\\f[IR]//g; p}') ||
        report "$call: the parameters of the page (>) are not those of the header (<)"
done

# Every line of every comment, but for the head of the file and tables.
lines=$(awk '/^ *\/\*\*/ {inside = 1} inside; /\*\/ *$/ {inside = 0}' "$header" |
    sed -E -e 's,^ *(/\*\*|\*/|\* ?) *,,' -e 's, *\*/$,,' -e '/^@(file|brief)/d' -e '/^\|/d' \
        -e 's/^@param(\[[a-z,]*\])? *//' -e 's/^@return/Returns/' -e 's/[*][*]|`//g' -e 's/#QORFP_/QORFP_/g' \
        -e 's/^ +//' -e '/^$/d')
[ "$(wc -l <<<"$lines")" -gt 100 ] || report "the comments of the header are not understood"
while IFS= read -r line; do
    [[ $plain == *"$(tr -s ' ' <<<"$line")"* ]] || report "not in the page: $line"
done <<<"$lines"

if command -v man >/dev/null; then
    warnings=$(LC_ALL=C.UTF-8 MANROFFSEQ='' MANWIDTH=80 \
        man --warnings -E UTF-8 -l -Tutf8 -Z "$page" 2>&1 >/dev/null)
    [ -z "$warnings" ] || report "$warnings"
fi
if [ "$failures" -ne 0 ]; then
    echo "$page and $header differ in $failures places"
    exit 1
fi
echo "$page: $(wc -w <<<"$calls") calls and $(wc -l <<<"$lines") lines of $header"
