#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Pages with a fault each, which check_blocks.py must refuse, and one without.
#
#   check_block_faults.sh SOURCE_FOLDER BUILD_FOLDER C_COMPILER
set -uo pipefail
here=$(dirname "$(realpath "$0")")
page=$(mktemp)
trap 'rm -f "$page"' EXIT
failed=0

# page WANTED_STATUS WHAT: a page from standard input.
page() {
    local status=0
    cat >"$page"
    "$here/check_blocks.py" "${arguments[@]}" "$page" >/dev/null 2>&1 || status=$?
    if [ "$status" -ne "$1" ]; then
        echo "$2: exit status $status, not $1"
        failed=1
    fi
}
arguments=("$1" "$2" "$3")

page 0 "a right page" <<'END'
```sh
echo kept >file
```
    ```console
    $ cat file \
        file
    kept
    ...
    $ qorfp verify examples/data/1_1.pgm examples/data/2_1.pgm
    score 24, threshold 180 (level 3): refused
    ```
<!-- not run here: builds packages -->
```sh
scripts/package.sh --check
```
```text
anything
```
END
page 1 "a command that fails" <<<$'```sh\nfalse\ntrue\n```'
page 1 "a wrong output" <<<$'```console\n$ echo one\ntwo\n```'
page 1 "an output that is not shown" <<<$'```console\n$ echo one\n```'
page 1 "an output without its end" <<<$'```console\n$ echo one; echo two\none\n```'
page 1 "a transcript without a command" <<<$'```console\none\n```'
page 1 "code that does not compile" <<<$'```c\nint f(void) { return x; }\n```'
page 1 "code with a warning" <<<$'```c\nint f(int a, int b);\nint f(int a, int b) { return a; }\n```'
page 1 "code that does not link" <<<$'```c\nint g(void);\nint main(void) { return g(); }\n```'
page 1 "another kind" <<<$'```bash\ntrue\n```'
page 1 "no kind" <<<$'```\ntrue\n```'
page 1 "no end" <<<$'```sh\ntrue'
page 1 "an absent program" <<<$'<!-- not run here: x -->\n```sh\nscripts/absent.sh\n```'
page 1 "an absent test" <<<$'<!-- run by docs.absent -->\n```sh\ntrue\n```'
page 1 "a note on the wrong kind" <<<$'<!-- not run here: x -->\n```c\nint a;\n```'
page 1 "a note without a block" <<<$'<!-- run by docs.site -->\ntext'
page 1 "another file" <<<$'<!-- same as examples/verify_pair.c -->\n```c\nint a;\n```'
exit "$failed"
