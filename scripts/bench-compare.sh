#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Compares the speed of two versions of the library: runs both in turn, so that both see the same
# load, and prints how long NEW takes for each work where OLD takes 1.
#
#   scripts/bench-compare.sh [--filter REGEX] [--rounds N] OLD NEW
#
# OLD and NEW: git revisions, or build folders that hold bench/speed/measure_speed. A revision is
# built under build/compare, with the measuring programs of the present tree. REGEX: the works
# (default: the public calls); N: runs of each (default 21).
set -euo pipefail
cd "$(dirname "$0")/.."
# shellcheck source=scripts/usage.sh
. scripts/usage.sh
. scripts/debian-packages.sh
. scripts/bench-common.sh
answer_help "$@"

filter='^(extract/|verify/|match-next/|index-score/|enroll/|improve|search/100000$)'
rounds=21
while [[ ${1:-} == --* ]] && [ $# -ge 2 ]; do
    case $1 in
        --filter) filter=$2 ;;
        --rounds) rounds=$2 ;;
        *) break ;;
    esac
    shift 2
done
if [ $# -ne 2 ]; then
    wrong_use
fi

compare=$PWD/build/compare
log=$compare/build.log
mkdir -p "$compare"
: >"$log"
need_packages "$log" "${bench_packages[@]}"
build_release "$log" qorfp-synth
make_bench_fingers

# program_of VERSION: the measuring program of a build folder or a revision.
program_of() {
    if [ -x "$1/bench/speed/measure_speed" ]; then
        realpath "$1/bench/speed/measure_speed"
        return
    fi
    local revision tree
    revision=$(git rev-parse --verify --short "$1^{commit}") || return 1
    tree=$compare/$revision
    mkdir -p "$tree"
    git archive "$revision" | tar -x -C "$tree"
    rm -rf "$tree/bench"
    cp -r bench "$tree/bench"
    cmake -S "$tree" -B "$tree/build" -G Ninja -DCMAKE_BUILD_TYPE=Release \
        -DQORFP_BUILD_TOOLS=OFF -DQORFP_BUILD_EXAMPLES=OFF -DQORFP_BUILD_BENCH=ON >>"$log"
    cmake --build "$tree/build" --target measure_speed >>"$log" || return 1
    echo "$tree/build/bench/speed/measure_speed"
}

old=$(program_of "$1") || { tail -n 15 "$log" >&2; exit 1; }
new=$(program_of "$2") || { tail -n 15 "$log" >&2; exit 1; }

# run SIDE PROGRAM ROUND
run() {
    "$2" --fingers="$fingers" --benchmark_filter="${filter//\$//manual_time\$}" \
        --benchmark_min_time=0.05 --benchmark_out="$compare/runs/$1-$3.json" \
        --benchmark_out_format=json >"$compare/run.log" 2>&1 || {
        grep 'ERROR OCCURRED' "$compare/run.log" >&2 || tail -n 15 "$compare/run.log" >&2
        return 1
    }
}

rm -rf "$compare/runs"
mkdir -p "$compare/runs"
for ((round = 1; round <= rounds; ++round)); do
    # Who goes first changes, so that a load that swells or fades favours neither.
    if ((round % 2)); then
        run old "$old" "$round"
        run new "$new" "$round"
    else
        run new "$new" "$round"
        run old "$old" "$round"
    fi
done
python3 bench/report/compare_table.py "$1" "$2" "$compare/runs"
