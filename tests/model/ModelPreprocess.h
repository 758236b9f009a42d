// SPDX-License-Identifier: Apache-2.0
//
// Naive model of the image preprocessing: clipped box mean, local contrast stretch and the
// weighted gap filling. Every function takes an image and returns the new one.
#pragma once

#include "tests/model/ModelTypes.h"

namespace model {

/// The mean over the part of the (2 radius + 1)^2 window that lies inside the image. With radius 1
/// it also serves as the box pre-smoothing at the head of the feature extraction.
Grid SmoothImage(const Grid& image, int32_t radius);

/// Local contrast stretch to the band mean +- mean absolute deviation. Unchanged when the scratch
/// that the library would need exceeds 102,400 bytes.
Grid NormalizeImage(const Grid& image, int32_t meanRadius, int32_t deviationRadius);

/// Weighted 3 x 3 smoothing of the interior; the one-pixel frame keeps its values.
Grid PuttyImage(const Grid& image);

/// The three of them in order, the first with radius 1.
Grid Preprocess(const Grid& image, int32_t meanRadius = 4, int32_t deviationRadius = 4);

}  // namespace model
