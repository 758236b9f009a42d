// SPDX-License-Identifier: Apache-2.0
//
// Naive model of the two sorts: quicksort over an explicit list of at most 20 ranges, the first
// element as pivot, moved through a hole. It is not stable, so the order of values with equal keys
// is part of what it models.
#pragma once

#include <cstdint>
#include <vector>

namespace model {

/// Sorts ascending; returns 1, or 0 when the range list overflowed (partly ordered then).
int32_t QuickSort(std::vector<int32_t>& keys);

/// The same, moving values[k] with keys[k].
int32_t QuickSortEx(std::vector<int32_t>& keys, std::vector<int32_t>& values);

}  // namespace model
