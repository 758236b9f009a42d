// SPDX-License-Identifier: Apache-2.0

#include "match/CrowdedLists.h"

#include <string.h>

#include "extract/Vector.h"
#include "match/BarWeights.h"
#include "match/BestPartner.h"

namespace {

using namespace qorfp;

constexpr int32_t kCrowd = 64;  // entries; no more are left to the plain comparison

// Weights of eight bars and their partners.
struct EightBest {
    U16x8 weights;
    U16x8 partners;
};

// Among equal weights the earlier partner stays.
void KeepGreater(EightBest* best, U16x8 weights, U16x8 partners) {
    const U16x8 isGreater = AsLanes<U16x8>(weights > best->weights);
    best->weights = (weights & isGreater) | (best->weights & ~isGreater);
    best->partners = (partners & isGreater) | (best->partners & ~isGreater);
}

// Keeps the best partner of each entry, and the best entry of the probe bar.
void CompareWithCrowd(MatchContext* context, int32_t bar) {
    CorrespondenceWork* const work = &context->correspondence;
    const int32_t end = work->listEnd[bar];
    const U16x8 lanes = {0, 1, 2, 3, 4, 5, 6, 7};
    const U16x8 probeBars = EveryLane(static_cast<uint16_t>(bar));
    const EightBars probeBar = EightTimes(work->probeBars[bar]);
    EightBest ofProbe = {};
    for (int32_t entry = work->listBegin[bar]; entry < end; entry += kComparedBars) {
        const EightBars distances =
            DistancesBetween(LoadBars(context->sectorBars + entry), probeBar);
        const uint16_t left = static_cast<uint16_t>(end - entry);
        const U16x8 weights =
            WeightsOf(LanesOf(distances)) & AsLanes<U16x8>(lanes < EveryLane(left));
        KeepGreater(&ofProbe, weights, EveryLane(static_cast<uint16_t>(entry)) + lanes);
        EightBest ofEntries = {LoadVector<U16x8>(work->crowdWeights + entry),
                               LoadVector<U16x8>(work->crowdPartners + entry)};
        KeepGreater(&ofEntries, weights, probeBars);
        StoreVector(ofEntries.weights, work->crowdWeights + entry);
        StoreVector(ofEntries.partners, work->crowdPartners + entry);
    }
    for (int32_t lane = 0; lane < kComparedBars; ++lane) {
        const int32_t referenceBar = context->sectorEntries[ofProbe.partners[lane]];
        qorfp::KeepGreater(&work->probeBest[bar], BestOf(ofProbe.weights[lane], referenceBar));
    }
}

bool IsCrowd(const CorrespondenceWork& work, int32_t bar) {
    return work.listEnd[bar] - work.listBegin[bar] > kCrowd;
}

}  // namespace

void qorfp::CompareCrowds(MatchContext* context) {
    CorrespondenceWork* const work = &context->correspondence;
    bool areAny = false;
    for (int32_t bar = 0; bar < context->probeBarCount; ++bar) {
        areAny |= IsCrowd(*work, bar);
    }
    if (!areAny) {
        return;
    }
    memset(work->crowdWeights, 0, sizeof(work->crowdWeights));
    memset(work->crowdPartners, 0, sizeof(work->crowdPartners));
    for (int32_t bar = 0; bar < context->probeBarCount; ++bar) {
        if (IsCrowd(*work, bar)) {
            CompareWithCrowd(context, bar);
            work->listEnd[bar] = work->listBegin[bar];
        }
    }
    for (int32_t entry = 0; entry < kListsPerBar * context->referenceBarCount; ++entry) {
        KeepGreater(&work->referenceBest[context->sectorEntries[entry]],
                    BestOf(work->crowdWeights[entry], work->crowdPartners[entry]));
    }
}
