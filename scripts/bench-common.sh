# SPDX-License-Identifier: Apache-2.0
# shellcheck shell=bash
# What the measuring scripts share. Sourced by them; it runs nothing by itself.

# need_packages LOG PACKAGE...: installs what is missing, in silence unless that fails.
need_packages() {
    local log=$1
    shift
    install_packages "$log" "$@" >"$log.packages" || {
        cat "$log.packages" >&2
        return 1
    }
}

# build_release LOG TARGET...: builds targets of the release preset, with the measurements.
build_release() {
    local log=$1
    shift
    { cmake --preset release -DQORFP_BUILD_BENCH=ON &&
        cmake --build --preset release --target "$@"; } >>"$log" 2>&1 || {
        tail -n 25 "$log" >&2
        return 1
    }
}

# make_fingers GENERATOR FOLDER FINGERS IMPRESSIONS: synthetic fingers, images of 256 x 360 pixels in
# FOLDER/256x360 and of the small sensor in FOLDER/152x200. Those that are there are kept.
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

# The fingers of all measurements, in $fingers.
make_bench_fingers() {
    fingers=$PWD/build/bench/fingers
    make_fingers build/release/tools/synth/qorfp-synth "$fingers" 24 4
}
