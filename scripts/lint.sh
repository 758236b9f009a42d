#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Static analysis: the layout of the sources, shellcheck on the scripts, cppcheck on the library and the
# tools, clang-tidy on the library and on what reads foreign bytes in the tools. Prints the findings; exit status 1 when there is one. Settings: .clang-format, .clang-tidy,
# tests/sanitizers/cppcheck.txt.
#
#   scripts/lint.sh [FILE...]      clang-tidy on the given files only
set -euo pipefail
cd "$(dirname "$0")/.."
# shellcheck source=scripts/usage.sh
. scripts/usage.sh
# shellcheck disable=SC2317  # the steps are called by step
# shellcheck source=scripts/debian-packages.sh
. scripts/debian-packages.sh
answer_help "$@"
[[ ${1:-} != -* ]] || wrong_use

jobs=${JOBS:-$(nproc)}
folder=build/lint
mkdir -p "$folder"
install_packages "$folder/setup.log" "${lint_packages[@]}" >"$folder/packages.log" || {
    cat "$folder/packages.log" >&2
    exit 2
}
cmake --preset lint >"$folder/cmake.log" 2>&1 || {
    tail -n 25 "$folder/cmake.log" >&2
    exit 2
}
failed=0

# step NAME COMMAND...: a check, and how long it takes
step() {
    local name=$1 started=$SECONDS result='no findings'
    shift
    "$@" || {
        failed=1
        result=FINDINGS
    }
    echo "$name: $result, $((SECONDS - started)) s"
}

run_shellcheck() {
    find .ci scripts tests cmake -type f \( -name '*.sh' -o -path '.ci/run' \) -print0 |
        xargs -0 shellcheck --external-sources --source-path=. --severity=warning \
            --exclude=SC1007,SC2155
}

# Not the largest table: it holds numbers only, and takes minutes.
run_cppcheck() {
    mkdir -p "$folder/cppcheck"
    printf '%s\n' {api,engine,extract,match,preprocess}/*.cpp tools/{qorfp,qorfp/eval,synth}/*.cpp | grep -v extract/FPTable.cpp |
        cppcheck --file-list=- --cppcheck-build-dir="$folder/cppcheck" --language=c++ --std=c++17 -I. -Iinclude \
            --enable=warning,performance,portability --inline-suppr --quiet -j"$jobs" \
            --suppressions-list=tests/sanitizers/cppcheck.txt --error-exitcode=1
}

run_clang_tidy() {
    printf '%s\0' "$@" |
        xargs -0 -P"$jobs" -n1 clang-tidy -p "$folder" --quiet 2>"$folder/clang-tidy.log"
}

if [ $# -gt 0 ]; then
    files=("$@")
else
    # The other tools take minutes: their headers are large, and they read what these have let pass.
    files=({api,engine,extract,match,preprocess}/*.cpp tools/qorfp/*Reader.cpp
        tools/qorfp/{FileIo,ImageFile,Jpeg2000Header,RecordTemplate,Stored,TemplateView}.cpp)
    step format scripts/check-format.sh
    step shellcheck run_shellcheck
    step cppcheck run_cppcheck
fi
step clang-tidy run_clang_tidy "${files[@]}"
exit "$failed"
