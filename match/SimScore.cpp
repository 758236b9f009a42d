// SPDX-License-Identifier: Apache-2.0
//
// The similarity score of an aligned probe: how much weight of corresponding bars lies on top of
// each other, against how many bars there are.

#include <string.h>

#include "extract/FixedMath.h"
#include "match/FPMatch.h"

namespace {

using namespace qorfp;

constexpr int32_t kMostKept = 160;
constexpr int32_t kNearAxis = 16;          // pixels off in x and in y
constexpr int32_t kNearDistSquared = 361;  // 19 pixels
constexpr int32_t kUsualReferenceBars = 100;
constexpr int32_t kUsualProbeBars = 50;

bool IsNear(const Minutia& reference, const Minutia& probe) {
    const int32_t dx = reference.x - probe.x;
    const int32_t dy = reference.y - probe.y;
    return Absolute(dx) <= kNearAxis && Absolute(dy) <= kNearAxis &&
           Square(dx) + Square(dy) <= kNearDistSquared;
}

// Keeps the accepted pairs whose two ends lie on each other; gives the sum of their weights.
int32_t KeepNearPairs(MatchContext* context) {
    int32_t kept = 0;
    int32_t weightSum = 0;
    for (int32_t k = 0; k < context->acceptedCount && kept < kMostKept; ++k) {
        const BarPair& pair = context->pairs[context->accepted[k]];
        const Bar& a = context->referenceBars[pair.reference];
        const Bar& b = context->probeBars[pair.probe];
        if (IsNear(context->reference.minutiae[a.first], context->probe.minutiae[b.first]) &&
            IsNear(context->reference.minutiae[a.second], context->probe.minutiae[b.second])) {
            context->accepted[kept] = context->accepted[k];
            ++kept;
            weightSum += pair.weight;
        }
    }
    context->acceptedCount = kept;
    return weightSum;
}

// The weight as it would be with the usual number of bars; fewer bars do not raise it.
int32_t Normalise(int32_t weight, int32_t bars, int32_t usualBars) {
    return bars > usualBars ? usualBars * weight / bars : weight;
}

void AddPair(MatchResult* result, int16_t reference, int16_t probe) {
    if (result->pairCount >= kMaxMatchPairs) {
        return;
    }
    for (int32_t k = 0; k < result->pairCount; ++k) {
        if (result->referenceIndices[k] == reference && result->probeIndices[k] == probe) {
            return;
        }
    }
    result->referenceIndices[result->pairCount] = reference;
    result->probeIndices[result->pairCount] = probe;
    ++result->pairCount;
}

void WritePairs(const MatchContext& context, MatchResult* result) {
    result->pairCount = 0;
    memset(result->referenceIndices, 0, sizeof(result->referenceIndices));
    memset(result->probeIndices, 0, sizeof(result->probeIndices));
    for (int32_t k = 0; k < context.acceptedCount; ++k) {
        const BarPair& pair = context.pairs[context.accepted[k]];
        const Bar& a = context.referenceBars[pair.reference];
        const Bar& b = context.probeBars[pair.probe];
        AddPair(result, a.first, b.first);
        AddPair(result, a.second, b.second);
    }
}

}  // namespace

int32_t GetSimScore(MatchContext* context, MatchResult* result, int32_t wantPairs) {
    const int32_t weight = KeepNearPairs(context);  // <= 160 x 1156
    const int32_t referencePart =
        Normalise(weight, context->referenceBarCount, kUsualReferenceBars);
    const int32_t probePart = Normalise(weight, context->probeBarCount, kUsualProbeBars);
    if (wantPairs != 0) {
        WritePairs(*context, result);
    }
    return (36 * (referencePart + probePart) + 512) / 1024;
}
