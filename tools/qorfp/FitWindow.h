// SPDX-License-Identifier: Apache-2.0
//
// Cutting an image to a size that the engine takes: the window that holds most of the finger, told
// by local contrast.
#pragma once

#include "tools/qorfp/GreyImage.h"

namespace qorfp::cli {

/// What the extraction call accepts: both sides multiples of 4, at most these.
constexpr int32_t kMaxEngineWidth = 256;
constexpr int32_t kMaxEngineHeight = 360;
constexpr int32_t kSizeStep = 4;

/// An image of exactly this size is taken for that of one small sensor (about 363 dpi) and enlarged
/// by the engine itself, to kSensorScaledWidth x kSensorScaledHeight; minutiae then count in the
/// enlarged image. No other image may be given this size by cutting or resampling.
constexpr int32_t kSensorWidth = 152;
constexpr int32_t kSensorHeight = 200;
constexpr int32_t kSensorScaledWidth = 212;
constexpr int32_t kSensorScaledHeight = 279;

struct Window {
    int32_t left = 0;
    int32_t top = 0;
    int32_t width = 0;
    int32_t height = 0;
};

bool IsEngineSize(int32_t width, int32_t height);
bool IsSensorSize(int32_t width, int32_t height);

/// The best window of legal size. `image` must be at least 4 x 4 and not of legal size itself, or
/// have the sensor's size by chance, which the window then avoids.
Window FindFingerWindow(const GreyImage& image);

GreyImage Crop(const GreyImage& image, const Window& window);

}  // namespace qorfp::cli
