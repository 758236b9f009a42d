// SPDX-License-Identifier: Apache-2.0
//
// The clipped 3 x 3 mean, the form of the box mean that every extraction uses twice.
#pragma once

#include <stdint.h>

#include "extract/Vector.h"

namespace qorfp {

/// Smallest width that Mean3x3 takes.
constexpr int32_t kMinWidthOfMean3x3 = kVectorBytes + 2;

/// Clipped 3 x 3 mean in place: each pixel becomes the truncated mean of the pixels at most one
/// away that lie inside the image.
/// @param width at least kMinWidthOfMean3x3
/// @param height at least 1
/// @param copies scratch outside the image: `copyRows` rows of it, at least kLeastBandCopies
void Mean3x3(int32_t width, int32_t height, uint8_t* image, uint8_t* copies, int32_t copyRows);

/// The same from one place to another, which do not overlap.
/// @param width at least kMinWidthOfMean3x3
/// @param height at least 2
/// @param edge scratch, kEdgeRowsOfMean3x3 rows
void Mean3x3Apart(int32_t width, int32_t height, const uint8_t* source, uint8_t* out,
                  uint8_t* edge);
constexpr int32_t kEdgeRowsOfMean3x3 = 3;

}  // namespace qorfp
