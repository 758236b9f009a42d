// SPDX-License-Identifier: Apache-2.0
//
// The first stage of extraction.
#pragma once

#include <stdint.h>

namespace qorfp {

/// 3 x 3 box mean of the image, clipped at its edges and truncated, in place.
void BoxSmooth(uint8_t* buffer, int32_t width, int32_t height);

}  // namespace qorfp
