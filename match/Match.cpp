// SPDX-License-Identifier: Apache-2.0
//
// Matching of two templates, and of further probes against a reference prepared before.

#include <stddef.h>
#include <string.h>

#include "engine/Template.h"
#include "match/FPMatch.h"

namespace {

using namespace qorfp;

// What Match clears: up to and including the accepted-pair count.
constexpr size_t kClearedBytes = offsetof(MatchContext, probeBestWeight);

// What a template can hold; sums and squares of such coordinates stay far inside 32 bits.
constexpr int32_t kLowestCoordinate = -256;
constexpr int32_t kHighestCoordinate = 767;

bool IsCoordinate(int32_t value) {
    return value >= kLowestCoordinate && value <= kHighestCoordinate;
}

bool AreMinutiaeOf(const MinutiaSet& set, const Bar& bar) {
    return bar.first >= 0 && bar.first < set.count && bar.second >= 0 && bar.second < set.count;
}

// True when every index of the reference side points inside the record, at real positions. Match
// and MakeFirstInfo leave it so; a buffer that something else has used since need not be.
bool IsReferenceSound(const MatchContext& context) {
    const int32_t bars = context.referenceBarCount;
    if (context.reference.count < 0 || context.reference.count > kMaxMinutiae || bars < 0 ||
        bars > kMaxReferenceBars) {
        return false;
    }
    for (int32_t i = 0; i < context.reference.count; ++i) {
        const Minutia& minutia = context.reference.minutiae[i];
        if (!IsCoordinate(minutia.x) || !IsCoordinate(minutia.y)) {
            return false;
        }
    }
    for (int32_t bar = 0; bar < bars; ++bar) {
        if (!AreMinutiaeOf(context.reference, context.referenceBars[bar])) {
            return false;
        }
    }
    for (int32_t list = 0; list < kSectorLists; ++list) {
        const int32_t start = context.sectorStart[list];
        const int32_t length = context.sectorLength[list];
        if (start < 0 || length < 0 || start + length > kSectorEntries) {
            return false;
        }
        for (int32_t k = start; k < start + length; ++k) {
            if (context.sectorEntries[k] < 0 || context.sectorEntries[k] >= bars) {
                return false;
            }
        }
    }
    return true;
}

}  // namespace

int32_t Match(uint8_t* work, const uint8_t* reference, const uint8_t* probe) {
    MatchWork* match = WorkAt<MatchWork>(work);
    memset(&match->context, 0, kClearedBytes);
    memset(&match->result, 0, sizeof(match->result));
    const int32_t referenceError = DecodeTemplate(reference, &match->context.reference, nullptr);
    const int32_t probeError = DecodeTemplate(probe, &match->context.probe, nullptr);
    if (referenceError != 0 || probeError != 0 || MakeFirstInfo(&match->context) == 0) {
        return 0;
    }
    return Alignment(&match->context, &match->result, 0);
}

int32_t MatchNext(uint8_t* work, const uint8_t* probe) {
    MatchWork* match = WorkAt<MatchWork>(work);
    if (DecodeTemplate(probe, &match->context.probe, nullptr) != 0 ||
        !IsReferenceSound(match->context)) {
        return 0;
    }
    return Alignment(&match->context, &match->result, 0);
}
