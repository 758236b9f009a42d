// SPDX-License-Identifier: Apache-2.0
//
// Two windows slide down the image: the one of the local means, and, four rows behind, the one of
// the deviations from them. Each is kept as the sums of its columns. Rows are worked through as whole
// vectors; behind an image's last column all is 0.

#include "preprocess/Normalize9x9.h"

#include <string.h>

namespace {

using namespace qorfp;

constexpr int32_t kReach = kReachOf9x9;
constexpr int32_t kSide = kSideOf9x9;
constexpr int32_t kMinCount = kReach + 1;  // rows or columns of a window in a corner
constexpr int32_t kCounts = kSide - kMinCount + 1;
static_assert(kCounts == Normalize9x9Scratch::kRowCounts, "one row of reciprocals each");

// --- Division by the number of pixels in a window -------------------------------------------

// sum / (rows x columns) = (sum x reciprocal) >> 16 >> shift. The shift goes by the rows alone, so
// that it is the same for a whole row of windows.
constexpr int32_t ShiftFor(int32_t rows) {
    return rows < 7 ? 4 : 5;
}

// By rows and columns, from kMinCount on.
struct CountReciprocals {
    uint16_t at[kCounts][kCounts];
};

constexpr CountReciprocals MakeCountReciprocals() {
    CountReciprocals table = {};
    for (int32_t rows = kMinCount; rows <= kSide; ++rows) {
        for (int32_t columns = kMinCount; columns <= kSide; ++columns) {
            const int32_t pixels = rows * columns;
            const int32_t one = 1 << (16 + ShiftFor(rows));
            table.at[rows - kMinCount][columns - kMinCount] =
                static_cast<uint16_t>((one + pixels - 1) / pixels);
        }
    }
    return table;
}
constexpr CountReciprocals kCountReciprocals = MakeCountReciprocals();

// A reciprocal is too large by excess / pixels, less than 1. Of the largest sum, 255 x pixels, that
// must make less than the 1 / pixels by which a quotient can lie below the next whole number.
constexpr bool CountReciprocalsAreExact() {
    for (int32_t rows = kMinCount; rows <= kSide; ++rows) {
        for (int32_t columns = kMinCount; columns <= kSide; ++columns) {
            const int32_t pixels = rows * columns;
            const int32_t one = 1 << (16 + ShiftFor(rows));
            const int32_t excess =
                kCountReciprocals.at[rows - kMinCount][columns - kMinCount] * pixels - one;
            if (excess < 0 || excess >= pixels || 255 * pixels * excess >= one) {
                return false;
            }
        }
    }
    return true;
}
static_assert(CountReciprocalsAreExact(), "every mean is the truncated quotient");

// Rows (or columns) of the window around a row that lie in the image.
int32_t CountAround(int32_t y, int32_t height) {
    const int32_t above = y < kReach ? y : kReach;
    const int32_t below = height - 1 - y < kReach ? height - 1 - y : kReach;
    return above + 1 + below;
}

// Behind the last column they are 0: so are the means there, and the deviations from them.
void FillReciprocals(int32_t width, Normalize9x9Scratch* scratch) {
    memset(scratch->reciprocals, 0, sizeof(scratch->reciprocals));
    for (int32_t x = 0; x < width; ++x) {
        const int32_t columns = CountAround(x, width);
        for (int32_t rows = 0; rows < kCounts; ++rows) {
            Normalize9x9Scratch::Reciprocals& row = scratch->reciprocals[rows];
            (x % 2 == 0 ? row.even : row.odd)[x / 2] =
                kCountReciprocals.at[rows][columns - kMinCount];
        }
    }
}

// --- Windows --------------------------------------------------------------------------------

using Columns = Normalize9x9Scratch::Columns;

U16x8 Load(const uint16_t* from) {
    return LoadVector<U16x8>(from);
}

// Sixteen columns, from column 2 i on, after a row has entered the window and another has left it.
void SlideAt(int32_t i, U8x16 entering, U8x16 leaving, Columns* columns) {
    const int32_t at = Normalize9x9Scratch::kEdge + i;
    const U16x8 even = EvenBytes(entering) - EvenBytes(leaving);
    const U16x8 odd = OddBytes(entering) - OddBytes(leaving);
    StoreVector(Load(columns->even + at) + even, columns->even + at);
    StoreVector(Load(columns->pairs + at) + even + odd, columns->pairs + at);
}

// Inlined at both calls it would be half of the stage.
__attribute__((noinline)) void Slide(int32_t width, const uint8_t* entering, const uint8_t* leaving,
                                     Columns* columns) {
    for (int32_t i = 0; 2 * i < width; i += kVectorBytes / 2) {
        SlideAt(i, LoadVector<U8x16>(entering + 2 * i), LoadVector<U8x16>(leaving + 2 * i),
                columns);
    }
}

// The means over the windows around a row's pixels.
class WindowMeans {
  public:
    WindowMeans(const Columns& columns, int32_t rows, const Normalize9x9Scratch& scratch)
        : columns_(columns),
          reciprocals_(scratch.reciprocals[rows - kMinCount]),
          shift_(ShiftFor(rows)) {}

