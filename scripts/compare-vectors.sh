#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Compares the library with tables of expected results that an independent model has made.
#
#   scripts/compare-vectors.sh [--program FILE] [DIR]
#
# DIR holds the tables (default: ../shared/vectors beside the repository), DIR/../data the images.
# Without them nothing is compared: exit status 77, which ctest counts as skipped.
set -euo pipefail
cd "$(dirname "$0")/.."
# shellcheck source=scripts/usage.sh
. scripts/usage.sh
answer_help "$@"

program=
if [ "${1:-}" = --program ]; then
    program=${2:-}
    [ -n "$program" ] || wrong_use
    shift 2
fi
[[ ${1:-} != -* ]] || wrong_use
vectors=${1:-../shared/vectors}
images=$vectors/../data
if [ ! -d "$vectors" ] || [ ! -d "$images" ]; then
    echo "skipped: no tables of expected results in $vectors (with their images in $images)"
    exit 77
fi
if [ -z "$program" ]; then
    cmake --preset dev > /dev/null
    cmake --build --preset dev --target compare_vectors
    program=build/dev/tests/vectors/compare_vectors
fi
exec "$program" "$vectors" "$images"
