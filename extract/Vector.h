// SPDX-License-Identifier: Apache-2.0
//
// Vectors of 16 bytes, in the compilers' own vector types: GCC and clang turn them into SSE2, NEON
// or plain words, with the usual operators lane by lane. Lane 0 is the one at the lowest address on
// every machine; what depends on the order of the bytes within a lane is only in this file.
#pragma once

#include <stdint.h>
#include <string.h>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace qorfp {

using U8x16 = uint8_t __attribute__((vector_size(16)));
using I8x16 = int8_t __attribute__((vector_size(16)));
using U16x8 = uint16_t __attribute__((vector_size(16)));
using U32x4 = uint32_t __attribute__((vector_size(16)));
using I16x8 = int16_t __attribute__((vector_size(16)));

/// Bytes of a vector.
constexpr int32_t kVectorBytes = 16;

/// The vector that lies at `from`, wherever that is.
template <class Vector>
inline Vector LoadVector(const void* from) {
    Vector vector;
    memcpy(&vector, from, sizeof(vector));
    return vector;
}

template <class Vector>
inline void StoreVector(Vector vector, void* to) {
    memcpy(to, &vector, sizeof(vector));
}

/// The same 16 bytes as lanes of another kind; in particular a comparison's result (lanes of all
/// ones or zeros, signed) as the type it was made from.
template <class To, class From>
inline To AsLanes(From vector) {
    static_assert(sizeof(To) == sizeof(From), "as many bytes");
    return reinterpret_cast<To>(vector);
}

// The lanes of two vectors, 0..15 of the first and 16..31 of the second, picked by number.
#if defined(__clang__) || __GNUC__ >= 12
#define QORFP_PICK_LANES(a, b, ...) __builtin_shufflevector(a, b, __VA_ARGS__)
#else
#define QORFP_PICK_LANES(a, b, ...) __builtin_shuffle(a, b, U8x16{__VA_ARGS__})
#endif

/// a0 b0 a1 b1 ... of the first, or the last, eight lanes.
inline U8x16 InterleaveLow(U8x16 a, U8x16 b) {
    return QORFP_PICK_LANES(a, b, 0, 16, 1, 17, 2, 18, 3, 19, 4, 20, 5, 21, 6, 22, 7, 23);
}

inline U8x16 InterleaveHigh(U8x16 a, U8x16 b) {
    return QORFP_PICK_LANES(a, b, 8, 24, 9, 25, 10, 26, 11, 27, 12, 28, 13, 29, 14, 30, 15, 31);
}

constexpr bool kIsBigEndian = __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__;

/// The first, or the last, eight lanes as 16-bit numbers.
inline U16x8 WidenLow(U8x16 bytes) {
    const U8x16 zeros = {};
    return AsLanes<U16x8>(kIsBigEndian ? InterleaveLow(zeros, bytes) : InterleaveLow(bytes, zeros));
}

inline U16x8 WidenHigh(U8x16 bytes) {
    const U8x16 zeros = {};
    return AsLanes<U16x8>(kIsBigEndian ? InterleaveHigh(zeros, bytes)
                                       : InterleaveHigh(bytes, zeros));
}

/// The way back: sixteen lanes as bytes. Every lane must be 0..255.
inline U8x16 Narrow(U16x8 low, U16x8 high) {
#if defined(__SSE2__)
    // One instruction, where the general form below needs two to clear upper halves that are clear.
    return AsLanes<U8x16>(_mm_packus_epi16(AsLanes<__m128i>(low), AsLanes<__m128i>(high)));
#else
    const U8x16 a = AsLanes<U8x16>(low);
    const U8x16 b = AsLanes<U8x16>(high);
    if (kIsBigEndian) {
        return QORFP_PICK_LANES(a, b, 1, 3, 5, 7, 9, 11, 13, 15, 17, 19, 21, 23, 25, 27, 29, 31);
    }
    return QORFP_PICK_LANES(a, b, 0, 2, 4, 6, 8, 10, 12, 14, 16, 18, 20, 22, 24, 26, 28, 30);
#endif
}

/// The same for the results of two comparisons: every lane must be all ones or zeros.
inline U8x16 NarrowMask(I16x8 low, I16x8 high) {
#if defined(__SSE2__)
    return AsLanes<U8x16>(_mm_packs_epi16(AsLanes<__m128i>(low), AsLanes<__m128i>(high)));
#else
    const U8x16 a = AsLanes<U8x16>(low);
    const U8x16 b = AsLanes<U8x16>(high);
    return QORFP_PICK_LANES(a, b, 0, 2, 4, 6, 8, 10, 12, 14, 16, 18, 20, 22, 24, 26, 28, 30);
#endif
}

}  // namespace qorfp
