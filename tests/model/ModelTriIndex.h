// SPDX-License-Identifier: Apache-2.0
//
// Naive model of a probe's bucket tables: which of its keys stand in which bucket. A bucket is a
// pair of relative directions (0..29 each) of two neighbour slots; nothing is built, each question
// is answered by looking at every key.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "tests/model/ModelIndexKeys.h"

namespace model {

constexpr int32_t kTriPlanes = 3;
constexpr int32_t kTriLevels = 30;
constexpr int32_t kTriBuckets = kTriLevels * kTriLevels;

/// The two key slots of a plane: 0 and 1, 0 and 2, 1 and 2.
std::array<size_t, 2> SlotsOfPlane(int32_t plane);

/// Numbers of the keys, ascending, that lie within two levels of (first, second) in the plane's
/// slots.
std::vector<int32_t> KeysInBucket(const std::vector<IndexKey>& keys, int32_t plane, int32_t first,
                                  int32_t second);

}  // namespace model
