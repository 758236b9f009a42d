// SPDX-License-Identifier: Apache-2.0
//
// Border and background filter, and the final direction of every candidate that passes it.

#include "extract/FixedMath.h"
#include "extract/Minutiae.h"
#include "extract/RidgeTrace.h"

namespace {

using namespace qorfp;

constexpr int32_t kBorder = 8;                // pixels
constexpr int32_t kUnreliableShare = 5;       // at most one block in five
constexpr int32_t kShortestEndingRidge = 11;  // steps
constexpr int32_t kShortestForkBranch = 10;   // steps
constexpr int32_t kNarrowestFork = 60;        // widest angle between branches, 1.5 degrees a step

bool IsNearBorder(const Skeleton& skeleton, const Candidate& candidate) {
    return candidate.y < kBorder || candidate.y > skeleton.height - kBorder - 1 ||
           candidate.x < kBorder || candidate.x > skeleton.width - kBorder - 1;
}

bool IsNearBackground(const Skeleton& skeleton, const Candidate& candidate) {
    const int32_t top = ShiftRight(candidate.y - 8, 2);
    const int32_t left = ShiftRight(candidate.x - 8, 2);
    const int32_t bottom = Min(ShiftRight(candidate.y + 6, 2), skeleton.blockRows - 1);
    const int32_t right = Min(ShiftRight(candidate.x + 6, 2), skeleton.blockColumns - 1);
    int32_t blocks = 0;
    int32_t unreliable = 0;
    for (int32_t by = top; by <= bottom; ++by) {
        for (int32_t bx = left; bx <= right; ++bx) {
            const uint8_t direction = skeleton.directionMap[by * skeleton.blockColumns + bx];
            ++blocks;
            unreliable += (direction & kBackgroundFlag) != 0 ? 1 : 0;
        }
    }
    return blocks < kUnreliableShare * unreliable;
}

uint8_t RefineEnding(const Skeleton& skeleton, Position seed) {
    RidgeTrace trace;
    TraceRidge(skeleton, seed, kRefineSteps, &trace);
    Unmark(skeleton, trace);
    return trace.steps < kShortestEndingRidge ? kDeleted : DirectionBetween(seed, trace.end);
}

// The direction halfway between two, on the shorter arc.
uint8_t Midpoint(int32_t p, int32_t q) {
    const int32_t difference = Absolute(p - q);
    if (difference <= kHalfTurn) {
        return static_cast<uint8_t>((p + q) / 2);
    }
    const int32_t middle = Max(p, q) + (kTurn - difference) / 2;
    return static_cast<uint8_t>(middle >= kTurn ? middle - kTurn : middle);
}

// The fork is the pair of branches that lie closest; a bifurcation points into it.
uint8_t ForkDirection(const uint8_t directions[kBranches]) {
    constexpr int32_t kPairs[kBranches][2] = {{0, 1}, {0, 2}, {1, 2}};
    int32_t narrowest = kHalfTurn + 1;
    int32_t widest = 0;
    uint8_t middle = kDeleted;
    for (const auto& pair : kPairs) {
        const int32_t p = directions[pair[0]];
        const int32_t q = directions[pair[1]];
        const int32_t difference = AngleDistance240(p, q);
        widest = Max(widest, difference);
        if (difference < narrowest) {
            narrowest = difference;
            middle = Midpoint(p, q);
        }
    }
    return narrowest == 0 || widest < kNarrowestFork ? kDeleted : middle;
}

uint8_t RefineBifurcation(const Skeleton& skeleton, Position seed) {
    Position firstPixels[kBranches];
    RidgeTrace traces[kBranches];
    if (!TraceBranches(skeleton, seed, kRefineSteps, firstPixels, traces)) {
        return kDeleted;  // a repair nearby has joined its branches
    }
    uint8_t directions[kBranches];
    bool hasAllDirections = true;
    Unmark(skeleton, seed);
    for (int32_t branch = 0; branch < kBranches; ++branch) {
        Unmark(skeleton, firstPixels[branch]);
        Unmark(skeleton, traces[branch]);
        directions[branch] = DirectionBetween(seed, traces[branch].end);
        hasAllDirections = hasAllDirections && traces[branch].steps >= kShortestForkBranch;
    }
    return hasAllDirections ? ForkDirection(directions) : kDeleted;
}

}  // namespace

void qorfp::RefineCandidates(const Skeleton& skeleton, CandidateList* list) {
    for (int32_t i = 0; i < list->count; ++i) {
        Candidate* candidate = &list->items[i];
        if (candidate->direction == kDeleted) {
            continue;
        }
        if (IsNearBorder(skeleton, *candidate) || IsNearBackground(skeleton, *candidate)) {
            candidate->direction = kDeleted;
            continue;
        }
        const Position seed = {candidate->x, candidate->y};
        candidate->direction = candidate->type == kEnding ? RefineEnding(skeleton, seed)
                                                          : RefineBifurcation(skeleton, seed);
    }
}
