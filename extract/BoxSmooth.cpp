// SPDX-License-Identifier: Apache-2.0
//
// Box pre-smoothing of the grey image: the same means as SmoothImage with radius 1, which the
// preprocessing owns, but by division tables and a ring of three rows.

#include "extract/BoxSmooth.h"

#include <string.h>

#include "extract/ExtractLayout.h"
#include "extract/FPTable.h"

namespace {

using namespace qorfp;

constexpr int32_t kRows = 3;

// Copies of the unsmoothed rows above, at and below the one that is written, and their column sums.
struct BoxSmoothScratch {
    uint8_t rows[kRows][kMaxStageWidth];
    uint16_t columnSums[kMaxStageWidth];  // <= 3 x 255
};
static_assert(FitsEveryImage(sizeof(BoxSmoothScratch)), "fits behind every accepted image");

// Mean of `count` pixels: 9 inside, 6 on an edge, 4 in a corner, 1 to 3 on an image one pixel wide
// or high.
uint8_t MeanOf(int32_t sum, int32_t count) {
    switch (count) {
        case 9:
            return gbDiv9[sum];
        case 6:
            return gbDiv6[sum];
        case 4:
            return static_cast<uint8_t>(sum >> 2);
        default:
            return static_cast<uint8_t>(sum / count);
    }
}

void AddRow(const uint8_t* row, int32_t width, uint16_t* columnSums) {
    for (int32_t x = 0; x < width; ++x) {
        columnSums[x] = static_cast<uint16_t>(columnSums[x] + row[x]);
    }
}

void SubtractRow(const uint8_t* row, int32_t width, uint16_t* columnSums) {
    for (int32_t x = 0; x < width; ++x) {
        columnSums[x] = static_cast<uint16_t>(columnSums[x] - row[x]);
    }
}

void MeanRow(const uint16_t* columnSums, int32_t rowCount, int32_t width, uint8_t* out) {
    int32_t sum = columnSums[0];
    int32_t columnCount = 1;
    for (int32_t x = 0; x < width; ++x) {
        if (x + 1 < width) {
            sum += columnSums[x + 1];
            ++columnCount;
        }
        if (x > 1) {
            sum -= columnSums[x - 2];
            --columnCount;
        }
        out[x] = MeanOf(sum, rowCount * columnCount);
    }
}

}  // namespace

void qorfp::BoxSmooth(uint8_t* buffer, int32_t width, int32_t height) {
    const ExtractLayout layout = LayOutExtract(width, height);
    if (!layout.isUsable || !HasRoom(layout.periodMap, sizeof(BoxSmoothScratch))) {
        return;
    }
    BoxSmoothScratch* scratch = WorkAt<BoxSmoothScratch>(buffer + layout.periodMap);
    memset(scratch->columnSums, 0, sizeof(scratch->columnSums));
    int32_t rowCount = 0;
    for (int32_t entering = 0; entering <= height; ++entering) {
        uint8_t* ringRow = scratch->rows[entering % kRows];
        if (entering >= kRows) {
            SubtractRow(ringRow, width, scratch->columnSums);
            --rowCount;
        }
        if (entering < height) {
            memcpy(ringRow, buffer + entering * width, static_cast<size_t>(width));
            AddRow(ringRow, width, scratch->columnSums);
            ++rowCount;
        }
        if (entering >= 1) {
            MeanRow(scratch->columnSums, rowCount, width, buffer + (entering - 1) * width);
        }
    }
}
