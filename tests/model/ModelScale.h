// SPDX-License-Identifier: Apache-2.0
//
// Naive model of the resampler that adapts images of the small sensor.
#pragma once

#include "tests/model/ModelTypes.h"

namespace model {

/// Resamples to width x height; an empty image for a size of 0 or below.
Grid ScaleImage(const Grid& source, int32_t width, int32_t height);

}  // namespace model
