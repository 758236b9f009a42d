#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
#
# Runs the commands of a transcript (lines that begin with "$ ") in an empty folder that holds the
# images, writes down what they print, and compares that with the transcript. Standard error stands
# behind standard output, with "! " before each line; an exit status other than 0 follows as [N].
#
#   run_transcript.sh TRANSCRIPT PROGRAM IMAGE_FOLDER
#
# To make a transcript anew, take what the test prints after checking every line of it.
set -uo pipefail
transcript=$1
PATH=$(dirname "$(realpath "$2")"):$PATH
images=$3
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
mkdir "$folder/work"
cp "$images"/*.pgm "$folder/work" || exit 1

while IFS= read -r line; do
    case $line in
        '#'*) printf '%s\n' "$line" ;;
        '$ '*)
            printf '%s\n' "$line"
            (cd "$folder/work" && exec bash -c "${line#'$ '}") \
                >"$folder/out" 2>"$folder/err" </dev/null
            status=$?
            cat "$folder/out"
            sed 's/^/! /' "$folder/err"
            [ $status -eq 0 ] || printf '[%d]\n' $status
            ;;
    esac
done <"$transcript" >"$folder/actual"

if ! grep -q '^\$ ' "$transcript"; then
    echo "$transcript: no command in it"
    exit 1
fi
diff -u --label expected --label actual "$transcript" "$folder/actual"
