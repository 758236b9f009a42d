#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# How much longer every call takes on the worst of some hundred adversarial inputs than on an ordinary
# one of the same size: noise, checkerboards, stripes, spirals; minutiae in heaps and on lines; lists
# of equal templates; sorted lists. Prints processor times, and then, for the inputs that took the
# longest, instructions, which no load changes.
#
#   scripts/worst-cases.sh
#
# The counts go to build/bench/worst.json; scripts/renew-performance.sh writes them into
# docs/performance.md.
set -euo pipefail
cd "$(dirname "$0")/.."
# shellcheck source=scripts/usage.sh
. scripts/usage.sh
. scripts/debian-packages.sh
. scripts/bench-common.sh
answer_help "$@"
[ $# -eq 0 ] || wrong_use

folder=build/bench/worst
rm -rf "$folder"
mkdir -p "$folder"
need_packages "$folder/setup.log" "${count_packages[@]}"
{ cmake --preset release -B build/hostile -DQORFP_BUILD_BENCH=ON -DQORFP_BUILD_FUZZ=ON &&
    cmake --build build/hostile --target worst_cases -- -j"${JOBS:-$(nproc)}"; } \
    >"$folder/build.log" 2>&1 || {
    tail -n 25 "$folder/build.log" >&2
    exit 2
}
program=build/hostile/bench/worst/worst_cases
"$program" examples/data --choose "$folder/chosen"
printf '\nInstructions:\n'
valgrind --tool=callgrind --instr-atstart=no --callgrind-out-file="$folder/callgrind.out" \
    "$program" examples/data --count "$folder/chosen" >"$folder/callgrind.log" 2>&1 || {
    tail -n 25 "$folder/callgrind.log" >&2
    exit 2
}
python3 bench/report/worst_table.py "$folder" build/bench/worst.json
