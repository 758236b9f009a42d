// SPDX-License-Identifier: Apache-2.0
//
// Binarisation by local means: 0 where a pixel is darker than its surroundings (ridge), else 255.

#include <stddef.h>
#include <string.h>

#include "extract/ExtractLayout.h"
#include "extract/FPExtract.h"

namespace {

using namespace qorfp;

constexpr uint8_t kRidge = 0;
constexpr uint8_t kBackground = 255;

constexpr int32_t kRingDistance = 3;  // BinImageA: eight pixels on a square ring
constexpr int32_t kRingRows = kRingDistance + 1;

constexpr int32_t kBoxReach = 5;  // BinImageB: an 11 x 11 box
constexpr int32_t kBoxRows = 2 * kBoxReach + 1;

// Finished rows wait until no ring reads the row that they replace.
struct BinImageAScratch {
    uint8_t waiting[kRingRows][kMaxStageWidth];
};
static_assert(FitsEveryImage(sizeof(BinImageAScratch)), "fits behind every accepted image");

// Copies of the rows in the box: by the time a row leaves, the image's own has been overwritten.
struct BinImageBScratch {
    uint8_t rows[kBoxRows][kMaxStageWidth];
    int32_t columnSums[kMaxStageWidth];
};
static_assert(FitsEveryImage(sizeof(BinImageBScratch)), "fits behind every accepted image");

void BinariseRowByRing(const uint8_t* row, int32_t width, uint8_t* out) {
    const uint8_t* above = row - kRingDistance * width;
    const uint8_t* below = row + kRingDistance * width;
    memset(out, kBackground, static_cast<size_t>(width));
    for (int32_t x = kRingDistance; x < width - kRingDistance; ++x) {
        const int32_t left = x - kRingDistance;
        const int32_t right = x + kRingDistance;
        const int32_t sum = above[left] + above[x] + above[right] + row[left] + row[right] +
                            below[left] + below[x] + below[right];
        out[x] = sum > 8 * row[x] ? kRidge : kBackground;
    }
}

void BinariseRowByBox(const int32_t* columnSums, int32_t rowCount, int32_t width, uint8_t* row) {
    int32_t sum = 0;
    int32_t columnCount = 0;
    for (int32_t x = 0; x < kBoxReach && x < width; ++x) {
        sum += columnSums[x];
        ++columnCount;
    }
    for (int32_t x = 0; x < width; ++x) {
        if (x + kBoxReach < width) {
            sum += columnSums[x + kBoxReach];
            ++columnCount;
        }
        if (x > kBoxReach) {
            sum -= columnSums[x - kBoxReach - 1];
            --columnCount;
        }
        row[x] = sum > rowCount * columnCount * row[x] ? kRidge : kBackground;
    }
}

}  // namespace

void BinImageA(uint8_t* buffer, int32_t width, int32_t height) {
    const ExtractLayout layout = LayOutExtract(width, height);
    if (!layout.isUsable || !HasRoom(layout.periodMap, sizeof(BinImageAScratch))) {
        return;
    }
    BinImageAScratch* scratch = WorkAt<BinImageAScratch>(buffer + layout.periodMap);
    const size_t rowBytes = static_cast<size_t>(width);
    for (int32_t y = 0; y < height + kRingDistance; ++y) {
        if (y < height) {
            uint8_t* out = scratch->waiting[y % kRingRows];
            if (y >= kRingDistance && y < height - kRingDistance) {
                BinariseRowByRing(buffer + y * width, width, out);
            } else {
                memset(out, kBackground, rowBytes);
            }
        }
        const int32_t finished = y - kRingDistance;
        if (finished >= 0) {
            memcpy(buffer + finished * width, scratch->waiting[finished % kRingRows], rowBytes);
        }
    }
}

void BinImageB(uint8_t* buffer, int32_t width, int32_t height) {
    const ExtractLayout layout = LayOutExtract(width, height);
    if (!layout.isUsable || !HasRoom(layout.periodMap, sizeof(BinImageBScratch))) {
        return;
    }
    BinImageBScratch* scratch = WorkAt<BinImageBScratch>(buffer + layout.periodMap);
    memset(scratch->columnSums, 0, sizeof(scratch->columnSums));
    int32_t rowCount = 0;
    for (int32_t entering = 0; entering < height + kBoxReach; ++entering) {
        uint8_t* ringRow = scratch->rows[entering % kBoxRows];
        if (entering >= kBoxRows) {
            for (int32_t x = 0; x < width; ++x) {
                scratch->columnSums[x] -= ringRow[x];
            }
            --rowCount;
        }
        if (entering < height) {
            memcpy(ringRow, buffer + entering * width, static_cast<size_t>(width));
            for (int32_t x = 0; x < width; ++x) {
                scratch->columnSums[x] += ringRow[x];
            }
            ++rowCount;
        }
        if (entering >= kBoxReach) {
            BinariseRowByBox(scratch->columnSums, rowCount, width,
                             buffer + (entering - kBoxReach) * width);
        }
    }
}
