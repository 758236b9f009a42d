#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Writes the changelog of the packages: the newest release of CHANGELOG.md in Debian's form, dated
# SOURCE_DATE_EPOCH, compressed.
#
#   changelog.sh CHANGELOG.md VERSION MAINTAINER OUTPUT
set -euo pipefail
export LC_ALL=C
source=$1 version=$2 maintainer=$3 output=$4
: "${SOURCE_DATE_EPOCH:?the date of the sources, as scripts/package.sh sets it}"

entries=$(awk -v version="$version" '
    /^## / {if (inside) exit; inside = $2 == version; next}
    inside && /^- / {printf "%s%s", separator, substr($0, 3); separator = "\n"; next}
    inside && /^  / {printf " %s", substr($0, 3)}' "$source" | tr -d '`')
if [ -z "$entries" ]; then
    echo "changelog.sh: $source has nothing on $version" >&2
    exit 1
fi
{
    printf 'qorfp (%s) unstable; urgency=medium\n\n' "$version"
    while IFS= read -r entry; do
        fold -s -w 74 <<<"$entry" | sed -e '1s/^/  * /' -e '1!s/^/    /' -e 's/ *$//'
    done <<<"$entries"
    printf '\n -- %s  %s\n' "$maintainer" "$(date -u -R -d "@$SOURCE_DATE_EPOCH")"
} | gzip -9n >"$output.new"
mv "$output.new" "$output"
