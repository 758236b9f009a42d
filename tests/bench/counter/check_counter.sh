#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# The emulator's counter against a program whose instructions are counted by hand.
#
#   check_counter.sh COUNTER FOLDER     COUNTER: qemu_counter.so; FOLDER: to write to
#
# Exit status 77, which ctest counts as skipped, without the cross compiler or the emulator.
set -euo pipefail

here=$(dirname "$0")
counter=$1
folder=$2
for tool in arm-linux-gnueabihf-gcc qemu-arm; do
    command -v "$tool" >/dev/null || {
        echo "skipped: $tool is missing"
        exit 77
    }
done
mkdir -p "$folder"
arm-linux-gnueabihf-gcc -nostdlib -static -o "$folder/counted" "$here/Counted.S"
qemu-arm -cpu cortex-a9 -d plugin -D "$folder/log" \
    -plugin "$counter,root=CountedRun,out=$folder/counted.tsv" "$folder/counted"
diff "$here/expected.tsv" <(LC_ALL=C sort "$folder/counted.tsv")
