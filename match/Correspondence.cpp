// SPDX-License-Identifier: Apache-2.0
//
// Corresponding bars. Each probe bar is compared with the reference bars in the list of its own
// sectors, eight at a time. How long a list is, and how many bars in it are near, is as good as
// random, and a processor that guesses it wrong loses more time than a comparison takes. So the work
// is done in batches, by loops without such branches: what comes next is calculated, and what is
// found is written always but counted only when it is to stay.

#include "match/Correspondence.h"

#include <string.h>

#include "extract/FPTable.h"
#include "extract/FixedMath.h"
#include "match/BarWeights.h"
#include "match/BestPartner.h"
#include "match/CrowdedLists.h"
#include "match/SectorBar.h"

namespace {

using namespace qorfp;

// Compilers make branches of conditional expressions as they like, but not of these.
constexpr int32_t Choose(bool condition, int32_t a, int32_t b) {
    return b ^ ((a ^ b) & -static_cast<int32_t>(condition));
}

// The part of a sector list that holds the bars of about a length.
struct ListPart {
    int32_t begin;
    int32_t end;
};

ListPart PartOf(const MatchContext& context, int32_t list, int32_t length) {
    const int32_t first = context.shorterPairs[Max(length - kLengthTolerance, 0)];
    const int32_t last = context.shorterPairs[length + kLengthTolerance + 1];
    const int32_t begin = context.listMarks[first / kMarkedPairs][list];
    const int32_t end = context.listMarks[(last + kMarkedPairs - 1) / kMarkedPairs][list];
    // A damaged record must not lead out of the list.
    const int32_t listBegin = context.sectorStart[list];
    const int32_t listEnd = listBegin + context.sectorLength[list];
    const int32_t partBegin = Clamp(begin, listBegin, listEnd);
    return {partBegin, Clamp(end, partBegin, listEnd)};
}

// The probe bars as they are compared, and with which entries.
void ListProbeBars(MatchContext* context) {
    CorrespondenceWork* const work = &context->correspondence;
    EndFeatures features;
    CollectFeatures(context->probe, &features);
    for (int32_t bar = 0; bar < context->probeBarCount; ++bar) {
        const Bar& probeBar = context->probeBars[bar];
        const int32_t list =
            gbDiv20[probeBar.angleFirst] * kSectors + gbDiv20[probeBar.angleSecond];
        const ListPart part = PartOf(*context, list, probeBar.length);
        work->probeBars[bar] = PackBar(probeBar, features);
        work->listBegin[bar] = static_cast<int16_t>(part.begin);
        work->listEnd[bar] = static_cast<int16_t>(part.end);
    }
    work->listBegin[context->probeBarCount] = 0;  // read, not used
}

// A probe bar and an entry of the sector lists whose bars are near each other, as one number: so that
// several are made from one by adding to the entry.
constexpr int32_t kProbeBarShift = 16;

constexpr uint32_t NearPair(int32_t probeBar, int32_t entry) {
    return static_cast<uint32_t>(probeBar) << kProbeBarShift | static_cast<uint32_t>(entry);
}

constexpr uint32_t ProbeBarOf(uint32_t nearPair) {
    return nearPair >> kProbeBarShift;
}

constexpr uint32_t EntryOf(uint32_t nearPair) {
    return nearPair & 0xFFFF;
}

// The bits that are set in four, from the lowest on, and their number.
constexpr int32_t kBits = 4;
constexpr uint32_t kBitsIn[1 << kBits][kBits] = {
    {},  {0},    {1},    {0, 1},    {2},    {0, 2},    {1, 2},    {0, 1, 2},
    {3}, {0, 3}, {1, 3}, {0, 1, 3}, {2, 3}, {0, 2, 3}, {1, 2, 3}, {0, 1, 2, 3}};
constexpr uint8_t kBitCounts[1 << kBits] = {0, 1, 1, 2, 1, 2, 2, 3, 1, 2, 2, 3, 2, 3, 3, 4};

// Where the next comparison begins.
struct Position {
    int32_t probeBar;
    int32_t entry;
};

// Compares until all is done or the batch is full; keeps the pairs that are near. Gives their number.
size_t CompareBars(MatchContext* context, Position* position) {
    CorrespondenceWork* const work = &context->correspondence;
    constexpr uint32_t kLowBits = (1u << kBits) - 1;
    size_t kept = 0;
    int32_t bar = position->probeBar;
    int32_t entry = position->entry;
    while (bar < context->probeBarCount && kept < kNearPairs) {
        const int32_t end = work->listEnd[bar];
        const uint32_t near =
            FindNear(LoadBars(context->sectorBars + entry), work->probeBars[bar]) &
            FirstBars(end - entry);
        const U32x4 first = NearPair(bar, entry) + U32x4{};
        StoreVector(first + LoadVector<U32x4>(kBitsIn[near & kLowBits]), work->nearPairs + kept);
        kept += kBitCounts[near & kLowBits];
        StoreVector(first + kBits + LoadVector<U32x4>(kBitsIn[near >> kBits]),
                    work->nearPairs + kept);
        kept += kBitCounts[near >> kBits];

        const int32_t nextList = work->listBegin[bar + 1];
        const bool isLast = entry + kComparedBars >= end;
        entry = Choose(isLast, nextList, entry + kComparedBars);
        bar += isLast ? 1 : 0;
    }
    *position = {bar, entry};
    // The last eight are weighed even if they are fewer.
    memset(work->nearPairs + kept, 0, kComparedBars * sizeof(work->nearPairs[0]));
    return kept;
}

// The packed bars of eight pairs.
template <class NumberOf>
EightBars GatherBars(const uint64_t* packed, const uint32_t* nearPairs, NumberOf numberOf) {
    EightBars bars;
    for (int32_t k = 0; k < kComparedBars / 2; ++k) {
        bars.pairs[k] = AsLanes<U8x16>(
            U64x2{packed[numberOf(nearPairs[2 * k])], packed[numberOf(nearPairs[2 * k + 1])]});
    }
    return bars;
}

void WeighBars(MatchContext* context, size_t count) {
    CorrespondenceWork* const work = &context->correspondence;
    for (size_t k = 0; k < count; k += kComparedBars) {
        const uint32_t* const nearPairs = work->nearPairs + k;
        const EightBars distances =
            DistancesBetween(GatherBars(context->sectorBars, nearPairs, EntryOf),
                             GatherBars(work->probeBars, nearPairs, ProbeBarOf));
        StoreVector(WeightsOf(LanesOf(distances)), work->weights + k);
    }
}

// Remembers the best partners of both sides. A weight of 0 is no better than none.
void KeepBest(MatchContext* context, size_t count) {
    CorrespondenceWork* const work = &context->correspondence;
    for (size_t k = 0; k < count; ++k) {
        const uint32_t weight = work->weights[k];
        const int32_t probeBar = static_cast<int32_t>(ProbeBarOf(work->nearPairs[k]));
        const int32_t referenceBar = context->sectorEntries[EntryOf(work->nearPairs[k])];
        KeepGreater(&work->referenceBest[referenceBar], BestOf(weight, probeBar));
        KeepGreater(&work->probeBest[probeBar], BestOf(weight, referenceBar));
    }
}

// Of a reference bar and its reverse only the better matched one has a partner, the bar itself
// among equals.
bool IsBetterThanReverse(const CorrespondenceWork& work, int32_t referenceBar) {
    const int32_t weight = WeightIn(work.referenceBest[referenceBar]);
    const int32_t ofReverse = WeightIn(work.referenceBest[referenceBar ^ 1]);
    return weight + 1 - (referenceBar & 1) > ofReverse;
}

void PairMutualBest(MatchContext* context) {
    const CorrespondenceWork& work = context->correspondence;
    int32_t count = 0;
    for (int32_t bar = 0; bar < context->probeBarCount; ++bar) {
        const int32_t weight = WeightIn(work.probeBest[bar]);
        const int32_t partner = PartnerIn(work.probeBest[bar]);
        const bool isMutual = PartnerIn(work.referenceBest[partner]) == bar;
        context->pairs[count] = {static_cast<int16_t>(partner), static_cast<int16_t>(bar), weight};
        count += static_cast<int32_t>(weight > 0) & static_cast<int32_t>(isMutual) &
                 static_cast<int32_t>(IsBetterThanReverse(work, partner));
    }
    context->pairCount = count;
}

}  // namespace

void qorfp::FindCorrespondences(MatchContext* context) {
    CorrespondenceWork* const work = &context->correspondence;
    for (uint32_t& best : work->referenceBest) {
        best = kNoBest;
    }
    for (uint32_t& best : work->probeBest) {
        best = kNoBest;
    }
    ListProbeBars(context);
    CompareCrowds(context);
    Position position = {0, work->listBegin[0]};
    while (position.probeBar < context->probeBarCount) {
        const size_t near = CompareBars(context, &position);
        WeighBars(context, near);
        KeepBest(context, near);
    }
    PairMutualBest(context);
}
