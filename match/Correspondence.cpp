// SPDX-License-Identifier: Apache-2.0
//
// Corresponding bars. Each probe bar is compared with the reference bars in the list of its own
// sectors, eight at a time and without branches on what is found: it changes from bar to bar, and
// every other branch would be mispredicted.

#include "match/Correspondence.h"

#include <string.h>

#include "extract/FPTable.h"
#include "extract/FixedMath.h"
#include "extract/Vector.h"
#include "match/SectorBar.h"

namespace {

using namespace qorfp;

// Within these, two bars may correspond.
constexpr uint32_t kLengthTolerance = 12;    // pixels
constexpr uint32_t kAngleTolerance = 10;     // angle steps, of either angle
constexpr uint32_t kDisorderTolerance = 15;  // of either end
constexpr uint32_t kDensityTolerance = 31;
constexpr uint16_t kDensitySumTolerance = 39;  // of both ends

constexpr uint16_t kHighestLikeness = 963;
constexpr uint16_t kAngleLoss = 30;   // of the likeness, for each angle step
constexpr uint16_t kLengthLoss = 44;  // for each pixel of length
constexpr int16_t kLikenessFloor = 165;
constexpr uint16_t kBothTypesDiffer = 853;  // / 1024
constexpr uint16_t kOneTypeDiffers = 1024;
constexpr uint16_t kBothTypesAgree = 1229;
constexpr uint16_t kDisorderRange = 32;
constexpr uint16_t kDensityRange = 40;
constexpr int32_t kHighestWeight = (kHighestLikeness * kBothTypesAgree + 512) / 1024;
static_assert(kHighestLikeness << 6 <= UINT16_MAX &&
                  kHighestWeight * kDisorderRange <= UINT16_MAX &&
                  kHighestWeight * kDensityRange <= UINT16_MAX,
              "16 bits hold all products");

// Eight bars, their distances or limits of these.
struct EightBars {
    U16x8 lengthAndAngle;
    U16x8 angleAndTypes;
    U16x8 firstAttributes;
    U16x8 secondAttributes;
};

EightBars AllLanes(const SectorBar& bar) {
    return {EveryLane(bar.lengthAndAngle), EveryLane(bar.angleAndTypes),
            EveryLane(bar.firstAttributes), EveryLane(bar.secondAttributes)};
}

EightBars BarsAt(const SectorBars& bars, int32_t entry) {
    return {LoadVector<U16x8>(bars.lengthAndAngle + entry),
            LoadVector<U16x8>(bars.angleAndTypes + entry),
            LoadVector<U16x8>(bars.firstAttributes + entry),
            LoadVector<U16x8>(bars.secondAttributes + entry)};
}

// |a - b|, byte by byte.
U16x8 Distances(U16x8 a, U16x8 b) {
    const U8x16 x = AsLanes<U8x16>(a);
    const U8x16 y = AsLanes<U8x16>(b);
    return AsLanes<U16x8>(Greatest(x, y) - Least(x, y));
}

// The smaller way round, where angles are. Lengths and types have no other way round; distances of
// theirs that are too great stay so.
U16x8 RoundCircle(U16x8 distances, uint16_t fullCircles) {
    const U8x16 way = AsLanes<U8x16>(distances);
    return AsLanes<U16x8>(Least(way, AsLanes<U8x16>(EveryLane(fullCircles)) - way));
}

EightBars Distances(const EightBars& a, const EightBars& b) {
    return {RoundCircle(Distances(a.lengthAndAngle, b.lengthAndAngle), TwoBytes(255, kTurn)),
            RoundCircle(Distances(a.angleAndTypes, b.angleAndTypes), TwoBytes(kTurn, 255)),
            Distances(a.firstAttributes, b.firstAttributes),
            Distances(a.secondAttributes, b.secondAttributes)};
}

// All ones in each lane of which neither byte exceeds its limit.
U16x8 AreWithin(U16x8 bytes, uint16_t limit) {
    const U8x16 limits = AsLanes<U8x16>(EveryLane(limit));
    return AsLanes<U16x8>(AsLanes<U16x8>(Greatest(AsLanes<U8x16>(bytes), limits)) ==
                          EveryLane(limit));
}

U16x8 AreWithinTolerances(const EightBars& distances) {
    const U16x8 attributes = AsLanes<U16x8>(Greatest(AsLanes<U8x16>(distances.firstAttributes),
                                                     AsLanes<U8x16>(distances.secondAttributes)));
    return AreWithin(distances.lengthAndAngle, TwoBytes(kLengthTolerance, kAngleTolerance)) &
           AreWithin(distances.angleAndTypes, TwoBytes(kAngleTolerance, kHighestTypeDistance)) &
           AreWithin(attributes, TwoBytes(kDisorderTolerance, kDensityTolerance));
}

U16x8 LowBytes(U16x8 words) {
    return words & 255;
}

U16x8 HighBytes(U16x8 words) {
    return words >> 8;
}

// (likeness x factor + 512) / 1024, by the agreement of types; likeness below 1024.
U16x8 ScaleByTypes(U16x8 likeness, U16x8 typeDistances) {
    const U16x8 agree = AsLanes<U16x8>(typeDistances == 0) & (kBothTypesAgree - kBothTypesDiffer);
    const U16x8 factor =
        kBothTypesDiffer + agree + (typeDistances & 1) * (kOneTypeDiffers - kBothTypesDiffer);
    const U16x8 scaled = likeness << 6;  // so that the quotient is the upper half of the product
    return MultiplyHigh(scaled, factor) + (scaled * factor >> 15);
}

// Likeness by length, angles and types: more than the floor, or 0.
U16x8 LikenessOf(const EightBars& distances) {
    const U16x8 angles = HighBytes(distances.lengthAndAngle) + LowBytes(distances.angleAndTypes);
    const U16x8 likeness =
        kHighestLikeness - kAngleLoss * angles - kLengthLoss * LowBytes(distances.lengthAndAngle);
    const U16x8 isEnough = AsLanes<U16x8>(AsLanes<I16x8>(likeness) > kLikenessFloor);
    return ScaleByTypes(likeness, HighBytes(distances.angleAndTypes)) & isEnough;
}

// Weights of eight correspondences, of distances within the tolerances: the likeness, reduced by
// the distances of the attributes; 0 for bars that do not correspond after all.
U16x8 WeightsOf(const EightBars& distances) {
    const U16x8 attributes = distances.firstAttributes + distances.secondAttributes;
    const U16x8 density = HighBytes(attributes);
    const U16x8 disorderPart = LikenessOf(distances) * (kDisorderRange - LowBytes(attributes)) >> 5;
    const U16x8 weights = (kDensityRange - density) * disorderPart / kDensityRange;
    return weights & AsLanes<U16x8>(density <= kDensitySumTolerance);
}

// Best partners are kept as one number that the greater weight makes greater and, among equal
// weights, the earlier partner.
constexpr uint32_t kPartnerBits = 9;
constexpr uint32_t kPartnerMask = (1u << kPartnerBits) - 1;
static_assert(kMaxReferenceBars <= 1 << kPartnerBits && kMaxProbeBars <= 1 << kPartnerBits, "fits");

uint32_t BestOf(uint32_t weight, int32_t partner) {
    return (weight << kPartnerBits | kPartnerMask) - static_cast<uint32_t>(partner);
}

int32_t WeightIn(uint32_t best) {
    return static_cast<int32_t>(best >> kPartnerBits);
}

int32_t PartnerIn(uint32_t best) {
    return static_cast<int32_t>(~best & kPartnerMask);
}

uint32_t Greater(uint32_t a, uint32_t b) {
    return a > b ? a : b;
}

// Bits of the first lanes of eight, two a lane.
uint32_t FirstLanes(int32_t count) {
    return count < kSectorBarLanes ? (1u << 2 * count) - 1 : (1u << 2 * kSectorBarLanes) - 1;
}

// Compares a probe bar with the reference bars of its sectors and remembers the best partner of
// both sides.
void FindPartners(MatchContext* context, int32_t probeBar, const EndFeatures& features) {
    const Bar& b = context->probeBars[probeBar];
    const EightBars probe = AllLanes(SectorBarOf(b, features));
    const int32_t list = gbDiv20[b.angleFirst] * kSectors + gbDiv20[b.angleSecond];
    const int32_t begin = context->sectorStart[list];
    const int32_t end = begin + context->sectorLength[list];
    uint32_t best = 0;
    for (int32_t from = begin; from < end; from += kSectorBarLanes) {
        const EightBars distances = Distances(BarsAt(context->sectorBars, from), probe);
        const U16x8 isWithin = AreWithinTolerances(distances);
        const uint32_t inList = FirstLanes(end - from);
        if ((SetLanes(AsLanes<U8x16>(isWithin)) & inList) == 0) {
            continue;
        }
        const U16x8 weights = WeightsOf(distances) & isWithin;
        uint32_t lanes = SetLanes(AsLanes<U8x16>(weights > 0)) & inList & 0x5555;
        uint16_t weightOf[kSectorBarLanes];
        StoreVector(weights, weightOf);
        for (; lanes != 0; lanes &= lanes - 1) {
            const int32_t lane = __builtin_ctz(lanes) / 2;
            const int32_t referenceBar = context->sectorEntries[from + lane];
            uint32_t* const referenceBest = &context->referenceBest[referenceBar];
            *referenceBest = Greater(*referenceBest, BestOf(weightOf[lane], probeBar));
            best = Greater(best, BestOf(weightOf[lane], referenceBar));
        }
    }
    context->probeBest[probeBar] = best;
}

// Of a reference bar and its reverse only the better matched one has a partner, the bar itself
// among equals.
bool IsBetterThanReverse(const MatchContext& context, int32_t referenceBar) {
    const int32_t weight = WeightIn(context.referenceBest[referenceBar]);
    const int32_t ofReverse = WeightIn(context.referenceBest[referenceBar ^ 1]);
    return referenceBar % 2 == 0 ? weight >= ofReverse : weight > ofReverse;
}

void PairMutualBest(MatchContext* context) {
    context->pairCount = 0;
    for (int32_t bar = 0; bar < context->probeBarCount; ++bar) {
        const int32_t weight = WeightIn(context->probeBest[bar]);
        const int32_t partner = PartnerIn(context->probeBest[bar]);
        if (weight == 0 || PartnerIn(context->referenceBest[partner]) != bar ||
            !IsBetterThanReverse(*context, partner)) {
            continue;
        }
        context->pairs[context->pairCount] = {static_cast<int16_t>(partner),
                                              static_cast<int16_t>(bar), weight};
        ++context->pairCount;
    }
}

}  // namespace

void qorfp::FindCorrespondences(MatchContext* context) {
    EndFeatures features;
    CollectFeatures(context->probe, &features);
    memset(context->referenceBest, 0, sizeof(context->referenceBest));
    for (int32_t bar = 0; bar < context->probeBarCount; ++bar) {
        FindPartners(context, bar, features);
    }
    PairMutualBest(context);
}
