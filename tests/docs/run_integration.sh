#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Follows docs/integration.md: writes its toolchain file, runs its shell commands in a folder with the
# sources, and looks for the programs and the line of the self-test that it promises.
#
#   run_integration.sh SOURCE_FOLDER WORK_FOLDER
#
# Exit status 77: the cross compiler or the emulator that the page uses is missing.
set -euo pipefail
source=$1 work=$2
page=$source/docs/integration.md
for tool in arm-linux-gnueabihf-gcc arm-linux-gnueabihf-g++ qemu-arm ninja; do
    if ! command -v "$tool" >/dev/null; then
        echo "skipped: $tool is missing"
        exit 77
    fi
done

# The sources under their own names, and nothing that an earlier build left.
rm -rf "$work"
mkdir -p "$work"
for entry in "$source"/*; do
    [ "${entry##*/}" = build ] || ln -s "$entry" "$work"
done
cd "$work"

# block KIND: the code blocks of that kind, also those in lists.
block() {
    awk -v fence="^ *\`\`\`$1\$" '$0 ~ fence {inside = 1; next} /^ *```$/ {inside = 0} inside' "$page" |
        sed 's/^    //'
}
block cmake >board.cmake
head -n 1 board.cmake | grep -qx '# board.cmake'
block sh >commands.sh
[ "$(grep -c . commands.sh)" -ge 7 ]
bash -eux commands.sh >output.txt 2>&1 || {
    tail -n 20 output.txt
    echo "a command of $page has failed"
    exit 1
}

promised=$(block console | sed -n '/^# bin\/qorfp-selftest$/{n;p}')
case $promised in
    PASS*) ;;
    *) echo "$page does not show the line of the self-test"; exit 1 ;;
esac
if [ "$(tail -n 1 output.txt)" != "$promised" ]; then
    printf 'the self-test says "%s", the page "%s"\n' "$(tail -n 1 output.txt)" "$promised"
    exit 1
fi
for file in lib/libqorfp.so.1 bin/qorfp-selftest include/QORFPApi.h; do
    [ -e "build/board/root/$file" ] || { echo "no $file in build/board/root"; exit 1; }
done
status=0
qemu-arm -L /usr/arm-linux-gnueabihf -E LD_LIBRARY_PATH=build/board/root/lib build/board/verify_pair \
    examples/data/1_1.pgm examples/data/1_2.pgm | grep -q 'score 830: match' || status=1
[ "$status" -eq 0 ] || echo "the linked example does not find the match"
exit "$status"
