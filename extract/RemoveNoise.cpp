// SPDX-License-Identifier: Apache-2.0
//
// Noise removal: a 3 x 3 majority vote on the binary image, 16 pixels at a time. Images that are not
// binary, of which the sum counts, and narrow ones take the plain form.

#include <stddef.h>
#include <string.h>

#include "extract/BinaryImage.h"
#include "extract/ExtractLayout.h"
#include "extract/FPExtract.h"
#include "extract/RowBands.h"

namespace {

using namespace qorfp;

constexpr int32_t kMajority = 1152;  // more than 4.5 x 255: at least five of nine pixels are 255
constexpr int32_t kRows = 3;

struct BinaryScratch {
    uint8_t copies[kMostBandCopies * kMaxStageWidth];
};
static_assert(FitsEveryImage(sizeof(BinaryScratch)), "fits behind every accepted image");

// Copies of the unchanged rows above, at and below the one that is written.
struct PlainScratch {
    int32_t columnSums[kMaxStageWidth];
    uint8_t rows[kRows][kMaxStageWidth];
};
static_assert(FitsEveryImage(sizeof(PlainScratch)), "fits behind every accepted image");

// --- Binary images -------------------------------------------------------------------------------

// 255 is -1 in a byte: sums are of white pixels, negative.
struct VoteFilter {
    QORFP_INLINE static RowShares<U8x16> Share(const uint8_t* pixels) {
        const U8x16 sums = LoadVector<U8x16>(pixels - 1) + LoadVector<U8x16>(pixels) +
                           LoadVector<U8x16>(pixels + 1);
        return {sums, sums};
    }
    QORFP_INLINE static U8x16 Finish(U8x16 sums) {
        constexpr int8_t kMinority = -4;
        return AsLanes<U8x16>(AsLanes<I8x16>(sums) < kMinority);
    }
};

void RemoveBinary(uint8_t* image, int32_t width, int32_t height, BinaryScratch* scratch) {
    ForEachBand<1>(image, width, height, 1, height - 1, scratch->copies, width, kMostBandCopies,
                   [=](const uint8_t* above, int32_t top, int32_t rows) {
                       uint8_t* out = image + top * width;
                       FilterBand(above, width, rows, 1, width - 1, out, width, VoteFilter{});
                       for (int32_t row = 0; row < rows; ++row) {
                           out[row * width] = 255;
                           out[row * width + width - 1] = 255;
                       }
                   });
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

void qorfp::RemoveNoiseOf(uint8_t* buffer, int32_t width, int32_t height, bool isKnownBinary) {
    const ExtractLayout layout = LayOutExtract(width, height);
    if (!layout.isUsable || !HasRoom(layout.periodMap, sizeof(PlainScratch))) {
        return;
    }
    uint8_t* scratch = buffer + layout.periodMap;
    if (height > 2 && width > kVectorBytes + 1 &&
        HasRoom(layout.periodMap, sizeof(BinaryScratch)) &&
        (isKnownBinary || IsBinary(buffer, width, height))) {
        const StageMemory memory(buffer,
                                 {ImageOf(layout), ScratchOf<BinaryScratch>(layout.periodMap)});
        RemoveBinary(buffer, width, height, WorkAt<BinaryScratch>(scratch));
    } else {
        const StageMemory memory(buffer,
                                 {ImageOf(layout), ScratchOf<PlainScratch>(layout.periodMap)});
        RemoveAny(buffer, width, height, WorkAt<PlainScratch>(scratch));
    }
    memset(buffer, 255, static_cast<size_t>(width));
    memset(buffer + (height - 1) * width, 255, static_cast<size_t>(width));
}

void RemoveNoise(uint8_t* buffer, int32_t width, int32_t height) {
    RemoveNoiseOf(buffer, width, height, false);
}
