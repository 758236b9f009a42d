// SPDX-License-Identifier: Apache-2.0
//
// Filters by the distances between candidates: crowds and close pairs come from noise.

#include "extract/FixedMath.h"
#include "extract/Minutiae.h"
#include "extract/Vector.h"

namespace {

using namespace qorfp;

constexpr int32_t kCrowdDistSquared = 400;  // 20 pixels
constexpr int32_t kMostNeighbours = 4;

constexpr int32_t kCloseDistSquared = 36;     // candidates at all this close are compared
constexpr int32_t kSamePlaceDistSquared = 8;  // bifurcations at most this far are one
constexpr int32_t kOpposedDistSquared = 20;   // opposed candidates closer than this
constexpr int32_t kOpposedDeviation = 19;     // steps off exactly opposed directions

struct Place {
    int16_t x;
    int16_t y;
};

int32_t DistSquared(const Candidate& a, const Candidate& b) {
    return Square(a.x - b.x) + Square(a.y - b.y);
}

// How far two directions are from opposing each other, 0..120.
int32_t DeviationFromOpposed(const Candidate& a, const Candidate& b) {
    return Absolute(WrapAngle240(a.direction - b.direction) - kHalfTurn);
}

bool AreTooClose(const Candidate& a, const Candidate& b) {
    const int32_t distSquared = DistSquared(a, b);
    if (distSquared >= kCloseDistSquared) {
        return false;
    }
    const bool areOpposed = DeviationFromOpposed(a, b) < kOpposedDeviation;
    if (a.type == kBifurcation && b.type == kBifurcation &&
        (distSquared <= kSamePlaceDistSquared || areOpposed)) {
        return true;
    }
    return distSquared < kOpposedDistSquared && areOpposed;
}

}  // namespace

void qorfp::CompactCandidates(CandidateList* list) {
    int32_t kept = 0;
    for (int32_t i = 0; i < list->count; ++i) {
        if (list->items[i].direction != kDeleted) {
            list->items[kept] = list->items[i];
            ++kept;
        }
    }
    list->count = kept;
}

void qorfp::DeleteCrowded(CandidateList* list) {
    constexpr int32_t kGroup = 4;  // places in a vector
    static_assert(kMaxCandidates % kGroup == 0, "whole vectors");
    constexpr Place kFarAway = {-16384, -16384};
    Place places[kMaxCandidates];
    int32_t end = 0;  // of the last group
    for (; end < list->count || end % kGroup != 0; ++end) {
        places[end] = end < list->count ? Place{list->items[end].x, list->items[end].y} : kFarAway;
    }
    for (int32_t i = 0; i < list->count; ++i) {
        const Place here[kGroup] = {places[i], places[i], places[i], places[i]};
        const I16x8 centre = LoadVector<I16x8>(here);
        I32x4 counts = {};  // negative
        for (int32_t j = 0; j < end; j += kGroup) {
            // Candidates deleted in this pass still count.
            const I16x8 distances = LoadVector<I16x8>(places + j) - centre;
            counts += MultiplyPairs(distances, distances) < kCrowdDistSquared;
        }
        const int32_t neighbours = -(counts[0] + counts[1] + counts[2] + counts[3]) - 1;
        if (neighbours > kMostNeighbours) {  // without itself
            list->items[i].direction = kDeleted;
        }
    }
}

void qorfp::DeleteClosePairs(CandidateList* list) {
    for (int32_t i = 0; i < list->count; ++i) {
        Candidate* first = &list->items[i];
        // One before it is deleted already if it is too close to this one, which is not.
        for (int32_t j = i + 1; j < list->count && first->direction != kDeleted; ++j) {
            Candidate* second = &list->items[j];
            if (second->direction != kDeleted && AreTooClose(*first, *second)) {
                first->direction = kDeleted;
                second->direction = kDeleted;
            }
        }
    }
}
