#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Runs the exported calls and then the engine functions in eight threads at once, for SECONDS each,
# under ThreadSanitizer (clang), and compares each result with that of a single thread.
#
#   scripts/threads.sh [SECONDS]      default 30
set -euo pipefail
cd "$(dirname "$0")/.."
# shellcheck source=scripts/usage.sh
. scripts/usage.sh
answer_help "$@"

seconds=${1:-30}
[[ $seconds =~ ^[1-9][0-9]*$ ]] || wrong_use
cmake --preset tsan > /dev/null
cmake --build --preset tsan --target thread_stress -- -j"${JOBS:-$(nproc)}"
export TSAN_OPTIONS="halt_on_error=1 second_deadlock_stack=1 ${TSAN_OPTIONS:-}"
exec build/tsan/tests/threads/thread_stress "$seconds"
