// SPDX-License-Identifier: Apache-2.0
//
// The grey gradient at the centre of every block of a row.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include "extract/ExtractLayout.h"
#include "extract/Vector.h"

namespace qorfp {

/// Columns of the block maps, rounded up to whole vectors.
constexpr int32_t kPaddedColumns = kMaxBlockColumns + 1;
static_assert(kPaddedColumns % kVectorBytes == 0, "whole vectors of any lanes");

constexpr int32_t PadColumns(int32_t blockColumns) {
    constexpr int32_t kLanes = kVectorBytes / 2;
    return (blockColumns + kLanes - 1) / kLanes * kLanes;
}

/// Rows of pixels from which gradients are taken: the last of them is the first of the next row of
/// blocks. Vectors read beyond the image's width.
constexpr int32_t kRowsOfBlock = kBlockSide + 1;
using PixelRow = uint8_t[kMaxStageWidth + 2 * kVectorBytes];

/// Gradients of a row of blocks, -96..96; 0 beyond its end, up to PadColumns.
struct GradientRow {
    int16_t x[kPaddedColumns];
    int16_t y[kPaddedColumns];
};

/// Gradients at the centres of the blocks, from their neighbours up to two pixels away.
/// @param rows the rows of pixels from the blocks' upper edge on
void FindGradients(const uint8_t* const rows[kRowsOfBlock], int32_t blockColumns,
                   GradientRow* gradients);

/// Sets the gradients beyond the last block to 0, up to PadColumns.
void ClearBeyond(int32_t blockColumns, GradientRow* gradients);

}  // namespace qorfp
