// SPDX-License-Identifier: Apache-2.0
//
// Templates by hand whose match score follows from the rules with pencil and paper.
//
// A few minutiae, all within 200 pixels of each other, make one bar (a line between two minutiae)
// a pair. Where no two bars look alike, each bar finds itself again in a copy of the template, with
// a weight that depends only on how attributes and types of its two minutiae have changed in the
// copy; turn and shift are zero, nothing is lost, and the score is a plain sum.
#pragma once

#include <cstdint>

#include "tests/api/HandTemplate.h"

namespace apitest {

/// Least accepted score by security level 1..5; an update needs that of entry 6, and a search ends
/// at it.
constexpr int32_t kThresholds[7] = {0, 150, 165, 180, 195, 210, 225};
constexpr int32_t kHighestScore = 2047;

/// `count` minutiae of which every pair makes a bar and no two bars look alike; the first such set
/// in the order of the seeds. `seed` receives the seed that gave it.
Minutiae UnmistakableSet(int32_t count, uint64_t firstSeed = 1, uint64_t* seed = nullptr);

/// Score of such a set against a copy of it at the same place with other attributes or types; at
/// most 11 minutiae (so that all neighbours count).
int32_t ExpectedScore(const Minutiae& original, const Minutiae& copy);

/// A copy with other attributes whose expected score is exactly `wanted`, 60..500.
Minutiae CopyScoring(const Minutiae& original, int32_t wanted);

}  // namespace apitest
