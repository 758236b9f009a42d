#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Compiles the C code of docs/integration.md, strictly, with the program that tests it, and runs that.
#
#   run_upgrade.sh SOURCE_FOLDER LIBRARY_FOLDER C_COMPILER [EMULATOR...]
set -euo pipefail
source=$1 library=$2 compiler=$3
shift 3
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

awk '/^```c$/ {inside = 1; next} inside && /^```$/ {inside = 0} inside' \
    "$source/docs/integration.md" >"$folder/shown.c"
grep -q . "$folder/shown.c"
strict=(-pedantic -Wall -Wextra -Wshadow -Wconversion -Werror)
"$compiler" -std=c99 "${strict[@]}" -Wno-missing-prototypes -I"$source/include" \
    -fsyntax-only "$folder/shown.c"
cat "$folder/shown.c" "$source/tests/docs/upgrade_store.c" >"$folder/whole.c"
"$compiler" -std=c99 "${strict[@]}" -I"$source" -I"$source/include" "$folder/whole.c" \
    "$source"/tools/selftest/Pinned{Captures,Results}.c \
    -o "$folder/program" -L"$library" -lqorfp -Wl,-rpath,"$library"
"$@" "$folder/program"
