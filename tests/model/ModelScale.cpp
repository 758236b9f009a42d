// SPDX-License-Identifier: Apache-2.0
//
// Naive model of the resampler: copy, exact halving, or bilinear in hundredths of a pixel.
#include "tests/model/ModelScale.h"

#include <algorithm>

namespace model {

namespace {

// Where a target row (or column) lies between two source rows (or columns).
struct Tap {
    int32_t first = 0;
    int32_t second = 0;
    int64_t firstWeight = 0;   // of 100
    int64_t secondWeight = 0;  // of 100
};

Tap TapOf(int64_t sourceSize, int64_t targetSize, int64_t index) {
    const int64_t hundredths = sourceSize * index * 100 / targetSize;
    Tap tap;
    tap.first = static_cast<int32_t>(hundredths / 100);
    tap.second = static_cast<int32_t>(std::min<int64_t>(hundredths / 100 + 1, sourceSize - 1));
    tap.secondWeight = hundredths % 100;
    tap.firstWeight = 100 - tap.secondWeight;
    if (tap.secondWeight == 0 && sourceSize != targetSize) {
        tap.firstWeight = 50;
        tap.secondWeight = 50;
    }
    return tap;
}

}  // namespace

Grid ScaleImage(const Grid& source, int32_t width, int32_t height) {
    if (source.width <= 0 || source.height <= 0 || width <= 0 || height <= 0) {
        return Grid();
    }
    if (source.width == width && source.height == height) {
        return source;
    }
    Grid result(width, height);
    const bool isHalving = source.width == 2 * width && source.height == 2 * height;
    for (int32_t y = 0; y < height; ++y) {
        for (int32_t x = 0; x < width; ++x) {
            if (isHalving) {
                const int32_t sum = source.At(2 * x, 2 * y) + source.At(2 * x + 1, 2 * y) +
                                    source.At(2 * x, 2 * y + 1) + source.At(2 * x + 1, 2 * y + 1) +
                                    2;
                result.At(x, y) = static_cast<uint8_t>(sum >> 2);
                continue;
            }
            const Tap row = TapOf(source.height, height, y);
            const Tap column = TapOf(source.width, width, x);
            const int64_t sum =
                row.firstWeight * column.firstWeight * source.At(column.first, row.first) +
                row.firstWeight * column.secondWeight * source.At(column.second, row.first) +
                row.secondWeight * column.firstWeight * source.At(column.first, row.second) +
                row.secondWeight * column.secondWeight * source.At(column.second, row.second) +
                5000;
            result.At(x, y) = static_cast<uint8_t>(sum / 10000);
        }
    }
    return result;
}

}  // namespace model
