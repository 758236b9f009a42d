// SPDX-License-Identifier: Apache-2.0
//
// Ridge smoothing: a short line average along the ridge at every pixel. All pixels of a block share
// the block's orientation; for this stage a block's pixels lie one to the right and below those of
// the orientation grid, so row 0 and column 0 belong to none and keep their values.

#include <stddef.h>
#include <string.h>

#include "extract/ExtractLayout.h"
#include "extract/FPExtract.h"

namespace {

using namespace qorfp;

constexpr int32_t kMostSamples = 7;

// No sample lies more than 5 rows off, so a block row is read by the two block rows on either side
// of it and may be overwritten when the third one below is due.
constexpr int32_t kDelayedBlockRows = 3;

struct SmoothRidgeScratch {
    int32_t offsets[kOrientations * kMostSamples];  // dy x width + dx of every sample
    uint8_t delayed[kDelayedBlockRows][kBlockSide][kMaxStageWidth];
};
static_assert(FitsEveryImage(sizeof(SmoothRidgeScratch)), "fits behind every accepted image");

struct Image {
    uint8_t* pixels;
    int32_t width;
    int32_t height;

    uint8_t* Row(int32_t y) const { return pixels + y * width; }
};

// Every sample lies in the image (or, on images of a side 1 modulo 4, at the next linear offset).
uint8_t SmoothInside(const uint8_t* pixel, int32_t orientation, const int32_t* offsets) {
    const uint8_t* weights = gnPW + orientation * kMostSamples;
    const int32_t* row = offsets + orientation * kMostSamples;
    int32_t sum = gnCW[orientation] * pixel[0];
    for (int32_t k = 0; k < gnPC[orientation]; ++k) {
        sum += weights[k] * (pixel[row[k]] + pixel[-row[k]]);
    }
    return static_cast<uint8_t>(sum >> 8);  // the weights sum to 256
}

// Samples outside the image do not count.
uint8_t SmoothAtBorder(const Image& image, int32_t x, int32_t y, int32_t orientation) {
    int32_t weightSum = gnCW[orientation];
    int32_t sum = weightSum * image.Row(y)[x];
    const auto add = [&](int32_t sampleX, int32_t sampleY, int32_t weight) {
        if (sampleX >= 0 && sampleX < image.width && sampleY >= 0 && sampleY < image.height) {
            sum += weight * image.Row(sampleY)[sampleX];
            weightSum += weight;
        }
    };
    for (int32_t k = 0; k < gnPC[orientation]; ++k) {
        const int32_t entry = orientation * kMostSamples + k;
        add(x + gnDX[entry], y + gnDY[entry], gnPW[entry]);
        add(x - gnDX[entry], y - gnDY[entry], gnPW[entry]);
    }
    return static_cast<uint8_t>(sum / weightSum);
}

void SmoothBlock(const Image& image, int32_t left, int32_t top, int32_t orientation,
                 bool isAtBorder, const int32_t* offsets, uint8_t (*out)[kMaxStageWidth]) {
    for (int32_t row = 0; row < kBlockSide; ++row) {
        const uint8_t* pixels = image.Row(top + row);
        for (int32_t x = left; x < left + kBlockSide; ++x) {
            if (orientation >= kOrientations) {
                out[row][x] = pixels[x];  // no such orientation: only a damaged map has it
            } else if (isAtBorder) {
                out[row][x] = SmoothAtBorder(image, x, top + row, orientation);
            } else {
                out[row][x] = SmoothInside(pixels + x, orientation, offsets);
            }
        }
    }
}

void WriteBack(const Image& image, int32_t blockRow, int32_t blockColumns,
               const uint8_t (*smoothed)[kMaxStageWidth]) {
    const size_t bytes = static_cast<size_t>(kBlockSide * blockColumns);
    for (int32_t row = 0; row < kBlockSide; ++row) {
        memcpy(image.Row(kBlockSide * blockRow + 1 + row) + 1, smoothed[row] + 1, bytes);
    }
}

}  // namespace

void SmoothRidge(uint8_t* buffer, int32_t width, int32_t height) {
    const ExtractLayout layout = LayOutExtract(width, height);
    if (!layout.isUsable || !HasRoom(layout.periodMap, sizeof(SmoothRidgeScratch))) {
        return;
    }
    const Image image = {buffer, width, height};
    const uint8_t* map = buffer + layout.directionMap;
    SmoothRidgeScratch* scratch = WorkAt<SmoothRidgeScratch>(buffer + layout.periodMap);
    for (int32_t entry = 0; entry < kOrientations * kMostSamples; ++entry) {
        scratch->offsets[entry] = gnDY[entry] * width + gnDX[entry];
    }
    for (int32_t by = 0; by < layout.blockRows; ++by) {
        uint8_t(*smoothed)[kMaxStageWidth] = scratch->delayed[by % kDelayedBlockRows];
        if (by >= kDelayedBlockRows) {
            WriteBack(image, by - kDelayedBlockRows, layout.blockColumns, smoothed);
        }
        for (int32_t bx = 0; bx < layout.blockColumns; ++bx) {
            // Deliberate: two block rows at the bottom, but one block column at the right.
            const bool isAtBorder =
                bx == 0 || bx == layout.blockColumns - 1 || by == 0 || by >= layout.blockRows - 2;
            const int32_t orientation = map[by * layout.blockColumns + bx] & kOrientationMask;
            SmoothBlock(image, kBlockSide * bx + 1, kBlockSide * by + 1, orientation, isAtBorder,
                        scratch->offsets, smoothed);
        }
    }
    const int32_t firstWaiting =
        layout.blockRows > kDelayedBlockRows ? layout.blockRows - kDelayedBlockRows : 0;
    for (int32_t by = firstWaiting; by < layout.blockRows; ++by) {
        WriteBack(image, by, layout.blockColumns, scratch->delayed[by % kDelayedBlockRows]);
    }
}
