# SPDX-License-Identifier: Apache-2.0
# shellcheck shell=bash
# The date that reproducible files carry. Sourced by other scripts, in the root of the sources.

# source_git ARGUMENT...: git in this folder, whoever owns it: builds run as root in checkouts of others.
source_git() {
    git -c safe.directory="$PWD" "$@"
}

# set_source_date: exports SOURCE_DATE_EPOCH unless it is set: the date of the last commit, or, where
# there is no repository (an unpacked archive, whose files carry that date), of the newest file.
set_source_date() {
    if [ -z "${SOURCE_DATE_EPOCH:-}" ]; then
        SOURCE_DATE_EPOCH=$(source_git log -1 --format=%ct 2>/dev/null) ||
            SOURCE_DATE_EPOCH=$(find . -path ./build -prune -o -type f -printf '%Ts\n' | sort -n | tail -n 1)
    fi
    export SOURCE_DATE_EPOCH
}
