#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Builds the documentation as one static site, build/release/docs/site, and checks its links. Installs
# the Debian packages that are missing (as root or with sudo).
#
#   scripts/docs.sh
set -euo pipefail
cd "$(dirname "$0")/.."
# shellcheck source=scripts/usage.sh
. scripts/usage.sh
. scripts/debian-packages.sh
answer_help "$@"
[ $# -eq 0 ] || wrong_use

mkdir -p build
: >build/setup.log
install_packages build/setup.log "${docs_packages[@]}"
cmake --preset release
cmake --build --preset release --target docs
echo "Open build/release/docs/site/index.html, or, with search:"
echo "  python3 -m http.server --directory build/release/docs/site"
