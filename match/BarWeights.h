// SPDX-License-Identifier: Apache-2.0
//
// The weight of two bars as a correspondence, for eight pairs of bars at once: a lane is a pair.
#pragma once

#include <stdint.h>

#include "extract/FixedMath.h"
#include "extract/Vector.h"
#include "match/SectorBar.h"

namespace qorfp {

// Within these, two bars may correspond.
constexpr uint32_t kAngleTolerance = 10;     ///< angle steps, of either angle
constexpr uint32_t kDisorderTolerance = 15;  ///< of either end
constexpr uint32_t kDensityTolerance = 31;
constexpr uint16_t kDensitySumTolerance = 39;  ///< of both ends

constexpr uint16_t kHighestLikeness = 963;
constexpr uint16_t kAngleLoss = 30;   ///< of the likeness, for each angle step
constexpr uint16_t kLengthLoss = 44;  ///< for each pixel of length
constexpr int16_t kLikenessFloor = 165;
constexpr uint16_t kBothTypesDiffer = 853;  ///< / 1024
constexpr uint16_t kOneTypeDiffers = 1024;
constexpr uint16_t kBothTypesAgree = 1229;
constexpr uint16_t kDisorderRange = 32;
constexpr uint16_t kDensityRange = 40;
constexpr int32_t kHighestWeight = (kHighestLikeness * kBothTypesAgree + 512) / 1024;
static_assert(kHighestLikeness << 6 <= UINT16_MAX &&
                  kHighestWeight * kDisorderRange <= UINT16_MAX &&
                  kHighestWeight * kDensityRange <= UINT16_MAX,
              "16 bits hold all products");

/// Eight packed bars, or their distances from one: two a vector.
struct EightBars {
    U8x16 pairs[4];
};

inline EightBars LoadBars(const uint64_t* packed) {
    return {{LoadVector<U8x16>(packed), LoadVector<U8x16>(packed + 2),
             LoadVector<U8x16>(packed + 4), LoadVector<U8x16>(packed + 6)}};
}

/// The same packed bar twice.
inline U8x16 Twice(uint64_t packed) {
    return AsLanes<U8x16>(packed + U64x2{});
}

/// The same packed bar eight times.
inline EightBars EightTimes(uint64_t packed) {
    const U8x16 twice = Twice(packed);
    return {{twice, twice, twice, twice}};
}

/// Distances byte by byte, where `fullCircles` are the ways round.
inline U8x16 DistancesBetween(U8x16 a, U8x16 b, U8x16 fullCircles) {
    const U8x16 way = Greatest(a, b) - Least(a, b);
    return Least(way, fullCircles - way);
}

/// Angles are circular. The other parts have no other way round, but distances of theirs are small
/// or stay too great.
constexpr uint64_t kFullCircles = PackBar(255, kTurn, kTurn, 255, 0xFFFF, 0xFFFF);

inline EightBars DistancesBetween(const EightBars& bars, const EightBars& others) {
    EightBars distances;
    for (int32_t k = 0; k < 4; ++k) {
        distances.pairs[k] = DistancesBetween(bars.pairs[k], others.pairs[k], Twice(kFullCircles));
    }
    return distances;
}

/// What the bars of two pairs have in the lower halves: length, angles and types.
inline U8x16 ShapesOf(U8x16 pair, U8x16 next) {
    if (kIsBigEndian) {
        return QORFP_PICK_LANES(pair, next, 4, 5, 6, 7, 12, 13, 14, 15, 20, 21, 22, 23, 28, 29, 30,
                                31);
    }
    return QORFP_PICK_LANES(pair, next, 0, 1, 2, 3, 8, 9, 10, 11, 16, 17, 18, 19, 24, 25, 26, 27);
}

inline U8x16 FourTimes(uint64_t shape) {
    return AsLanes<U8x16>(static_cast<uint32_t>(shape & UINT32_MAX) + U32x4{});
}

/// Bits 0..7 are set for the bars whose length and angles are within the tolerances from those of one
/// bar. As a rule, the rest of them is then, too.
inline uint32_t FindNear(const EightBars& bars, uint64_t packed) {
    const U8x16 shape = FourTimes(packed);
    const U8x16 limits = FourTimes(
        PackBar(kLengthTolerance, kAngleTolerance, kAngleTolerance, kHighestTypeDistance, 0, 0));
    const auto areNear = [&](U8x16 shapes) {
        const U8x16 distances = DistancesBetween(shapes, shape, FourTimes(kFullCircles));
        return AsLanes<I16x8>(AsLanes<U32x4>(Greatest(distances, limits)) ==
                              AsLanes<U32x4>(limits));
    };
    const I16x8 halves =
        AsLanes<I16x8>(NarrowMask(areNear(ShapesOf(bars.pairs[0], bars.pairs[1])),
                                  areNear(ShapesOf(bars.pairs[2], bars.pairs[3]))));
    return SetLanes(NarrowMask(halves, halves)) & 0xFF;
}

/// Such bits of the first bars, 0 or more.
inline uint32_t FirstBars(int32_t count) {
    return (1u << Min(count, kComparedBars)) - 1;
}

/// The same distances, a lane for each of the eight bars.
struct DistanceLanes {
    U16x8 lengthAndAngle;  ///< low byte: length, high byte: first angle
    U16x8 angleAndTypes;
    U16x8 firstAttributes;
    U16x8 secondAttributes;
};

inline DistanceLanes LanesOf(const EightBars& distances) {
    const auto words = [&](int32_t k) { return AsLanes<U16x8>(distances.pairs[k]); };
    // Of bars 0 to 3: 0 2 0 2 .. and 1 3 1 3 .., then 0 1 2 3 of two words.
    const U16x8 even03 = InterleaveLow(words(0), words(1));
    const U16x8 odd03 = InterleaveHigh(words(0), words(1));
    const U16x8 even47 = InterleaveLow(words(2), words(3));
    const U16x8 odd47 = InterleaveHigh(words(2), words(3));
    const U16x8 low03 = InterleaveLow(even03, odd03);
    const U16x8 high03 = InterleaveHigh(even03, odd03);
    const U16x8 low47 = InterleaveLow(even47, odd47);
    const U16x8 high47 = InterleaveHigh(even47, odd47);
    const DistanceLanes lanes = {JoinLow(low03, low47), JoinHigh(low03, low47),
                                 JoinLow(high03, high47), JoinHigh(high03, high47)};
    if (kIsBigEndian) {
        return {lanes.secondAttributes, lanes.firstAttributes, lanes.angleAndTypes,
                lanes.lengthAndAngle};
    }
    return lanes;
}

inline U16x8 LowBytes(U16x8 words) {
    return words & 255;
}

inline U16x8 HighBytes(U16x8 words) {
    return words >> 8;
}

/// (likeness x factor + 512) / 1024, by the agreement of types; likeness below 1024.
inline U16x8 ScaleByTypes(U16x8 likeness, U16x8 typeDistances) {
    const U16x8 agree = AsLanes<U16x8>(typeDistances == 0) & (kBothTypesAgree - kBothTypesDiffer);
    const U16x8 factor =
        kBothTypesDiffer + agree + (typeDistances & 1) * (kOneTypeDiffers - kBothTypesDiffer);
    const U16x8 scaled = likeness << 6;  // so that the quotient is the upper half of the product
    return MultiplyHigh(scaled, factor) + (scaled * factor >> 15);
}

/// Likeness by length, angles and types: more than the floor, or 0.
inline U16x8 LikenessOf(const DistanceLanes& distances) {
    const U16x8 angles = HighBytes(distances.lengthAndAngle) + LowBytes(distances.angleAndTypes);
    const U16x8 likeness =
        kHighestLikeness - kAngleLoss * angles - kLengthLoss * LowBytes(distances.lengthAndAngle);
    const U16x8 isEnough = AsLanes<U16x8>(AsLanes<I16x8>(likeness) > kLikenessFloor);
    return ScaleByTypes(likeness, HighBytes(distances.angleAndTypes)) & isEnough;
}

/// All ones for the pairs within all tolerances.
inline U16x8 AreWithin(const DistanceLanes& distances) {
    const auto areWithin = [](U16x8 lanes, uint32_t low, uint32_t high) {
        const U16x8 limits = EveryLane(static_cast<uint16_t>(low | high << 8));
        const U8x16 greatest = Greatest(AsLanes<U8x16>(lanes), AsLanes<U8x16>(limits));
        return AsLanes<U16x8>(AsLanes<U16x8>(greatest) == limits);
    };
    return areWithin(distances.lengthAndAngle, kLengthTolerance, kAngleTolerance) &
           areWithin(distances.angleAndTypes, kAngleTolerance, kHighestTypeDistance) &
           areWithin(distances.firstAttributes, kDisorderTolerance, kDensityTolerance) &
           areWithin(distances.secondAttributes, kDisorderTolerance, kDensityTolerance);
}

/// The weights of pairs: the likeness, reduced by the distances of the attributes; 0 for bars that do
/// not correspond.
inline U16x8 WeightsOf(const DistanceLanes& distances) {
    const U16x8 attributes = distances.firstAttributes + distances.secondAttributes;
    const U16x8 density = HighBytes(attributes);
    const U16x8 disorderPart = LikenessOf(distances) * (kDisorderRange - LowBytes(attributes)) >> 5;
    const U16x8 weights = (kDensityRange - density) * disorderPart / kDensityRange;
    return weights & AsLanes<U16x8>(density <= kDensitySumTolerance) & AreWithin(distances);
}

}  // namespace qorfp
