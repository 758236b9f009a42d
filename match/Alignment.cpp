// SPDX-License-Identifier: Apache-2.0
//
// Alignment: corresponding bars of the two sides vote for the rotation, then for the shift, that
// bring the probe onto the reference.

#include <string.h>

#include "extract/FPTable.h"
#include "extract/FixedMath.h"
#include "match/Correspondence.h"
#include "match/FPMatch.h"
#include "match/MinutiaBox.h"

namespace {

using namespace qorfp;

constexpr int32_t kTurnedTolerance = 12;  // angle steps between turned bars, not reached
constexpr int32_t kShiftTolerance = 16;   // pixels between the shifts of a bar's two ends
constexpr int32_t kLongestShift = 255;

constexpr int32_t kRotationReach = 4;
constexpr int32_t kMoveReach = 5;
constexpr int32_t kLowestMoveBin = kMoveReach;
constexpr int32_t kHighestMoveBin = kShiftBins - 1 - kMoveReach;

void VoteForAngle(MatchContext* context, const Minutia& reference, const Minutia& probe,
                  int32_t weight) {
    context->angleHistogram[WrapAngle240(reference.direction - probe.direction)] += weight;
}

// Both ends of each pair vote for the rotation between them.
void VoteForAngles(MatchContext* context) {
    memset(context->angleHistogram, 0, sizeof(context->angleHistogram));
    for (int32_t k = 0; k < context->pairCount; ++k) {
        const BarPair& pair = context->pairs[k];
        const Bar& a = context->referenceBars[pair.reference];
        const Bar& b = context->probeBars[pair.probe];
        VoteForAngle(context, context->reference.minutiae[a.first],
                     context->probe.minutiae[b.first], pair.weight);
        VoteForAngle(context, context->reference.minutiae[a.second],
                     context->probe.minutiae[b.second], pair.weight);
    }
}

struct Shift {
    int32_t x;
    int32_t y;
};

Shift ShiftBetween(const Minutia& reference, const Minutia& probe) {
    return {reference.x - probe.x, reference.y - probe.y};
}

bool IsShort(Shift shift) {
    return Absolute(shift.x) <= kLongestShift && Absolute(shift.y) <= kLongestShift;
}

// The shift that a pair of bars stands for, when its two ends agree on one. The probe is turned.
bool HasCommonShift(const MatchContext& context, const BarPair& pair, Shift* shift) {
    const Bar& a = context.referenceBars[pair.reference];
    const Bar& b = context.probeBars[pair.probe];
    const int32_t way = Absolute(a.direction - b.direction);
    if (Min(way, kTurn - way) >= kTurnedTolerance) {
        return false;
    }
    const Shift first =
        ShiftBetween(context.reference.minutiae[a.first], context.probe.minutiae[b.first]);
    const Shift second =
        ShiftBetween(context.reference.minutiae[a.second], context.probe.minutiae[b.second]);
    if (Absolute(first.x - second.x) > kShiftTolerance ||
        Absolute(first.y - second.y) > kShiftTolerance || !IsShort(first) || !IsShort(second)) {
        return false;
    }
    *shift = {(first.x + second.x) / 2, (first.y + second.y) / 2};
    return true;
}

// Accepts the pairs whose ends agree on a shift; each votes for it.
Shift EstimateShift(MatchContext* context) {
    int32_t lowX = kShiftBins - 1;
    int32_t highX = 0;
    int32_t lowY = kShiftBins - 1;
    int32_t highY = 0;
    memset(context->xShiftHistogram, 0, kShiftBins * sizeof(context->xShiftHistogram[0]));
    memset(context->yShiftHistogram, 0, kShiftBins * sizeof(context->yShiftHistogram[0]));
    context->acceptedCount = 0;
    for (int32_t k = 0; k < context->pairCount; ++k) {
        Shift shift;
        if (!HasCommonShift(*context, context->pairs[k], &shift)) {
            continue;
        }
        const int32_t binX = shift.x + kShiftZeroBin;  // 1..511
        const int32_t binY = shift.y + kShiftZeroBin;
        context->xShiftHistogram[binX] += context->pairs[k].weight;
        context->yShiftHistogram[binY] += context->pairs[k].weight;
        lowX = Min(lowX, binX);
        highX = Max(highX, binX);
        lowY = Min(lowY, binY);
        highY = Max(highY, binY);
        context->accepted[context->acceptedCount] = static_cast<int16_t>(k);
        ++context->acceptedCount;
    }
    return {EstimateMoveVector(context->xShiftHistogram, lowX, highX),
            EstimateMoveVector(context->yShiftHistogram, lowY, highY)};
}

}  // namespace

