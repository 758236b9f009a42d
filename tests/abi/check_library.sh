#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Reads off the finished shared object what its users rely on: the exported names, the libraries and
# functions it needs, no C++ run-time library, no start-up code, integer arithmetic only, nothing
# writable that need not be.
#
#   check_library.sh [--sanitize NAMES] LIBRARY
#
# The library must not be stripped. READELF, NM and OBJDUMP name the tools for its machine. With a
# sanitizer (NAMES not empty) nothing is checked: its run-time library brings all of that in.
# Exit status: 0 as it should be, 1 not, 2 wrong use, 77 skipped.
set -uo pipefail
export LC_ALL=C
here=$(dirname "$0")
readelf=${READELF:-readelf} nm=${NM:-nm} objdump=${OBJDUMP:-objdump}

if [ "${1:-}" = --sanitize ]; then
    if [ -n "$2" ]; then
        echo "skipped: built with -fsanitize=$2, whose run-time library is linked in"
        exit 77
    fi
    shift 2
fi
if [ $# -ne 1 ] || [ ! -r "$1" ]; then
    echo "usage: check_library.sh [--sanitize NAMES] LIBRARY" >&2
    exit 2
fi
library=$1
failures=0

# report TITLE LINES: a failure unless there are no lines.
report() {
    [ -n "$2" ] || return 0
    failures=$((failures + 1))
    printf '%s:\n%s\n' "$1" "$(sed 's/^/    /' <<<"$2")"
}

dynamic=$("$readelf" -dW "$library") && sections=$("$readelf" -SW "$library") &&
    segments=$("$readelf" -lW "$library") && relocations=$("$readelf" -rW "$library") &&
    exported=$("$nm" -D --defined-only "$library" | awk '{print $NF}' | sort) &&
    symbols=$("$nm" "$library") && undefined=$("$nm" -u "$library") &&
    code=$("$objdump" -d --no-show-raw-insn "$library") || exit 1
if [ -z "$symbols" ]; then
    echo "$library has no symbol table: it cannot be checked"
    exit 1
fi

# Exported names.
report "exported names differ from exports.txt (< expected, > exported)" "$(
    diff "$here/exports.txt" - <<<"$exported" | grep '^[<>]')"

# The library's calls of its own exported functions must not go to another library's of that name.
report "its own functions can be replaced" "$(
    awk '/^[0-9a-f]+ +[0-9a-f]+ +R_/ {print $5}' <<<"$relocations" | sed 's/@.*//' | sort -u |
        comm -12 - <(echo "$exported"))"

# SONAME and needed libraries: the C library, and what belongs to it.
report "SONAME is not libqorfp.so.1" "$(
    sed -n 's/.*(SONAME).*\[\(.*\)\]/\1/p' <<<"$dynamic" | grep -vx 'libqorfp\.so\.1')"
grep -q '(SONAME)' <<<"$dynamic" || report "SONAME" "none"
report "needs more than the C library" "$(
    sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p' <<<"$dynamic" |
        grep -vxE 'libc\.so(\.6)?|libc\.musl-.*\.so\.1|libpthread\.so\.0|ld-(linux|musl).*\.so(\.[0-9])?')"

# Of the C library, the functions of imports.txt: none that calls back, opens a file or keeps a state
# of its own but malloc and printf. Not counted are what the start files refer to, weakly, and the
# checking variants that -D_FORTIFY_SOURCE and -fstack-protector put in. assert() is there in builds
# for debugging, raise() where the compiler's division reports a zero by a signal.
report "uses functions that are not in imports.txt" "$(
    sed -n 's/^ *U //p' <<<"$undefined" | sed -E 's/@.*//; s/^__(.*)_chk$/\1/' |
        grep -vE '^(__stack_chk_(fail|guard)|_GLOBAL_OFFSET_TABLE_)$' | sort -u |
        comm -23 - "$here/imports.txt")"

# Undefined symbols of a C++ run-time library: std:: and the operators by their mangled names
# (operator new, delete), exceptions, guards, type information. The start files' weak
# __cxa_finalize is the C library's.
report "uses the C++ run-time library" "$(
    awk '{print $NF}' <<<"$undefined" | sed 's/@.*//' |
        grep -E '^(_ZS|_ZNK?S|_ZN?K?9__gnu_cxx|_Zn[wa]|_Zd[la]|_ZT[VIS]|__cxa_|__gxx_|_Unwind_|__dynamic_cast)' |
        grep -vx __cxa_finalize | c++filt)"

# Start-up code. The one entry of .init_array is the start files' own.
report "start-up constructors" "$(grep -E ' (_GLOBAL__sub_I_|_GLOBAL__I_|__cxx_global_var_init)' \
    <<<"$symbols")"
report "start-up sections" "$(grep -oE '\.(ctors|preinit_array)\b' <<<"$sections")"
init_array=$(sed -n 's/.* \.init_array  *INIT_ARRAY  *\([0-9a-f]*\) [0-9a-f]* \([0-9a-f]*\) .*/\1 \2/p' \
    <<<"$sections")
