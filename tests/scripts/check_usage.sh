#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Every script says what it does when it is asked, also from another folder, and refuses an option that
# it does not know, before it does anything.
#
#   check_usage.sh SCRIPTS_FOLDER
#
# Runs copies of the scripts in a folder with no sources in it, so that one that does not stop builds
# nothing.
set -euo pipefail
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cp -r "$1" "$folder/scripts"
# Nothing is installed either.
mkdir "$folder/programs"
for program in apt-get dpkg-query sudo; do
    ln -s /bin/false "$folder/programs/$program"
done
export PATH=$folder/programs:$PATH
cd "$folder/programs"
failed=0
seen=0

# expect STATUS SCRIPT ARGUMENT: the status, and a line that shows how the script is called.
expect() {
    local status=0
    timeout 20 "../scripts/$2" "$3" >"$folder/output" 2>&1 </dev/null || status=$?
    if [ "$status" -ne "$1" ] || ! grep -q "^  scripts/$2\( \|$\)" "$folder/output"; then
        echo "$2 $3: status $status, not $1, or no line that shows its use:"
        head -n 5 "$folder/output"
        failed=1
    fi
}

for script in ../scripts/*.sh; do
    [ -x "$script" ] || continue
    seen=$((seen + 1))
    for argument in -h --help; do
        expect 0 "${script##*/}" "$argument"
    done
    expect 2 "${script##*/}" --no-such-option
done
[ "$seen" -ge 20 ] || {
    echo "only $seen scripts found in $1"
    failed=1
}
[ "$(ls -A "$folder")" = "$(printf 'output\nprograms\nscripts')" ] || {
    echo "a script has made something:"
    ls -A "$folder"
    failed=1
}
exit "$failed"
