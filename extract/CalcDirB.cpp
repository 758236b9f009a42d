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

// Sums across the pixels of a row, in bytes or in 16 bits.
using SumRow = uint8_t[2 * sizeof(PixelRow)];

struct CalcDirBScratch {
    SumRow sumsAcross[kSumRows];  // rings: row y in row y % their length
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

// Binomial 3 x 3 smoothing of any image: sums of three pixels across, weighted 1 2 1, of which three
// are weighted 1 2 1 again.
struct GreySmoothing {
    using Sums = U16x16;

    // With the row's share in the rounding: three times 2, weighted, make 8.
    static Sums Across(const uint8_t* pixels) {
        const U16x16 centre = Widen(LoadVector<U8x16>(pixels));
        return Widen(LoadVector<U8x16>(pixels - 1)) + centre + centre +
               Widen(LoadVector<U8x16>(pixels + 1)) + 2;
    }
    static U8x16 Smoothed(Sums above, Sums here, Sums below) {
        return Narrow((above + here + here + below) >> 4);
    }

    static Sums Load(const SumRow& row, ptrdiff_t x) {
        const uint8_t* at = row + 2 * x;
        return {LoadVector<U16x8>(at), LoadVector<U16x8>(at + kVectorBytes)};
    }
    static void Store(Sums sums, SumRow& row, ptrdiff_t x) {
        uint8_t* at = row + 2 * x;
        StoreVector(sums.low, at);
        StoreVector(sums.high, at + kVectorBytes);
    }
};

// The same of an image of 0 and 255 alone, as BinImageA leaves it. 255 is -1 in a byte, so the sums
// are of white pixels, 0..16 of them, negative: (255 x n + 8) / 16 is 16 x n, less 1 above 8.
struct BinarySmoothing {
    using Sums = U8x16;

    static Sums Across(const uint8_t* pixels) {
        const U8x16 centre = LoadVector<U8x16>(pixels);
        return LoadVector<U8x16>(pixels - 1) + centre + centre + LoadVector<U8x16>(pixels + 1);
    }
    static U8x16 Smoothed(Sums above, Sums here, Sums below) {
        const U8x16 negative = above + here + here + below;
        const U8x16 isAbove8 = AsLanes<U8x16>(AsLanes<I8x16>(negative) < -8);
        return isAbove8 - (negative << 4);
    }

    static Sums Load(const SumRow& row, ptrdiff_t x) { return LoadVector<U8x16>(row + x); }
    static void Store(Sums sums, SumRow& row, ptrdiff_t x) { StoreVector(sums, row + x); }
};

// An image of at least 16 pixels.
bool IsBinary(const uint8_t* image, int32_t pixels) {
    U8x16 greatest = {};
    ForEachVector(0, pixels, [&greatest, image](ptrdiff_t at) {
        greatest = Greatest(greatest, LoadVector<U8x16>(image + at) + 1);  // 255 becomes 0
    });
    return !HasAny(greatest > 1);
}

template <class Smoothing>
void SumFirstRows(const Covered& covered, CalcDirBScratch* scratch) {
    for (int32_t y = 0; y < 2; ++y) {
        const uint8_t* pixels = covered.Row(y);
        SumRow& sums = scratch->sumsAcross[y];
        ForEachVector(1, covered.EndOfSmoothed(), [pixels, &sums](ptrdiff_t x) {
            Smoothing::Store(Smoothing::Across(pixels + x), sums, x);
        });
    }
}

// Smooths a row. The outermost rows and columns stay as they are: smoothing would look beyond the
// covered part. Rows 0, 1, ... must be smoothed in this order.
template <class Smoothing>
void SmoothRow(const Covered& covered, int32_t y, CalcDirBScratch* scratch) {
    const uint8_t* pixels = covered.Row(y);
    uint8_t* out = scratch->smoothed[y % kRowsOfBlock];
    if (y == 0) {
        SumFirstRows<Smoothing>(covered, scratch);
    }
    if (y == 0 || y == covered.lastRow) {
        memcpy(out, pixels, static_cast<size_t>(covered.lastColumn) + 1);
        return;
    }
    const uint8_t* next = covered.Row(y + 1);
    const SumRow& above = scratch->sumsAcross[(y - 1) % kSumRows];
    const SumRow& here = scratch->sumsAcross[y % kSumRows];
    SumRow& below = scratch->sumsAcross[(y + 1) % kSumRows];
    ForEachVector(1, covered.EndOfSmoothed(), [next, out, &above, &here, &below](ptrdiff_t x) {
        const typename Smoothing::Sums nextSums = Smoothing::Across(next + x);
        Smoothing::Store(nextSums, below, x);
        StoreVector(
            Smoothing::Smoothed(Smoothing::Load(above, x), Smoothing::Load(here, x), nextSums),
            out + x);
    });
    out[0] = pixels[0];
    out[covered.lastColumn] = pixels[covered.lastColumn];
}

using RowSmoother = void (*)(const Covered& covered, int32_t y, CalcDirBScratch* scratch);

void FindProducts(const Covered& covered, RowSmoother smoothRow, int32_t blockRow,
                  int32_t blockColumns, CalcDirBScratch* scratch) {
    const int32_t top = kBlockSide * blockRow;
    const uint8_t* rows[kRowsOfBlock];
    for (int32_t row = 0; row < kRowsOfBlock; ++row) {
        if (row > 0 || top == 0) {
            smoothRow(covered, top + row, scratch);
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
    const bool isBinary = width * height >= kVectorBytes && IsBinary(buffer, width * height);
    const RowSmoother smoothRow = isBinary ? SmoothRow<BinarySmoothing> : SmoothRow<GreySmoothing>;
    for (int32_t entering = 0; entering < layout.blockRows + kReach; ++entering) {
        if (entering < layout.blockRows) {
            FindProducts(covered, smoothRow, entering, columns, scratch);
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