if [ -n "$init_array" ]; then
    read -r address size <<<"$init_array"
    pointer=8
    [ "${#address}" -eq 16 ] || pointer=4
    [ $((16#$size)) -eq $pointer ] ||
        report ".init_array holds more than one pointer" "$((16#$size)) bytes"
    grep -q "^$address . __frame_dummy_init_array_entry$" <<<"$symbols" ||
        report "the entry of .init_array is not the start files'" "$init_array"
elif grep -q INIT_ARRAY <<<"$sections"; then
    report "section list not understood" "$(grep INIT_ARRAY <<<"$sections")"
fi

# Floating point. Everywhere: the compiler's helper functions.
report "floating-point helper functions" "$(
    awk '{print $NF}' <<<"$symbols" | sed 's/@.*//' |
        grep -E '^__(add|sub|mul|div|neg|cmp|unord|eq|ne|lt|le|gt|ge|pow|extend|trunc|fix|fixuns|float|floatun)[a-z]*[sdxth]f[a-z0-9]*$|^__aeabi_(cd|cf|d|f|i2|ui2|l2|ul2)[a-z0-9]*$' |
        grep -vE '^__aeabi_(ldivmod|uldivmod|idiv|uidiv|idivmod|uidivmod)$')"

# Instructions that calculate with floating-point numbers, compare or convert them. Loads, stores,
# moves, shuffles and bitwise operations on the same registers also carry integers and are free.
instructions=$(awk -F '\t' '/^ *[0-9a-f]+:\t/ {print $2 "\t" $3}' <<<"$code")
case $(sed -n 's/.*file format //p' <<<"$code") in
    elf64-x86-64)
        # The x87 unit, SSE and AVX.
        operations='add|sub|addsub|hadd|hsub|mul|div|sqrt|rsqrt|rcp|min|max|round|dp'
        operations+='|cmp[a-z]*|ucomi|comi|getexp|getmant|scalef|rndscale|reduce|range|fixupimm'
        return_instruction='^(call|ret)q?$'
        floating="^(f[a-z0-9]+|v?($operations)(ss|sd|ps|pd)|v?cvt[a-z0-9]+|vfn?m(add|sub)[a-z0-9]+|pf[a-z0-9]+)\$"
        prefixes='(lock|rep[nez]*|notrack|bnd|data16|cs|ds|es|fs|gs|ss)'
        words=$(sed -E "s/^($prefixes )*//; s/[[:space:]].*//" <<<"$instructions")
        ;;
    elf32-littlearm)
        # VFP and NEON name the type: .f16, .f32, .f64; VMRS fetches the result of a comparison. A
        # register copied with its type is a copy; a constant with its type is not.
        return_instruction='^(bl|bx|pop)(\.[nw])?$'
        floating='^[a-z0-9]+(\.[a-z0-9]+)*\.b?f(16|32|64)(\.[a-z0-9]+)*$|^vmrs|^vmsr|^f(add|sub|mul|div|cmp|sito|uito|to)[a-z]*[sd]$'
        words=$(sed -E '/^vmov(eq|ne|cs|cc|mi|pl|vs|vc|hi|ls|ge|lt|gt|le)?\.f(32|64)\t[sdq][0-9]+, [sdq][0-9]+$/d; s/[[:space:]].*//' <<<"$instructions")
        ;;
    elf64-littleaarch64)
        return_instruction='^(bl|ret)$'
        floating='^(f[a-z0-9]+|[su]cvtf|bf(cvt|dot|mla|mmla)[a-z0-9]*)$'
        words=$(sed -E '/^fmov\t[][a-z0-9.]+, [a-z]/d; s/[[:space:]].*//' <<<"$instructions")
        ;;
    *)
        return_instruction=
        echo "instructions are not looked at on $(sed -n 's/.*file format //p' <<<"$code")"
        ;;
esac
if [ -n "$return_instruction" ]; then
    mnemonics=$(sort <<<"$words" | uniq -c | awk '{print $2 " " $1}')
    grep -qE "${return_instruction%\$} " <<<"$mnemonics" ||
        report "disassembly not understood" "$(head -n 5 <<<"$mnemonics")"
    report "floating-point instructions" "$(
        cut -d ' ' -f 1 <<<"$mnemonics" | grep -E "$floating")"
fi

# Stack.
grep -q 'GNU_STACK' <<<"$segments" || report "executable stack" "no GNU_STACK header"
report "executable stack" "$(grep 'GNU_STACK' <<<"$segments" | grep 'RWE')"

# What the loader has to write: nothing in the code; all addresses before the first call, so that
# they can be read-only from then on.
report "text relocations" "$(grep -E '\(TEXTREL\)|\(FLAGS\).*TEXTREL' <<<"$dynamic")"
grep -q 'GNU_RELRO' <<<"$segments" || report "no RELRO" "no GNU_RELRO header"
grep -qE '\(BIND_NOW\)|\(FLAGS\).*BIND_NOW|\(FLAGS_1\).*NOW' <<<"$dynamic" ||
    report "no BIND_NOW" "functions are looked up at their first call"

if [ "$failures" -ne 0 ]; then
    echo "$library: $failures of its properties are not as they should be"
    exit 1
fi
echo "$library: as it should be, $(wc -l <"$here/exports.txt") names exported"
