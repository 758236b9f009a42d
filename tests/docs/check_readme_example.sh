#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# The first C block of the README must be the example program, byte for byte.
#
#   check_readme_example.sh README EXAMPLE
set -uo pipefail
if [ $# -ne 2 ] || [ ! -r "$1" ] || [ ! -r "$2" ]; then
    echo "check_readme_example: cannot read $*"
    exit 1
fi
if ! awk '/^```c$/ {inside = 1; next} inside && /^```$/ {exit} inside' "$1" | diff - "$2"; then
    echo "The first \`\`\`c block of $1 (<) is not $2 (>)"
    exit 1
fi
