#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Builds the library and the Debian packages twice, from copies of the sources in different folders,
# with different umask, locale, time zone, home, compiler search path and number of jobs, without
# compiler cache, and compares the results byte for byte: the library as released and with debug
# information, the programs, the packages.
#
#   scripts/reproducible.sh [MACHINE] [--library]
#
#   MACHINE     as for scripts/package.sh
#   --library   the library only, for this machine: needs compilers, CMake and make, no other package
set -euo pipefail
cd "$(dirname "$0")/.."
# shellcheck source=scripts/usage.sh
. scripts/usage.sh
# shellcheck source=scripts/source-date.sh
. scripts/source-date.sh
answer_help "$@"

machine=$(dpkg --print-architecture 2>/dev/null || uname -m)
library_only=''
for argument in "$@"; do
    case $argument in
        --library) library_only=1 ;;
        -*) wrong_use ;;
        *) machine=$argument ;;
    esac
done
set_source_date
export CCACHE_DISABLE=1
unset CMAKE_C_COMPILER_LAUNCHER CMAKE_CXX_COMPILER_LAUNCHER

folder=$PWD/build/reproducible
first=$folder/first
second=$folder/second/of-another-depth
rm -rf "$folder"

# copy_sources FOLDER: the files of the repository as they are now, or all but build/ in a tarball.
copy_sources() {
    mkdir -p "$1"
    if source_git rev-parse --git-dir >/dev/null 2>&1; then
        source_git ls-files -z | tar --null --files-from=- -cf - | tar -xf - --touch -C "$1"
    else
        tar --exclude=./build -cf - . | tar -xf - --touch -C "$1"
    fi
}

# build FOLDER COMMAND...: runs the build there, COMMAND in front of every step.
build() {
    local folder=$1 type
    shift
    for type in Release RelWithDebInfo; do
        "$@" cmake -S "$folder" -B "$folder/build/$type" -DCMAKE_BUILD_TYPE=$type \
            -DQORFP_BUILD_TOOLS=OFF -DQORFP_BUILD_EXAMPLES=OFF
        "$@" cmake --build "$folder/build/$type"
    done
    [ -n "$library_only" ] || "$@" "$folder/scripts/package.sh" "$machine"
}

# Each way of running a command is a small program, so that build can put it in front.
mkdir -p "$folder/ways" "$folder/home"
cat >"$folder/ways/first" <<'END'
#!/bin/sh
umask 022
LC_ALL=C TZ=UTC CMAKE_BUILD_PARALLEL_LEVEL=2 exec "$@"
END
cat >"$folder/ways/second" <<END
#!/bin/sh
umask 077
unset LC_ALL
HOME=$folder/home LANG=C.UTF-8 TZ=Pacific/Chatham PATH=\$PATH:$folder/ways \\
    CMAKE_BUILD_PARALLEL_LEVEL=1 exec "\$@"
END
chmod +x "$folder"/ways/*

for place in first second; do
    [ $place = first ] && copy=$first || copy=$second
    echo "Building in ${copy#"$folder/"}"
    copy_sources "$copy"
    if ! build "$copy" "$folder/ways/$place" >"$folder/$place.log" 2>&1; then
        tail -n 25 "$folder/$place.log" >&2
        echo "reproducible: the build failed; its whole output is in $folder/$place.log" >&2
        exit 1
    fi
done

# The results, by their paths in the first folder.
results=$(cd "$first/build" && find . -type f \( -name 'libqorfp.so.*' -o -name '*.deb' -o -name qorfp \
    -o -name qorfp-synth -o -name qorfp-selftest \) ! -path '*/_CPack_Packages/*' | sort)
differences=0
while IFS= read -r result; do
    if ! cmp "$first/build/$result" "$second/build/$result"; then
        differences=$((differences + 1))
        ! command -v diffoscope >/dev/null ||
            diffoscope --max-report-size 4000 "$first/build/$result" "$second/build/$result" || true
    fi
done <<<"$results"
if [ "$differences" -ne 0 ]; then
    echo "reproducible: $differences of $(wc -l <<<"$results") files differ; they are left in $folder" >&2
    exit 1
fi
(cd "$first/build" && xargs -d '\n' sha256sum <<<"$results")
echo "the same twice: $(wc -l <<<"$results") files"
rm -rf "$folder"
