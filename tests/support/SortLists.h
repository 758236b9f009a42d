// SPDX-License-Identifier: Apache-2.0
//
// Lists made for the sorts' own ways.
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace testsupport {

/// Fills keys[first, first + count) with the numbers `first`.. so that the partition finds the
/// median as its pivot at every level. (The partition of p b c ... a | u with all of a, b, c below
/// p and all of u above moves one element only and leaves a b c ... p | u.)
inline void FillWithMedianPivots(std::vector<int32_t>& keys, size_t first, size_t count) {
    if (count == 0) {
        return;
    }
    const size_t middle = first + count / 2;
    FillWithMedianPivots(keys, first, middle - first);
    FillWithMedianPivots(keys, middle + 1, first + count - middle - 1);
    keys[middle] = static_cast<int32_t>(middle);
    std::swap(keys[first], keys[middle]);
}

}  // namespace testsupport
