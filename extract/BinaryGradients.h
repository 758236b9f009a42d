// SPDX-License-Identifier: Apache-2.0
//
// Gradients of the smoothed binary image, straight from the binary one.
//
// Of black and white pixels, smoothing makes 16 n less 1 where n is above 8, of n white ones, each
// counted 1, 2 or 4 times. A gradient is a sixteenth of a sum of differences of such values. The
// ones that are missing come to less than half of it, so that rounding makes it the sum of the
// differences of the n: a weighted sum of pixels.
#pragma once

#include <stdint.h>

#include "extract/BlockGradients.h"

namespace qorfp {

/// The rows of pixels from which they are taken: those of the blocks, the first one of the next blocks,
/// and one more on either side.
struct RowsAroundBlocks {
    const uint8_t* above;
    const uint8_t* first;
    int32_t width;  // distance of these from one to the next
    const uint8_t* below;
};

/// What the blocks of a row, and the one behind the last of them, give to the gradients.
struct BinaryGradientParts {
    static constexpr int32_t kParts = kPaddedColumns + kVectorBytes / 2;

    int16_t xOwn[kParts];
    int16_t xToLeft[kParts];  // of the block to the left
    int16_t
        xToRight[1 + kParts];  // of the block to the right; the first one is what the edge gives
    int16_t yOwn[kParts];
    int16_t yToLeft[kParts];
};

/// FindGradients of rows of 0 and 255 after binomial 3 x 3 smoothing, but for their first and last
/// pixels (of `blockColumns` blocks and one pixel), which are not smoothed. Vectors read up to 31 bytes
/// beyond the last pixel; what is there does not matter.
void FindBinaryGradients(const RowsAroundBlocks& rows, int32_t blockColumns,
                         BinaryGradientParts* parts, GradientRow* gradients);

/// The row beyond the image's first or last one, such that the gradients at the edge come out as if
/// that one were not smoothed.
/// @param edge the image's first or last row
/// @param inner the row next to it
void MakeRowBeyond(const uint8_t* edge, const uint8_t* inner, int32_t blockColumns,
                   uint8_t* beyond);

}  // namespace qorfp
