// SPDX-License-Identifier: Apache-2.0
//
// Noise removal: a 3 x 3 majority vote on the binary image, 16 pixels at a time. Images that are not
// binary, of which the sum counts, and narrow ones take the plain form.

#include <stddef.h>
#include <string.h>

#include "extract/BinaryImage.h"
#include "extract/ExtractLayout.h"
#include "extract/FPExtract.h"
#include "extract/Vector.h"

namespace {

using namespace qorfp;

constexpr int32_t kMajority = 1152;  // more than 4.5 x 255: at least five of nine pixels are 255
constexpr int32_t kRows = 3;

// Pixels of 255 among the three in a column, as 256 - count, for the row that is written and the one
// below it; with room to read beyond either end.
struct BinaryScratch {
    uint8_t columns[2][kVectorBytes + kMaxStageWidth + kVectorBytes];
};
static_assert(FitsEveryImage(sizeof(BinaryScratch)), "fits behind every accepted image");

// Copies of the unchanged rows above, at and below the one that is written.
struct PlainScratch {
    uint8_t rows[kRows][kMaxStageWidth];
    int32_t columnSums[kMaxStageWidth];
};
static_assert(FitsEveryImage(sizeof(PlainScratch)), "fits behind every accepted image");

// --- Binary images -------------------------------------------------------------------------------

void CountColumns(const uint8_t* row, int32_t width, uint8_t* columns) {
    ForEachVector(0, width, [&](ptrdiff_t x) {
        StoreVector(LoadVector<U8x16>(row + x - width) + LoadVector<U8x16>(row + x) +
                        LoadVector<U8x16>(row + x + width),
                    columns + x);
    });
}

void VoteBinaryRow(const uint8_t* columns, int32_t width, uint8_t* row) {
    ForEachVector(0, width, [&](ptrdiff_t x) {
        const U8x16 count = LoadVector<U8x16>(columns + x - 1) + LoadVector<U8x16>(columns + x) +
                            LoadVector<U8x16>(columns + x + 1);
        constexpr int8_t kMinority = -4;
        StoreVector(AsLanes<I8x16>(count) < kMinority, row + x);
    });
    row[0] = 255;
    row[width - 1] = 255;
}

void RemoveBinary(uint8_t* image, int32_t width, int32_t height, BinaryScratch* scratch) {
    CountColumns(image + width, width, scratch->columns[1] + kVectorBytes);
    for (int32_t y = 1; y < height - 1; ++y) {
        // Before row y is overwritten.
        if (y + 1 < height - 1) {
            CountColumns(image + (y + 1) * width, width,
                         scratch->columns[(y + 1) % 2] + kVectorBytes);
        }
        VoteBinaryRow(scratch->columns[y % 2] + kVectorBytes, width, image + y * width);
    }
}

// --- The plain form ------------------------------------------------------------------------------

void VoteRow(const int32_t* columnSums, int32_t width, uint8_t* row) {
    row[0] = 255;
    row[width - 1] = 255;
    for (int32_t x = 1; x < width - 1; ++x) {
        const int32_t sum = columnSums[x - 1] + columnSums[x] + columnSums[x + 1];
        row[x] = sum >= kMajority ? 255 : 0;
    }
}

void RemoveAny(uint8_t* image, int32_t width, int32_t height, PlainScratch* scratch) {
    memset(scratch->columnSums, 0, sizeof(scratch->columnSums));
    for (int32_t entering = 0; entering < height; ++entering) {
        uint8_t* ringRow = scratch->rows[entering % kRows];
        if (entering >= kRows) {
            for (int32_t x = 0; x < width; ++x) {
                scratch->columnSums[x] -= ringRow[x];
            }
        }
        memcpy(ringRow, image + entering * width, static_cast<size_t>(width));
        for (int32_t x = 0; x < width; ++x) {
            scratch->columnSums[x] += ringRow[x];
        }
        if (entering >= 2) {
            VoteRow(scratch->columnSums, width, image + (entering - 1) * width);
        }
    }
}

}  // namespace

void RemoveNoise(uint8_t* buffer, int32_t width, int32_t height) {
    const ExtractLayout layout = LayOutExtract(width, height);
    if (!layout.isUsable || !HasRoom(layout.periodMap, sizeof(PlainScratch))) {
        return;
    }
    uint8_t* scratch = buffer + layout.periodMap;
    if (height > 2 && IsBinary(buffer, width, height)) {
        RemoveBinary(buffer, width, height, WorkAt<BinaryScratch>(scratch));
    } else {
        RemoveAny(buffer, width, height, WorkAt<PlainScratch>(scratch));
    }
    memset(buffer, 255, static_cast<size_t>(width));
    memset(buffer + (height - 1) * width, 255, static_cast<size_t>(width));
}
