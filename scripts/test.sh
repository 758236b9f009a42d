#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Builds everything and runs all tests; warnings are errors. Installs the Debian packages that are
# missing (as root or with sudo).
#
#   scripts/test.sh          one configuration: the system's compiler, optimised
#   scripts/test.sh --all    GCC and clang, each at -O0 (the library only) and -O3, clang with
#                            AddressSanitizer and UBSan, programs that call all of the library with
#                            MemorySanitizer, eight threads with ThreadSanitizer, and 32-bit ARM in
#                            an emulator; before them the Debian packages of this machine and
#                            scripts/lint.sh; with gcc -O3 the documentation site and 20 mutants;
#                            stops at the first that fails
#
# Each configuration has its folder under build/. The last lines are ctest's.
set -euo pipefail
cd "$(dirname "$0")/.."
# shellcheck source=scripts/usage.sh
. scripts/usage.sh
. scripts/debian-packages.sh
answer_help "$@"

all=''
case ${1:-} in
    '') presets=(dev) packages=("${test_packages[@]}") ;;
    --all)
        all=1
        presets=(gcc-O0 gcc-O3 clang-O0 clang-O3 asan msan armhf) packages=("${all_test_packages[@]}")
        ;;
    *) wrong_use ;;
esac

mkdir -p build
: >build/setup.log
install_packages build/setup.log "${packages[@]}"
if [ -n "$all" ]; then
    printf '\n==== packages ====\n'
    scripts/package.sh --check
    printf '\n==== static analysis ====\n'
    scripts/lint.sh
    printf '\n==== threads ====\n'
    scripts/threads.sh 5
fi
for preset in "${presets[@]}"; do
    printf '\n==== %s ====\n' "$preset"
    started=$SECONDS
    cmake --preset "$preset"
    cmake --build --preset "$preset"
    echo "$preset: configured and built in $((SECONDS - started)) s"
    ctest --preset "$preset" --parallel "$(nproc)"
done
