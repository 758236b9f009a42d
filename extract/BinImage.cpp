// SPDX-License-Identifier: Apache-2.0
//
// Binarisation by local means: 0 where a pixel is darker than its surroundings (ridge), else 255.
//
// The sums are 16-bit numbers, in rows of the even and rows of the odd columns: so they come out of
// vectors of bytes, and so the results go back.

#include <stddef.h>
#include <string.h>

#include "extract/ExtractLayout.h"
#include "extract/FPExtract.h"
#include "extract/FixedMath.h"
#include "extract/RowBands.h"

namespace {

using namespace qorfp;

constexpr uint8_t kBackground = 255;

constexpr int32_t kRingDistance = 3;     // BinImageA: eight pixels on a square ring
constexpr int32_t kRingBandCopies = 96;  // a strip takes every third row of a band
constexpr int32_t kRingMinWidth = 2 * kRingDistance + kVectorBytes;

constexpr int32_t kBoxReach = 5;  // BinImageB: an 11 x 11 box
constexpr int32_t kBoxRows = 2 * kBoxReach + 1;

constexpr int32_t kLanes = kVectorBytes / 2;
constexpr int32_t kPairs = kMaxStageWidth / 2;
static_assert(kMaxStageWidth % kVectorBytes == 0, "whole vectors");

// A number for each column.
struct SplitRow {
    uint16_t even[kPairs];
    uint16_t odd[kPairs];
};

struct BinImageAScratch {
    uint8_t copies[kRingBandCopies * kMaxStageWidth];
    uint8_t narrow[kRingBandCopies * kRingMinWidth];  // results of a band of narrow rows
};
static_assert(FitsEveryImage(sizeof(BinImageAScratch)), "fits behind every accepted image");

// Zeros beyond either end of a row of sums stand for the columns outside the image.
struct BinImageBScratch {
    SplitRow rows[kBoxRows];                      // the pixels of the rows in the box
    uint16_t evenSums[kLanes + kPairs + kLanes];  // of each column
    uint16_t oddSums[kLanes + kPairs + kLanes];
    uint16_t pairSums[kLanes + kPairs + kLanes];  // of an even column and the odd one after it
    SplitRow columnCounts;                        // columns in the box
    uint8_t line[kMaxStageWidth];                 // zeros behind the row's end
    uint8_t out[kMaxStageWidth];
};
static_assert(FitsEveryImage(sizeof(BinImageBScratch)), "fits behind every accepted image");

U16x8 Load(const uint16_t* from) {
    return LoadVector<U16x8>(from);
}

// 0 where a sum is greater than its limit, else 255. All at most 32,767.
U8x16 Binarise(U16x8 evenSums, U16x8 evenLimits, U16x8 oddSums, U16x8 oddLimits) {
    return ~JoinMasks(AsLanes<I16x8>(evenSums) > AsLanes<I16x8>(evenLimits),
                      AsLanes<I16x8>(oddSums) > AsLanes<I16x8>(oddLimits));
}

// The eight pixels' sum is greater than 8 x the pixel exactly when the sum of all nine is greater
// than 9 x the pixel. The rows of the ring are three apart.
struct RingFilter {
    U16x8 nine = Factor(9);

    QORFP_INLINE RowShares<U16x16> Share(const uint8_t* pixels) const {
        const U16x16 centre = Split(LoadVector<U8x16>(pixels));
        const U16x16 sums = Split(LoadVector<U8x16>(pixels - kRingDistance)) + centre +
                            Split(LoadVector<U8x16>(pixels + kRingDistance));
        return {sums - centre * nine, sums};
    }
    QORFP_INLINE static U8x16 Finish(U16x16 differences) {
        return ~JoinMasks(AsLanes<I16x8>(differences.low) > 0,
                          AsLanes<I16x8>(differences.high) > 0);
    }
};

// Binarises a band of rows of `stride` bytes, but for their first and last three pixels.
void BinariseByRing(const uint8_t* above, int32_t stride, int32_t rows, uint8_t* out) {
    for (int32_t row = 0; row < Min(kRingDistance, rows); ++row) {
        FilterBand(above + row * stride, kRingDistance * stride,
                   (rows - row + kRingDistance - 1) / kRingDistance, kRingDistance,
                   stride - kRingDistance, out + row * stride, kRingDistance * stride,
                   RingFilter{});
    }
}

// Replaces the oldest row of the box, row y - 11, by row y.
void AdvanceBox(int32_t y, int32_t width, const uint8_t* pixels, BinImageBScratch* scratch) {
    SplitRow* row = &scratch->rows[y % kBoxRows];
    for (int32_t i = 0; 2 * i < width; i += kLanes) {
        const U8x16 entering = LoadVector<U8x16>(pixels + 2 * i);
        const U16x8 even = EvenBytes(entering);
        const U16x8 odd = OddBytes(entering);
        const U16x8 evenSum = Load(scratch->evenSums + kLanes + i) + even - Load(row->even + i);
        const U16x8 oddSum = Load(scratch->oddSums + kLanes + i) + odd - Load(row->odd + i);
        StoreVector(even, row->even + i);
        StoreVector(odd, row->odd + i);
        StoreVector(evenSum, scratch->evenSums + kLanes + i);
        StoreVector(oddSum, scratch->oddSums + kLanes + i);
        StoreVector(evenSum + oddSum, scratch->pairSums + kLanes + i);
    }
}

// Binarises row y, in the middle of the box. The boxes of an even column and of the odd one after it
// have five pairs of columns in common, and one column more each.
void BinariseByBox(int32_t y, int32_t width, int32_t rowCount, const BinImageBScratch& scratch,
                   uint8_t* out) {
    const SplitRow& row = scratch.rows[y % kBoxRows];
    const SplitRow& columns = scratch.columnCounts;
    const uint16_t rows = static_cast<uint16_t>(rowCount);
    for (int32_t i = 0; 2 * i < width; i += kLanes) {
        const uint16_t* pairs = scratch.pairSums + kLanes + i;
        const U16x8 common =
            Load(pairs - 2) + Load(pairs - 1) + Load(pairs) + Load(pairs + 1) + Load(pairs + 2);
        StoreVector(Binarise(common + Load(scratch.oddSums + kLanes + i - 3),
                             Load(columns.even + i) * rows * Load(row.even + i),
                             common + Load(scratch.evenSums + kLanes + i + 3),
                             Load(columns.odd + i) * rows * Load(row.odd + i)),
                    out + 2 * i);
    }
}

// How many of size pixels lie within the box's reach of one.
int32_t CountInReach(int32_t at, int32_t size) {
    return Min(at, kBoxReach) + 1 + Min(size - 1 - at, kBoxReach);
}

}  // namespace

