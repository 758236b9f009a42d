// SPDX-License-Identifier: Apache-2.0
//
// The neighbours of each minutia of a set: those near enough, but not too near, to make a bar with
// it, and of these the nearest ten.
#pragma once

#include <stdint.h>

#include "engine/Minutia.h"

namespace qorfp {

constexpr int32_t kMinBarLength = 15;  ///< pixels
constexpr int32_t kMaxBarLength = 200;
constexpr int32_t kMostNeighbours = 10;
constexpr int32_t kMinutiaLanes = 8;  ///< minutiae whose neighbours are sought at once

/// Neighbours of a minutia: bit j stands for minutia j.
using NeighbourBits = uint64_t;
static_assert(kMaxMinutiae <= 64, "a bit for each minutia");

/// Scratch of FindNeighbours and its result.
struct NeighbourWork {
    NeighbourBits neighbours[kMaxMinutiae];  ///< out, of each minutia of the set

    int16_t positions[2 * (kMaxMinutiae + kMinutiaLanes)];  ///< x and y of each, then zeros
    int16_t keys[kMaxMinutiae * kMinutiaLanes];  ///< distance keys of all minutiae to eight of them
};

/// Finds the neighbours of every minutia of a set of at most 60, whose positions differ by less
/// than 16,384 pixels. Minutia j may be a neighbour of i without i being one of j.
void FindNeighbours(const MinutiaSet& set, NeighbourWork* work);

}  // namespace qorfp
