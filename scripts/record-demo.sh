#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Records the first two minutes for the README: runs the commands below in a pseudo-terminal and writes
# what they print as a picture, docs/images/demo.svg. A test compares the text of the picture with what
# the same commands print later; run this anew when it fails. Builds from nothing: for times that tell
# something it needs a quiet machine.
#
#   scripts/record-demo.sh
set -euo pipefail
cd "$(dirname "$0")/.."
# shellcheck source=scripts/usage.sh
. scripts/usage.sh
. scripts/debian-packages.sh
answer_help "$@"
[ $# -eq 0 ] || wrong_use
mkdir -p build
: >build/setup.log
install_packages build/setup.log "${record_packages[@]}"

# shellcheck disable=SC2016  # the player's shell expands them
commands=(
    'scripts/setup-and-demo.sh'
    'PATH=$PATH:$PWD/build/release/tools/qorfp'
    'mkdir -p build/demo/gallery'
    'qorfp enroll examples/data/1_[123].pgm -o build/demo/gallery/anna.bin'
    'qorfp enroll examples/data/2_[12].pgm -o build/demo/gallery/ben.bin'
    'qorfp identify examples/data/2_3.pgm build/demo/gallery'
)
player=$(mktemp)
trap 'rm -f "$player"' EXIT
for command in "${commands[@]}"; do
    printf 'printf "\\e[1;32m$\\e[0m \\e[1m%%s\\e[0m\\n" %q\n%s\n' "$command" "$command"
done >"$player"

rm -rf build/release build/demo
export CCACHE_DISABLE=1
script --quiet --return --command "stty cols 92; bash -eu '$player'" /dev/null </dev/null |
    python3 docs/site/terminal_picture.py "qorfp, the first minutes" >docs/images/demo.svg.new
mv docs/images/demo.svg.new docs/images/demo.svg
