#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Makes CALLS calls of all kinds in one process, on good and hostile inputs, and then the same again on
# work memory that is filled otherwise. The results must be the same and the memory must not grow.
#
#   scripts/soak.sh [CALLS [SEED]]      default 1000000 and 1
#
# Prints how often each call gave each result, the digests of both rounds, the memory and the time.
# Exit status 1 when something is wrong.
set -euo pipefail
cd "$(dirname "$0")/.."
# shellcheck source=scripts/usage.sh
. scripts/usage.sh
# shellcheck source=scripts/debian-packages.sh
. scripts/debian-packages.sh
answer_help "$@"

calls=${1:-1000000}
seed=${2:-1}
if ! [[ $calls =~ ^[1-9][0-9]*$ && $seed =~ ^[0-9]+$ ]] || [ $# -gt 2 ]; then
    wrong_use
fi
mkdir -p build/hostile
log=build/hostile/soak.log
{ install_packages "$log" "${build_packages[@]}" &&
    cmake --preset release -B build/hostile -DQORFP_BUILD_FUZZ=ON &&
    cmake --build build/hostile --target soak -- -j"${JOBS:-$(nproc)}"; } >"$log.out" 2>&1 || {
    tail -n 25 "$log.out" >&2
    exit 2
}
started=$SECONDS status=0
build/hostile/fuzz/soak/soak "$calls" "$seed" || status=$?
echo "$calls calls, twice, with seed $seed: $((SECONDS - started)) s"
exit "$status"
