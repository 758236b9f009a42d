// SPDX-License-Identifier: Apache-2.0
//
// Filters by the distances between candidates: crowds and close pairs come from noise.

#include "extract/FixedMath.h"
#include "extract/Minutiae.h"

namespace {

using namespace qorfp;

constexpr int32_t kCrowdDistSquared = 400;  // 20 pixels
constexpr int32_t kMostNeighbours = 4;

constexpr int32_t kCloseDistSquared = 36;     // candidates at all this close are compared
constexpr int32_t kSamePlaceDistSquared = 8;  // bifurcations at most this far are one
constexpr int32_t kOpposedDistSquared = 20;   // opposed candidates closer than this
constexpr int32_t kOpposedDeviation = 19;     // steps off exactly opposed directions

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
    for (int32_t i = 0; i < list->count; ++i) {
        int32_t neighbours = -1;  // not itself
        for (int32_t j = 0; j < list->count; ++j) {
            // Candidates deleted in this pass still count.
            neighbours += DistSquared(list->items[i], list->items[j]) < kCrowdDistSquared ? 1 : 0;
        }
        if (neighbours > kMostNeighbours) {
            list->items[i].direction = kDeleted;
        }
    }
}

void qorfp::DeleteClosePairs(CandidateList* list) {
    for (int32_t i = 0; i < list->count; ++i) {
        Candidate* first = &list->items[i];
        for (int32_t j = 0; j < list->count && first->direction != kDeleted; ++j) {
            Candidate* second = &list->items[j];
            if (j != i && second->direction != kDeleted && AreTooClose(*first, *second)) {
                first->direction = kDeleted;
                second->direction = kDeleted;
            }
        }
    }
}
