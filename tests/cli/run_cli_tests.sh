#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
#
# Runs command-line test cases. A case is a transcript; every command's standard output, standard
# error and exit status must be exactly as written:
#
#     # why this case exists                    (comment)
#     @needs 1_1.pgm                            (skipped unless the data folder holds this file)
#     @terminal                                 (skipped where no pseudo-terminal can be made)
#     $ qorfp check-finger white.pgm            (a command, run by bash in an empty folder)
#     > white.pgm: no finger                    (a line of standard output)
#     ! qorfp: ...                              (a line of standard error)
#     [1]                                       (exit status; 0 when not given)
#
# Commands find qorfp, fixture and look on their path, and within_gigabyte, which runs a command in 1 GB
# of memory; the tool's file in $TOOL and the folder of example images in $DATA.
#
# Usage: run_cli_tests.sh --tool QORFP --fixture PROGRAM --look PROGRAM [--data DIR]
#                         [--exec-prefix COMMAND] CASE...
# Exit status: 0 all passed, 1 a case failed, 77 all were skipped, 2 wrong use.
set -u

tool= fixture= look= data= prefix=
while [ $# -gt 0 ]; do
    case $1 in
        --tool) tool=$2; shift 2 ;;
        --fixture) fixture=$2; shift 2 ;;
        --look) look=$2; shift 2 ;;
        --data) data=$2; shift 2 ;;
        --exec-prefix) prefix=$2; shift 2 ;;
        *) break ;;
    esac
done
if [ -z "$tool" ] || [ -z "$fixture" ] || [ -z "$look" ] || [ $# -eq 0 ]; then
    sed -n '/^# Usage/,/^# Exit/s/^# //p' "$0" >&2
    exit 2
fi

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

mkdir "$scratch/bin"
make_command() {  # name, program: callable by that name, through the prefix
    printf '#!/bin/sh\nexec %s "%s" "$@"\n' "$prefix" "$(realpath "$2")" >"$scratch/bin/$1"
    chmod +x "$scratch/bin/$1"
}
make_command qorfp "$tool"
make_command fixture "$fixture"
make_command look "$look"
# A limit of addresses would leave AddressSanitizer, which reserves terabytes of them, no room.
limit='ulimit -v 1000000'
if grep -q __asan_init "$tool"; then
    # shellcheck disable=SC2016  # for the shell that runs it
    limit='export ASAN_OPTIONS="$ASAN_OPTIONS:max_allocation_size_mb=1000"'
fi
printf '#!/bin/sh\n%s\nexec "$@"\n' "$limit" >"$scratch/bin/within_gigabyte"
chmod +x "$scratch/bin/within_gigabyte"
export PATH="$scratch/bin:$PATH" LC_ALL=C TOOL="$(realpath "$tool")" DATA="${data:-/nonexistent}"
umask 022

command= wanted_out= wanted_err= wanted_status=0 failed=0 commands_run=0

run_command() {  # runs what has been gathered and compares
    [ -n "$command" ] || return 0
    (cd "$scratch/work" && exec bash -c "$command") \
        >"$scratch/out" 2>"$scratch/err" </dev/null
    local status=$?
    commands_run=$((commands_run + 1))
    printf '%s' "$wanted_out" >"$scratch/wanted_out"
    printf '%s' "$wanted_err" >"$scratch/wanted_err"
    local name
    for name in out err; do
        if ! cmp -s "$scratch/wanted_$name" "$scratch/$name"; then
            echo "FAILED $case_name: $command"
            diff -u --label "expected std$name" --label "actual std$name" \
                "$scratch/wanted_$name" "$scratch/$name"
            failed=1
        fi
    done
    if [ "$status" != "$wanted_status" ]; then
        echo "FAILED $case_name: $command"
        echo "exit status $status instead of $wanted_status"
        failed=1
    fi
    command= wanted_out= wanted_err= wanted_status=0
}

run_case() {  # file; sets failed; returns 77 when skipped
    failed=0 commands_run=0
    rm -rf "$scratch/work"
    mkdir "$scratch/work"
    local line newline=$'\n'
    while IFS= read -r line || [ -n "$line" ]; do
        case $line in
            '' | '#'*) ;;
            '@terminal') script -qec true /dev/null </dev/null >/dev/null 2>&1 || return 77 ;;
            '@needs '*) [ -e "$DATA/${line#@needs }" ] || return 77 ;;
            '$ '*) run_command; command=${line#'$ '} ;;
            '> '*) wanted_out+=${line#'> '}$newline ;;
            '>') wanted_out+=$newline ;;
            '! '*) wanted_err+=${line#'! '}$newline ;;
            '['[0-9]*']') line=${line#'['}; wanted_status=${line%']'} ;;
            *) echo "FAILED $case_name: cannot read the line: $line"; failed=1 ;;
        esac
    done <"$1"
    run_command
    if [ $commands_run -eq 0 ]; then
        echo "FAILED $case_name: no command in the case"
        failed=1
    fi
}

passed_cases=0 failed_cases=0 skipped_cases=0
for case_file in "$@"; do
    case_name=$(basename "$case_file" .case)
    if ! [ -r "$case_file" ]; then
        echo "FAILED $case_name: $case_file cannot be read"
        failed_cases=$((failed_cases + 1))
        continue
    fi
    run_case "$case_file"
    if [ $? -eq 77 ]; then
        echo "skipped $case_name: its image is not in $DATA"
        skipped_cases=$((skipped_cases + 1))
    elif [ $failed -ne 0 ]; then
        failed_cases=$((failed_cases + 1))
    else
        passed_cases=$((passed_cases + 1))
    fi
done
echo "$passed_cases passed, $failed_cases failed, $skipped_cases skipped"
[ $failed_cases -eq 0 ] || exit 1
[ $passed_cases -gt 0 ] || exit 77
