// SPDX-License-Identifier: Apache-2.0
//
// Naive model of the image preprocessing: one window loop a pixel.
#include "tests/model/ModelPreprocess.h"

#include <algorithm>

namespace model {

Grid SmoothImage(const Grid& image, int32_t radius) {
    Grid result = image;
    for (int32_t y = 0; y < image.height; ++y) {
        for (int32_t x = 0; x < image.width; ++x) {
            int64_t sum = 0;
            int64_t count = 0;
            for (int32_t row = y - radius; row <= y + radius; ++row) {
                for (int32_t column = x - radius; column <= x + radius; ++column) {
                    if (image.Contains(column, row)) {
                        sum += image.At(column, row);
                        ++count;
                    }
                }
            }
            result.At(x, y) = static_cast<uint8_t>(count == 0 ? 0 : sum / count);
        }
    }
    return result;
}

Grid NormalizeImage(const Grid& image, int32_t meanRadius, int32_t deviationRadius) {
    const int64_t width = image.width;
    const int64_t height = image.height;
    if (width <= 0 || height <= 0) {
        return image;
    }
    // The window's extent both ways; clipped by the height even where columns are meant.
    const int64_t extent = std::min<int64_t>(2 * int64_t{deviationRadius} + 1, height);
    const int64_t offset =
        deviationRadius < meanRadius ? meanRadius * width : (deviationRadius + 1) * width;
    if (offset + width * height + width * (extent + 8) > 102400) {
        return image;
    }
    const Grid mean = SmoothImage(image, meanRadius);
    Grid result = image;
    for (int32_t y = 0; y < image.height; ++y) {
        for (int32_t x = 0; x < image.width; ++x) {
            int64_t sum = 0;
            int64_t count = 0;
            for (int64_t row = y + deviationRadius - extent + 1; row <= y + deviationRadius;
                 ++row) {
                for (int64_t column = x + deviationRadius - extent + 1;
                     column <= x + deviationRadius; ++column) {
                    const int32_t atX = static_cast<int32_t>(column);
                    const int32_t atY = static_cast<int32_t>(row);
                    if (image.Contains(atX, atY)) {
                        const int64_t difference =
                            int64_t{mean.At(atX, atY)} - int64_t{image.At(atX, atY)};
                        sum += difference < 0 ? -difference : difference;
                        ++count;
                    }
                }
            }
            const int64_t deviation = count == 0 ? 0 : sum / count;
            const int64_t low = std::max<int64_t>(mean.At(x, y) - deviation, 0);
            const int64_t high = std::min<int64_t>(mean.At(x, y) + deviation, 255);
            const int64_t range = high - low;
            const int64_t pixel = image.At(x, y);
            int64_t stretched = 0;
            if (range == 0) {
                stretched = pixel;
            } else if (pixel <= low) {
                stretched = 0;
            } else if (pixel >= high) {
                stretched = 255;
            } else {
                stretched = (pixel - low) * 255 / range;
            }
            result.At(x, y) = static_cast<uint8_t>(stretched);
        }
    }
    return result;
}

Grid PuttyImage(const Grid& image) {
    Grid result = image;
    for (int32_t y = 1; y <= image.height - 2; ++y) {
        for (int32_t x = 1; x <= image.width - 2; ++x) {
            const int64_t centre = image.At(x, y);
            const int64_t axis = int64_t{image.At(x, y - 1)} + image.At(x, y + 1) +
                                 image.At(x - 1, y) + image.At(x + 1, y);
            const int64_t diagonal = int64_t{image.At(x - 1, y - 1)} + image.At(x + 1, y - 1) +
                                     image.At(x - 1, y + 1) + image.At(x + 1, y + 1);
            result.At(x, y) = static_cast<uint8_t>((72 * centre + 7 * axis + 5 * diagonal) / 120);
        }
    }
    return result;
}

Grid Preprocess(const Grid& image, int32_t meanRadius, int32_t deviationRadius) {
    const Grid smooth = SmoothImage(image, 1);
    const Grid stretched = NormalizeImage(smooth, meanRadius, deviationRadius);
    return PuttyImage(stretched);
}

}  // namespace model
