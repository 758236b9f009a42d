// SPDX-License-Identifier: Apache-2.0
//
// The grey gradient at the centre of every block of a row.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include "extract/ExtractLayout.h"
#include "extract/GreyStretch.h"
#include "extract/Vector.h"

namespace qorfp {

/// Columns of the block maps, rounded up to whole vectors.
constexpr int32_t kPaddedColumns = kMaxBlockColumns + 1;
static_assert(kPaddedColumns % kVectorBytes == 0, "whole vectors of any lanes");

constexpr int32_t PadColumns(int32_t blockColumns) {
    constexpr int32_t kLanes = kVectorBytes / 2;
    return (blockColumns + kLanes - 1) / kLanes * kLanes;
}

/// A row of pixels of its own. Vectors read beyond the image's width.
using PixelRow = uint8_t[kMaxStageWidth + 2 * kVectorBytes];

/// Gradients of a row of blocks, -96..96; 0 beyond its end, up to PadColumns.
struct GradientRow {
    int16_t x[kPaddedColumns];
    int16_t y[kPaddedColumns];
};

/// Stretched pixels of the even columns of the row that two rows of blocks have in common.
using EvenColumns = int16_t[kPaddedColumns * kBlockSide / 2];

/// Stretches the upper edge of the first row of blocks.
void BeginGradients(const uint8_t* row, int32_t blockColumns, const GreyStretcher& stretcher,
                    EvenColumns* edge);

/// Gradients at the centres of the blocks, from their stretched neighbours up to two pixels away. Vectors
/// read up to 35 bytes beyond the last pixel of the blocks; what is there does not matter.
/// @param first the row of pixels at the blocks' upper edge
/// @param width distance of a row to the next one
/// @param edge in: what is stretched of the blocks' upper edge; out: the same of their lower one
void FindGradients(const uint8_t* first, int32_t width, int32_t blockColumns,
                   const GreyStretcher& stretcher, EvenColumns* edge, GradientRow* gradients);

/// Sets the gradients beyond the last block to 0, up to PadColumns.
void ClearBeyond(int32_t blockColumns, GradientRow* gradients);

}  // namespace qorfp
