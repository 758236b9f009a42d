// SPDX-License-Identifier: Apache-2.0
//
// Orientation field of the binarised image: new ridge directions under the old mask.

#include <stddef.h>
#include <string.h>

#include "extract/BinaryGradients.h"
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
    PixelRow smoothed[kSmoothedRows + 1];  // of a grey image
    EvenColumns edge;
    PixelRow above;  // of a binary one, for its first row
    PixelRow below;  // and for its last one
    BinaryGradientParts parts;
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
struct Smoothing {
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

// Smooths the rows `top` .. `top` + kSmoothedRows, as far as they are covered; the first one is the
// last of the rows before. The outermost rows and columns stay as they are: smoothing would look
// beyond the covered part.
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

void FindGreyGradients(const Covered& covered, int32_t blockRow, int32_t blockColumns,
                       CalcDirBScratch* scratch) {
    const int32_t top = blockRow % kSmoothedBlocks * kBlockSide;
    if (top == 0) {
        SmoothRows(covered, kBlockSide * blockRow, scratch);
    }
    constexpr GreyStretcher kNone(GreyStretch{0, kGreyLevels - 1});
    const uint8_t* first = scratch->smoothed[top];
    if (blockRow == 0) {
        BeginGradients(first, blockColumns, kNone, &scratch->edge);
    }
    FindGradients(first, sizeof(PixelRow), blockColumns, kNone, &scratch->edge,
                  &scratch->gradients);
}

// The same of an image of 0 and 255 alone, as BinImageA leaves it.
void FindBinaryGradients(const Covered& covered, int32_t blockRow, int32_t blockColumns,
                         CalcDirBScratch* scratch) {
    const int32_t top = kBlockSide * blockRow;
    const int32_t bottom = top + kBlockSide;
    RowsAroundBlocks rows = {scratch->above, covered.Row(top), covered.width, scratch->below};
    if (top > 0) {
        rows.above = covered.Row(top - 1);
    } else {
        MakeRowBeyond(covered.Row(0), covered.Row(1), blockColumns, scratch->above);
    }
    if (bottom < covered.lastRow) {
        rows.below = covered.Row(bottom + 1);
    } else {
        MakeRowBeyond(covered.Row(bottom), covered.Row(bottom - 1), blockColumns, scratch->below);
    }
    FindBinaryGradients(rows, blockColumns, &scratch->parts, &scratch->gradients);
}

void FindProducts(const Covered& covered, bool isBinary, int32_t blockRow, int32_t blockColumns,
                  CalcDirBScratch* scratch) {
    const auto find = isBinary ? FindBinaryGradients : FindGreyGradients;
    find(covered, blockRow, blockColumns, scratch);
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
    for (int32_t entering = 0; entering < layout.blockRows + kReach; ++entering) {
        if (entering < layout.blockRows) {
            FindProducts(covered, isBinary, entering, columns, scratch);
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
