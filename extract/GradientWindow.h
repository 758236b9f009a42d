// SPDX-License-Identifier: Apache-2.0
//
// The orientation field's common part: gradients of blocks, their products summed over a sliding
// window of blocks, and the orientation that the sums stand for.
#pragma once

#include <stddef.h>
#include <stdint.h>
#include <string.h>

#include "extract/ExtractLayout.h"

namespace qorfp {

/// Grey gradient at the centre of a block, -96..96.
struct Gradient {
    int32_t x;
    int32_t y;
};

/// Sums of gradient products over the blocks of a window.
struct ProductSums {
    int32_t xx;  ///< <= 81 x 96 x 96
    int32_t yy;
    int32_t xy;
    int32_t strong;  ///< number of blocks with a strong gradient
};

/// value / 16, rounded half away from zero.
constexpr int32_t RoundSixteenth(int32_t value) {
    return (value >= 0 ? value + 8 : value - 8) / 16;
}

/// Ridge orientation 0..119 of a window: across its mean gradient.
uint8_t OrientationOf(const ProductSums& sums);

/// Products of a row of blocks.
struct ProductRow {
    int16_t xx[kMaxBlockColumns];
    int16_t yy[kMaxBlockColumns];
    int16_t xy[kMaxBlockColumns];
    int16_t strong[kMaxBlockColumns];
};

/// Sums over the blocks at most `kReach` away in either direction, clipped at the map's edges, as
/// the window slides down the map: column sums over a ring of block rows.
template <int32_t kReach>
struct GradientWindow {
    static constexpr int32_t kRows = 2 * kReach + 1;

    ProductRow rows[static_cast<size_t>(kRows)];
    ProductSums columns[kMaxBlockColumns];

    void Clear() { memset(columns, 0, sizeof(columns)); }

    /// Enters a block of row `blockRow`, which takes the place of row `blockRow` - kRows.
    void Enter(int32_t blockRow, int32_t column, Gradient gradient, bool isStrong) {
        ProductRow* row = &rows[blockRow % kRows];
        row->xx[column] = static_cast<int16_t>(gradient.x * gradient.x);
        row->yy[column] = static_cast<int16_t>(gradient.y * gradient.y);
        row->xy[column] = static_cast<int16_t>(gradient.x * gradient.y);
        row->strong[column] = isStrong ? 1 : 0;
        ProductSums* sums = &columns[column];
        sums->xx += row->xx[column];
        sums->yy += row->yy[column];
        sums->xy += row->xy[column];
        sums->strong += row->strong[column];
    }

    /// Takes row `blockRow` out of the column sums.
    void Leave(int32_t blockRow, int32_t blockColumns) {
        const ProductRow& row = rows[blockRow % kRows];
        for (int32_t column = 0; column < blockColumns; ++column) {
            ProductSums* sums = &columns[column];
            sums->xx -= row.xx[column];
            sums->yy -= row.yy[column];
            sums->xy -= row.xy[column];
            sums->strong -= row.strong[column];
        }
    }

    /// Calls `use(column, sums)` for each block of the row on which the window is centred.
    template <class Use>
    void ForEachBlock(int32_t blockColumns, Use use) const {
        ProductSums window = {0, 0, 0, 0};
        for (int32_t column = 0; column < kReach && column < blockColumns; ++column) {
            Add(&window, columns[column]);
        }
        for (int32_t column = 0; column < blockColumns; ++column) {
            if (column + kReach < blockColumns) {
                Add(&window, columns[column + kReach]);
            }
            if (column > kReach) {
                Subtract(&window, columns[column - kReach - 1]);
            }
            use(column, window);
        }
    }

    static void Add(ProductSums* sums, const ProductSums& column) {
        sums->xx += column.xx;
        sums->yy += column.yy;
        sums->xy += column.xy;
        sums->strong += column.strong;
    }

    static void Subtract(ProductSums* sums, const ProductSums& column) {
        sums->xx -= column.xx;
        sums->yy -= column.yy;
        sums->xy -= column.xy;
        sums->strong -= column.strong;
    }
};

}  // namespace qorfp
