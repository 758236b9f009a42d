#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Measures everything anew and writes the figures into docs/performance.md, its picture and the
# README. For a quiet machine; takes some minutes.
#
#   scripts/renew-performance.sh [--document-only]
#
# --document-only: from what was measured last.
set -euo pipefail
cd "$(dirname "$0")/.."
# shellcheck source=scripts/usage.sh
. scripts/usage.sh
. scripts/debian-packages.sh
. scripts/bench-common.sh
answer_help "$@"

case ${1:-} in
    '')
        mkdir -p build
        need_packages build/setup.log "${performance_packages[@]}"
        scripts/bench.sh --filter .
        scripts/count-instructions.sh
        scripts/worst-cases.sh
        ;;
    --document-only) ;;
    *) wrong_use ;;
esac
python3 bench/report/renew_document.py docs/performance.md README.md \
    build/bench/speed.json build/bench/counts build/bench/worst.json build/bench
gnuplot -e "folder='build/bench'; picture='docs/images/growth.png'" bench/report/growth.gnuplot
git diff --stat -- docs README.md 2>/dev/null || true
