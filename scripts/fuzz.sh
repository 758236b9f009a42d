#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Runs the fuzz targets under libFuzzer, with AddressSanitizer and UBSan: all of them, or one.
#
#   scripts/fuzz.sh MINUTES [TARGET]      targets: see fuzz/CMakeLists.txt
#
# Each runs for MINUTES on one core; as many at a time as there are cores, or JOBS of them. What they
# learn stays in build/fuzz/corpus/TARGET and is where the next run begins. Prints a table. Exit status
# 1 when something was found: the input lies in build/fuzz/findings/TARGET, and the last lines say how
# to run it again. Needs clang and libFuzzer (Debian packages clang and libclang-rt-14-dev).
set -euo pipefail
cd "$(dirname "$0")/.."
# shellcheck source=scripts/usage.sh
. scripts/usage.sh
# shellcheck source=scripts/debian-packages.sh
. scripts/debian-packages.sh
answer_help "$@"

minutes=${1:-}
if ! [[ $minutes =~ ^[1-9][0-9]*$ ]] || [ $# -gt 2 ]; then
    wrong_use
fi
jobs=${JOBS:-$(nproc)}
folder=build/fuzz
mkdir -p "$folder"
log=$folder/build.log
{ install_packages "$log" "${fuzz_packages[@]}" && cmake --preset fuzz &&
    cmake --build --preset fuzz -- -j"$jobs"; } >"$log.out" 2>&1 || {
    tail -n 25 "$log.out" >&2
    exit 2
}
mapfile -t targets < <(find "$folder/fuzz" -maxdepth 1 -type f -executable -name 'fuzz_*' \
    -printf '%f\n' | sed 's/^fuzz_//' | sort)
if [ $# -eq 2 ]; then
    case " ${targets[*]} " in
        *" $2 "*) targets=("$2") ;;
        *)
            echo "fuzz.sh: no target $2; there are: ${targets[*]}" >&2
            exit 2
            ;;
    esac
fi

# run TARGET: ends early at a finding. An input that takes 30 s is one; most take milliseconds.
run() {
    local target=$1
    rm -rf "$folder/findings/$target"
    mkdir -p "$folder/findings/$target" "$folder/corpus/$target"
    "$folder/fuzz/fuzz_$target" -max_total_time=$((60 * minutes)) -timeout=30 -report_slow_units=60 \
        -rss_limit_mb=2048 -len_control=0 -print_final_stats=1 \
        -artifact_prefix="$folder/findings/$target/" \
        "$folder/corpus/$target" "fuzz/corpus/$target" >"$folder/findings/$target.log" 2>&1 || true
}

mkdir -p "$folder/findings"
running=0
for target in "${targets[@]}"; do
    if [ "$running" -ge "$jobs" ]; then
        wait -n
        running=$((running - 1))
    fi
    run "$target" &
    running=$((running + 1))
done
wait

# number FILE PATTERN: the last number behind the pattern.
number() {
    { grep -oE "$2[0-9]+" "$1" || echo 0; } | tail -n 1 | grep -oE '[0-9]+$'
}

found=0
printf '%-14s %12s %9s %8s %9s\n' target executions per-second edges findings
for target in "${targets[@]}"; do
    log=$folder/findings/$target.log
    findings=$(find "$folder/findings/$target" -type f | wc -l)
    # One that could not even run has not said how much it did.
    if [ "$findings" -eq 0 ] && ! grep -q '^stat::number_of_executed_units:' "$log"; then
        findings=1
    fi
    printf '%-14s %12s %9s %8s %9s\n' "$target" \
        "$(number "$log" '^stat::number_of_executed_units: *')" \
        "$(number "$log" '^stat::average_exec_per_sec: *')" \
        "$(number "$log" 'cov: ')" "$findings"
    found=$((found + findings))
done
[ "$found" -gt 0 ] || exit 0

for target in "${targets[@]}"; do
    log=$folder/findings/$target.log
    mapfile -t inputs < <(find "$folder/findings/$target" -type f | sort)
    for input in "${inputs[@]}"; do
        printf '\n%s: %s\n' "$target" "$(grep -m 1 -E '^FINDING|ERROR|runtime error' "$log")"
        echo "  again:   $folder/fuzz/fuzz_$target $input"
        echo "  smaller: $folder/fuzz/fuzz_$target -minimize_crash=1 -max_total_time=60 $input"
        echo "  replay:  ninja -C build/dev replay_$target && build/dev/fuzz/replay_$target $input"
    done
    if [ ${#inputs[@]} -eq 0 ] && ! grep -q '^stat::number_of_executed_units:' "$log"; then
        printf '\n%s did not run:\n' "$target"
        tail -n 5 "$log"
    fi
done
exit 1
