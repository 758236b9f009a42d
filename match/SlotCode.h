// SPDX-License-Identifier: Apache-2.0
//
// Slots of index keys as codes, to count at once how far those of a stored key and of a probe key
// are from each other: the number of bits in which two codes differ is the cost of the pair.
//
// A value goes round a small ring, in a code of which each step changes one bit; as far as values of
// slots that agree can differ, codes differ in as many bits. A code has ten bits for each stored
// slot, and ones where it says nothing, so that codes are put together by "and":
//
//     bit   0      3      6      8     10          20          30
//           | a    | b    | c    | c   | slot 1    | slot 2    | ones
//
// Differences of c count twice.
#pragma once

#include <stdint.h>

#include "extract/FixedMath.h"

namespace qorfp {

constexpr int32_t kSlotCodeBits = 10;

constexpr int32_t kWideRing = 6;    ///< of a and b values, which differ by at most 2
constexpr int32_t kNarrowRing = 4;  ///< of c values, which differ by at most 1

/// The place of any value, 0 or above, on the ring of three bits.
constexpr uint32_t WideCode(int32_t value) {
    constexpr uint8_t kCodes[kWideRing] = {0, 1, 3, 7, 6, 4};
    return kCodes[value % kWideRing];
}

/// And twice on the ring of two.
constexpr uint32_t NarrowCode(int32_t value) {
    constexpr uint8_t kCodes[kNarrowRing] = {0, 1 | 1 << 2, 3 | 3 << 2, 2 | 2 << 2};
    return kCodes[value % kNarrowRing];
}

/// A field of `width` bits that start at `bit`, among ones.
constexpr uint32_t CodeField(uint32_t field, int32_t width, int32_t bit) {
    return ~(((uint32_t{1} << width) - 1 - field) << bit);
}

/// The codes of the values of a stored slot.
constexpr uint32_t CodeOfA(int32_t value, int32_t storedSlot) {
    return CodeField(WideCode(value), 3, kSlotCodeBits * storedSlot);
}

constexpr uint32_t CodeOfB(int32_t value, int32_t storedSlot) {
    return CodeField(WideCode(value), 3, kSlotCodeBits * storedSlot + 3);
}

constexpr uint32_t CodeOfC(int32_t value, int32_t storedSlot) {
    return CodeField(NarrowCode(value), 4, kSlotCodeBits * storedSlot + 6);
}

/// Number of bits in which two codes differ, at most 15.
constexpr int32_t FewDifferingBits(uint32_t code, uint32_t other) {
    uint32_t counts = code ^ other;  // of 1 bit, then of 2 and 4
    counts -= counts >> 1 & 0x55555555;
    counts = (counts & 0x33333333) + (counts >> 2 & 0x33333333);
    // The highest four bits of the product are the sum.
    return static_cast<int32_t>(WrapMul32(counts, uint32_t{0x11111111}) >> 28);
}

/// Number of bits in which two codes differ.
constexpr int32_t DifferingBits(uint32_t code, uint32_t other) {
    uint32_t counts = code ^ other;  // of 1 bit, then of 2, 4 and 8
    counts -= counts >> 1 & 0x55555555;
    counts = (counts & 0x33333333) + (counts >> 2 & 0x33333333);
    counts = (counts + (counts >> 4)) & 0x0F0F0F0F;
    counts += counts >> 8;
    return static_cast<int32_t>((counts + (counts >> 16)) & 63);
}

}  // namespace qorfp
