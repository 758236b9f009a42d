#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Installs this machine's packages in a fresh Debian, where nothing but their dependencies and a C
# compiler is, builds the example there with pkg-config and runs it and the packaged programs; then
# removes the packages, which must leave nothing. Needs root and debootstrap.
#
#   check_chroot.sh FOLDER_OF_PACKAGES SCRATCH
set -euo pipefail
export LC_ALL=C
source=$(realpath "$(dirname "$0")/../..")
machine=$(dpkg --print-architecture)
folder=$1
mkdir -p "$2"
root=$(realpath "$2")
codename=$(sed -n 's/^VERSION_CODENAME=//p' /etc/os-release)

fail() {
    echo "check_chroot: $*" >&2
    exit 1
}
inside() { chroot "$root" /usr/bin/env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin LC_ALL=C "$@"; }

[ "$(id -u)" -eq 0 ] || fail "needs root"
rm -rf --one-file-system "$root"

# The dependencies by name; the versions are looked at when the packages are installed.
needed=$(for package in "$folder"/*_"$machine.deb"; do dpkg-deb -f "$package" Depends; done |
    tr ',' '\n' | sed 's/^ *//; s/ .*//' | grep -v qorfp | sort -u | paste -sd ,)
mirror=$(apt-get update --print-uris 2>/dev/null |
    sed -n "s,^'\(.*\)/dists/$codename/InRelease'.*,\1,p" | head -n 1)
debootstrap --variant=minbase --include="$needed,gcc,libc6-dev,pkg-config" "$codename" "$root" \
    "${mirror:-http://deb.debian.org/debian}" >"$root.log" 2>&1 ||
    fail "debootstrap failed; its whole output is in $root.log"

find "$root/usr" "$root/etc" | sort >"$root.before"
mkdir "$root/tmp/packages" "$root/tmp/data"
cp "$folder"/*_"$machine.deb" "$root/tmp/packages"
cp "$source"/examples/data/*.pgm "$root/tmp/data"
cp "$source/examples/verify_pair.c" "$root/tmp"
inside sh -c 'dpkg -i /tmp/packages/*.deb' >>"$root.log" 2>&1 ||
    fail "dpkg -i failed; its whole output is in $root.log"

# The linker's cache knows the library: no search path is given here.
# shellcheck disable=SC2016
inside sh -ec 'cc $(pkg-config --cflags qorfp) -o /tmp/verify_pair /tmp/verify_pair.c $(pkg-config --libs qorfp)'
output=$(inside /tmp/verify_pair /tmp/data/1_1.pgm /tmp/data/1_2.pgm) || fail "$output"
[ "${output##*$'\n'}" = ' score 830: match' ] || fail "verify_pair: $output"
output=$(inside qorfp-selftest) || fail "$output"
output=$(inside qorfp verify /tmp/data/1_1.pgm /tmp/data/1_2.pgm) || fail "$output"
[ "$output" = 'score 830, threshold 180 (level 3): accepted' ] || fail "qorfp: $output"
inside qorfp draw /tmp/data/1_1.pgm -o /tmp/minutiae.png >/dev/null
inside qorfp-synth --help >/dev/null

inside dpkg --purge qorfp-tools libqorfp-dev libqorfp1 >>"$root.log" 2>&1
diff "$root.before" <(find "$root/usr" "$root/etc" | sort) || fail "purging leaves the files above (>)"
rm -rf --one-file-system "$root" "$root.before"
echo "$machine: installed, used and removed in a fresh Debian $codename"