void BinImageA(uint8_t* buffer, int32_t width, int32_t height) {
    const ExtractLayout layout = LayOutExtract(width, height);
    if (!layout.isUsable || !HasRoom(layout.periodMap, sizeof(BinImageAScratch))) {
        return;
    }
    constexpr int32_t kFrame = kRingDistance;
    if (width <= 2 * kFrame || height <= 2 * kFrame) {
        memset(buffer, kBackground, static_cast<size_t>(width * height));
        return;
    }
    const StageMemory memory(buffer,
                             {ImageOf(layout), ScratchOf<BinImageAScratch>(layout.periodMap)});
    BinImageAScratch* scratch = WorkAt<BinImageAScratch>(buffer + layout.periodMap);
    const int32_t stride = Max(width, kRingMinWidth);
    ForEachBand<kRingDistance>(
        buffer, width, height, kFrame, height - kFrame, scratch->copies, stride, kRingBandCopies,
        [=](const uint8_t* above, int32_t top, int32_t rows) {
            uint8_t* band = buffer + top * width;
            uint8_t* out = stride == width ? band : scratch->narrow;
            BinariseByRing(above, stride, rows, out);
            for (int32_t row = 0; row < rows; ++row) {
                if (stride != width) {
                    memcpy(band, out + row * stride, static_cast<size_t>(width));
                }
                memset(band, kBackground, kFrame);
                memset(band + width - kFrame, kBackground, kFrame);
                band += width;
            }
        });
    memset(buffer, kBackground, static_cast<size_t>(kFrame * width));
    memset(buffer + (height - kFrame) * width, kBackground, static_cast<size_t>(kFrame * width));
}

void BinImageB(uint8_t* buffer, int32_t width, int32_t height) {
    const ExtractLayout layout = LayOutExtract(width, height);
    if (!layout.isUsable || !HasRoom(layout.periodMap, sizeof(BinImageBScratch))) {
        return;
    }
    const StageMemory memory(buffer,
                             {ImageOf(layout), ScratchOf<BinImageBScratch>(layout.periodMap)});
    BinImageBScratch* scratch = WorkAt<BinImageBScratch>(buffer + layout.periodMap);
    const size_t rowBytes = static_cast<size_t>(width);
    memset(scratch, 0, sizeof(*scratch));
    for (int32_t x = 0; x < width; ++x) {
        uint16_t* counts = x % 2 == 0 ? scratch->columnCounts.even : scratch->columnCounts.odd;
        counts[x / 2] = static_cast<uint16_t>(CountInReach(x, width));
    }
    // Rows that are not whole vectors are taken, and written, through lines of scratch. Below the
    // last row enter zeros.
    const bool isWhole = width % kVectorBytes == 0;
    for (int32_t entering = 0; entering < height + kBoxReach; ++entering) {
        const uint8_t* row = buffer + entering * width;
        if (entering >= height) {
            row = static_cast<const uint8_t*>(memset(scratch->line, 0, rowBytes));
        } else if (!isWhole) {
            row = static_cast<const uint8_t*>(memcpy(scratch->line, row, rowBytes));
        }
        AdvanceBox(entering, width, row, scratch);
        const int32_t y = entering - kBoxReach;
        if (y >= 0) {
            uint8_t* out = buffer + y * width;
            BinariseByBox(y, width, CountInReach(y, height), *scratch,
                          isWhole ? out : scratch->out);
            if (!isWhole) {
                memcpy(out, scratch->out, rowBytes);
            }
        }
    }
}
