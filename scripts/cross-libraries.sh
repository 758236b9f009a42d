#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Gets Debian's libraries for another machine, with what programs are linked with them by, into a
# folder of their own. Nothing is installed and the system's list of foreign architectures stays as
# it is, so that neither root nor packages of equal version on both sides are needed.
#
#   scripts/cross-libraries.sh MACHINE FOLDER [PACKAGE...]      default: what the command line needs
#
# FOLDER/root is then a system root for compiler and emulator, FOLDER/dpkg a package database in which
# dpkg-shlibdeps finds who owns its libraries. Safe to repeat: a complete folder is left alone.
set -euo pipefail
cd "$(dirname "$0")/.."
# shellcheck source=scripts/usage.sh
. scripts/usage.sh
answer_help "$@"
if [ $# -lt 2 ]; then
    wrong_use
fi
machine=$1
mkdir -p "$2"
folder=$(realpath "$2")
shift 2
packages=("$@")
[ $# -gt 0 ] ||
    packages=(libc6-dev libcairo2-dev libcli11-dev libopenjp2-7-dev libpng-dev libstb-dev libstdc++6
        libtiff-dev nlohmann-json3-dev)
if [ "$(cat "$folder/complete" 2>/dev/null)" = "$machine ${packages[*]}" ]; then
    exit 0
fi

# The release itself, without updates, from the mirror that the system uses.
# shellcheck disable=SC1091
codename=$(. /etc/os-release && echo "${VERSION_CODENAME:-}")
mirror=$(apt-get update --print-uris 2>/dev/null |
    sed -n "s,^'\(.*\)/dists/$codename/InRelease'.*,\1,p" | head -n 1)
keyring=/usr/share/keyrings/debian-archive-keyring.gpg
if [ -n "$(ls -A "$folder" 2>/dev/null)" ] && [ ! -d "$folder/apt" ]; then
    echo "cross-libraries: $folder holds something else" >&2
    exit 1
fi
rm -rf "$folder"
mkdir -p "$folder"/{apt,lists/partial,archives/partial,dpkg/info,root}
echo "deb [signed-by=$keyring] ${mirror:-http://deb.debian.org/debian} $codename main" \
    >"$folder/apt/sources.list"
: >"$folder/apt/status"
cat >"$folder/apt/apt.conf" <<END
APT::Architecture "$machine";
APT::Architectures { "$machine"; };
APT::Install-Recommends "false";
Acquire::Languages "none";
Acquire::Retries "3";
Binary::apt-get::APT::Keep-Downloaded-Packages "true";
Debug::NoLocking "true";
Dir::State "$folder/apt";
Dir::State::lists "$folder/lists";
Dir::State::status "$folder/apt/status";
Dir::Cache "$folder/apt";
Dir::Cache::archives "$folder/archives";
Dir::Etc::sourcelist "$folder/apt/sources.list";
Dir::Etc::sourceparts "-";
Dir::Etc::preferences "-";
Dir::Etc::preferencesparts "-";
END
export APT_CONFIG=$folder/apt/apt.conf
log=$folder/apt/log
if ! { apt-get update && apt-get install -y --download-only "${packages[@]}"; } \
    </dev/null >"$log" 2>&1; then
    tail -n 15 "$log" >&2
    echo "cross-libraries: apt-get failed; its whole output is in $log" >&2
    exit 1
fi

# The files, and for each package with libraries what dpkg would have written down of it. The lists
# of files begin with the folder, under which dpkg-shlibdeps finds the libraries.
printf '%s\n' "$machine" "$(dpkg --print-architecture)" >"$folder/dpkg/arch"
echo 1 >"$folder/dpkg/info/format"
for package in "$folder"/archives/*.deb; do
    dpkg-deb -x "$package" "$folder/root"
    members=$(dpkg-deb --ctrl-tarfile "$package" | tar -t)
    grep -qE '^\./(shlibs|symbols)$' <<<"$members" || continue
    name=$folder/dpkg/info/$(dpkg-deb -f "$package" Package):$machine
    for member in shlibs symbols; do
        ! grep -qx "./$member" <<<"$members" || dpkg-deb -I "$package" "$member" >"$name.$member"
    done
    dpkg-deb --fsys-tarfile "$package" | tar -t | sed "s,^\.,$folder/root,; s,/$,," >"$name.list"
    { dpkg-deb -f "$package" | sed '1aStatus: install ok installed'; echo; } >>"$folder/dpkg/status"
done
# Links to absolute paths lead into the folder.
find "$folder/root" -type l -lname '/*' -printf '%l %p\n' | while read -r target link; do
    ln -sfnr "$folder/root$target" "$link"
done
rm -rf "$folder"/{archives,lists}
echo "$machine ${packages[*]}" >"$folder/complete"
