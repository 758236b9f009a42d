// SPDX-License-Identifier: Apache-2.0
//
// The candidate scan: endings and bifurcations of the skeleton, found pixel by pixel.

#include "extract/FPTable.h"
#include "extract/Minutiae.h"
#include "extract/RidgeTrace.h"

namespace {

using namespace qorfp;

constexpr int32_t kShortestBranch = 4;    // steps; a shorter one gives no direction
constexpr int32_t kSpurRidgeLength = 10;  // steps of the ridge that is left when spurs are erased

// All nine blocks around a block are foreground.
bool IsReliable(const Skeleton& skeleton, int32_t bx, int32_t by) {
    uint8_t flags = 0;
    for (int32_t y = by - 1; y <= by + 1; ++y) {
        for (int32_t x = bx - 1; x <= bx + 1; ++x) {
            flags |= skeleton.directionMap[y * skeleton.blockColumns + x];
        }
    }
    return (flags & kBackgroundFlag) == 0;
}

// Direction of a traced ridge, or kDeleted when it is too short to have one.
uint8_t RidgeDirection(Position seed, const RidgeTrace& trace) {
    return trace.steps < kShortestBranch ? kDeleted : DirectionBetween(seed, trace.end);
}

uint8_t EndingDirection(const Skeleton& skeleton, Position seed) {
    RidgeTrace trace;
    TraceRidge(skeleton, seed, kScanSteps, &trace);
    Unmark(skeleton, trace);
    return RidgeDirection(seed, trace);
}

// A free branch: one that ran into another ridge is none, however short it is.
bool IsShort(const RidgeTrace& trace) {
    return trace.steps < kShortestBranch && !trace.hitRidge;
}

// Two short free branches and one long one are an ending with a frayed tip. Gives the long branch,
// or -1.
int32_t FindSpurRidge(const RidgeTrace traces[kBranches]) {
    int32_t shortBranches = 0;
    int32_t ridge = -1;
    for (int32_t branch = 0; branch < kBranches; ++branch) {
        if (IsShort(traces[branch])) {
            ++shortBranches;
        } else {
            ridge = branch;
        }
    }
    const bool isSpur = shortBranches == kBranches - 1 && traces[ridge].steps >= kSpurRidgeLength;
    return isSpur ? ridge : -1;
}

// The candidate at a pixel with three branches; direction kDeleted for none. The two short branches
// of a spur stay marked: they are erased from the skeleton.
Candidate BifurcationAt(const Skeleton& skeleton, Position seed) {
    Candidate candidate = {static_cast<int16_t>(seed.x), static_cast<int16_t>(seed.y), kBifurcation,
                           kDeleted};
    Position firstPixels[kBranches];
    RidgeTrace traces[kBranches];
    if (!TraceBranches(skeleton, seed, kScanSteps, firstPixels, traces)) {
        return candidate;
    }
    const int32_t spurRidge = FindSpurRidge(traces);
    bool hasAllDirections = true;
    Unmark(skeleton, seed);
    for (int32_t branch = 0; branch < kBranches; ++branch) {
        if (spurRidge < 0 || branch == spurRidge) {
            Unmark(skeleton, firstPixels[branch]);
            Unmark(skeleton, traces[branch]);
        }
        hasAllDirections = hasAllDirections && traces[branch].steps >= kShortestBranch;
    }
    if (spurRidge >= 0) {
        candidate.type = kEnding;
        candidate.direction = RidgeDirection(seed, traces[spurRidge]);
    } else if (hasAllDirections) {
        candidate.direction =
            RidgeDirection(seed, traces[0]);  // provisional: refinement replaces it
    }
    return candidate;
}

Candidate CandidateAt(const Skeleton& skeleton, Position seed) {
    const int32_t branches = gnBC[NeighbourCode(skeleton, seed)];
    if (branches == kBranches) {
        return BifurcationAt(skeleton, seed);
    }
    const uint8_t direction = branches == 1 ? EndingDirection(skeleton, seed) : kDeleted;
    return {static_cast<int16_t>(seed.x), static_cast<int16_t>(seed.y), kEnding, direction};
}

// Appends the candidates of a block; its pixels lie one to the right and below the block grid.
void ScanBlock(const Skeleton& skeleton, int32_t bx, int32_t by, CandidateList* list) {
    const int32_t left = kBlockSide * bx + 1;
    const int32_t top = kBlockSide * by + 1;
    for (int32_t y = top; y < top + kBlockSide; ++y) {
        for (int32_t x = left; x < left + kBlockSide; ++x) {
            if (skeleton.pixels[y * skeleton.width + x] != 0) {
                continue;
            }
            const Candidate candidate = CandidateAt(skeleton, {x, y});
            if (candidate.direction == kDeleted) {
                continue;
            }
            list->items[list->count] = candidate;
            ++list->count;
            if (list->count == kMaxCandidates) {
                return;
            }
        }
    }
}

}  // namespace

void qorfp::ScanCandidates(const Skeleton& skeleton, CandidateList* list) {
    *list = {};
    for (int32_t by = 1; by < skeleton.blockRows - 1; ++by) {
        for (int32_t bx = 1; bx < skeleton.blockColumns - 1; ++bx) {
            if (IsReliable(skeleton, bx, by)) {
                ScanBlock(skeleton, bx, by, list);
            }
            if (list->count == kMaxCandidates) {
                return;
            }
        }
    }
}
