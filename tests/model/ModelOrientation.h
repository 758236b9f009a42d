// SPDX-License-Identifier: Apache-2.0
//
// Naive model of the orientation field: the grey-level stretch, and the block direction map with
// its foreground mask and quality. A map byte holds the ridge orientation (0..119, steps of
// 1.5 degrees, 0 = along the x axis) and, in bit 7, the background flag.
#pragma once

#include "tests/model/ModelTypes.h"

namespace model {

/// Whole 4 x 4 blocks along a side of so many pixels: (pixels - 1) / 4, and 0 for 0 or below.
int32_t BlocksAlong(int32_t pixels);

/// The 256 entries of the grey-level stretch.
std::vector<uint8_t> GetHistMap(const Grid& image);

struct DirectionField {
    Grid map;
    int32_t quality = 0;
};

DirectionField CalcDirA(const Grid& image);

/// New orientations from the image; bit 7 of every block as in the old map.
Grid CalcDirB(const Grid& image, const Grid& oldMap);

}  // namespace model
