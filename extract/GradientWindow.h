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
/// window slides down the map: sums of columns over a ring of rows.
class WindowSum {
  public:
    /// Begins above the map. `reach` is 3 or 4.
    void Clear(int32_t reach);

    /// Takes in row `row` and drops the one that leaves the window. Rows are taken in from 0 on,
    /// empty ones below the map.
    void Slide(int32_t row, int32_t blockColumns, const int16_t* entering);

    /// The sums of the windows around the blocks of the row `reach` above the last one taken in.
    void SumAcross(int32_t blockColumns, WindowRow* sums) const;

  private:
    static constexpr int32_t kMaxReach = 4;
    static constexpr int32_t kColumns = kPaddedColumns + 2 * kMaxReach + kVectorBytes / 4;

    int32_t reach_;
    ProductRow rows_[2 * kMaxReach + 1];
    int32_t columns_[kColumns];  // with `reach` empty ones on either side of the map's
};

}  // namespace qorfp
