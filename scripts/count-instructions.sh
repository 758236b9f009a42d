#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Counts the instructions that calls and stages execute, which no load on the machine changes: on
# this machine with valgrind, on 32-bit ARM with the emulator. On ARM it also counts the calls of
# division routines: many cores of this class have no divide instruction. And it counts what calls
# read and write, and what of that a small core's caches would fetch from the next level.
#
#   scripts/count-instructions.sh [--check] [--filter REGEX] [MACHINE...]
#
# MACHINE: host, armhf (with NEON), armhf-plain (without), memory (the host's program, the caches
# simulated); default all. REGEX: the works (default: the public calls). Tables go to standard
# output, JSON to build/bench/counts/MACHINE.json.
# --check: exit status 1 when a target is not met.
set -euo pipefail
cd "$(dirname "$0")/.."
# shellcheck source=scripts/usage.sh
. scripts/usage.sh
. scripts/debian-packages.sh
. scripts/bench-common.sh
answer_help "$@"

filter='^(extract/|verify/40|match-next/|index-score/|search/100000$|enroll/|improve)'
check=()
while [[ ${1:-} == --* ]]; do
    case $1 in
        --check) check=(--check) ;;
        --filter)
            filter=${2:-}
            shift
            ;;
        *) break ;;
    esac
    shift
done
machines=("$@")
[ $# -gt 0 ] || machines=(host armhf armhf-plain memory)
for machine in "${machines[@]}"; do
    case $machine in
        host | armhf | armhf-plain | memory) ;;
        *) wrong_use ;;
    esac
done

mkdir -p build/bench/counts
log=build/bench/counts/build.log
: >"$log"
need_packages "$log" "${count_packages[@]}"
build_release "$log" count_calls qemu_counter qorfp-synth
make_bench_fingers
release=build/release

# build_for MACHINE: the counted program for an emulated machine.
build_for() {
    { cmake -S . -B "build/count-$1" -G Ninja --toolchain "cmake/toolchains/$1.cmake" \
        -DCMAKE_BUILD_TYPE=Release -DQORFP_BUILD_TOOLS=OFF -DQORFP_BUILD_SELFTEST=OFF \
        -DQORFP_BUILD_EXAMPLES=OFF -DQORFP_BUILD_BENCH=ON &&
        cmake --build "build/count-$1" --target count_calls; } >>"$log" 2>&1 || {
        tail -n 25 "$log" >&2
        return 1
    }
}

# count MACHINE WORK: files of functions and calls in the machine's folder.
count() {
    local machine=$1 work=$2 divisor=20
    [[ $work != search/* ]] || divisor=1
    local base=build/bench/counts/$machine/${work//\//+}
    local -a run=(bench/counting/count_calls --fingers="$fingers" --most-fingers=6
        --list-divisor="$divisor" "$work")
    # As in a Cortex-A9: 32 KiB of data and 512 KiB of everything, in lines of 32 bytes.
    local -a caches=(--cache-sim=yes '--I1=32768,4,32' '--D1=32768,4,32' '--LL=524288,8,32')
    [ "$machine" = memory ] || caches=()
    case $machine in
        host | memory)
            valgrind --tool=callgrind --instr-atstart=no --toggle-collect=CountedRun \
                "${caches[@]}" --callgrind-out-file="$base.callgrind" \
                "$release/${run[0]}" "${run[@]:1}"
            ;;
        *)
            # As in the toolchain files. The Cortex-A9 has no divide instruction.
            local cpu=cortex-a9
            [ "$machine" = armhf ] || cpu+=,neon=off
            qemu-arm -cpu "$cpu" -d plugin -D "$base.log" \
                -plugin "$release/bench/counting/qemu_counter.so,root=CountedRun,out=$base.tsv" \
                "build/count-$machine/${run[0]}" "${run[@]:1}"
            ;;
    esac >"$base.out" 2>&1 || {
        tail -n 15 "$base.out" >&2
        return 1
    }
    sed -n 's/^calls //p' "$base.out" >"$base.calls"
}

mapfile -t works < <("$release/bench/counting/count_calls" | grep -E "$filter")
status=0
for machine in "${machines[@]}"; do
    case $machine in
        armhf*) build_for "$machine" ;;
    esac
    rm -rf "build/bench/counts/$machine"
    mkdir -p "build/bench/counts/$machine"
    for work in "${works[@]}"; do
        count "$machine" "$work"
    done
    python3 bench/report/count_table.py "${check[@]}" "$machine" "build/bench/counts/$machine" \
        "build/bench/counts/$machine.json" || status=1
done
exit "$status"
