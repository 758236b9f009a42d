// SPDX-License-Identifier: Apache-2.0
//
// Change of an image's size, in integers only, so that every machine makes the same pixels.
#pragma once

#include "tools/qorfp/GreyImage.h"

namespace qorfp::cli {

/// The resolution for which the engine's filters and distances are made, in dots per inch.
constexpr int kEngineDpi = 508;

/// `source` at the size `width` x `height` (both at least 1): triangle filter, which interpolates
/// when enlarging and averages over the covered pixels when reducing. Pixel centres correspond.
GreyImage Resample(const GreyImage& source, int32_t width, int32_t height);

/// Minutiae count in the pixels the engine works on, which for the small sensor is an enlarged image:
/// that image, near enough for pictures, else `finger` itself.
GreyImage AsTheEngineSeesIt(const GreyImage& finger);

/// `source`, taken at `dpi`, as it would be at kEngineDpi.
GreyImage ResampleToEngineDpi(const GreyImage& source, int dpi);

}  // namespace qorfp::cli
