# SPDX-License-Identifier: Apache-2.0
# shellcheck shell=bash
# How every script says what it does: with the comment at its head. Sourced by the other scripts, in the
# root of the sources; it runs nothing by itself.

# show_usage: the comment at the head of the script that runs.
show_usage() {
    awk 'NR <= 2 {next} !/^#/ {exit} {sub(/^# ?/, ""); print}' "scripts/${0##*/}"
}

# wrong_use: ends the script, after saying how it is called.
wrong_use() {
    show_usage >&2
    exit 2
}

# answer_help ARGUMENT...: ends the script when it is only asked what it does.
answer_help() {
    case ${1:-} in
        -h | --help)
            show_usage
            exit 0
            ;;
    esac
}
