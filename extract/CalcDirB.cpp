// SPDX-License-Identifier: Apache-2.0
//
// Orientation field of the binarised image: new ridge directions under the old mask.

#include <stddef.h>
#include <string.h>

#include "extract/BinaryImage.h"
#include "extract/BlockGradients.h"
#include "extract/FPExtract.h"
#include "extract/FixedMath.h"
#include "extract/GradientWindow.h"
#include "extract/RowBands.h"

namespace {

using namespace qorfp;

constexpr int32_t kReach = 3;  // windows of 7 x 7 blocks

// Rows of blocks that are smoothed at a time.
constexpr int32_t kSmoothedBlocks = 8;
constexpr int32_t kSmoothedRows = kSmoothedBlocks * kBlockSide;

struct CalcDirBScratch {
    PixelRow smoothed[kSmoothedRows + 1];
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
    int32_t EndOfSmoothed() const { return Max(lastColumn, 1 + kVectorBytes); }
};

// Binomial 3 x 3 smoothing of any image: sums of three pixels across, weighted 1 2 1, of which three
// are weighted 1 2 1 again.
struct GreySmoothing {
    // With the row's share in the rounding: three times 2, weighted, make 8.
    QORFP_INLINE static RowShares<U16x16> Share(const uint8_t* pixels) {
        const U16x16 centre = Split(LoadVector<U8x16>(pixels));
        const U16x8 pairs = centre.low + centre.high + uint16_t{2};
        const U16x16 sums = {pairs + centre.low + EvenBytes(LoadVector<U8x16>(pixels - 1)),
                             pairs + centre.high + OddBytes(LoadVector<U8x16>(pixels + 1))};
        return {sums + sums, sums};
    }
    QORFP_INLINE static U8x16 Finish(U16x16 sums) { return Join(sums >> 4); }
};

// The same of an image of 0 and 255 alone, as BinImageA leaves it. 255 is -1 in a byte, so the sums
// are of white pixels, 0..16 of them, negative: (255 x n + 8) / 16 is 16 x n, less 1 above 8.
struct BinarySmoothing {
    QORFP_INLINE static RowShares<U8x16> Share(const uint8_t* pixels) {
        const U8x16 centre = LoadVector<U8x16>(pixels);
        const U8x16 sums =
            LoadVector<U8x16>(pixels - 1) + centre + centre + LoadVector<U8x16>(pixels + 1);
        return {sums + sums, sums};
    }
    QORFP_INLINE static U8x16 Finish(U8x16 negative) {
        const U8x16 isAbove8 = AsLanes<U8x16>(AsLanes<I8x16>(negative) < -8);
        return isAbove8 - (negative << 4);
    }
};

// Smooths the rows `top` .. `top` + kSmoothedRows, as far as they are covered; the first one is the
// last of the rows before. The outermost rows and columns stay as they are: smoothing would look
// beyond the covered part.
template <class Smoothing>
void SmoothRows(const Covered& covered, int32_t top, CalcDirBScratch* scratch) {
    PixelRow* smoothed = scratch->smoothed;
    const size_t rowBytes = static_cast<size_t>(covered.lastColumn) + 1;
    memcpy(smoothed[0], top == 0 ? covered.Row(0) : smoothed[kSmoothedRows], rowBytes);
    const int32_t rows = Min(kSmoothedRows, covered.lastRow - top - 1);
    FilterBand(covered.Row(top), covered.width, rows, 1, covered.EndOfSmoothed(), smoothed[1],
               sizeof(PixelRow), Smoothing{});
    for (int32_t row = 1; row <= rows; ++row) {
        smoothed[row][0] = covered.Row(top + row)[0];
        smoothed[row][covered.lastColumn] = covered.Row(top + row)[covered.lastColumn];
    }
    if (rows < kSmoothedRows) {
        memcpy(smoothed[rows + 1], covered.Row(covered.lastRow), rowBytes);
    }
}

using RowSmoother = void (*)(const Covered& covered, int32_t top, CalcDirBScratch* scratch);

void FindProducts(const Covered& covered, RowSmoother smoothRows, int32_t blockRow,
                  int32_t blockColumns, CalcDirBScratch* scratch) {
    const int32_t top = blockRow % kSmoothedBlocks * kBlockSide;
    if (top == 0) {
        smoothRows(covered, kBlockSide * blockRow, scratch);
    }
    const uint8_t* rows[kRowsOfBlock];
    for (int32_t row = 0; row < kRowsOfBlock; ++row) {
        rows[row] = scratch->smoothed[top + row];
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

void qorfp::CalcDirBOf(uint8_t* buffer, int32_t width, int32_t height, bool isKnownBinary) {
    const ExtractLayout layout = LayOutExtract(width, height);
    const int32_t columns = layout.blockColumns;
    if (!layout.isUsable || !HasRoom(layout.periodMap, sizeof(CalcDirBScratch)) || columns == 0 ||
        layout.blockRows == 0) {
        return;
    }
    const StageMemory memory(buffer, {ImageOf(layout), DirectionsOf(layout),
                                      ScratchOf<CalcDirBScratch>(layout.periodMap)});
    CalcDirBScratch* scratch = WorkAt<CalcDirBScratch>(buffer + layout.periodMap);
    scratch->differenceWindow.Clear(kReach);
    scratch->mixedWindow.Clear(kReach);
    const Covered covered = {buffer, width, kBlockSide * columns, kBlockSide * layout.blockRows};
    const bool isBinary = isKnownBinary || IsBinary(buffer, width, height);
    const RowSmoother smoothRows =
        isBinary ? SmoothRows<BinarySmoothing> : SmoothRows<GreySmoothing>;
    for (int32_t entering = 0; entering < layout.blockRows + kReach; ++entering) {
        if (entering < layout.blockRows) {
            FindProducts(covered, smoothRows, entering, columns, scratch);
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

void CalcDirB(uint8_t* buffer, int32_t width, int32_t height) {
    CalcDirBOf(buffer, width, height, false);
}
