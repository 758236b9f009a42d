// SPDX-License-Identifier: Apache-2.0
//
// Column sums and the running row sum of the clipped box mean.
#pragma once

#include <stdint.h>

namespace qorfp {

/// Adds a row that enters the window to the sums of its columns.
inline void AddRow(int32_t width, const uint8_t* row, int32_t* columnSums) {
    for (int32_t x = 0; x < width; ++x) {
        columnSums[x] += row[x];
    }
}

/// Takes a row that leaves the window off the sums of its columns.
inline void SubtractRow(int32_t width, const uint8_t* row, int32_t* columnSums) {
    for (int32_t x = 0; x < width; ++x) {
        columnSums[x] -= row[x];
    }
}

/// One row of means from the column sums of the `rowCount` rows in the window; 0 where the window
/// is empty.
void MeanRow(int32_t width, int32_t radius, const int32_t* columnSums, int32_t rowCount,
             uint8_t* outRow);

}  // namespace qorfp
