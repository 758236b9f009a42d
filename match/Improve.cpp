// SPDX-License-Identifier: Apache-2.0
//
// Improvement: an enrolled template updated from a fresh one that matches it without doubt. What
// both show moves towards the new observation and gains confidence, what the new capture should
// have shown and did not loses it, and what it shows outside the enrolled area is added.

#include <string.h>

#include "engine/StageMemory.h"
#include "engine/Template.h"
#include "extract/FPTable.h"
#include "extract/FixedMath.h"
#include "match/FPMatch.h"
#include "match/MinutiaMean.h"
#include "match/Octagon.h"
#include "match/Thresholds.h"

namespace {

using namespace qorfp;

constexpr int32_t kHighestConfidence = 15;
constexpr int32_t kConfidenceGain = 3;
constexpr int32_t kInnerLoss = 2;
constexpr int32_t kOuterLoss = 1;
constexpr int32_t kLowestKept = 2;  // confidence
constexpr uint8_t kAddedConfidence = 4;
constexpr int32_t kAddedNearSquared = 122;  // not reached
constexpr int32_t kStraightMargin = 5;      // pixels around the enrolled area
constexpr int32_t kDiagonalMargin = 3;
constexpr int32_t kFewMinutiae = 9;  // a result of no more is filled up
constexpr int32_t kFilledUp = 12;

// Undoes the alignment: brings the sample, the alignment's reference, into the frame of the
// enrolled set, its probe.
void MoveIntoEnrolledFrame(const MatchContext& context, const MatchResult& result,
                           MinutiaSet* sample) {
    const int32_t sine = gnSin[result.angle];
    const int32_t cosine = gnCos[result.angle];
    const int32_t centreX = context.probeCentreX;
    const int32_t centreY = context.probeCentreY;
    for (int32_t i = 0; i < sample->count; ++i) {
        Minutia* minutia = &sample->minutiae[i];
        const int32_t x = minutia->x - result.xShift - centreX;
        const int32_t y = minutia->y - result.yShift - centreY;
        minutia->x = centreX + RoundQ14(y * sine + x * cosine);
        minutia->y = centreY + RoundQ14(y * cosine - x * sine);
        minutia->direction = static_cast<uint8_t>(WrapAngle240(minutia->direction - result.angle));
    }
}

Octagon OctagonOf(const MinutiaSet& set) {
    Octagon octagon = OctagonAt(set.minutiae[0].x, set.minutiae[0].y);
    for (int32_t i = 1; i < set.count; ++i) {
        Include(&octagon, set.minutiae[i].x, set.minutiae[i].y);
    }
    return octagon;
}

// Updates the enrolled minutia of every matched pair; gives the area in which both captures see.
// There is at least one pair.
Octagon UpdateMatched(ImproveWork* work) {
    const MatchResult& pairs = work->match.result;
    const MinutiaSet& sample = work->match.context.reference;
    const Minutia& first = work->enrolled.minutiae[pairs.probeIndices[0]];
    Octagon overlap = OctagonAt(first.x, first.y);
    for (int32_t k = 0; k < pairs.pairCount; ++k) {
        const int32_t p = pairs.referenceIndices[k];
        const int32_t e = pairs.probeIndices[k];
        Minutia* enrolled = &work->enrolled.minutiae[e];
        *enrolled = MeanThreeToOne(*enrolled, sample.minutiae[p]);
        work->enrolledConfidence[e] = static_cast<uint8_t>(
            Min(work->enrolledConfidence[e] + kConfidenceGain, kHighestConfidence));
        work->isSampleMatched[p] = 1;
        work->isEnrolledMatched[e] = 1;
        Include(&overlap, enrolled->x, enrolled->y);
    }
    return overlap;
}

// What the sample should have shown and did not.
void DoubtUnmatched(const Octagon& overlap, ImproveWork* work) {
    const Octagon inner = InnerOf(overlap);
    for (int32_t i = 0; i < work->enrolled.count; ++i) {
        const Minutia& minutia = work->enrolled.minutiae[i];
        if (work->isEnrolledMatched[i] != 0 || !Contains(overlap, minutia.x, minutia.y)) {
            continue;
        }
        const int32_t loss = Contains(inner, minutia.x, minutia.y) ? kInnerLoss : kOuterLoss;
        work->enrolledConfidence[i] =
            static_cast<uint8_t>(Max(work->enrolledConfidence[i] - loss, 0));
    }
}

void AddMinutia(ImproveWork* work, const Minutia& minutia, uint8_t confidence) {
    work->result.minutiae[work->result.count] = minutia;
    work->resultConfidence[work->result.count] = confidence;
    ++work->result.count;
}

void KeepConfident(ImproveWork* work) {
    for (int32_t i = 0; i < work->enrolled.count; ++i) {
        if (work->enrolledConfidence[i] >= kLowestKept) {
            AddMinutia(work, work->enrolled.minutiae[i], work->enrolledConfidence[i]);
        }
    }
}

bool IsNearKept(const ImproveWork& work, int32_t kept, const Minutia& minutia) {
    for (int32_t i = 0; i < kept; ++i) {
        const Minutia& other = work.result.minutiae[i];
        if (Square(minutia.x - other.x) + Square(minutia.y - other.y) < kAddedNearSquared) {
            return true;
        }
    }
    return false;
}

// Adds what only the sample shows, outside the area that was enrolled before.
void AddOutside(const Octagon& enrolledArea, ImproveWork* work) {
    const MinutiaSet& sample = work->match.context.reference;
    const Octagon area = Widened(enrolledArea, kStraightMargin, kDiagonalMargin);
    const int32_t kept = work->result.count;
    for (int32_t i = 0; i < sample.count && work->result.count < kMaxMinutiae; ++i) {
        const Minutia& minutia = sample.minutiae[i];
        if (work->isSampleMatched[i] == 0 && !Contains(area, minutia.x, minutia.y) &&
            !IsNearKept(*work, kept, minutia)) {
            AddMinutia(work, minutia, kAddedConfidence);
        }
    }
}

// Takes dropped minutiae back into a poor result, the less doubtful first.
void RestoreDropped(ImproveWork* work) {
    for (int32_t confidence = kLowestKept - 1; confidence >= 0; --confidence) {
        for (int32_t i = 0; i < work->enrolled.count && work->result.count < kFilledUp; ++i) {
            if (work->enrolledConfidence[i] == confidence) {
                AddMinutia(work, work->enrolled.minutiae[i], work->enrolledConfidence[i]);
            }
        }
    }
}

void Update(ImproveWork* work) {
    MoveIntoEnrolledFrame(work->match.context, work->match.result, &work->match.context.reference);
    const Octagon enrolledArea = OctagonOf(work->enrolled);
    const Octagon overlap = UpdateMatched(work);
    DoubtUnmatched(overlap, work);
    KeepConfident(work);
    AddOutside(enrolledArea, work);
    if (work->result.count <= kFewMinutiae) {
        RestoreDropped(work);
    }
}

}  // namespace

int32_t MatchWithImprove(uint8_t* work, const uint8_t* sample, uint8_t* enrolled,
                         int32_t* updated) {
    const StageMemory memory(work, {ScratchOf<ImproveWork>(0)});
    ImproveWork* improve = WorkAt<ImproveWork>(work);
    MatchContext* context = &improve->match.context;
    *updated = 0;
    memset(improve, 0, sizeof(*improve));
    if (DecodeTemplate(sample, &context->reference, nullptr) != 0 ||
        DecodeTemplate(enrolled, &improve->enrolled, improve->enrolledConfidence) != 0 ||
        MakeFirstInfo(context) == 0) {
        return 0;
    }
    context->probe = improve->enrolled;  // the enrolled minutiae themselves stay where they are
    const int32_t score = Alignment(context, &improve->match.result, 1);
    if (score < gnMatchThr[kCertainThreshold]) {
        return score;
    }
    Update(improve);
    if (EncodeTemplate(&improve->result, improve->resultConfidence, enrolled) == 0) {
        *updated = 1;
    }
    return score;
}
