// SPDX-License-Identifier: Apache-2.0
//
// Naive model of the two binarisations.
#include "tests/model/ModelBinarise.h"

namespace model {

Grid BinImageA(const Grid& image) {
    Grid result(image.width, image.height, 255);
    for (int32_t y = 3; y <= image.height - 4; ++y) {
        for (int32_t x = 3; x <= image.width - 4; ++x) {
            int64_t sum = 0;
            for (int32_t dy = -3; dy <= 3; dy += 3) {
                for (int32_t dx = -3; dx <= 3; dx += 3) {
                    if (dx != 0 || dy != 0) {
                        sum += image.At(x + dx, y + dy);
                    }
                }
            }
            result.At(x, y) = sum > 8 * int64_t{image.At(x, y)} ? 0 : 255;
        }
    }
    return result;
}

Grid BinImageB(const Grid& image) {
    Grid result = image;
    for (int32_t y = 0; y < image.height; ++y) {
        for (int32_t x = 0; x < image.width; ++x) {
            int64_t sum = 0;
            int64_t count = 0;
            for (int32_t row = y - 5; row <= y + 5; ++row) {
                for (int32_t column = x - 5; column <= x + 5; ++column) {
                    if (image.Contains(column, row)) {
                        sum += image.At(column, row);
                        ++count;
                    }
                }
            }
            result.At(x, y) = sum > count * int64_t{image.At(x, y)} ? 0 : 255;
        }
    }
    return result;
}

}  // namespace model
