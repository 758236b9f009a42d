// SPDX-License-Identifier: Apache-2.0
//
// Corresponding bars. Each probe bar is compared with the reference bars in the list of its own
// sectors, eight at a time. How long a list is, and whether it holds a bar that corresponds, is as
// good as random, and a processor that guesses it wrong loses more time than a comparison takes. So
// the work is done in batches, by loops without such branches: what comes next is calculated, and
// what is found is written always but counted only when it is to stay.

#include "match/Correspondence.h"

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
    return {Clamp(begin, listBegin, listEnd), Clamp(end, listBegin, listEnd)};
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

// Where the next comparison begins.
struct Position {
    int32_t probeBar;
    int32_t entry;
};

// Compares until all is done or the batch is full; keeps the comparisons in which some bar is within
// the tolerances. Gives their number.
int32_t CompareBars(MatchContext* context, Position* position) {
    CorrespondenceWork* const work = &context->correspondence;
    int32_t kept = 0;
    int32_t bar = position->probeBar;
    int32_t entry = position->entry;
    while (bar < context->probeBarCount && kept < kBatchSize) {
        const int32_t end = work->listEnd[bar];
        const EightBars distances =
            DistancesOf(LoadBars(context->sectorBars + entry), work->probeBars[bar]);
        const uint32_t lanes = FindNear(distances) & FirstBars(end - entry);
        work->compared[kept] = {static_cast<int16_t>(bar), static_cast<int16_t>(entry), lanes};
        StoreBars(distances, work->distances[kept]);
        kept += lanes != 0 ? 1 : 0;

        const int32_t nextList = work->listBegin[bar + 1];
        const bool isLast = entry + kComparedBars >= end;
        entry = Choose(isLast, nextList, entry + kComparedBars);
        bar += isLast ? 1 : 0;
    }
    *position = {bar, entry};
    return kept;
}

// Weighs the compared bars; keeps the comparisons in which some bar corresponds. Gives their number.
int32_t WeighBars(CorrespondenceWork* work, int32_t count) {
    int32_t kept = 0;
    for (int32_t k = 0; k < count; ++k) {
        Comparison compared = work->compared[k];
        const U16x8 weights = WeightsOf(LanesOf(LoadBars(work->distances[k])));
        compared.lanes &= SetLanes(AsLanes<U8x16>(weights > 0));
        work->compared[kept] = compared;
        StoreVector(weights, work->weights[kept]);
        kept += compared.lanes != 0 ? 1 : 0;
    }
    return kept;
}

// Goes through the corresponding bars one by one and remembers the best partners of both sides.
void KeepBest(MatchContext* context, int32_t count) {
    CorrespondenceWork* const work = &context->correspondence;
    int32_t k = 0;
    uint32_t lanes = work->compared[0].lanes;
    while (k < count) {
        const Comparison compared = work->compared[k];
        const int32_t lane = __builtin_ctz(lanes) / 2;
        const uint32_t weight = work->weights[k][lane];
        const int32_t referenceBar = context->sectorEntries[compared.entry + lane];
        KeepGreater(&work->referenceBest[referenceBar], BestOf(weight, compared.probeBar));
        KeepGreater(&work->probeBest[compared.probeBar], BestOf(weight, referenceBar));

        const uint32_t nextLanes = work->compared[k + 1].lanes;
        lanes &= lanes - 1;
        const bool isLast = lanes == 0;
        k += isLast ? 1 : 0;
        lanes |= nextLanes & static_cast<uint32_t>(-static_cast<int32_t>(isLast));
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
        const int32_t compared = CompareBars(context, &position);
        const int32_t corresponding = WeighBars(work, compared);
        KeepBest(context, corresponding);
    }
    PairMutualBest(context);
}
