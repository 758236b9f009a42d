// SPDX-License-Identifier: Apache-2.0
//
// Bilinear resampling in hundredths of a pixel.
#pragma once

#include <stdint.h>

namespace qorfp {

/// Resamples an image to another size. Sizes are at least 1; the images must not overlap.
void Interpolate(int32_t srcWidth, int32_t srcHeight, const uint8_t* src, int32_t dstWidth,
                 int32_t dstHeight, uint8_t* dst);

}  // namespace qorfp
