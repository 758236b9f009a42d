// SPDX-License-Identifier: Apache-2.0
//
// Naive model of a probe's bucket tables, see ModelTriIndex.h.
#include "tests/model/ModelTriIndex.h"

#include <cstddef>

namespace model {
namespace {

/// Whether walking at most two levels up or down from `level`, round the circle, meets `value`.
bool IsWithinTwo(int32_t level, int32_t value) {
    for (int32_t step = -2; step <= 2; ++step) {
        if ((level + step + kTriLevels) % kTriLevels == value) {
            return true;
        }
    }
    return false;
}

}  // namespace

std::array<size_t, 2> SlotsOfPlane(int32_t plane) {
    const std::array<std::array<size_t, 2>, kTriPlanes> slots = {{{0, 1}, {0, 2}, {1, 2}}};
    return slots.at(static_cast<size_t>(plane));
}

std::vector<int32_t> KeysInBucket(const std::vector<IndexKey>& keys, int32_t plane, int32_t first,
                                  int32_t second) {
    const std::array<size_t, 2> slots = SlotsOfPlane(plane);
    std::vector<int32_t> found;
    for (size_t key = 0; key < keys.size(); ++key) {
        if (IsWithinTwo(keys.at(key).a.at(slots.at(0)), first) &&
            IsWithinTwo(keys.at(key).a.at(slots.at(1)), second)) {
            found.push_back(static_cast<int32_t>(key));
        }
    }
    return found;
}

}  // namespace model
