// SPDX-License-Identifier: Apache-2.0
//
// Vectors of 16 bytes, in the compilers' own vector types: GCC and clang turn them into SSE2, NEON
// or plain words, with the usual operators lane by lane. Lane 0 is the one at the lowest address on
// every machine; what depends on the order of the bytes within a lane is only in this file.
#pragma once

#include <stddef.h>
#include <stdint.h>
#include <string.h>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

/// For what a loop over vectors is made of: it is called more often than compilers like to inline.
#define QORFP_INLINE inline __attribute__((always_inline))

namespace qorfp {

using U8x16 = uint8_t __attribute__((vector_size(16)));
using I8x16 = int8_t __attribute__((vector_size(16)));
using U16x8 = uint16_t __attribute__((vector_size(16)));
using U32x4 = uint32_t __attribute__((vector_size(16)));
using U64x2 = uint64_t __attribute__((vector_size(16)));
using I16x8 = int16_t __attribute__((vector_size(16)));
using I32x4 = int32_t __attribute__((vector_size(16)));

/// Bytes of a vector.
constexpr int32_t kVectorBytes = 16;

/// The vector that lies at `from`, wherever that is.
template <class Vector>
inline Vector LoadVector(const void* from) {
    Vector vector;
    memcpy(&vector, from, sizeof(vector));
    return vector;
}

/// The same at a multiple of 16: an operation can take it from memory.
template <class Vector>
inline Vector LoadAligned(const void* from) {
    Vector vector;
    memcpy(&vector, __builtin_assume_aligned(from, sizeof(vector)), sizeof(vector));
    return vector;
}

/// The first multiple of 16 from there on, at most 15 bytes further.
inline uint8_t* FirstVectorAt(uint8_t* bytes) {
    const uintptr_t past = reinterpret_cast<uintptr_t>(bytes) % kVectorBytes;
    return bytes + (kVectorBytes - past) % kVectorBytes;
}

template <class Vector>
inline void StoreVector(Vector vector, void* to) {
#if defined(__SSE2__)
    // The same; but GCC takes a memcpy of two such stores apart and passes it through memory.
    static_assert(sizeof(vector) == sizeof(__m128i), "a vector");
    _mm_storeu_si128(static_cast<__m128i*>(to), reinterpret_cast<__m128i>(vector));
#else
    memcpy(to, &vector, sizeof(vector));
#endif
}

/// The same 16 bytes as lanes of another kind; in particular a comparison's result (lanes of all
/// ones or zeros, signed) as the type it was made from.
template <class To, class From>
inline To AsLanes(From vector) {
    static_assert(sizeof(To) == sizeof(From), "as many bytes");
    return reinterpret_cast<To>(vector);
}

/// Whether no bit is set.
template <class Vector>
inline bool IsZero(Vector vector) {
    const U64x2 halves = AsLanes<U64x2>(vector);
    return (halves[0] | halves[1]) == 0;
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

/// Whether every lane of a comparison's result is true. Every lane must be all ones or zeros.
inline bool HasAll(U8x16 mask) {
#if defined(__SSE2__)
    return _mm_movemask_epi8(AsLanes<__m128i>(mask)) == 0xFFFF;
#else
    return IsZero(~mask);
#endif
}

/// A bit for each lane of a comparison's result, lane 0 the lowest. Every lane must be all ones or
/// zeros.
inline uint32_t SetLanes(U8x16 mask) {
#if defined(__SSE2__)
    return static_cast<uint32_t>(_mm_movemask_epi8(AsLanes<__m128i>(mask)));
#else
    const U8x16 bits = mask & U8x16{1, 2, 4, 8, 16, 32, 64, 128, 1, 2, 4, 8, 16, 32, 64, 128};
    uint64_t halves[2];
    memcpy(halves, &bits, sizeof(halves));
    // Adds the eight bytes, whichever is first.
    constexpr uint64_t kOneInEveryByte = 0x0101010101010101;
    return static_cast<uint32_t>(halves[0] * kOneInEveryByte >> 56 |
                                 (halves[1] * kOneInEveryByte >> 56) << 8);
#endif
}

/// a0 b0 a1 b1 ... of the first, or the last, four lanes.
inline U16x8 InterleaveLow(U16x8 first, U16x8 second) {
    const U8x16 a = AsLanes<U8x16>(first);
    const U8x16 b = AsLanes<U8x16>(second);
    return AsLanes<U16x8>(
        QORFP_PICK_LANES(a, b, 0, 1, 16, 17, 2, 3, 18, 19, 4, 5, 20, 21, 6, 7, 22, 23));
}

inline U16x8 InterleaveHigh(U16x8 first, U16x8 second) {
    const U8x16 a = AsLanes<U8x16>(first);
    const U8x16 b = AsLanes<U8x16>(second);
    return AsLanes<U16x8>(
        QORFP_PICK_LANES(a, b, 8, 9, 24, 25, 10, 11, 26, 27, 12, 13, 28, 29, 14, 15, 30, 31));
}

/// The first, or the last, halves of both.
inline U16x8 JoinLow(U16x8 first, U16x8 second) {
    const U8x16 a = AsLanes<U8x16>(first);
    const U8x16 b = AsLanes<U8x16>(second);
    return AsLanes<U16x8>(
        QORFP_PICK_LANES(a, b, 0, 1, 2, 3, 4, 5, 6, 7, 16, 17, 18, 19, 20, 21, 22, 23));
}

inline U16x8 JoinHigh(U16x8 first, U16x8 second) {
    const U8x16 a = AsLanes<U8x16>(first);
    const U8x16 b = AsLanes<U8x16>(second);
    return AsLanes<U16x8>(
        QORFP_PICK_LANES(a, b, 8, 9, 10, 11, 12, 13, 14, 15, 24, 25, 26, 27, 28, 29, 30, 31));
}

/// Bytes 0, 2, .. 14 as 16-bit numbers.
inline U16x8 EvenBytes(U8x16 bytes) {
    const U16x8 pairs = AsLanes<U16x8>(bytes);
    return kIsBigEndian ? pairs >> 8 : pairs & uint16_t{0xFF};
}

/// Bytes 1, 3, .. 15 as 16-bit numbers.
inline U16x8 OddBytes(U8x16 bytes) {
    const U16x8 pairs = AsLanes<U16x8>(bytes);
    return kIsBigEndian ? pairs & uint16_t{0xFF} : pairs >> 8;
}

/// The same with their signs.
inline I16x8 SignedOddBytes(U8x16 bytes) {
    const U16x8 pairs = AsLanes<U16x8>(bytes);
    return AsLanes<I16x8>(kIsBigEndian ? pairs << 8 : pairs) >> 8;
}

/// Bytes kFirst, kFirst + 4, .. kFirst + 12 with their signs as 32-bit numbers.
template <int32_t kFirst>
inline I32x4 SignedFourths(U8x16 bytes) {
    constexpr uint32_t kBits = 8 * (kIsBigEndian ? kFirst : 3 - kFirst);
    return AsLanes<I32x4>(AsLanes<U32x4>(bytes) << kBits) >> 24;
}

/// The results of two comparisons, of the even bytes and of the odd ones, as one for all 16 bytes.
inline U8x16 JoinMasks(I16x8 even, I16x8 odd) {
    const U16x8 inUpper = AsLanes<U16x8>(kIsBigEndian ? even : odd);
    const U16x8 inLower = AsLanes<U16x8>(kIsBigEndian ? odd : even);
    return AsLanes<U8x16>((inUpper & uint16_t{0xFF00}) | (inLower & uint16_t{0xFF}));
}

/// The first, or the last, four lanes as 32-bit numbers.
inline I32x4 WidenLow(I16x8 lanes) {
    const U8x16 bytes = AsLanes<U8x16>(lanes);
    const U8x16 twice =
        QORFP_PICK_LANES(bytes, bytes, 0, 1, 0, 1, 2, 3, 2, 3, 4, 5, 4, 5, 6, 7, 6, 7);
    return AsLanes<I32x4>(twice) >> 16;
}

inline I32x4 WidenHigh(I16x8 lanes) {
    const U8x16 bytes = AsLanes<U8x16>(lanes);
    const U8x16 twice =
        QORFP_PICK_LANES(bytes, bytes, 8, 9, 8, 9, 10, 11, 10, 11, 12, 13, 12, 13, 14, 15, 14, 15);
    return AsLanes<I32x4>(twice) >> 16;
}

/// The way back: eight lanes as 16-bit numbers, which they must fit.
inline I16x8 Narrow(I32x4 low, I32x4 high) {
#if defined(__SSE2__)
    return AsLanes<I16x8>(_mm_packs_epi32(AsLanes<__m128i>(low), AsLanes<__m128i>(high)));
#else
    const U8x16 a = AsLanes<U8x16>(low);
    const U8x16 b = AsLanes<U8x16>(high);
    if (kIsBigEndian) {
        return AsLanes<I16x8>(
            QORFP_PICK_LANES(a, b, 2, 3, 6, 7, 10, 11, 14, 15, 18, 19, 22, 23, 26, 27, 30, 31));
    }
    return AsLanes<I16x8>(
        QORFP_PICK_LANES(a, b, 0, 1, 4, 5, 8, 9, 12, 13, 16, 17, 20, 21, 24, 25, 28, 29));
#endif
}

/// -1 for lanes below 0, else 0.
inline I16x8 NarrowSigns(I32x4 low, I32x4 high) {
#if defined(__SSE2__)
    return Narrow(low, high) >> 15;  // numbers that do not fit keep their sign
#else
    return Narrow(low >> 31, high >> 31);
#endif
}

/// a0 x b0 + a1 x b1, a2 x b2 + a3 x b3, ...
inline I32x4 MultiplyPairs(I16x8 a, I16x8 b) {
#if defined(__SSE2__)
    return AsLanes<I32x4>(_mm_madd_epi16(AsLanes<__m128i>(a), AsLanes<__m128i>(b)));
#else
    // Which lane of a pair lies in the upper half of 32 bits does not matter to a sum.
    const auto upper = [](I16x8 lanes) { return AsLanes<I32x4>(lanes) >> 16; };
    const auto lower = [](I16x8 lanes) {
        return AsLanes<I32x4>(AsLanes<U32x4>(lanes) << 16) >> 16;
    };
    return upper(a) * upper(b) + lower(a) * lower(b);
#endif
}

/// `value` in every lane.
inline U16x8 EveryLane(uint16_t value) {
    return value + U16x8{};
}

/// The same lanes, of which compilers then know nothing: for what they would turn into more
/// instructions.
template <class Vector>
inline Vector Opaque(Vector lanes) {
#if defined(__SSE2__)
    __asm__("" : "+x"(lanes));
#elif defined(__ARM_NEON)
    __asm__("" : "+w"(lanes));
#endif
    return lanes;
}

/// `value` in every lane, to be multiplied with: GCC takes a product with a constant that it knows apart
/// into shifts and sums.
inline U16x8 Factor(uint16_t value) {
    return Opaque(EveryLane(value));
}

inline U8x16 Least(U8x16 a, U8x16 b) {
    return a < b ? a : b;
}

inline U8x16 Greatest(U8x16 a, U8x16 b) {
    return a > b ? a : b;
}

/// a - b, but 0 where b is greater.
inline U8x16 SubtractToZero(U8x16 a, U8x16 b) {
#if defined(__SSE2__)
    return AsLanes<U8x16>(_mm_subs_epu8(AsLanes<__m128i>(a), AsLanes<__m128i>(b)));
#else
    return a - Least(a, b);
#endif
}

/// a + b, but 255 where that is more.
inline U8x16 AddTo255(U8x16 a, U8x16 b) {
#if defined(__SSE2__)
    return AsLanes<U8x16>(_mm_adds_epu8(AsLanes<__m128i>(a), AsLanes<__m128i>(b)));
#else
    return a + Least(b, ~a);
#endif
}

/// True when a lane is not 0.
template <class Vector>
inline bool HasAny(Vector lanes) {
    uint64_t halves[2];
    static_assert(sizeof(lanes) == sizeof(halves), "one vector");
    StoreVector(lanes, halves);
    return (halves[0] | halves[1]) != 0;
}

/// The upper 16 bits of each product: (a x b) >> 16.
inline U16x8 MultiplyHigh(U16x8 a, U16x8 b) {
#if defined(__SSE2__)
    return AsLanes<U16x8>(_mm_mulhi_epu16(AsLanes<__m128i>(a), AsLanes<__m128i>(b)));
#else
    using U32x8 = uint32_t __attribute__((vector_size(32)));
    const U32x8 product = __builtin_convertvector(a, U32x8) * __builtin_convertvector(b, U32x8);
    return __builtin_convertvector(product >> 16, U16x8);
#endif
}

/// Sixteen 16-bit lanes: a vector of bytes while it is calculated with.
struct U16x16 {
    U16x8 low;
    U16x8 high;
};

inline U16x16 Widen(U8x16 bytes) {
    return {WidenLow(bytes), WidenHigh(bytes)};
}

/// Every lane must be 0..255.
inline U8x16 Narrow(U16x16 lanes) {
    return Narrow(lanes.low, lanes.high);
}

/// Another order, which costs less where neighbouring bytes are added: `low` are the even bytes, `high`
/// the odd ones.
inline U16x16 Split(U8x16 bytes) {
    return {EvenBytes(bytes), OddBytes(bytes)};
}

/// The way back. Every lane must be 0..255.
inline U8x16 Join(U16x16 lanes) {
    return AsLanes<U8x16>(kIsBigEndian ? lanes.low << 8 | lanes.high : lanes.low | lanes.high << 8);
}

inline U16x16 LoadLanes(const uint16_t* from) {
    return {LoadVector<U16x8>(from), LoadVector<U16x8>(from + 8)};
}

inline void StoreLanes(U16x16 lanes, uint16_t* to) {
    StoreVector(lanes.low, to);
    StoreVector(lanes.high, to + 8);
}

inline U16x16 operator+(U16x16 a, U16x16 b) {
    return {a.low + b.low, a.high + b.high};
}

inline U16x16 operator+(U16x16 lanes, uint16_t value) {
    return {lanes.low + value, lanes.high + value};
}

inline U16x16 operator-(U16x16 a, U16x16 b) {
    return {a.low - b.low, a.high - b.high};
}

/// The lower 16 bits of each product.
inline U16x16 operator*(U16x16 a, U16x16 b) {
    return {a.low * b.low, a.high * b.high};
}

inline U16x16 operator*(U16x16 lanes, U16x8 factors) {
    return {lanes.low * factors, lanes.high * factors};
}

inline U16x16 operator*(U16x16 lanes, uint16_t factor) {
    return {lanes.low * factor, lanes.high * factor};
}

/// As a product: where the number of bits is not known, clang shifts lanes to the left by way of
/// floating-point numbers.
inline U16x16 operator<<(U16x16 lanes, int32_t bits) {
    return lanes * static_cast<uint16_t>(1 << bits);
}

inline U16x16 operator>>(U16x16 lanes, int32_t bits) {
    return {lanes.low >> bits, lanes.high >> bits};
}

/// The upper 16 bits of each product.
inline U16x16 MultiplyHigh(U16x16 a, U16x16 b) {
    return {MultiplyHigh(a.low, b.low), MultiplyHigh(a.high, b.high)};
}

inline U16x16 MultiplyHigh(U16x16 lanes, uint16_t factor) {
    return {MultiplyHigh(lanes.low, EveryLane(factor)),
            MultiplyHigh(lanes.high, EveryLane(factor))};
}

#if defined(__SSE2__)
// Without optimisation GCC has macros in place of these functions, with an implicit conversion of the
// inserted number.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wsign-conversion"
#endif

/// The table's entries at eight indices, which lie kStep bytes apart.
template <int32_t kStep>
inline U16x8 LookUpEight(const uint16_t* table, const uint8_t* at) {
#if defined(__SSE2__)
    // One insertion a lane; the general form below becomes moves and interleavings.
    __m128i entries = _mm_cvtsi32_si128(table[at[0]]);
    entries = _mm_insert_epi16(entries, static_cast<int16_t>(table[at[kStep]]), 1);
    entries = _mm_insert_epi16(entries, static_cast<int16_t>(table[at[2 * kStep]]), 2);
    entries = _mm_insert_epi16(entries, static_cast<int16_t>(table[at[3 * kStep]]), 3);
    entries = _mm_insert_epi16(entries, static_cast<int16_t>(table[at[4 * kStep]]), 4);
    entries = _mm_insert_epi16(entries, static_cast<int16_t>(table[at[5 * kStep]]), 5);
    entries = _mm_insert_epi16(entries, static_cast<int16_t>(table[at[6 * kStep]]), 6);
    entries = _mm_insert_epi16(entries, static_cast<int16_t>(table[at[7 * kStep]]), 7);
    return AsLanes<U16x8>(entries);
#else
    return U16x8{table[at[0]],         table[at[kStep]],     table[at[2 * kStep]],
                 table[at[3 * kStep]], table[at[4 * kStep]], table[at[5 * kStep]],
                 table[at[6 * kStep]], table[at[7 * kStep]]};
#endif
}

/// The table's entries at sixteen indices.
inline U16x16 LookUp(const uint16_t* table, const uint8_t* at) {
    return {LookUpEight<1>(table, at), LookUpEight<1>(table, at + 8)};
}

/// The bytes from[at[0]], from[at[0] + 1], from[at[1]], from[at[1] + 1], ... of eight indices.
inline U8x16 LoadPairs(const uint8_t* from, const uint8_t* at) {
    const auto pair = [=](int32_t lane) {
        uint16_t bytes;
        memcpy(&bytes, from + at[lane], sizeof(bytes));
        return bytes;
    };
#if defined(__SSE2__)
    __m128i pairs = _mm_cvtsi32_si128(pair(0));
    pairs = _mm_insert_epi16(pairs, static_cast<int16_t>(pair(1)), 1);
    pairs = _mm_insert_epi16(pairs, static_cast<int16_t>(pair(2)), 2);
    pairs = _mm_insert_epi16(pairs, static_cast<int16_t>(pair(3)), 3);
    pairs = _mm_insert_epi16(pairs, static_cast<int16_t>(pair(4)), 4);
    pairs = _mm_insert_epi16(pairs, static_cast<int16_t>(pair(5)), 5);
    pairs = _mm_insert_epi16(pairs, static_cast<int16_t>(pair(6)), 6);
    pairs = _mm_insert_epi16(pairs, static_cast<int16_t>(pair(7)), 7);
    return AsLanes<U8x16>(pairs);
#else
    return AsLanes<U8x16>(
        U16x8{pair(0), pair(1), pair(2), pair(3), pair(4), pair(5), pair(6), pair(7)});
#endif
}

#if defined(__SSE2__)
#pragma GCC diagnostic pop
#endif

/// Calls work(x) for the bytes x .. x + 15, from left to right, until begin .. end - 1, at least 16,
/// are covered. Unless their number is a multiple of 16 the first two vectors overlap: what work
/// reads must not be what it wrote.
template <class Work>
inline void ForEachVector(ptrdiff_t begin, ptrdiff_t end, Work work) {
    ptrdiff_t next = begin + (end - begin - 1) % kVectorBytes + 1;
#if defined(__SSE2__)
    work(begin);
    for (; next < end; next += kVectorBytes) {
        work(next);
    }
#else
    // One instruction more a vector, but what work does is there once: on small machines 3 KB less.
    for (ptrdiff_t x = begin;; next += kVectorBytes) {
        work(x);
        if (next >= end) {
            break;
        }
        x = next;
    }
#endif
}

}  // namespace qorfp
