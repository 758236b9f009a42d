// SPDX-License-Identifier: Apache-2.0
//
// The clipped 3 x 3 mean, the form of the box mean that every extraction uses twice.
#pragma once

#include <stdint.h>

#include "extract/Vector.h"

namespace qorfp {

/// Smallest width that Mean3x3 takes.
constexpr int32_t kMinWidthOfMean3x3 = kVectorBytes + 2;

/// Rows of 16-bit sums that Mean3x3 needs, each as long as an image row.
constexpr int32_t kSumRowsOfMean3x3 = 3;

/// Clipped 3 x 3 mean in place: each pixel becomes the truncated mean of the pixels at most one
/// away that lie inside the image.
/// @param width at least kMinWidthOfMean3x3
/// @param height at least 1
/// @param sumRows scratch outside the image: kSumRowsOfMean3x3 rows
void Mean3x3(int32_t width, int32_t height, uint8_t* image, uint16_t* sumRows);

}  // namespace qorfp