void GetRotationAngle(MatchContext* context, int32_t* angle) {
    // The histogram with its ends repeated beyond them. Unsigned, because sums may wrap.
    uint32_t unsmoothed[kRotationReach + kTurn + kRotationReach];
    memcpy(unsmoothed + kRotationReach, context->angleHistogram, sizeof(context->angleHistogram));
    memcpy(unsmoothed, unsmoothed + kTurn, kRotationReach * sizeof(unsmoothed[0]));
    memcpy(unsmoothed + kRotationReach + kTurn, unsmoothed + kRotationReach,
           kRotationReach * sizeof(unsmoothed[0]));
    int32_t best = 0;
    for (int32_t i = 0; i < kTurn; ++i) {
        const uint32_t* const votes = unsmoothed + i;
        const uint32_t sum = votes[0] + votes[8] + 2 * (votes[1] + votes[7]) +
                             4 * (votes[2] + votes[6]) + 8 * (votes[3] + votes[5]) + 16 * votes[4];
        context->angleHistogram[i] = static_cast<int32_t>(sum);
        best = Max(best, static_cast<int32_t>(sum));
    }
    *angle = 0;
    while (best > 0 && context->angleHistogram[*angle] != best) {
        ++*angle;
    }
}

void RotateInfo(MatchContext* context, int32_t angle) {
    if (angle <= 0 || angle >= kTurn) {
        return;
    }
    for (int32_t bar = 0; bar < context->probeBarCount; ++bar) {
        uint8_t* direction = &context->probeBars[bar].direction;
        const int32_t turned = *direction + angle;
        *direction = static_cast<uint8_t>(turned >= kTurn ? turned - kTurn : turned);
        // Bar by bar: compilers would collect vectors of these bytes through memory, which takes longer.
        __asm__ volatile("");
    }
    const int32_t sine = gnSin[kTurn - angle];
    const int32_t cosine = gnCos[kTurn - angle];
    for (int32_t i = 0; i < context->probe.count; ++i) {
        Minutia* minutia = &context->probe.minutiae[i];
        // Within 1023 pixels of the centre, so the sums stay below 2^26.
        const int32_t x = minutia->x - context->probeCentreX;
        const int32_t y = minutia->y - context->probeCentreY;
        minutia->x = context->probeCentreX + RoundQ14(y * sine + x * cosine);
        minutia->y = context->probeCentreY + RoundQ14(y * cosine - x * sine);
        minutia->direction = static_cast<uint8_t>(WrapAngle240(minutia->direction + angle));
    }
}

int32_t EstimateMoveVector(int32_t* histogram, int32_t lowBin, int32_t highBin) {
    const int32_t low = Max(lowBin, kLowestMoveBin);
    const int32_t high = Min(highBin, kHighestMoveBin);
    if (high < low) {
        return 0;
    }
    int32_t* votes = histogram + kShiftBins;
    memcpy(votes + low - kMoveReach, histogram + low - kMoveReach,
           static_cast<size_t>(high - low + 2 * kMoveReach + 1) * sizeof(histogram[0]));
    int32_t windowSum = 0;
    for (int32_t i = low - kMoveReach; i < low + kMoveReach; ++i) {
        windowSum = WrapAdd32(windowSum, votes[i]);
    }
    int32_t best = low;
    int32_t bestSum = INT32_MIN;
    for (int32_t i = low; i <= high; ++i) {
        windowSum = WrapAdd32(windowSum, votes[i + kMoveReach]);
        histogram[i] = windowSum;
        best = windowSum > bestSum ? i : best;
        bestSum = Max(windowSum, bestSum);
        windowSum = WrapSub32(windowSum, votes[i - kMoveReach]);
    }
    return best - kShiftZeroBin;
}

int32_t Alignment(MatchContext* context, MatchResult* result, int32_t wantPairs) {
    MinutiaSet* probe = &context->probe;
    if (probe->count < 1 || probe->count > kMaxMinutiae) {
        context->probeCentreX = 0;
        context->probeCentreY = 0;
        return 0;
    }
    const Centre centre = CentreOf(*probe);
    context->probeCentreX = centre.x;
    context->probeCentreY = centre.y;
    context->probeBarCount = MakeBar(context, probe, context->probeBars, 0);
    if (context->probeBarCount == 0) {
        return 0;
    }
    FindCorrespondences(context);
    VoteForAngles(context);

    int32_t angle = 0;
    GetRotationAngle(context, &angle);
    result->angle = static_cast<int16_t>(angle);
    RotateInfo(context, angle);

    const Shift shift = EstimateShift(context);
    context->pairCount = context->acceptedCount;
    result->xShift = static_cast<int16_t>(shift.x);
    result->yShift = static_cast<int16_t>(shift.y);
    for (int32_t i = 0; i < probe->count; ++i) {
        probe->minutiae[i].x += shift.x;
        probe->minutiae[i].y += shift.y;
    }
    const int32_t score = GetSimScore(context, result, wantPairs);
    result->score = static_cast<int16_t>(score);
    return score;
}
