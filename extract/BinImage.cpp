// SPDX-License-Identifier: Apache-2.0
//
// Binarisation by local means: 0 where a pixel is darker than its surroundings (ridge), else 255.
//
// The sums are 16-bit numbers, in rows of the even and rows of the odd columns: so they come out of
// vectors of bytes, and so the results go back. Those of BinImageB become bit rows.

#include <stddef.h>
#include <string.h>

#include "extract/BinaryImage.h"
#include "extract/BitRows.h"
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

// Zeros beyond either end of a row of sums stand for the columns outside the image. All rows lie at
// multiples of 16.
struct BinImageBScratch {
    SplitRow rows[kBoxRows];                      // the pixels of the rows in the box
    uint16_t evenSums[kLanes + kPairs + kLanes];  // of each column
    uint16_t oddSums[kLanes + kPairs + kLanes];
    uint16_t pairSums[kLanes + kPairs + kLanes];  // of an even column and the odd one after it
    SplitRow columnCounts;                        // columns in the box
    SplitRow counts;                              // pixels in the box, in the present row
    uint8_t line[kMaxStageWidth];                 // zeros behind the row's end
    uint8_t outside[kMaxSegment];                 // bits behind the row's end
    uint8_t bits[kMaxSegment + 2];                // a row
    BitRowLine unpacked;
    uint8_t beforeFirstVector[kVectorBytes];  // as many bytes as are skipped
};
static_assert(FitsBeforeBitImages(sizeof(BinImageBScratch)), "fits behind every accepted image");
constexpr int32_t kSumRowBytes = (kLanes + kPairs + kLanes) * 2;
static_assert(kSumRowBytes % kVectorBytes == 0 && sizeof(SplitRow) % kVectorBytes == 0,
              "whole vectors");

U16x8 Load(const uint16_t* from) {
    return LoadVector<U16x8>(from);
}

// Whole vectors from a row's beginning on.
U16x8 LoadWhole(const uint16_t* from) {
    return LoadAligned<U16x8>(from);
}

// What rows give to the ring's test, as the strips of a band add it up: nine times a pixel, less the
// sums of its own row and of the rows above and below.
struct OwnShare {
    U16x8 low;
    U16x8 high;
};

struct RingSums {
    U16x8 low;
    U16x8 high;
};

QORFP_INLINE RingSums operator+(RingSums above, OwnShare own) {
    return {own.low - above.low, own.high - above.high};
}

QORFP_INLINE RingSums operator+(RingSums rest, RingSums below) {
    return {rest.low - below.low, rest.high - below.high};
}

// The eight pixels' sum is greater than 8 x the pixel exactly when the sum of all nine is greater
// than 9 x the pixel. The rows of the ring are three apart.
struct RingFilter {
    struct Shares {
        OwnShare own;
        RingSums neighbours;
    };

    U16x8 nine = Factor(9);
    U16x8 minusOne = Factor(0xFFFF);  // or else compilers make two operations of a comparison

