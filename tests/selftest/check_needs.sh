#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# The self-test calls every call of the public header, and needs libqorfp and the C library only.
#
#   check_needs.sh [--sanitize NAMES] EXPORTS PROGRAM
#
# With a sanitizer (NAMES not empty) nothing is checked: its run-time library is linked in.
set -uo pipefail
export LC_ALL=C
if [ "${1:-}" = --sanitize ]; then
    if [ -n "$2" ]; then
        echo "skipped: built with -fsanitize=$2"
        exit 77
    fi
    shift 2
fi
failed=0
called=$(nm -u "$2" | awk '{print $NF}' | sed 's/@.*//' | grep '^QORFP_' | sort) || exit 1
if ! diff <(grep '^QORFP_' "$1") - <<<"$called"; then
    echo "the calls of the library (<) and those that $2 makes (>) differ"
    failed=1
fi
needed=$(readelf -dW "$2" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p') || exit 1
if ! grep -qx 'libqorfp\.so\.1' <<<"$needed"; then
    echo "$2 does not need libqorfp.so.1"
    failed=1
fi
others=$(grep -vxE 'libqorfp\.so\.1|libc\.so(\.6)?|libc\.musl-.*\.so\.1|ld-(linux|musl).*\.so(\.[0-9])?' <<<"$needed")
if [ -n "$others" ]; then
    echo "$2 needs more than libqorfp and the C library: $others"
    failed=1
fi
exit "$failed"
