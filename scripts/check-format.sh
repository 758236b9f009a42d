#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Says which C and C++ files are not laid out as .clang-format has it; changes nothing. Needs
# clang-format 14. With --fix it lays them out.
#
#   scripts/check-format.sh [--fix]
set -euo pipefail
cd "$(dirname "$0")/.."
# shellcheck source=scripts/usage.sh
. scripts/usage.sh
answer_help "$@"

case ${1:-} in
    '') mode=(--dry-run -Werror) ;;
    --fix) mode=(-i) ;;
    *) wrong_use ;;
esac
clang_format=$(command -v clang-format-14 || command -v clang-format) || {
    echo "check-format: clang-format is missing (Debian package clang-format-14)" >&2
    exit 2
}
find api engine preprocess extract match include tools examples tests bench fuzz -type f \
    \( -name '*.c' -o -name '*.cpp' -o -name '*.h' \) -print0 | sort -z |
    xargs -0 "$clang_format" --style=file "${mode[@]}"
