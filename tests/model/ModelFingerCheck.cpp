// SPDX-License-Identifier: Apache-2.0
//
// Naive model of the finger-presence test.
#include "tests/model/ModelFingerCheck.h"

namespace model {

uint32_t CheckFinger(const Grid& image) {
    if (image.width >= 257 || image.height >= 361 || image.width % 4 != 0 ||
        image.height % 4 != 0) {
        return 5;
    }
    const bool isLargeSensor = image.width == 256 && image.height == 288;
    const int64_t threshold = isLargeSensor ? 192000 : 65536;
    int64_t blocks = 0;
    int64_t fingerBlocks = 0;
    int64_t darkFlatBlocks = 0;
    int64_t fingerTotal = 0;
    int64_t backgroundTotal = 0;
    for (int32_t row = 16; row < image.height - 16; row += 8) {
        for (int32_t column = 16; column < image.width - 16; column += 8) {
            int64_t sum = 0;
            int64_t squares = 0;
            for (int32_t y = row; y < row + 8; y += 2) {
                for (int32_t x = column; x < column + 8; x += 2) {
                    const int64_t cell = int64_t{image.At(x, y)} + image.At(x + 1, y) +
                                         image.At(x, y + 1) + image.At(x + 1, y + 1);
                    sum += cell;
                    squares += cell * cell;
                }
            }
            const int64_t mean = sum / 64;
            ++blocks;
            if (threshold + sum * sum / 16 < squares) {
                ++fingerBlocks;
                fingerTotal += mean;
            } else if (mean < 128) {
                ++fingerBlocks;
                ++darkFlatBlocks;
                fingerTotal += mean;
            } else {
                backgroundTotal += mean;
            }
        }
    }
    if (blocks == 0) {
        return 6;
    }
    int64_t percentage = 100 * fingerBlocks / blocks;
    if (isLargeSensor) {
        const int64_t fingerMean = fingerBlocks == 0 ? 128 : fingerTotal / fingerBlocks;
        const int64_t backgroundBlocks = blocks - fingerBlocks;
        if (darkFlatBlocks > fingerBlocks / 2) {
            percentage = 0;
        }
        if (backgroundBlocks > 0) {
            const int64_t contrast = fingerMean - backgroundTotal / backgroundBlocks;
            if (contrast >= -49 && contrast <= 49) {
                percentage = 0;
            }
        }
    } else if (darkFlatBlocks > 2 * fingerBlocks / 3) {
        percentage = 0;
    }
    return percentage > 54 ? 0 : 6;
}

}  // namespace model
