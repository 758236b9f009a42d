# SPDX-License-Identifier: Apache-2.0
# shellcheck shell=bash
# The synthetic fingers that measurements work on. Sourced by the other scripts; it runs nothing by
# itself.

# make_fingers GENERATOR FOLDER FINGERS IMPRESSIONS: images of 256 x 360 pixels in FOLDER/256x360,
# and of the small sensor in FOLDER/152x200. Those that are there are kept.
make_fingers() {
    local generator=$1 folder=$2 what="$3 fingers, $4 impressions"
    if [ "$(cat "$folder/made" 2>/dev/null)" != "$what" ]; then
        rm -rf "$folder"
        "$generator" --fingers "$3" --impressions "$4" --seed 1 -j "$(nproc)" --quiet \
            -o "$folder/256x360"
        "$generator" --fingers "$3" --impressions 1 --seed 1 -j "$(nproc)" --quiet \
            --width 152 --height 200 --dpi 363 -o "$folder/152x200"
        echo "$what" >"$folder/made"
    fi
}
