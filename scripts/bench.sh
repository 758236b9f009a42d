#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Measures how long the library's calls and stages take, on synthetic fingers, one core, release
# build; prints a table with the targets. For figures worth keeping the machine must be quiet. The
# longest lists take up to 1 GB of memory.
#
#   scripts/bench.sh [--filter REGEX] [--repetitions N] [--json FILE] [IMAGES...]
#
# REGEX: the works to measure (default: all but the growth series); N: runs, of which the median
# counts (default 21); FILE: what Google Benchmark writes (default build/bench/speed.json). IMAGES:
# folders of images <finger>_<impression>.pgm to extract as well (default: those in ../shared/data,
# where there are any).
set -euo pipefail
cd "$(dirname "$0")/.."
# shellcheck source=scripts/usage.sh
. scripts/usage.sh
. scripts/debian-packages.sh
. scripts/bench-common.sh
answer_help "$@"

filter=-growth/
repetitions=21
json=build/bench/speed.json
while [[ ${1:-} == --* ]]; do
    [ $# -ge 2 ] || wrong_use
    case $1 in
        --filter) filter=$2 ;;
        --repetitions) repetitions=$2 ;;
        --json) json=$2 ;;
        *) wrong_use ;;
    esac
    shift 2
done
images=("$@")
if [ $# -eq 0 ]; then
    for folder in ../shared/data/*/; do
        [ ! -d "$folder" ] || images+=("${folder%/}")
    done
fi

mkdir -p build/bench
build_log=build/bench/build.log
: >"$build_log"
need_packages "$build_log" "${bench_packages[@]}"
build_release "$build_log" measure_speed qorfp-synth
make_bench_fingers

machine=$(lscpu | sed -n 's/^Model name: *//p')
revision=$(git describe --always --dirty 2>/dev/null || echo unknown)
log=build/bench/speed.log
# In Google Benchmark's names, "/manual_time" follows: $ has to mean the end before that.
build/release/bench/speed/measure_speed --fingers="$fingers" "${images[@]/#/--images=}" \
    --benchmark_filter="${filter//\$//manual_time\$}" --benchmark_repetitions="$repetitions" \
    --benchmark_min_time=0.02 --benchmark_out="$json" --benchmark_out_format=json \
    --benchmark_context="machine=${machine:-unknown}" --benchmark_context="revision=$revision" \
    >"$log" 2>&1 || {
    grep 'ERROR OCCURRED' "$log" >&2 || tail -n 15 "$log" >&2
    exit 1
}
python3 bench/report/speed_table.py "$json"
