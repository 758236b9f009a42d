// SPDX-License-Identifier: Apache-2.0
//
// Finger presence by blockwise contrast: a block whose 2 x 2 cell sums spread widely holds ridges.
// The 256 x 288 sensor has its own contrast threshold and a foreground/background test of its own.

#include "api/FingerCheck.h"

namespace {

constexpr int32_t kMargin = 16;    // pixels ignored; the last blocks may reach into it
constexpr int32_t kBlockSide = 8;  // pixels
constexpr int32_t kBlockPixels = kBlockSide * kBlockSide;
constexpr int32_t kCellsPerBlock = 16;  // 2 x 2 pixels each

constexpr int32_t kSpreadThreshold = 65536;
constexpr int32_t kSpreadThreshold256x288 = 192000;
constexpr int32_t kDarkMean = 128;  // a flat block below it counts as dark
constexpr int32_t kMinGroundContrast = 50;

struct BlockSums {
    int32_t sum;           // of the 64 pixels, <= 16,320
    int32_t sumOfSquares;  // of the 16 cell sums, <= 16 x 1020 x 1020
};

struct Counts {
    int32_t blocks;
    int32_t finger;
    int32_t darkFlat;
    int32_t fingerTotal;      // of the block means
    int32_t backgroundTotal;  // of the block means
};

BlockSums SumBlock(const uint8_t* block, int32_t stride) {
    BlockSums sums = {0, 0};
    for (int32_t row = 0; row < kBlockSide; row += 2) {
        const uint8_t* upper = block + row * stride;
        const uint8_t* lower = upper + stride;
        for (int32_t column = 0; column < kBlockSide; column += 2) {
            const int32_t cell =
                upper[column] + upper[column + 1] + lower[column] + lower[column + 1];
            sums.sum += cell;
            sums.sumOfSquares += cell * cell;
        }
    }
    return sums;
}

Counts CountBlocks(const uint8_t* image, int32_t width, int32_t height, int32_t threshold) {
    Counts counts = {0, 0, 0, 0, 0};
    for (int32_t row = kMargin; row < height - kMargin; row += kBlockSide) {
        for (int32_t column = kMargin; column < width - kMargin; column += kBlockSide) {
            const BlockSums block = SumBlock(image + row * width + column, width);
            const int32_t mean = block.sum / kBlockPixels;
            const bool isRidged =
                threshold + block.sum * block.sum / kCellsPerBlock < block.sumOfSquares;
            ++counts.blocks;
            if (isRidged || mean < kDarkMean) {
                ++counts.finger;
                counts.fingerTotal += mean;
                counts.darkFlat += isRidged ? 0 : 1;
            } else {
                counts.backgroundTotal += mean;
            }
        }
    }
    return counts;
}

bool LooksLikeFinger256x288(const Counts& counts) {
    if (counts.darkFlat > counts.finger / 2) {
        return false;
    }
    const int32_t background = counts.blocks - counts.finger;
    if (background > 0) {
        const int32_t fingerMean =
            counts.finger > 0 ? counts.fingerTotal / counts.finger : kDarkMean;
        const int32_t contrast = fingerMean - counts.backgroundTotal / background;
        return contrast <= -kMinGroundContrast || contrast >= kMinGroundContrast;
    }
    return true;
}

bool LooksLikeFinger(const Counts& counts) {
    return counts.darkFlat <= 2 * counts.finger / 3;
}

}  // namespace

bool qorfp::HasFingerBlocks(int32_t width, int32_t height) {
    return width > 2 * kMargin && height > 2 * kMargin;
}

int32_t qorfp::FingerPercentage(const uint8_t* image, int32_t width, int32_t height) {
    if (!HasFingerBlocks(width, height)) {
        return 0;  // nothing to look at, and no size to subtract a margin from
    }
    const bool is256x288 = width == 256 && height == 288;
    const Counts counts =
        CountBlocks(image, width, height, is256x288 ? kSpreadThreshold256x288 : kSpreadThreshold);
    const bool isFinger = is256x288 ? LooksLikeFinger256x288(counts) : LooksLikeFinger(counts);
    return isFinger ? 100 * counts.finger / counts.blocks : 0;
}
