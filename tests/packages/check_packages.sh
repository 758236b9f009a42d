#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Looks at the three Debian packages of one machine: files, owners and permissions, fields, control
# files, lintian. Then puts them into a fresh folder, builds examples/verify_pair.c against what lies
# there (with pkg-config and with CMake), and runs it and the packaged programs on the example images,
# under qemu when the machine is another one.
#
#   check_packages.sh MACHINE FOLDER_OF_PACKAGES SCRATCH
#
# For armhf, the libraries that scripts/cross-libraries.sh fetched are expected in build/cross/armhf.
set -euo pipefail
export LC_ALL=C
here=$(realpath "$(dirname "$0")")
source=${here%/tests/packages}
machine=$1 folder=$2
triplet=$(dpkg-architecture -a "$machine" -q DEB_HOST_MULTIARCH 2>/dev/null)
mkdir -p "$3"
scratch=$(realpath "$3")
rm -rf "$scratch"
mkdir -p "$scratch/root"

fail() {
    echo "check_packages: $*" >&2
    exit 1
}

# same TITLE WANTED ACTUAL
same() {
    diff <(printf '%s\n' "$2") <(printf '%s\n' "$3") >&2 ||
        fail "$1 is not as wanted (< wanted, > in the package)"
}

names=(libqorfp1 libqorfp-dev qorfp-tools)
declare -A packages
for name in "${names[@]}"; do
    found=("$folder/$name"_*_"$machine.deb")
    if [ ${#found[@]} -ne 1 ] || [ ! -f "${found[0]}" ]; then
        fail "not one $name for $machine in $folder"
    fi
    packages[$name]=${found[0]}
done
version=$(dpkg-deb -f "${packages[libqorfp1]}" Version)

# Files. tar lists mode, owner/group, size, date, time, path, and "->" and the target of a link.
for name in "${names[@]}"; do
    listing=$(dpkg-deb --fsys-tarfile "${packages[$name]}" | tar -tv)
    wanted=$(sed -n "s/^$name //p" "$here/files.txt" | sed "s/TRIPLET/$triplet/; s/VERSION/$version/g")
    same "$name, files" "$(sort <<<"$wanted")" "$(awk '!/^d/ {
        kind = /^l/ ? "l" : /^-rwxr-xr-x/ ? "x" : /^-rw-r--r--/ ? "f" : $1
        sub(/^\.\//, "", $6)
        print kind, $6 (kind == "l" ? " -> " $8 : "")}' <<<"$listing" | sort)"
    same "$name, owners" root/root "$(awk '{print $2}' <<<"$listing" | sort -u)"
    same "$name, folders" drwxr-xr-x "$(awk '/^d/ {print $1}' <<<"$listing" | sort -u)"
done

# Fields and control files.
field() { dpkg-deb -f "${packages[$1]}" "$2"; }
for name in "${names[@]}"; do
    same "$name, Version" "$version" "$(field "$name" Version)"
    same "$name, Architecture" "$machine" "$(field "$name" Architecture)"
done
same 'libqorfp1, Multi-Arch' same "$(field libqorfp1 Multi-Arch)"
same 'libqorfp-dev, Multi-Arch' same "$(field libqorfp-dev Multi-Arch)"
same 'libqorfp-dev, Depends' "libqorfp1 (= $version)" "$(field libqorfp-dev Depends)"
[[ "$(field libqorfp1 Depends)" =~ ^libc6\ \(\>=\ [0-9.]+\)$ ]] ||
    fail "libqorfp1 needs more than the C library: $(field libqorfp1 Depends)"
for needed in "libqorfp1 (>= $version)" 'libc6 (>= ' 'libcairo2 (>= ' 'libopenjp2-7 (>= ' \
    'libpng16-16 (>= ' 'libstdc++6 (>= ' 'libtiff6 (>= '; do
    [[ "$(field qorfp-tools Depends)" == *"$needed"* ]] || fail "qorfp-tools does not depend on $needed"
done
same 'libqorfp1, control files' $'./control\n./md5sums\n./shlibs\n./symbols\n./triggers' \
    "$(dpkg-deb --ctrl-tarfile "${packages[libqorfp1]}" | tar -t | grep -v '/$' | sort)"
same 'libqorfp1, shlibs' "libqorfp 1 libqorfp1 (>= $version)" \
    "$(dpkg-deb -I "${packages[libqorfp1]}" shlibs)"
changelog=$(dpkg-deb --fsys-tarfile "${packages[libqorfp1]}" |
    tar -xO ./usr/share/doc/libqorfp1/changelog.gz | zcat)
[[ "$changelog" == "qorfp ($version) "* ]] || fail "the changelog does not begin with $version"

# lintian.
said=$(lintian --allow-root --display-info --pedantic --display-experimental --tag-display-limit 0 \
    "${packages[@]}" 2>&1) || true
same "what lintian says (see tests/packages/lintian.txt)" \
    "$(sed '/^#/d; /^$/d' "$here/lintian.txt" | sort)" \
    "$(sed -E 's/^[A-Z]: ([^ :]+): ([^ ]+).*/\1 \2/' <<<"$said" | sort -u)"

# A fresh folder.
for name in "${names[@]}"; do
    dpkg-deb -x "${packages[$name]}" "$scratch/root"
done
run=(env)
compiler=(cc)
cmake_options=(-DCMAKE_PREFIX_PATH="$scratch/root/usr")
if [ "$machine" != "$(dpkg --print-architecture)" ]; then
    # The least machine that the packages are for: a NEON instruction of theirs ends the program.
    run=(qemu-arm -cpu 'cortex-a9,neon=off' -L "$source/build/cross/$machine/root")
    compiler=("$triplet-gcc" --sysroot="$source/build/cross/$machine/root")
    cmake_options=(-DCMAKE_SYSTEM_NAME=Linux -DCMAKE_C_COMPILER="$triplet-gcc"
        -Dqorfp_DIR="$scratch/root/usr/lib/$triplet/cmake/qorfp")
fi
export LD_LIBRARY_PATH=$scratch/root/usr/lib/$triplet

# expect STATUS LAST_LINE COMMAND...
expect() {
    local wanted_status=$1 wanted=$2 status=0 output
    shift 2
    output=$("${run[@]}" "$@" 2>&1) || status=$?
    if [ "$status" -ne "$wanted_status" ] || [ "${output##*$'\n'}" != "$wanted" ]; then
        fail "\"$*\" printed, with exit status $status:"$'\n'"$output"
    fi
}

# The example, with pkg-config. The scores are those of docs/getting-started.md and of tests/chain.
images=$source/examples/data
export PKG_CONFIG_SYSROOT_DIR=$scratch/root
export PKG_CONFIG_LIBDIR=$scratch/root/usr/lib/$triplet/pkgconfig
read -r -a flags <<<"$(pkg-config --cflags --libs qorfp)"
"${compiler[@]}" -o "$scratch/verify_pair" "$source/examples/verify_pair.c" "${flags[@]}"
expect 0 ' score 830: match' "$scratch/verify_pair" "$images/1_1.pgm" "$images/1_2.pgm"
other=$(awk '$1 == "1_1.pgm" && $2 == "2_1.pgm" {print $3}' "$source/tests/chain/pinned/scores.tsv")
expect 1 " score $other: no match" "$scratch/verify_pair" "$images/1_1.pgm" "$images/2_1.pgm"

# The example, with CMake.
mkdir "$scratch/project"
cat >"$scratch/project/CMakeLists.txt" <<END
cmake_minimum_required(VERSION 3.16)
project(project LANGUAGES C)
find_package(qorfp $version EXACT REQUIRED CONFIG)
add_executable(verify_pair $source/examples/verify_pair.c)
target_link_libraries(verify_pair PRIVATE qorfp::qorfp)
END
{ cmake -S "$scratch/project" -B "$scratch/by-cmake" -G Ninja "${cmake_options[@]}" &&
    cmake --build "$scratch/by-cmake"; } >"$scratch/log" 2>&1 || fail "$(cat "$scratch/log")"
expect 0 ' score 830: match' "$scratch/by-cmake/verify_pair" "$images/1_1.pgm" "$images/1_2.pgm"

# The packaged programs.
bin=$scratch/root/usr/bin
expect 0 'score 830, threshold 180 (level 3): accepted' \
    "$bin/qorfp" verify "$images/1_1.pgm" "$images/1_2.pgm"
"${run[@]}" "$bin/qorfp" draw "$images/1_1.pgm" -o "$scratch/minutiae.png" >"$scratch/log" 2>&1 ||
    fail "$(cat "$scratch/log")"
"${run[@]}" "$bin/qorfp-selftest" >"$scratch/log" 2>&1 || fail "$(cat "$scratch/log")"
"${run[@]}" "$bin/qorfp-synth" --fingers 1 --impressions 1 --width 224 --height 304 --seed 7 \
    --class left-loop -q -o "$scratch/fingers"
cmp "$scratch/fingers/1_1.pgm" "$images/1_1.pgm"
echo "$machine: packages of $version are as they should be; examples built against them run"
