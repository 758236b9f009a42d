// SPDX-License-Identifier: Apache-2.0
//
// Alignment: corresponding bars of the two sides vote for the rotation, then for the shift, that
// bring the probe onto the reference.

#include <string.h>

#include "extract/FPTable.h"
#include "extract/FixedMath.h"
#include "match/FPMatch.h"
#include "match/MinutiaBox.h"

namespace {

using namespace qorfp;

constexpr int32_t kLengthTolerance = 12;  // pixels
constexpr int32_t kAngleTolerance = 11;   // angle steps, not reached
constexpr int32_t kAngleGain = 30;        // of the likeness, for each angle step
constexpr int32_t kLengthGain = 44;       // for each pixel of length
constexpr int32_t kLikenessFloor = 165;
constexpr int32_t kBothTypesDiffer = 853;     // / 1024
constexpr int32_t kBothTypesAgree = 1229;     // / 1024
constexpr int32_t kDisorderTolerance = 16;    // not reached
constexpr int32_t kDensityTolerance = 32;     // not reached
constexpr int32_t kDensitySumTolerance = 40;  // not reached

constexpr int32_t kTurnedTolerance = 12;  // angle steps between turned bars, not reached
constexpr int32_t kShiftTolerance = 16;   // pixels between the shifts of a bar's two ends
constexpr int32_t kLongestShift = 255;

constexpr int32_t kRotationReach = 4;
constexpr int32_t kMoveReach = 5;
constexpr int32_t kLowestMoveBin = kMoveReach;
constexpr int32_t kHighestMoveBin = kShiftBins - 1 - kMoveReach;

// How alike two bars are by length, angles and types: more than kLikenessFloor, or 0.
int32_t LikenessOf(const MatchContext& context, const Bar& a, const Bar& b) {
    const int32_t d1 = AngleDistance240(a.angleFirst, b.angleFirst);
    const int32_t d2 = AngleDistance240(a.angleSecond, b.angleSecond);
    if (d1 >= kAngleTolerance || d2 >= kAngleTolerance) {
        return 0;
    }
    const int32_t likeness = kAngleGain * (20 - d1 - d2) +
                             kLengthGain * (kLengthTolerance - Absolute(a.length - b.length)) -
                             kLikenessFloor;
    if (likeness <= kLikenessFloor) {
        return 0;
    }
    const MinutiaSet& reference = context.reference;
    const MinutiaSet& probe = context.probe;
    const bool firstAgrees = reference.minutiae[a.first].type == probe.minutiae[b.first].type;
    const bool secondAgrees = reference.minutiae[a.second].type == probe.minutiae[b.second].type;
    if (firstAgrees != secondAgrees) {
        return likeness;
    }
    return ShiftRight((firstAgrees ? kBothTypesAgree : kBothTypesDiffer) * likeness + 512, 10);
}

// Weight of a correspondence: the likeness, reduced by the differences of the local attributes.
// 0 when the bars do not correspond.
int32_t WeightOf(const MatchContext& context, const Bar& a, const Bar& b) {
    const int32_t likeness = LikenessOf(context, a, b);
    if (likeness == 0) {
        return 0;
    }
    const uint32_t a1 = context.reference.minutiae[a.first].attributes;
    const uint32_t a2 = context.reference.minutiae[a.second].attributes;
    const uint32_t b1 = context.probe.minutiae[b.first].attributes;
    const uint32_t b2 = context.probe.minutiae[b.second].attributes;
    const int32_t e1 = Absolute(DisorderOf(a1) - DisorderOf(b1));
    const int32_t e2 = Absolute(DisorderOf(a2) - DisorderOf(b2));
    if (e1 >= kDisorderTolerance || e2 >= kDisorderTolerance) {
        return 0;
    }
    const int32_t h1 = Absolute(RidgeDensityOf(a1) - RidgeDensityOf(b1));
    const int32_t h2 = Absolute(RidgeDensityOf(a2) - RidgeDensityOf(b2));
    if (h1 >= kDensityTolerance || h2 >= kDensityTolerance || h1 + h2 >= kDensitySumTolerance) {
        return 0;
    }
    const int32_t disorderPart = ShiftRight(likeness * (32 - e1 - e2), 5);
    return (kDensitySumTolerance - h1 - h2) * disorderPart / kDensitySumTolerance;
}

// Compares a probe bar with the reference bars of its sectors and remembers the best partner of
// both sides; among equal weights the earlier partner stays.
void FindPartners(MatchContext* context, int32_t probeBar) {
    const Bar& b = context->probeBars[probeBar];
    const int32_t list = gbDiv20[b.angleFirst] * kSectors + gbDiv20[b.angleSecond];
    const int16_t* entries = context->sectorEntries + context->sectorStart[list];
    for (int32_t k = 0; k < context->sectorLength[list]; ++k) {
        const int32_t referenceBar = entries[k];
        const Bar& a = context->referenceBars[referenceBar];
        if (a.length > b.length + kLengthTolerance) {
            break;  // the lists are ordered by length
        }
        if (a.length < b.length - kLengthTolerance) {
            continue;
        }
        const int32_t weight = WeightOf(*context, a, b);
        if (weight > context->probeBestWeight[probeBar]) {
            context->probeBestWeight[probeBar] = weight;
            context->probeBestReference[probeBar] = static_cast<int16_t>(referenceBar);
        }
        if (weight > context->referenceBestWeight[referenceBar]) {
            context->referenceBestWeight[referenceBar] = weight;
            context->referenceBestProbe[referenceBar] = static_cast<int16_t>(probeBar);
        }
    }
}

// Of a reference bar and its reverse only the better matched one keeps its partner.
void SuppressReverses(MatchContext* context) {
    for (int32_t bar = 0; bar + 1 < context->referenceBarCount; bar += 2) {
        const bool reverseIsBetter =
            context->referenceBestWeight[bar + 1] > context->referenceBestWeight[bar];
        context->referenceBestProbe[reverseIsBetter ? bar : bar + 1] = kNoPartner;
    }
}

void FindCorrespondences(MatchContext* context) {
    for (int32_t bar = 0; bar < context->probeBarCount; ++bar) {
        context->probeBestWeight[bar] = 0;
        context->probeBestReference[bar] = kNoPartner;
    }
    for (int32_t bar = 0; bar < context->referenceBarCount; ++bar) {
        context->referenceBestWeight[bar] = 0;
        context->referenceBestProbe[bar] = kNoPartner;
    }
    for (int32_t bar = 0; bar < context->probeBarCount; ++bar) {
        FindPartners(context, bar);
    }
    SuppressReverses(context);
}

void VoteForAngle(MatchContext* context, const Minutia& reference, const Minutia& probe,
                  int32_t weight) {
    context->angleHistogram[WrapAngle240(reference.direction - probe.direction)] += weight;
}

// Keeps the bars that are each other's best partner; both ends of each vote for the rotation.
void PairMutualBest(MatchContext* context) {
    memset(context->angleHistogram, 0, sizeof(context->angleHistogram));
    context->pairCount = 0;
    for (int32_t bar = 0; bar < context->probeBarCount; ++bar) {
        const int16_t partner = context->probeBestReference[bar];
        if (partner == kNoPartner || context->referenceBestProbe[partner] != bar) {
            continue;
        }
        const int32_t weight = context->referenceBestWeight[partner];
        context->pairs[context->pairCount] = {partner, static_cast<int16_t>(bar), weight};
        ++context->pairCount;
        const Bar& a = context->referenceBars[partner];
        const Bar& b = context->probeBars[bar];
        VoteForAngle(context, context->reference.minutiae[a.first],
                     context->probe.minutiae[b.first], weight);
        VoteForAngle(context, context->reference.minutiae[a.second],
                     context->probe.minutiae[b.second], weight);
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
    if (AngleDistance240(a.direction, b.direction) >= kTurnedTolerance) {
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
    for (int32_t i = low; i <= high; ++i) {
        windowSum = WrapAdd32(windowSum, votes[i + kMoveReach]);
        histogram[i] = windowSum;
        if (windowSum > histogram[best]) {
            best = i;
        }
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
    PairMutualBest(context);

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
