#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# The symbols file of libqorfp1 names what the library exports, each name with the release that first
# had it, which is none after this one.
#
#   check_symbols.sh SYMBOLS EXPORTS VERSION
set -uo pipefail
export LC_ALL=C
symbols=$1 exports=$2 version=$3

if ! head -n 1 "$symbols" | grep -qx "libqorfp\.so\.${version%%.*} libqorfp${version%%.*} #MINVER#"; then
    echo "$symbols does not begin with this library"
    exit 1
fi
if ! diff "$exports" <(sed -nE 's/^ ([A-Za-z_]+)@Base [0-9.]+$/\1/p' "$symbols"); then
    echo "$symbols (>) has other names than $exports (<)"
    exit 1
fi
newest=$({ sed -nE 's/^ .*@Base ([0-9.]+)$/\1/p' "$symbols"; echo "$version"; } | sort -V | tail -n 1)
if [ "$newest" != "$version" ]; then
    echo "$symbols names release $newest, but this is $version"
    exit 1
fi
