// SPDX-License-Identifier: Apache-2.0
//
// The blockwise contrast test behind QORFP_CheckFinger.
#pragma once

#include <stdint.h>

namespace qorfp {

/// True when an image of the given size has at least one block to look at.
bool HasFingerBlocks(int32_t width, int32_t height);

/// Share of the image's 8 x 8 blocks that belong to a finger, 0..100 percent; 0 also where the
/// blocks as a whole do not look like a finger on a sensor.
int32_t FingerPercentage(const uint8_t* image, int32_t width, int32_t height);

}  // namespace qorfp
