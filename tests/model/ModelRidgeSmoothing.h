// SPDX-License-Identifier: Apache-2.0
//
// Naive model of the ridge smoothing: a symmetric line average along the block's orientation.
#pragma once

#include "tests/model/ModelTypes.h"

namespace model {

/// One sample beside the centre pixel; it counts at (+dx, +dy) and at (-dx, -dy).
struct FilterSample {
    int32_t dx = 0;
    int32_t dy = 0;
    int32_t weight = 0;
};

struct OrientedFilter {
    int32_t centreWeight = 0;
    std::vector<FilterSample> samples;
};

/// The filter of an orientation 0..119.
OrientedFilter FilterOf(int32_t orientation);

/// Smooths every block of the map; blocks with an orientation of 120 or more keep their pixels.
Grid SmoothRidge(const Grid& image, const Grid& map);

}  // namespace model
