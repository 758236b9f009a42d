#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Measures error rates on synthetic fingers, or on a folder of your own.
#
#   scripts/accuracy.sh [FINGERS [IMPRESSIONS [SEED]]]   default 100 10 1
#   scripts/accuracy.sh FOLDER                           images named <finger>_<impression>.pgm
#
# Prints what `qorfp eval` and `qorfp eval-search` find, whose reports go to build/accuracy, and what
# fusion and improvement of templates are worth.
set -euo pipefail
cd "$(dirname "$0")/.."
# shellcheck source=scripts/usage.sh
. scripts/usage.sh
answer_help "$@"
[[ ${1:-} != -* ]] || wrong_use

cmake --preset release -DQORFP_BUILD_BENCH=ON > /dev/null
cmake --build --preset release > /dev/null

if [ -d "${1:-}" ]; then
    folder=$1
else
    folder=build/fingers/${1:-100}x${2:-10}-seed${3:-1}
    # Beside the images, among which it would be a file of another kind.
    complete=$folder.complete
    if [ ! -f "$complete" ]; then
        build/release/tools/synth/qorfp-synth --fingers "${1:-100}" --impressions "${2:-10}" \
            --seed "${3:-1}" -j "$(nproc)" -o "$folder"
        touch "$complete"
    fi
fi
report=build/accuracy
qorfp=build/release/tools/qorfp/qorfp
"$qorfp" eval "$folder" --protocol all -j "$(nproc)" -o "$report"
echo
"$qorfp" eval-search "$folder" -j "$(nproc)" -o "$report"
echo
build/release/bench/enrolment/measure_enrolment "$folder"
echo "reports: $report/report.html and $report/search.html"
