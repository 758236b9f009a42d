// SPDX-License-Identifier: Apache-2.0
//
// Walking along the ridges of the skeleton.
#pragma once

#include <stdint.h>

#include "extract/Minutiae.h"
#include "extract/PixelNeighbours.h"

namespace qorfp {

/// Most steps of the traces that find a candidate, and of those that settle its direction.
constexpr int32_t kScanSteps = 10;
constexpr int32_t kRefineSteps = 20;

/// Branches of a bifurcation.
constexpr int32_t kBranches = 3;

/// What a walk along a ridge found.
struct RidgeTrace {
    int32_t steps;                 ///< pixels passed
    Position end;                  ///< where the walk stands after its last move
    bool hitRidge;                 ///< it stopped at a pixel with more than one way on
    int32_t passed[kRefineSteps];  ///< the pixels it has marked, `steps` of them, by their offsets
};

/// The neighbour code of a pixel inside the frame.
int32_t NeighbourCode(const Skeleton& skeleton, Position at);

/// Marks a pixel as visited, so that it reads as background.
void MarkVisited(const Skeleton& skeleton, Position at);

/// Takes the mark of a pixel back.
void Unmark(const Skeleton& skeleton, Position at);

/// Takes the marks of a trace back.
void Unmark(const Skeleton& skeleton, const RidgeTrace& trace);

/// Follows the ridge from `start`, marking each pixel passed, for at most `maxSteps` steps: until
/// it ends, branches or reaches the frame.
void TraceRidge(const Skeleton& skeleton, Position start, int32_t maxSteps, RidgeTrace* trace);

/// The first pixels of the branches that leave a seed, at most three, in the order of a walk round
/// it from the upper left, down the left side first.
/// @return how many branches leave it, 0..4
int32_t FindBranches(const Skeleton& skeleton, Position seed, Position firstPixels[kBranches]);

/// Traces the three branches of a bifurcation. The seed and the first pixels of all branches are
/// marked before the first is traced, so that neighbouring branches do not stop each other.
/// @return false, with nothing marked, when fewer than three branches leave the seed
bool TraceBranches(const Skeleton& skeleton, Position seed, int32_t maxSteps,
                   Position firstPixels[kBranches], RidgeTrace traces[kBranches]);

/// Direction from `from` to `to`; at most 127 pixels apart in either axis.
uint8_t DirectionBetween(Position from, Position to);

}  // namespace qorfp
