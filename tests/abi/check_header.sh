#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# The public header on its own: no warning as strict C99 nor as C++17, and no include but stdint.h.
#
#   check_header.sh C_COMPILER CXX_COMPILER HEADER
set -uo pipefail
failed=0
warnings=(-pedantic -Wall -Wextra -Wshadow -Wundef -Wconversion -Werror -fsyntax-only)
"$1" -x c -std=c99 -Wstrict-prototypes "${warnings[@]}" "$3" || failed=1
"$2" -x c++ -std=c++17 -Wold-style-cast "${warnings[@]}" "$3" || failed=1
if ! diff <(echo '#include <stdint.h>') <(grep -E '^[[:space:]]*#[[:space:]]*include' "$3"); then
    echo "$3 must include stdint.h and nothing else"
    failed=1
fi
exit "$failed"
