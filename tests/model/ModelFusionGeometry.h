// SPDX-License-Identifier: Apache-2.0
//
// Naive model of the geometry behind template fusion: reconciling the two match lists of a pair
// of templates, the convex hull of minutia positions, and the test whether a position lies
// outside it.
#pragma once

#include <cstdint>
#include <utility>
#include <vector>

namespace model {

/// Matched minutiae: number in the list's first template, number in its second.
using IndexPairs = std::vector<std::pair<int32_t, int32_t>>;

struct Point {
    int32_t x = 0;
    int32_t y = 0;
};

/// `reverse` holds (B, A) pairs, `forward` (A, B) pairs; afterwards both hold the same pairs.
/// Returns the conflicting (B, A) pairs in the order in which they were met.
IndexPairs ReconcilePairs(IndexPairs& reverse, IndexPairs& forward);

/// The outline from the leftmost point on (the topmost of several); points on its edges belong to
/// it. Fewer than three points are returned as they are.
std::vector<Point> ConvexHull(const std::vector<Point>& points);

/// Strictly outside, or the polygon has fewer than three corners.
bool IsOutsidePolygon(const std::vector<Point>& polygon, int32_t x, int32_t y);

}  // namespace model
