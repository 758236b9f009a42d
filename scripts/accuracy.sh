#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Measures error rates on synthetic fingers, or on a folder of your own.
#
#   scripts/accuracy.sh [FINGERS [IMPRESSIONS [SEED]]]   default 100 10 1
#   scripts/accuracy.sh FOLDER                           images named <finger>_<impression>.pgm
set -euo pipefail
cd "$(dirname "$0")/.."

cmake --preset release -DQORFP_BUILD_BENCH=ON > /dev/null
cmake --build --preset release > /dev/null

if [ -d "${1:-}" ]; then
    folder=$1
else
    folder=build/fingers/${1:-100}x${2:-10}-seed${3:-1}
    if [ ! -f "$folder/complete" ]; then
        build/release/tools/synth/qorfp-synth --fingers "${1:-100}" --impressions "${2:-10}" \
            --seed "${3:-1}" -j "$(nproc)" -o "$folder"
        touch "$folder/complete"
    fi
fi
exec build/release/bench/accuracy/measure_accuracy "$folder"
