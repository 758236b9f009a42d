#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# From a bare Debian 12 to a first look: installs what the build needs (as root or with sudo),
# builds the library and its tools, makes templates of finger images, verifies a pair of one finger
# and a pair of two, and draws the minutiae. Fails when a step does not give what it should. Safe to
# repeat; writes nothing outside build/ but the packages.
#
#   scripts/setup-and-demo.sh [--built FOLDER]
#
# With --built it shows the demo with the programs of a finished build, and installs and builds nothing.
set -euo pipefail
cd "$(dirname "$0")/.."
# shellcheck source=scripts/usage.sh
. scripts/usage.sh
. scripts/debian-packages.sh
answer_help "$@"

data=examples/data
finger=1_1 same_finger=1_2 other_finger=2_1
demo=build/demo
log=build/setup.log
folder=build/release
case ${1:-} in
    '') ;;
    --built) folder=${2:?} ;;
    *) wrong_use ;;
esac
qorfp=$folder/tools/qorfp/qorfp

fail() {
    echo "setup-and-demo: $*" >&2
    exit 1
}

# Runs a command with its output in the log; shows the end of it only when it fails.
run_logged() {
    "$@" </dev/null >>"$log" 2>&1 && return
    tail -n 25 "$log" >&2
    fail "\"$*\" failed; the whole output is in $log"
}

# size_of IMAGE: width and height from the head of a binary PGM file.
size_of() {
    local magic width height
    { read -r magic && read -r width height; } <"$1"
    [ "$magic" = P5 ] || fail "$1 is not a binary PGM file"
    echo "$width x $height pixels"
}

# verify WANTED_STATUS WANTED_WORD A B: shows the decision and insists on it.
verify() {
    local status=0 decision
    decision=$("$qorfp" verify "$demo/$3.bin" "$demo/$4.bin") || status=$?
    echo "  $3 with $4: $decision"
    if [ "$status" -ne "$1" ] || [ "${decision##*: }" != "$2" ]; then
        fail "this pair should have been $2"
    fi
}

mkdir -p "$demo"
if [ $# -eq 0 ]; then
    : >"$log"
    echo "1. Packages"
    install_packages "$log" "${build_packages[@]}"
    installed=$SECONDS

    echo "2. Build (about a minute on two cores)"
    run_logged cmake --preset release
    run_logged cmake --build --preset release
    echo "$folder/libqorfp.so: $(stat -Lc %s "$folder/libqorfp.so") bytes;" \
        "packages took $installed s, the build $((SECONDS - installed)) s"
fi

echo "3. Images of two synthetic fingers, 1 and 2, and their templates of 512 bytes"
for name in "$finger" "$same_finger" "$other_finger"; do
    echo "  $data/$name.pgm, $(size_of "$data/$name.pgm")"
    echo "    -> $("$qorfp" extract "$data/$name.pgm" -o "$demo/$name.bin")"
    [ "$(stat -c %s "$demo/$name.bin")" -eq 512 ] || fail "$demo/$name.bin does not have 512 bytes"
done

echo "4. Verification, at security level 3"
verify 0 accepted "$finger" "$same_finger"
verify 1 refused "$finger" "$other_finger"

echo "5. Pictures with the minutiae"
for name in "$finger" "$other_finger"; do
    rm -f "$demo/$name.png"
    echo "  $("$qorfp" draw "$data/$name.pgm" -o "$demo/$name.png")"
    [ "$(od -An -c -N4 "$demo/$name.png" | tr -d ' ')" = '211PNG' ] ||
        fail "$demo/$name.png is not a PNG file"
done

cat <<END

Done in $SECONDS s. Look at $demo/$finger.png, then try:
  PATH=\$PATH:\$PWD/${qorfp%/*}
  qorfp info $demo/$finger.bin                             # what stands in a template
  qorfp stages $data/$finger.pgm -o $demo/stages   # a picture of every stage
  qorfp verify YOUR.png OTHER.png --fit                     # yours, cropped to size
  scripts/test.sh                                           # all tests
END
