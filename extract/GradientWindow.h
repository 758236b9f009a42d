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

/// Sums over the blocks at most `reach` away in either direction, clipped at the map's edges, as the
/// window slides down the map: sums of columns over a ring of rows. Sum: int32_t for sums of
/// products, int16_t for counts of blocks.
template <class Sum>
class WindowSum {
  public:
    /// Begins above the map. `reach` is 3 or 4.
    void Clear(int32_t reach);

    /// Takes in the next row of the map, or an empty one below it, and drops the one that leaves the
    /// window.
    void Slide(int32_t blockColumns, const ProductRow& entering);

    /// The sums of the windows around the blocks of the row `reach` above the last one taken in.
    void SumAcross(int32_t blockColumns, Sum (*sums)[kPaddedColumns]) const;

  private:
    static constexpr int32_t kMaxReach = 4;
    static constexpr int32_t kColumns = kPaddedColumns + 2 * kMaxReach + kVectorBytes / 2;

    int32_t reach_;
    int32_t ringRow_;  // the next one to be replaced
    ProductRow rows_[2 * kMaxReach + 1];
    Sum columns_[kColumns];  // with `reach` empty ones on either side of the map's
};

extern template class WindowSum<int32_t>;
extern template class WindowSum<int16_t>;

}  // namespace qorfp