    // Of sixteen pixels, from column 2 i on. The window around an even column begins with four pairs of
    // columns; the one around the odd column after it, too, but for the first of these columns.
    U8x16 At(int32_t i) const {
        const int32_t at = Normalize9x9Scratch::kEdge + i;
        const uint16_t* pairs = columns_.pairs + at;
        const U16x8 four = Load(pairs - 2) + Load(pairs - 1) + Load(pairs) + Load(pairs + 1);
        const U16x16 sums = {four + Load(columns_.even + at + 2),
                             four + Load(pairs + 2) - Load(columns_.even + at - 2)};
        const U16x16 reciprocals = {Load(reciprocals_.even + i), Load(reciprocals_.odd + i)};
        return Join(MultiplyHigh(sums, reciprocals) >> shift_);
    }

  private:
    const Columns& columns_;
    const Normalize9x9Scratch::Reciprocals& reciprocals_;
    int32_t shift_;
};

// Writes a row of means, over windows of as many rows. The deviations from them enter their window,
// and those of the row kSide above, in whose place they are kept, leave it.
void WriteMeans(int32_t width, int32_t rows, const uint8_t* pixels, uint8_t* means,
                uint8_t* deviations, Normalize9x9Scratch* scratch) {
    const WindowMeans window(scratch->pixelColumns, rows, *scratch);
    for (int32_t i = 0; 2 * i < width; i += kVectorBytes / 2) {
        const U8x16 here = LoadVector<U8x16>(pixels + 2 * i);
        const U8x16 mean = window.At(i);
        const U8x16 deviation = Greatest(mean, here) - Least(mean, here);
        const U8x16 leaving = LoadVector<U8x16>(deviations + 2 * i);
        StoreVector(mean, means + 2 * i);
        StoreVector(deviation, deviations + 2 * i);
        SlideAt(i, deviation, leaving, &scratch->deviationColumns);
    }
}

// --- Stretch --------------------------------------------------------------------------------

// 255 / range in 1/256, rounded up; of 0, 0.
struct RangeReciprocals {
    uint16_t at[256];
};

constexpr RangeReciprocals MakeRangeReciprocals() {
    RangeReciprocals table = {};
    for (int32_t range = 1; range < 256; ++range) {
        table.at[range] = static_cast<uint16_t>((255 * 256 + range - 1) / range);
    }
    return table;
}
constexpr RangeReciprocals kRangeReciprocals = MakeRangeReciprocals();

// 255 x inside / range, for inside <= range; 0 where both are 0.
U16x8 Stretch(U16x8 inside, U16x8 range, U16x8 reciprocal) {
    const U16x8 inside256 = inside << 8;
    const U16x8 estimate = MultiplyHigh(inside256, reciprocal);  // the quotient, or one more
    const U16x8 rest = inside256 - inside - estimate * range;    // -range .. range - 1
    return estimate + AsLanes<U16x8>(AsLanes<I16x8>(rest) >> 15);
}

constexpr bool EstimatesAreCloseEnough() {
    for (int32_t range = 1; range < 256; ++range) {
        for (int32_t inside = 0; inside <= range; ++inside) {
            const int32_t quotient = 255 * inside / range;
            const int32_t estimate = inside * kRangeReciprocals.at[range] >> 8;
            if (estimate != quotient && estimate != quotient + 1) {
                return false;
            }
        }
    }
    return true;
}
static_assert(EstimatesAreCloseEnough(), "the sign of the rest tells which");

// For each pixel the range of its band, which is 0 where there is no deviation, and where in it the
// pixel lies.
void FindRanges(int32_t width, int32_t rows, const uint8_t* pixels, const uint8_t* means,
                Normalize9x9Scratch* scratch) {
    const WindowMeans window(scratch->deviationColumns, rows, *scratch);
    for (int32_t i = 0; 2 * i < width; i += kVectorBytes / 2) {
        const U8x16 here = LoadVector<U8x16>(pixels + 2 * i);
        const U8x16 mean = LoadVector<U8x16>(means + 2 * i);
        const U8x16 deviation = window.At(i);
        const U8x16 low = SubtractToZero(mean, deviation);
        const U8x16 range = AddTo255(mean, deviation) - low;
        StoreVector(range, scratch->ranges + 2 * i);
        StoreVector(Least(SubtractToZero(here, low), range), scratch->insides + 2 * i);
    }
}

// A loop of its own: the ranges are looked up as bytes, which had to wait for them if they had been
// stored just before. A flat neighbourhood keeps its pixel; often whole vectors are flat.
void StretchRow(int32_t width, const uint8_t* pixels, const Normalize9x9Scratch& scratch,
                uint8_t* out) {
    for (int32_t x = 0; x < width; x += kVectorBytes) {
        const uint8_t* at = scratch.ranges + x;
        const U8x16 ranges = LoadVector<U8x16>(at);
        const U8x16 isFlat = AsLanes<U8x16>(ranges == U8x16{});
        U8x16 result = LoadVector<U8x16>(pixels + x);
        if (!HasAll(isFlat)) {
            const U16x16 range = Split(ranges);
            const U16x16 inside = Split(LoadVector<U8x16>(scratch.insides + x));
            const uint16_t* table = kRangeReciprocals.at;
            const U16x16 stretched = {
                Stretch(inside.low, range.low, LookUpEight<2>(table, at)),
                Stretch(inside.high, range.high, LookUpEight<2>(table, at + 1))};
            result = Join(stretched) | (result & isFlat);
        }
        StoreVector(result, out + x);
    }
}

void ClearBehind(int32_t width, uint8_t* row) {
    memset(row + width, 0, static_cast<size_t>(-width & (kVectorBytes - 1)));
}

}  // namespace

