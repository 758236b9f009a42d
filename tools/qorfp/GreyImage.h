// SPDX-License-Identifier: Apache-2.0
//
// An 8-bit grey image and the one rule by which colours and transparency become grey, shared by all
// file formats so that the same finger gives the same pixels whatever it was stored as.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace qorfp::cli {

/// Row-major, no gap between rows; 0 is black.
struct GreyImage {
    int32_t width = 0;
    int32_t height = 0;
    std::vector<uint8_t> pixels;

    GreyImage() = default;
    GreyImage(int32_t imageWidth, int32_t imageHeight)
        : width(imageWidth),
          height(imageHeight),
          pixels(static_cast<size_t>(imageWidth) * static_cast<size_t>(imageHeight)) {}

    const uint8_t* Row(int32_t y) const {
        return pixels.data() + static_cast<size_t>(y) * static_cast<size_t>(width);
    }
    uint8_t* Row(int32_t y) {
        return pixels.data() + static_cast<size_t>(y) * static_cast<size_t>(width);
    }
};

/// Luma with the weights 0.299, 0.587, 0.114, rounded; a grey colour keeps its value exactly.
constexpr uint8_t GreyOfColour(uint32_t red, uint32_t green, uint32_t blue) {
    return static_cast<uint8_t>((299 * red + 587 * green + 114 * blue + 500) / 1000);
}

/// `grey` with opacity `alpha` (255 opaque) on white paper.
constexpr uint8_t GreyOnWhite(uint32_t grey, uint32_t alpha) {
    return static_cast<uint8_t>((grey * alpha + 255 * (255 - alpha) + 127) / 255);
}

/// A sample of 0..maximum as 0..255, rounded.
constexpr uint8_t GreyOfSample(uint32_t sample, uint32_t maximum) {
    return static_cast<uint8_t>((sample * 255 + maximum / 2) / maximum);
}

/// A pixel of 1 to 4 samples: grey, grey and opacity, red green blue, or these and opacity.
constexpr uint8_t GreyOfSamples(const uint8_t* sample, size_t count) {
    const uint8_t grey = count >= 3 ? GreyOfColour(sample[0], sample[1], sample[2]) : sample[0];
    return count % 2 == 0 ? GreyOnWhite(grey, sample[count - 1]) : grey;
}

/// Limits on what a file may claim before anything is allocated for it.
constexpr uint32_t kMaxFileSide = 8192;
constexpr uint32_t kMaxFilePixels = 32U * 1024 * 1024;

}  // namespace qorfp::cli
