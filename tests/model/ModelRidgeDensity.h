// SPDX-License-Identifier: Apache-2.0
//
// Naive model of the noise removal and of the ridge-period map. A period byte is 4 x (ridge
// period in pixels - 4), 4..36; 0 marks background.
#pragma once

#include "tests/model/ModelTypes.h"

namespace model {

/// 3 x 3 majority vote; the one-pixel frame becomes 255.
Grid RemoveNoise(const Grid& image);

/// The profile class 0..15 across ridges of an orientation 0..119.
int32_t ProfileClass(int32_t orientation);

struct RayPoint {
    int32_t dx = 0;
    int32_t dy = 0;
};

/// The ten points k = 1..10 (at index k - 1) of a class's sampling ray.
std::vector<RayPoint> ProfileRay(int32_t profileClass);

/// Mean step length of a class's ray in 1/32 pixel, by its rule.
int32_t ProfileStep(int32_t profileClass);

/// The ridge-period map of a binary image and its block direction map.
Grid GetRidgeDensity(const Grid& image, const Grid& directionMap);

}  // namespace model
