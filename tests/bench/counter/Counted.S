// SPDX-License-Identifier: Apache-2.0
//
// A program for 32-bit ARM whose instructions can be counted by hand: what the emulator's counter
// has to say of it stands in expected.tsv. It needs no library.
    .syntax unified
    .arm
    .text

    .macro function name
    .global \name
    .type \name, %function
\name:
    .endm

// 2 instructions.
function __aeabi_idiv
    mov r0, #0
    bx lr
    .size __aeabi_idiv, . - __aeabi_idiv

// 2 instructions.
function Leaf
    add r0, r0, #1
    bx lr
    .size Leaf, . - Leaf

// 3 instructions and one division.
function Divider
    push {r4, lr}
    bl __aeabi_idiv
    pop {r4, pc}
    .size Divider, . - Divider

// Goes on in Divider, which returns for it: 2 instructions.
function JumpsAtTheEnd
    mov r1, #1
    b Divider
    .size JumpsAtTheEnd, . - JumpsAtTheEnd

// 4 instructions before the loop, 4 in each of its 5 rounds, 5 behind it. The call in between is
// never made: its condition does not hold.
function CountedRun
    push {r4, lr}
    mov r4, #5
    mov r0, #0
    nop
1:  bl Leaf
    subs r4, r4, #1
    blmi Leaf
    bne 1b
    bl JumpsAtTheEnd
    bl Divider
    mov r0, #0
    nop
    pop {r4, pc}
    .size CountedRun, . - CountedRun

// What happens outside CountedRun does not count.
function _start
    bl Leaf
    bl CountedRun
    bl Divider
    mov r7, #1
    mov r0, #0
    svc #0
    .size _start, . - _start
