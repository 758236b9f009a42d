// SPDX-License-Identifier: Apache-2.0
//
// Sums over a sliding window of blocks.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include "extract/BlockGradients.h"
#include "extract/Orientation.h"
#include "extract/Vector.h"

namespace qorfp {

/// Of each block of a row 1 or 0, or how many of those around it are 1. Vectors of eight blocks are
/// written as whole ones, of which the next overwrites the other half.
using CountRow = uint8_t[kPaddedColumns + kVectorBytes / 2];

/// What is summed up, by the type of the sums: products as 32-bit numbers, counts as bytes.
template <class Sum>
struct WindowRows;
template <>
struct WindowRows<int32_t> {
    using Entering = ProductRow;
    using Sums = WindowRow;
};
template <>
struct WindowRows<uint8_t> {
    using Entering = CountRow;
    using Sums = CountRow;
};

/// Sums over the blocks at most `reach` away in either direction, clipped at the map's edges, as the
/// window slides down the map: sums of columns over a ring of rows.
template <class Sum>
class WindowSum {
  public:
    using Entering = typename WindowRows<Sum>::Entering;
    using Sums = typename WindowRows<Sum>::Sums;

    /// Begins above the map. `reach` is 3 or 4.
    void Clear(int32_t reach);

    /// Takes in the next row of the map, or an empty one below it, and drops the one that leaves the
    /// window.
    void Slide(int32_t blockColumns, const Entering& entering);

    /// The sums of the windows around the blocks of the row `reach` above the last one taken in.
    void SumAcross(int32_t blockColumns, Sums* sums) const;

  private:
    static constexpr int32_t kMaxReach = 4;
    static constexpr int32_t kColumns = kPaddedColumns + 2 * kMaxReach + kVectorBytes;

    int32_t reach_;
    int32_t ringRow_;  // the next one to be replaced
    Entering rows_[2 * kMaxReach + 1];
    Sum columns_[kColumns];  // with `reach` empty ones on either side of the map's
};

extern template class WindowSum<int32_t>;
extern template class WindowSum<uint8_t>;

}  // namespace qorfp
