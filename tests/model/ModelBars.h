// SPDX-License-Identifier: Apache-2.0
//
// Naive model of the minutia neighbourhood descriptors: bars (ordered pairs of neighbouring
// minutiae) of either side of a comparison, and the reference side's sector lists. Minutiae and
// bars are named by their numbers.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "tests/model/ModelTypes.h"

namespace model {

constexpr int32_t kBarSectors = 12;
constexpr int32_t kMaxProbeBars = 200;
constexpr int32_t kMaxReferencePairs = 200;

struct Bar {
    int32_t first = 0;  // minutia numbers
    int32_t second = 0;
    int32_t length = 0;       // pixels, 15..200
    int32_t direction = 0;    // 0..239, from first to second
    int32_t angleFirst = 0;   // 0..239, direction against the first minutia's
    int32_t angleSecond = 0;  // 0..239, reverse direction against the second minutia's
};

/// Midpoint of the bounding box of a set, rounded towards zero; (0, 0) of an empty one.
struct Centre {
    int32_t x = 0;
    int32_t y = 0;
};

/// The reference side of a comparison.
struct Reference {
    MinutiaSet set;
    Centre centre;
    std::vector<Bar> bars;  // bar 2p and its reverse 2p + 1, by increasing length
    /// List 12 s + t: numbers of the bars whose angles lie near the sectors s and t.
    std::array<std::vector<int32_t>, kBarSectors * kBarSectors> sectors;
    bool prepared = false;  // the set yielded bars
};

/// The remainder 0..239 of any value.
int32_t Modulo240(int64_t value);

/// Angle between two directions, 0..120.
int32_t AngleBetween(int64_t a, int64_t b);

Centre CentreOf(const MinutiaSet& set);

/// One bar a pair in order of generation, at most 200.
std::vector<Bar> MakeProbeBars(const MinutiaSet& set);

/// Each pair's bar followed by its reverse, at most 200 pairs, by increasing length; equal
/// lengths in reverse order of generation.
std::vector<Bar> MakeReferenceBars(const MinutiaSet& set);

/// Everything of the reference side.
Reference PrepareReference(const MinutiaSet& set);

}  // namespace model
