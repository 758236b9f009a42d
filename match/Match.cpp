// SPDX-License-Identifier: Apache-2.0
//
// Matching of two templates, and of further probes against a reference prepared before.

#include <stddef.h>
#include <string.h>

#include "engine/StageMemory.h"
#include "engine/Template.h"
#include "extract/FixedMath.h"
#include "extract/Vector.h"
#include "match/FPMatch.h"

namespace {

using namespace qorfp;

// What Match clears: up to and including the accepted-pair count.
constexpr size_t kClearedBytes = offsetof(MatchContext, sectorBars);

// What a template can hold; sums and squares of such coordinates stay far inside 32 bits.
constexpr int32_t kLowestCoordinate = -256;
constexpr int32_t kHighestCoordinate = 767;

bool IsCoordinate(int32_t value) {
    return value >= kLowestCoordinate && value <= kHighestCoordinate;
}

bool AreCoordinates(const MinutiaSet& set) {
    for (int32_t i = 0; i < set.count; ++i) {
        if (!IsCoordinate(set.minutiae[i].x) || !IsCoordinate(set.minutiae[i].y)) {
            return false;
        }
    }
    return true;
}

// Both ends of a bar are tested at once, as the halves of a word: a half has its highest bit set in
// the result when it is not a number 0..count - 1.
constexpr uint32_t kHighestBits = 0x80008000;

uint32_t TestEnds(const Bar& bar, int32_t count) {
    const uint32_t limits = static_cast<uint32_t>(count - 1) * 0x00010001;
    uint32_t ends;
    memcpy(&ends, &bar.first, sizeof(ends));
    return ends | ~WrapSub32(limits | kHighestBits, ends);
}
static_assert(offsetof(Bar, second) == sizeof(Bar::first), "the ends are next to each other");

// Four bars are three vectors; in these lanes are ends. Compilers would collect them through memory.
constexpr int32_t kBarsTested = 4;
constexpr uint16_t kEnd = 0x8000;
const U16x8 kEndLanes[3] = {{kEnd, kEnd, 0, 0, 0, 0, kEnd, kEnd},
                            {0, 0, 0, 0, kEnd, kEnd, 0, 0},
                            {0, 0, kEnd, kEnd, 0, 0, 0, 0}};
static_assert(kBarsTested * sizeof(Bar) == 3 * sizeof(U16x8) && offsetof(Bar, first) == 0, "lanes");

bool AreBarsOf(const MinutiaSet& set, const Bar* bars, int32_t count) {
    const U16x8 limits = EveryLane(static_cast<uint16_t>(set.count - 1));
    U16x8 lanes = {};
    int32_t bar = 0;
    for (; bar + kBarsTested <= count; bar += kBarsTested) {
        const uint8_t* const bytes = reinterpret_cast<const uint8_t*>(bars + bar);
        for (int32_t k = 0; k < 3; ++k) {
            const U16x8 ends = LoadVector<U16x8>(bytes + k * kVectorBytes);
            lanes |= (ends | (limits - ends)) & kEndLanes[k];
        }
    }
    uint32_t tests = 0;
    for (; bar < count; ++bar) {
        tests |= TestEnds(bars[bar], set.count);
    }
    return IsZero(lanes) && (tests & kHighestBits) == 0;
}

// The lists lie one after the other; each bar is in four of them.
bool AreListsSound(const MatchContext& context) {
    int32_t entries = 0;
    for (int32_t list = 0; list < kSectorLists; ++list) {
        if (context.sectorStart[list] != entries || context.sectorLength[list] < 0) {
            return false;
        }
        entries += context.sectorLength[list];
    }
    return entries == kListsPerBar * context.referenceBarCount;
}

bool AreEntriesSound(const MatchContext& context) {
    const int32_t highest = context.referenceBarCount - 1;
    int16_t sign = 0;
    for (int32_t k = 0; k < kListsPerBar * context.referenceBarCount; ++k) {
        const int16_t entry = context.sectorEntries[k];
        sign = static_cast<int16_t>(sign | entry | (highest - entry));
    }
    return sign >= 0;
}

// True when every index of the reference side points inside the record, at real positions. Match
// and MakeFirstInfo leave it so; a buffer that something else has used since need not be.
bool IsReferenceSound(const MatchContext& context) {
    const int32_t count = context.reference.count;
    const int32_t bars = context.referenceBarCount;
    return count >= 0 && count <= kMaxMinutiae && bars >= 0 && bars <= kMaxReferenceBars &&
           (count > 0 || bars == 0) && AreCoordinates(context.reference) &&
           AreBarsOf(context.reference, context.referenceBars, bars) && AreListsSound(context) &&
           AreEntriesSound(context);
}

}  // namespace

int32_t Match(uint8_t* work, const uint8_t* reference, const uint8_t* probe) {
    const StageMemory memory(work, {ScratchOf<MatchWork>(0)});
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
    constexpr int64_t kProbeAt = offsetof(MatchContext, probe);
    constexpr int64_t kMoreOfReferenceAt = offsetof(MatchContext, sectorBars);
    constexpr int64_t kScratchAt = offsetof(MatchContext, correspondence);
    static_assert(offsetof(MatchWork, context) == 0, "the offsets count from the record's start");
    const StageMemory memory(work,
                             {Held(0, kProbeAt), Scratch(kProbeAt, kMoreOfReferenceAt - kProbeAt),
                              Held(kMoreOfReferenceAt, kScratchAt - kMoreOfReferenceAt),
                              Scratch(kScratchAt, sizeof(MatchWork) - kScratchAt)});
    MatchWork* match = WorkAt<MatchWork>(work);
    if (DecodeTemplate(probe, &match->context.probe, nullptr) != 0 ||
        !IsReferenceSound(match->context)) {
        return 0;
    }
    if (match->context.referenceBarCount == 0) {
        // Nobody has filled these. All lists are empty, and every place in them is clamped to that.
        MayBeUnwritten(&match->context.shorterPairs);
        MayBeUnwritten(&match->context.listMarks);
    }
    return Alignment(&match->context, &match->result, 0);
}
