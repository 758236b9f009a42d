#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Do the tests notice when the library is wrong? Changes one constant, comparison, operator, condition
# or loop bound of it at a time, runs the fast tests until one fails, and prints the changes (mutants)
# that no test has noticed, with a table by folder and kind.
#
#   scripts/mutate.sh [--count N] [--seed S] [--only PREFIX] [--resume]
#                      about N mutants (450) of the files that start with PREFIX; the same S chooses
#                      the same ones; --resume goes on with an interrupted run
#   scripts/mutate.sh --sample N       N of all files but headers; the tests run it with 20
#   scripts/mutate.sh FILE:LINE:COLUMN:KIND ...
#                      these ones, as printed or listed with --list (and --count, --sample, ...)
#
# One that is known to change no result is in tests/mutation/equivalent.txt, with the reason. Exit
# status 1 when another one survives. Sources and builds stay as they are: changed files and what is
# made of them are in build/dev/mutation. JOBS mutants at a time, or as many as there are cores.
set -euo pipefail
cd "$(dirname "$0")/.."
# shellcheck source=scripts/usage.sh
. scripts/usage.sh
# shellcheck source=scripts/debian-packages.sh
. scripts/debian-packages.sh
answer_help "$@"

for argument in "$@"; do
    case $argument in
        --count* | --seed* | --only* | --resume | --sample* | --list) ;;
        -*) wrong_use ;;
    esac
done
jobs=${JOBS:-$(nproc)}
mkdir -p build
log=build/mutate.log
{ install_packages "$log" "${mutation_packages[@]}" && cmake --preset dev &&
    cmake --build --preset dev -- -j"$jobs"; } >"$log.out" 2>&1 || {
    tail -n 25 "$log.out" >&2
    exit 2
}
exec tests/mutation/mutate.py --build build/dev --jobs "$jobs" "$@"
