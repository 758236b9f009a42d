# SPDX-License-Identifier: Apache-2.0
# shellcheck shell=bash
# The date that reproducible files carry. Sourced by other scripts, in the root of the sources.

# set_source_date: exports SOURCE_DATE_EPOCH unless it is set: the date of the last commit, or, where
# there is no repository (a tarball), the date of the newest release in CHANGELOG.md.
set_source_date() {
    local date
    if [ -z "${SOURCE_DATE_EPOCH:-}" ]; then
        if [ -e .git ]; then
            SOURCE_DATE_EPOCH=$(git log -1 --format=%ct)
        else
            date=$(sed -nE '/^## /{s/^## [0-9.]+ \(([0-9]{4}-[0-9]{2}-[0-9]{2})\)$/\1/p; q}' CHANGELOG.md)
            if [ -z "$date" ]; then
                echo "The date of the sources is not known: there is no repository, and CHANGELOG.md" \
                    "gives its newest release no date. Set SOURCE_DATE_EPOCH." >&2
                return 1
            fi
            SOURCE_DATE_EPOCH=$(date -u -d "$date" +%s)
        fi
    fi
    export SOURCE_DATE_EPOCH
}