    QORFP_INLINE Shares Share(const uint8_t* pixels) const {
        const U16x16 centre = Split(LoadVector<U8x16>(pixels));
        const U16x16 sums = Split(LoadVector<U8x16>(pixels - kRingDistance)) + centre +
                            Split(LoadVector<U8x16>(pixels + kRingDistance));
        return {{centre.low * nine - sums.low, centre.high * nine - sums.high},
                {sums.low, sums.high}};
    }
    QORFP_INLINE U8x16 Finish(RingSums rests) const {
        return JoinMasks(AsLanes<I16x8>(rests.low) > AsLanes<I16x8>(minusOne),
                         AsLanes<I16x8>(rests.high) > AsLanes<I16x8>(minusOne));
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

// Replaces the oldest row of the box, `row`, by the one at `pixels`.
void AdvanceBox(int32_t width, const uint8_t* pixels, SplitRow* row, BinImageBScratch* scratch) {
    for (int32_t i = 0; 2 * i < width; i += kLanes) {
        const U8x16 entering = LoadVector<U8x16>(pixels + 2 * i);
        const U16x8 even = EvenBytes(entering);
        const U16x8 odd = OddBytes(entering);
        uint16_t* evenSums = scratch->evenSums + kLanes + i;
        uint16_t* oddSums = scratch->oddSums + kLanes + i;
        const U16x8 evenSum = LoadWhole(evenSums) + even - LoadWhole(row->even + i);
        const U16x8 oddSum = LoadWhole(oddSums) + odd - LoadWhole(row->odd + i);
        StoreVector(even, row->even + i);
        StoreVector(odd, row->odd + i);
        StoreVector(evenSum, evenSums);
        StoreVector(oddSum, oddSums);
        StoreVector(evenSum + oddSum, scratch->pairSums + kLanes + i);
    }
}

// Counts the pixels in the boxes of a row, of which `rowCount` rows lie in the image.
void CountInBoxes(int32_t width, int32_t rowCount, BinImageBScratch* scratch) {
    const uint16_t rows = static_cast<uint16_t>(rowCount);
    for (int32_t i = 0; 2 * i < width; i += kLanes) {
        StoreVector(LoadWhole(scratch->columnCounts.even + i) * rows, scratch->counts.even + i);
        StoreVector(LoadWhole(scratch->columnCounts.odd + i) * rows, scratch->counts.odd + i);
    }
}

// Where the last segment begins that has some of `width` pixels; segment 0 for none.
int32_t LastSegment(int32_t width, int32_t segment) {
    int32_t last = (kSegments - 1) * segment;
    while (last > 0 && last >= width) {
        last -= segment;
    }
    return last;
}

// Binarises the row in the middle of the box to a bit row: 0 where a sum is greater than its limit, all
// at most 32,767. The boxes of an even column and of the odd one after it have five pairs of columns in
// common, and one column more each.
void BinariseByBox(const SplitRow& row, int32_t width, int32_t segment,
                   const BinImageBScratch& scratch, uint8_t* bits) {
    for (int32_t j = 0; j < segment; j += kVectorBytes) {
        // From the last segment to the first one, each doubles the bits of those before.
        U16x8 even = {};
        U16x8 odd = {};
        for (ptrdiff_t i = (j + LastSegment(width - j, segment)) / 2; i >= 0; i -= segment / 2) {
            const uint16_t* pairs = scratch.pairSums + kLanes + i;
            const U16x8 common = Load(pairs - 2) + Load(pairs - 1) + Load(pairs + 1) +
                                 Load(pairs + 2) + LoadWhole(pairs);
            const U16x8 evenSums = common + Load(scratch.oddSums + kLanes + i - 3);
            const U16x8 oddSums = common + Load(scratch.evenSums + kLanes + i + 3);
            const U16x8 evenLimits = LoadWhole(scratch.counts.even + i) * LoadWhole(row.even + i);
            const U16x8 oddLimits = LoadWhole(scratch.counts.odd + i) * LoadWhole(row.odd + i);
            // A comparison gives 0 or -1.
            even =
                even + even - AsLanes<U16x8>(AsLanes<I16x8>(evenSums) > AsLanes<I16x8>(evenLimits));
            odd = odd + odd - AsLanes<U16x8>(AsLanes<I16x8>(oddSums) > AsLanes<I16x8>(oddLimits));
        }
        StoreVector(~Join({even, odd}) | LoadVector<U8x16>(scratch.outside + j), bits + j);
    }
    CloseBitRow(bits, segment);
}

// How many of size pixels lie within the box's reach of one.
int32_t CountInReach(int32_t at, int32_t size) {
    return Min(at, kBoxReach) + 1 + Min(size - 1 - at, kBoxReach);
}

// Counts the columns in the boxes, for whole vectors: all but those near the image's sides have all.
void CountColumns(int32_t width, SplitRow* columns) {
    for (int32_t i = 0; 2 * i < width; i += kLanes) {
        StoreVector(EveryLane(kBoxRows), columns->even + i);
        StoreVector(EveryLane(kBoxRows), columns->odd + i);
    }
    for (int32_t side = 0; side < Min(kBoxReach, width); ++side) {
        const uint16_t count = static_cast<uint16_t>(CountInReach(side, width));
        const int32_t both[] = {side, width - 1 - side};
        for (const int32_t x : both) {
            (x % 2 == 0 ? columns->even : columns->odd)[x / 2] = count;
        }
    }
}

// The scratch record, at a multiple of 16.
BinImageBScratch* ScratchIn(uint8_t* buffer, const ExtractLayout& layout) {
    return WorkAt<BinImageBScratch>(FirstVectorAt(buffer + layout.periodMap));
}

// Binarises the image to bit rows or, when there are none to be kept, in place.
void BinariseByBoxes(uint8_t* buffer, int32_t width, int32_t height, BinImageBScratch* scratch,
                     const BitRows* kept) {
    const size_t vectorBytes =
        static_cast<size_t>((width + kVectorBytes - 1) / kVectorBytes * kVectorBytes);
    for (SplitRow& row : scratch->rows) {
        memset(row.even, 0, vectorBytes);
        memset(row.odd, 0, vectorBytes);
    }
    memset(scratch->evenSums, 0, sizeof(scratch->evenSums));
    memset(scratch->oddSums, 0, sizeof(scratch->oddSums));
    memset(scratch->pairSums, 0, sizeof(scratch->pairSums));
    memset(scratch->line, 0, sizeof(scratch->line));
    CountColumns(width, &scratch->columnCounts);
    const BitRows single = {scratch->bits, SegmentOf(width)};
    MarkFrame(width + 1, single.segment, scratch->outside);
    scratch->outside[0] &= 0xFE;
    int32_t rowCount = 0;
    int32_t newest = 0;  // where the next row enters the box
    // Rows that are not whole vectors are taken through a line of scratch. Below the last row enter
    // zeros.
    const bool isWhole = width % kVectorBytes == 0;
    const size_t rowBytes = static_cast<size_t>(width);
    for (int32_t entering = 0; entering < height + kBoxReach; ++entering) {
        const uint8_t* row = buffer + entering * width;
        if (entering >= height) {
            row = static_cast<const uint8_t*>(memset(scratch->line, 0, rowBytes));
        } else if (!isWhole) {
            row = static_cast<const uint8_t*>(memcpy(scratch->line, row, rowBytes));
        }
        AdvanceBox(width, row, &scratch->rows[newest], scratch);
        const int32_t middle =
            newest < kBoxReach ? newest + kBoxRows - kBoxReach : newest - kBoxReach;
        newest = newest + 1 < kBoxRows ? newest + 1 : 0;
        const int32_t y = entering - kBoxReach;
        if (y >= 0) {
            if (CountInReach(y, height) != rowCount) {
                rowCount = CountInReach(y, height);
                CountInBoxes(width, rowCount, scratch);
            }
            BinariseByBox(scratch->rows[middle], width, single.segment, *scratch,
                          kept != nullptr ? kept->Row(y) : single.Row(0));
            if (kept == nullptr) {
                UnpackBitRows(single, 0, 1, &scratch->unpacked, width, buffer + y * width);
            }
        }
    }
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
    BinariseByBoxes(buffer, width, height, ScratchIn(buffer, layout), nullptr);
}

void qorfp::BinImageBToBits(uint8_t* buffer, int32_t width, int32_t height) {
    const ExtractLayout layout = LayOutExtract(width, height);
    const StageMemory memory(
        buffer, {ImageOf(layout), ScratchOf<BinImageBScratch>(layout.periodMap), NewBitImageIn(0)});
    const BitRows kept = BitImage(buffer, 0, width);
    BinariseByBoxes(buffer, width, height, ScratchIn(buffer, layout), &kept);
}
