#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Builds the library for other machines, runs the tests there, in an emulator, and shows that every
# machine gives the same bytes. Installs the Debian packages that are missing (as root or with sudo).
#
#   scripts/cross.sh [MACHINE...]
#
# MACHINE: armhf (ARMv7-A with NEON), armhf-plain (without), arm64, s390x (big-endian), musl (x86-64
# with that C library), clang (this machine); default all. Compared is what every exported call gives
# for the images of examples/data and for synthetic ones (tests/results/PrintResults.c), with gcc on
# this machine; the outputs are in build/cross. On this machine nothing else is tested: that is what
# scripts/test.sh does.
set -euo pipefail
cd "$(dirname "$0")/.."
# shellcheck source=scripts/usage.sh
. scripts/usage.sh
. scripts/debian-packages.sh
answer_help "$@"

machines=("$@")
[ $# -gt 0 ] || machines=(clang armhf armhf-plain arm64 s390x musl)
packages=("${test_packages[@]}")
for machine in "${machines[@]}"; do
    case $machine in
        armhf | armhf-plain) packages+=("${armhf_packages[@]}") ;;
        arm64) packages+=("${arm64_packages[@]}") ;;
        s390x) packages+=("${s390x_packages[@]}") ;;
        musl) packages+=("${musl_packages[@]}") ;;
        clang) packages+=(clang) ;;
        *) wrong_use ;;
    esac
done

out=build/cross
mkdir -p "$out"
: >"$out/setup.log"
mapfile -t packages < <(printf '%s\n' "${packages[@]}" | sort -u)
install_packages "$out/setup.log" "${packages[@]}"

# Prints the results of a machine into its file, by its emulator where it has one.
print_results() {  # machine preset
    local program=build/$2/emulated/print_results
    [ -x "$program" ] || program=build/$2/tests/results/print_results
    "$program" examples/data/*.pgm "$fingers"/*.pgm >"$out/$1.txt"
}

# build PRESET TARGET...
build() {
    printf '\n==== %s ====\n' "$1"
    cmake --preset "$1" >>"$out/setup.log"
    cmake --build --preset "$1" ${2:+--target "${@:2}"}
}

# The outcome of a preset's tests, where a program of GoogleTest counts as its cases.
summarise() {  # preset
    awk '/<testcase / {++passed} /status="(fail|notrun|disabled)"/ {--passed}
        /status="fail"/ {++failed} /status="notrun"/ {++skipped}
        /^\[  PASSED  \] [0-9]+ test/ {passed += $4 - 1} /^\[  SKIPPED \] [0-9]+ test/ {skipped += $4}
        END {printf "%d passed, %d skipped, %d failed", passed, skipped, failed}' "$out/$1.xml"
}

build gcc-O3 print_results qorfp-synth
fingers=$out/fingers
rm -rf "$fingers"
build/gcc-O3/tools/synth/qorfp-synth --fingers 5 --impressions 3 --seed 7 -o "$fingers"
print_results gcc gcc-O3

failed=0
rows=("gcc|")
for machine in "${machines[@]}"; do
    if [ "$machine" = clang ]; then
        build clang-O3 print_results
        print_results clang clang-O3
        rows+=("clang|")
        continue
    fi
    build "$machine"
    ctest --preset "$machine" --parallel "$(nproc)" \
        --output-junit "$PWD/$out/$machine.xml" --test-output-size-passed 1000000 || failed=1
    rows+=("$machine|$(summarise "$machine")")
    print_results "$machine" "$machine"
done

printf '\n%-11s  %-36s  %s\n' machine tests "sha256 of $(wc -l <"$out/gcc.txt") lines of results"
for row in "${rows[@]}"; do
    machine=${row%%|*}
    printf '%-11s  %-36s  %s\n' "$machine" "${row#*|}" \
        "$(sha256sum "$out/$machine.txt" | cut -d ' ' -f 1)"
    if ! cmp -s "$out/gcc.txt" "$out/$machine.txt"; then
        diff "$out/gcc.txt" "$out/$machine.txt" | cut -c 1-120 | head -n 6
        failed=1
    fi
done
[ "$failed" -eq 0 ] && echo "The same results everywhere."
exit "$failed"
