#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Makes the Debian packages libqorfp1, libqorfp-dev and qorfp-tools, in build/packages. Installs the
# Debian packages that are missing for it (as root or with sudo).
#
#   scripts/package.sh [MACHINE] [--check] [--chroot]
#
#   MACHINE    this machine's own (default), or armhf: then they are cross-compiled, with libraries
#              that are fetched into build/cross
#   --check    look at the packages (fields, files, lintian), put them into a fresh folder, build an
#              example against them there and run it, under qemu where the machine is another
#   --chroot   install this machine's in a fresh Debian (debootstrap, as root; three minutes), build
#              and run there, and remove them
#
# The same sources give the same packages byte for byte, see scripts/reproducible.sh. The packages
# carry the date in SOURCE_DATE_EPOCH (default: that of the last commit), and the name and address in
# DEBFULLNAME and DEBEMAIL, if set. armhf is the least that Debian asks for, ARMv7-A without NEON
# (cmake/toolchains/armhf-plain.cmake).
set -euo pipefail
cd "$(dirname "$0")/.."
# shellcheck source=scripts/usage.sh
. scripts/usage.sh
. scripts/debian-packages.sh
. scripts/source-date.sh
answer_help "$@"

# CPack gives folders, and the parts of a package, the permissions that umask leaves.
umask 022
export LC_ALL=C

native=$(dpkg --print-architecture) || {
    echo "package: Debian packages are made on Debian (dpkg is missing)" >&2
    exit 1
}
machine=$native
check=''
chroot=''
for argument in "$@"; do
    case $argument in
        --check) check=1 ;;
        --chroot) chroot=1 ;;
        armhf | "$native") machine=$argument ;;
        *) wrong_use ;;
    esac
done

build=build/package/$machine
output=build/packages
log=$PWD/$build.log
mkdir -p "$build" "$output"
: >"$log"
packages=("${build_packages[@]}" "${package_packages[@]}")
[ -z "$check" ] || packages+=("${package_check_packages[@]}")
[ -z "$chroot" ] || packages+=(debootstrap)
[ "$machine" != armhf ] || [ "$machine" = "$native" ] || packages+=("${armhf_packages[@]}")
install_packages "$log" "${packages[@]}"
set_source_date

run_logged() {
    "$@" </dev/null >>"$log" 2>&1 && return
    tail -n 25 "$log" >&2
    echo "package: \"$*\" failed; the whole output is in $log" >&2
    exit 1
}

triplet=$(dpkg-architecture -a "$machine" -q DEB_HOST_MULTIARCH 2>/dev/null)
options=(-G Ninja -DCMAKE_BUILD_TYPE=Release
    -DCMAKE_INSTALL_PREFIX=/usr -DCMAKE_INSTALL_LIBDIR="lib/$triplet" -DCMAKE_SKIP_INSTALL_RPATH=ON
    -DQORFP_BUILD_EXAMPLES=OFF -DQORFP_PACKAGES=ON -DQORFP_PACKAGE_ARCHITECTURE="$machine")
if [ -n "${DEBEMAIL:-}" ]; then
    options+=(-DQORFP_PACKAGE_MAINTAINER="${DEBFULLNAME:-$DEBEMAIL} <$DEBEMAIL>")
else
    options+=(-U QORFP_PACKAGE_MAINTAINER)  # which an earlier run may have left in the cache
fi
if [ "$machine" != "$native" ]; then
    echo "Libraries of $machine"
    run_logged scripts/cross-libraries.sh "$machine" "build/cross/$machine"
    root=$PWD/build/cross/$machine/root
    options+=(-DCMAKE_TOOLCHAIN_FILE=cmake/toolchains/armhf-plain.cmake
        -DCMAKE_SYSROOT="$root"
        -DCMAKE_FIND_ROOT_PATH_MODE_PROGRAM=NEVER -DCMAKE_FIND_ROOT_PATH_MODE_LIBRARY=ONLY
        -DCMAKE_FIND_ROOT_PATH_MODE_INCLUDE=ONLY -DCMAKE_FIND_ROOT_PATH_MODE_PACKAGE=ONLY)
    export PKG_CONFIG_SYSROOT_DIR=$root
    export PKG_CONFIG_LIBDIR=$root/usr/lib/$triplet/pkgconfig:$root/usr/share/pkgconfig
    export DEB_HOST_ARCH=$machine DPKG_ADMINDIR=${root%/root}/dpkg
    export QORFP_LIBRARY_PATH=$root/usr/lib/$triplet:$root/lib/$triplet
fi

echo "Building for $machine"
run_logged cmake -S . -B "$build" "${options[@]}"
run_logged cmake --build "$build"
rm -rf "$build/packages" "$build/_CPack_Packages"
run_logged env -C "$build" cpack
unset PKG_CONFIG_SYSROOT_DIR PKG_CONFIG_LIBDIR DEB_HOST_ARCH DPKG_ADMINDIR

rm -f "$output"/*_"$machine".deb
mv "$build"/packages/*.deb "$output"
(cd "$output" && sha256sum -- *_"$machine".deb)
[ -z "$check" ] || tests/packages/check_packages.sh "$machine" "$output" "$build/fresh"
[ -z "$chroot" ] || tests/packages/check_chroot.sh "$output" "$build/chroot"