void qorfp::Normalize9x9(int32_t width, int32_t height, const uint8_t* source, uint8_t* out,
                         Normalize9x9Scratch* scratch) {
    memset(&scratch->pixelColumns, 0, sizeof(scratch->pixelColumns));
    memset(&scratch->deviationColumns, 0, sizeof(scratch->deviationColumns));
    memset(scratch->deviations, 0, sizeof(scratch->deviations));
    memset(scratch->emptyRow, 0, sizeof(scratch->emptyRow));
    FillReciprocals(width, scratch);

    const bool isWhole = width % kVectorBytes == 0;
    const size_t rowBytes = static_cast<size_t>(width);
    const auto isInside = [=](int32_t y) { return y >= 0 && y < height; };
    const auto pixelRow = [=](int32_t y) {
        return !isInside(y) ? scratch->emptyRow
               : isWhole    ? source + y * width
                            : scratch->pixels[y % kSide];
    };
    // Row y enters the window of the means around row y - 4; of these, the window of the
    // deviations around row y - 8.
    for (int32_t y = 0; y < height + 2 * kReach; ++y) {
        const uint8_t* entering = pixelRow(y);
        const uint8_t* leaving = pixelRow(y - kSide);
        if (!isWhole && isInside(y)) {
            leaving = static_cast<uint8_t*>(memcpy(scratch->out, leaving, rowBytes));
            ClearBehind(width, scratch->out);
            memcpy(scratch->pixels[y % kSide], source + y * width, rowBytes);
            ClearBehind(width, scratch->pixels[y % kSide]);
        }
        Slide(width, entering, leaving, &scratch->pixelColumns);
        const int32_t meanY = y - kReach;
        if (isInside(meanY)) {
            WriteMeans(width, CountAround(meanY, height), pixelRow(meanY),
                       scratch->means[meanY % kSide], scratch->deviations[meanY % kSide], scratch);
        } else if (meanY >= kSide) {
            Slide(width, scratch->emptyRow, scratch->deviations[meanY % kSide],
                  &scratch->deviationColumns);
        }
        const int32_t outY = meanY - kReach;
        if (isInside(outY)) {
            FindRanges(width, CountAround(outY, height), pixelRow(outY),
                       scratch->means[outY % kSide], scratch);
            StretchRow(width, pixelRow(outY), *scratch, isWhole ? out : scratch->out);
            if (!isWhole) {
                memcpy(out, scratch->out, rowBytes);
            }
            out += width;
        }
    }
}
