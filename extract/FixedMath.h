// SPDX-License-Identifier: Apache-2.0
//
// Integer helpers with a stated meaning where the language leaves room: wrapping sums and products,
// arithmetic shifts, and differences of angles.
#pragma once

#include <stdint.h>

#if defined(__clang__)
// Clang's integer sanitizer reports unsigned wrap, sign changes and bits that leave the word; only the
// helpers below mean them.
#define QORFP_WRAPS                                                                         \
    __attribute__((no_sanitize("unsigned-integer-overflow", "implicit-integer-sign-change", \
                               "unsigned-shift-base")))
#else
#define QORFP_WRAPS
#endif

namespace qorfp {

/// Full turn, half turn, in angle steps of 1.5 degrees.
constexpr int32_t kTurn = 240;
constexpr int32_t kHalfTurn = 120;

/// a + b, wrapping as two's complement.
QORFP_WRAPS constexpr int32_t WrapAdd32(int32_t a, int32_t b) {
    return static_cast<int32_t>(static_cast<uint32_t>(a) + static_cast<uint32_t>(b));
}

/// a - b, wrapping as two's complement.
QORFP_WRAPS constexpr int32_t WrapSub32(int32_t a, int32_t b) {
    return static_cast<int32_t>(static_cast<uint32_t>(a) - static_cast<uint32_t>(b));
}

/// a - b modulo 2^32.
QORFP_WRAPS constexpr uint32_t WrapSub32(uint32_t a, uint32_t b) {
    return a - b;
}

/// a x b, wrapping as two's complement.
QORFP_WRAPS constexpr int32_t WrapMul32(int32_t a, int32_t b) {
    return static_cast<int32_t>(static_cast<uint32_t>(a) * static_cast<uint32_t>(b));
}

/// a x b modulo 2^32.
QORFP_WRAPS constexpr uint32_t WrapMul32(uint32_t a, uint32_t b) {
    return a * b;
}

/// value << bits; what leaves the word is gone.
QORFP_WRAPS constexpr uint32_t WrapShift32(uint32_t value, int32_t bits) {
    return value << bits;
}

/// `bits` but for the lowest one that is set; of 0, 0.
QORFP_WRAPS constexpr uint32_t WithoutLowestBit(uint32_t bits) {
    return bits & (bits - 1);
}

/// value >> bits, filling with the sign (floor of the quotient).
constexpr int32_t ShiftRight(int32_t value, int32_t bits) {
    return value >> bits;
}
static_assert(ShiftRight(-1, 4) == -1 && ShiftRight(-17, 4) == -2, "the shift is arithmetic");

constexpr int32_t Absolute(int32_t value) {
    return value < 0 ? -value : value;
}

constexpr int32_t Min(int32_t a, int32_t b) {
    return a < b ? a : b;
}

constexpr int32_t Max(int32_t a, int32_t b) {
    return a > b ? a : b;
}

constexpr int32_t Clamp(int32_t value, int32_t low, int32_t high) {
    return value < low ? low : (value > high ? high : value);
}

constexpr int32_t Square(int32_t value) {
    return value * value;
}

/// The direction, 0..239, that any sum or difference of directions stands for.
constexpr int32_t WrapAngle240(int32_t angle) {
    const int32_t remainder = angle % kTurn;
    return remainder < 0 ? remainder + kTurn : remainder;
}

/// Circular difference of two directions, 0..120; any byte values.
constexpr int32_t AngleDistance240(int32_t a, int32_t b) {
    const int32_t difference = WrapAngle240(a - b);
    return difference > kHalfTurn ? kTurn - difference : difference;
}
static_assert(AngleDistance240(5, 235) == 10 && AngleDistance240(0, 120) == 120, "folded");
static_assert(AngleDistance240(255, 0) == 15, "any byte");

/// dividend / 16384 for a sum of products with gnSin and gnCos, rounded half away from zero.
constexpr int32_t RoundQ14(int32_t value) {
    return (value >= 0 ? value + 8192 : value - 8192) / 16384;
}

}  // namespace qorfp
