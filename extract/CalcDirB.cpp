// SPDX-License-Identifier: Apache-2.0
//
// Orientation field of the binarised image: new ridge directions under the old mask.

#include <stddef.h>
#include <string.h>

#include "extract/BlockGradients.h"
#include "extract/FPExtract.h"
#include "extract/FixedMath.h"
#include "extract/GradientWindow.h"

namespace {

using namespace qorfp;

constexpr int32_t kReach = 3;  // windows of 7 x 7 blocks
constexpr int32_t kSumRows = 3;

struct CalcDirBScratch {
    uint16_t sumsAcross[kSumRows][sizeof(PixelRow)];  // rings: row y in row y % their length
    PixelRow smoothed[kRowsOfBlock];
    GradientRow gradients;
    ProductRow differences;
    ProductRow mixed;
    WindowSum<int32_t> differenceWindow;
    WindowSum<int32_t> mixedWindow;
    WindowRow differenceSums;
    WindowRow mixedSums;
    OrientationRow orientations;
    OrientationRow directions;
};
static_assert(FitsEveryImage(sizeof(CalcDirBScratch)), "fits behind every accepted image");

// The part of an image that its blocks cover.
struct Covered {
    const uint8_t* image;
    int32_t width;
    int32_t lastColumn;
    int32_t lastRow;

    const uint8_t* Row(int32_t y) const { return image + y * width; }

    // Columns 1 .. lastColumn - 1 are smoothed. On a narrow image a vector takes in pixels of the
    // rows below and, at its end, of the map behind; what becomes of them is not used.
    ptrdiff_t EndOfSmoothed() const { return Max(lastColumn, 1 + kVectorBytes); }
};

// Three pixels across, weighted 1 2 1, and the row's share in the rounding: weighted 1 2 1 again,
// the twos of three rows make 8.
U16x16 SumAcross(const uint8_t* pixels) {
    const U16x16 centre = Widen(LoadVector<U8x16>(pixels));
    return Widen(LoadVector<U8x16>(pixels - 1)) + centre + centre +
           Widen(LoadVector<U8x16>(pixels + 1)) + 2;
}

void SumFirstRows(const Covered& covered, CalcDirBScratch* scratch) {
    for (int32_t y = 0; y < 2; ++y) {
        const uint8_t* pixels = covered.Row(y);
        uint16_t* sums = scratch->sumsAcross[y];
        ForEachVector(1, covered.EndOfSmoothed(),
                      [=](ptrdiff_t x) { StoreLanes(SumAcross(pixels + x), sums + x); });
    }
}

// Binomial 3 x 3 smoothing of a row. The outermost rows and columns stay as they are: smoothing
// would look beyond the covered part. Rows 1, 2, ... must be smoothed in this order.
void SmoothRow(const Covered& covered, int32_t y, CalcDirBScratch* scratch) {
    const uint8_t* pixels = covered.Row(y);
    uint8_t* out = scratch->smoothed[y % kRowsOfBlock];
    if (y == 0 || y == covered.lastRow) {
        memcpy(out, pixels, static_cast<size_t>(covered.lastColumn) + 1);
        return;
    }
    const uint8_t* next = covered.Row(y + 1);
    const uint16_t* above = scratch->sumsAcross[(y - 1) % kSumRows];
    const uint16_t* here = scratch->sumsAcross[y % kSumRows];
    uint16_t* below = scratch->sumsAcross[(y + 1) % kSumRows];
    ForEachVector(1, covered.EndOfSmoothed(), [=](ptrdiff_t x) {
        const U16x16 nextSums = SumAcross(next + x);
        StoreLanes(nextSums, below + x);
        const U16x16 hereSums = LoadLanes(here + x);
        const U16x16 sums = LoadLanes(above + x) + hereSums + hereSums + nextSums;
        StoreVector(Narrow(sums >> 4), out + x);
    });
    out[0] = pixels[0];
    out[covered.lastColumn] = pixels[covered.lastColumn];
}

void FindProducts(const Covered& covered, int32_t blockRow, int32_t blockColumns,
                  CalcDirBScratch* scratch) {
    const int32_t top = kBlockSide * blockRow;
    const uint8_t* rows[kRowsOfBlock];
    for (int32_t row = 0; row < kRowsOfBlock; ++row) {
        if (row > 0 || top == 0) {
            SmoothRow(covered, top + row, scratch);
        }
        rows[row] = scratch->smoothed[(top + row) % kRowsOfBlock];
    }
    FindGradients(rows, blockColumns, &scratch->gradients);
    for (int32_t column = 0; column < blockColumns; column += 8) {
        const I16x8 x = LoadVector<I16x8>(scratch->gradients.x + column);
        const I16x8 y = LoadVector<I16x8>(scratch->gradients.y + column);
        StoreVector(x * x - y * y, scratch->differences + column);
        StoreVector(x * y, scratch->mixed + column);
    }
}

// Gives a row of the map the orientations; its background bits stay.
void WriteRow(int32_t blockColumns, CalcDirBScratch* scratch, uint8_t* mapRow) {
    for (ptrdiff_t column = 0; column < blockColumns; column += kVectorBytes) {
        const U8x16 flags = LoadVector<U8x16>(mapRow + column) & kBackgroundFlag;
        StoreVector(LoadVector<U8x16>(scratch->orientations + column) | flags,
                    scratch->directions + column);
    }
    memcpy(mapRow, scratch->directions, static_cast<size_t>(blockColumns));
}

}  // namespace

void CalcDirB(uint8_t* buffer, int32_t width, int32_t height) {
    const ExtractLayout layout = LayOutExtract(width, height);
    const int32_t columns = layout.blockColumns;
    if (!layout.isUsable || !HasRoom(layout.periodMap, sizeof(CalcDirBScratch)) || columns == 0 ||
        layout.blockRows == 0) {
        return;
    }
    CalcDirBScratch* scratch = WorkAt<CalcDirBScratch>(buffer + layout.periodMap);
    scratch->differenceWindow.Clear(kReach);
    scratch->mixedWindow.Clear(kReach);
    const Covered covered = {buffer, width, kBlockSide * columns, kBlockSide * layout.blockRows};
    SumFirstRows(covered, scratch);
    for (int32_t entering = 0; entering < layout.blockRows + kReach; ++entering) {
        if (entering < layout.blockRows) {
            FindProducts(covered, entering, columns, scratch);
        } else {
            memset(scratch->differences, 0, sizeof(scratch->differences));
            memset(scratch->mixed, 0, sizeof(scratch->mixed));
        }
        scratch->differenceWindow.Slide(columns, scratch->differences);
        scratch->mixedWindow.Slide(columns, scratch->mixed);
        if (entering < kReach) {
            continue;
        }
        scratch->differenceWindow.SumAcross(columns, &scratch->differenceSums);
        scratch->mixedWindow.SumAcross(columns, &scratch->mixedSums);
        FindOrientations(scratch->differenceSums, scratch->mixedSums, columns,
                         &scratch->orientations);
        WriteRow(columns, scratch, buffer + layout.directionMap + (entering - kReach) * columns);
    }
}
