#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Installs a finished build into FOLDER, compares what lies there with files.txt, moves the tree
# elsewhere, builds the four consumer projects against it and runs them and the installed programs.
#
#   check_install.sh FOLDER
#
# ctest gives the build in the environment: CMAKE, GENERATOR, BUILD, CONFIG, LIBDIR, VERSION,
# PROGRAMS, CC, CXX, TOOLCHAIN, EMULATOR, SANITIZE, IMAGES.
# Exit status: 0 as it should be, 1 not, 77 skipped.
set -euo pipefail
export LC_ALL=C
here=$(realpath "$(dirname "$0")")
folder=$1

if [ -n "$SANITIZE" ]; then
    echo "skipped: built with -fsanitize=$SANITIZE, whose run-time library consumers do not link"
    exit 77
fi
if ! command -v pkg-config >/dev/null || ! command -v make >/dev/null; then
    echo "skipped: needs pkg-config and make"
    exit 77
fi
# shellcheck disable=SC2153
read -r -a run <<<"$EMULATOR"

fail() {
    echo "check_install: $*"
    exit 1
}

# Runs a command; shows what it printed only when it fails.
quietly() {
    local output
    output=$("$@" 2>&1) || fail "\"$*\" failed:"$'\n'"$output"
}

# The whole installation, by component and by file.
list_installed() {  # component
    (cd "$folder/$1/opt/qorfp" && find . -mindepth 1 ! -type d -printf '%P %y %l\n') |
        awk -v component="$1" '{print component, $1 ($2 == "l" ? " -> " $3 : "")}' | sort
}
list_expected() {  # component
    local drop=''
    for word in cli selftest; do
        [[ $PROGRAMS == *" $word "* ]] || drop+="/^tools $word /d;"
    done
    sed -E -e "/^#/d; /^$1 /!d; $drop s/^(tools) [a-z]+ /\1 /" -e "s,LIBDIR,$LIBDIR," \
        -e "s/VERSION/$VERSION/g; s/CONFIG/${CONFIG,,}/" "$here/files.txt" | sort
}
rm -rf "$folder"
mkdir -p "$folder"
for component in runtime development tools; do
    [ $component != tools ] || [ -n "$PROGRAMS" ] || continue
    DESTDIR=$folder/$component quietly \
        "$CMAKE" --install "$BUILD" --prefix /opt/qorfp --component $component
    diff <(list_expected $component) <(list_installed $component) ||
        fail "component $component differs from files.txt (< expected, > installed)"
    list_installed $component | cut -d ' ' -f 2- >>"$folder/components"
done
DESTDIR=$folder/stage quietly "$CMAKE" --install "$BUILD" --prefix /opt/qorfp
diff <(sort "$folder/components") <(list_installed stage | cut -d ' ' -f 2- | sort) ||
    fail "the components (<) are not the whole installation (>)"

# Nothing in it may know where it was built or staged.
source=${here%/tests/install}
if grep -rlF -e "$source/" -e "$BUILD" -e "$folder" "$folder/stage"; then
    fail "the files above name $source, $BUILD or $folder"
fi

# From here on it lies elsewhere, and the build is out of sight.
moved=$folder/moved
mv "$folder/stage/opt/qorfp" "$moved"
rm -rf "$folder"/{stage,runtime,development,tools}

options=(-DCMAKE_C_COMPILER="$CC" -DCMAKE_CXX_COMPILER="$CXX")
if [ -n "$TOOLCHAIN" ]; then
    # A toolchain file may look for packages in the target's folders only: name the very folder.
    options=(-DCMAKE_TOOLCHAIN_FILE="$TOOLCHAIN" -Dqorfp_DIR="$moved/$LIBDIR/cmake/qorfp")
else
    options+=(-DCMAKE_PREFIX_PATH="$moved")
fi
quietly "$CMAKE" -S "$here/cmake" -B "$folder/by-cmake" -G "$GENERATOR" "${options[@]}"
quietly "$CMAKE" --build "$folder/by-cmake"

export PKG_CONFIG_LIBDIR=$moved/$LIBDIR/pkgconfig
[ "$(pkg-config --modversion qorfp)" = "$VERSION" ] || fail "qorfp.pc has another version"
[[ "$(pkg-config --libs --static qorfp)" == *-pthread* ]] || fail "qorfp.pc: no -pthread for --static"
mkdir "$folder/by-pkg-config"
quietly make -C "$folder/by-pkg-config" -f "$here/pkgconfig/Makefile" CC="$CC" CXX="$CXX"

# Every consumer gives the score of the example in docs/getting-started.md, behind the library's own line.
wanted='[QOR_FPR]:QORFP_Initial_431_QORFP_Initial SUCC
 MEL_FPR_AI3_V1.1.3 score 830'
for consumer in "$folder"/by-{cmake,pkg-config}/consumer_{c,cpp}; do
    output=$(LD_LIBRARY_PATH=$moved/$LIBDIR "${run[@]}" "$consumer" \
        "$IMAGES/1_1.pgm" "$IMAGES/1_2.pgm") || fail "$consumer failed: $output"
    [ "$output" = "$wanted" ] || fail "$consumer printed \"$output\""
done

# Installed programs find the library beside them.
for program in "$moved"/bin/*; do
    case ${program##*/} in
        qorfp) arguments=(verify "$IMAGES/1_1.pgm" "$IMAGES/1_2.pgm") ;;
        qorfp-synth) arguments=(--help) ;;
        *) arguments=() ;;
    esac
    quietly "${run[@]}" "$program" "${arguments[@]}"
done
echo "$VERSION: installed, moved, used from C and C++ through CMake and pkg-config"
