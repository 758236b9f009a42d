// SPDX-License-Identifier: Apache-2.0
//
// Two windows slide down the image: the one of the local means, and, four rows behind, the one of
// the deviations from them. Each is kept as the sums of its columns; nine of these are added as
// three times three.

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

void FillReciprocals(int32_t width, Normalize9x9Scratch* scratch) {
    for (int32_t x = 0; x < width; ++x) {
        const int32_t columns = CountAround(x, width);
        for (int32_t rows = 0; rows < kCounts; ++rows) {
            scratch->reciprocals[rows][x] = kCountReciprocals.at[rows][columns - kMinCount];
        }
    }
}

// --- Windows --------------------------------------------------------------------------------

// The columns after a row has entered the window and another has left it.
void Slide(int32_t width, const uint8_t* entering, const uint8_t* leaving, const uint16_t* before,
           uint16_t* after) {
    const uint16_t* from = before + kReach;
    uint16_t* to = after + kReach;
    ForEachVector(0, width, [=](ptrdiff_t x) {
        StoreLanes(LoadLanes(from + x) + Widen(LoadVector<U8x16>(entering + x)) -
                       Widen(LoadVector<U8x16>(leaving + x)),
                   to + x);
    });
}

// Sums of three columns, from each one on. Inlined at both calls it would double the whole stage.
__attribute__((noinline)) void SumThrees(int32_t width, const uint16_t* columns, uint16_t* threes) {
    ForEachVector(0, width + kSide - 3, [=](ptrdiff_t x) {
        const uint16_t* at = columns + x;
        StoreLanes(LoadLanes(at) + LoadLanes(at + 1) + LoadLanes(at + 2), threes + x);
    });
}

// The means over the windows around a row's pixels.
class WindowMeans {
  public:
    WindowMeans(int32_t width, int32_t rows, const uint16_t* columns, Normalize9x9Scratch* scratch)
        : threes_(scratch->threes),
          reciprocals_(scratch->reciprocals[rows - kMinCount]),
          shift_(ShiftFor(rows)) {
        SumThrees(width, columns, scratch->threes);
    }

    U8x16 At(ptrdiff_t x) const {
        const uint16_t* at = threes_ + x;
        const U16x16 sums = LoadLanes(at) + LoadLanes(at + 3) + LoadLanes(at + 6);
        return Narrow(MultiplyHigh(sums, LoadLanes(reciprocals_ + x)) >> shift_);
    }

  private:
    const uint16_t* threes_;
    const uint16_t* reciprocals_;
    int32_t shift_;
};

void WriteMeans(int32_t width, const WindowMeans& window, const uint8_t* pixels, uint8_t* means,
                uint8_t* deviations) {
    ForEachVector(0, width, [=](ptrdiff_t x) {
        const U8x16 here = LoadVector<U8x16>(pixels + x);
        const U8x16 mean = window.At(x);
        StoreVector(mean, means + x);
        StoreVector(Greatest(mean, here) - Least(mean, here), deviations + x);
    });
}

// --- Stretch --------------------------------------------------------------------------------

// 255 / range in 1/256, rounded up.
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

// 255 x inside / range, for inside <= range and range > 0.
U16x8 Stretch(U16x8 inside, U16x8 range, U16x8 reciprocal) {
    const U16x8 estimate = MultiplyHigh(inside << 8, reciprocal);  // the quotient, or one more
    const U16x8 rest = 255 * inside - estimate * range;            // -range .. range - 1
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

// For each pixel the range of its band, and where in it the pixel lies.
void FindRanges(int32_t width, const uint8_t* pixels, const uint8_t* means,
                const WindowMeans& window, uint8_t* ranges, uint8_t* insides) {
    ForEachVector(0, width, [=](ptrdiff_t x) {
        const U8x16 here = LoadVector<U8x16>(pixels + x);
        const U8x16 mean = LoadVector<U8x16>(means + x);
        const U8x16 deviation = window.At(x);
        const U8x16 down = Least(mean, deviation);
        const U8x16 range = down + Least(~mean, deviation);  // ~mean is 255 - mean
        const U8x16 low = mean - down;
        const U8x16 inside = Least(Greatest(here, low) - low, range);
        // A flat neighbourhood keeps its pixel: that is stretched from 0..255 to 0..255.
        const U8x16 isFlat = AsLanes<U8x16>(range == 0);
        StoreVector(range | isFlat, ranges + x);
        StoreVector(inside | (here & isFlat), insides + x);
    });
}

void StretchRow(int32_t width, const uint8_t* ranges, const uint8_t* insides, uint8_t* out) {
    ForEachVector(0, width, [=](ptrdiff_t x) {
        const U8x16 range = LoadVector<U8x16>(ranges + x);
        const U8x16 inside = LoadVector<U8x16>(insides + x);
        const U16x16 reciprocal = LookUp(kRangeReciprocals.at, ranges + x);
        const U16x8 low = Stretch(WidenLow(inside), WidenLow(range), reciprocal.low);
        const U16x8 high = Stretch(WidenHigh(inside), WidenHigh(range), reciprocal.high);
        StoreVector(Narrow(low, high), out + x);
    });
}

}  // namespace

void qorfp::Normalize9x9(int32_t width, int32_t height, const uint8_t* source, uint8_t* out,
                         Normalize9x9Scratch* scratch) {
    memset(scratch->pixelColumns, 0, sizeof(scratch->pixelColumns));
    memset(scratch->deviationColumns, 0, sizeof(scratch->deviationColumns));
    memset(scratch->emptyRow, 0, sizeof(scratch->emptyRow));
    FillReciprocals(width, scratch);

    const auto isInside = [=](int32_t y) { return y >= 0 && y < height; };
    const auto ring = [](int32_t y) { return y % Normalize9x9Scratch::kRingRows; };
    const auto pixelRow = [=](int32_t y) {
        return isInside(y) ? source + y * width : scratch->emptyRow;
    };
    const auto deviationRow = [=](int32_t y) {
        return isInside(y) ? scratch->deviations[ring(y)] : scratch->emptyRow;
    };
    int32_t before = 0;
    // Row y enters the window of the means around row y - 4; of these, the window of the
    // deviations around row y - 8.
    for (int32_t y = 0; y < height + 2 * kReach; ++y) {
        const int32_t after = 1 - before;
        Slide(width, pixelRow(y), pixelRow(y - kSide), scratch->pixelColumns[before],
              scratch->pixelColumns[after]);
        const int32_t meanY = y - kReach;
        if (isInside(meanY)) {
            const WindowMeans window(width, CountAround(meanY, height),
                                     scratch->pixelColumns[after], scratch);
            WriteMeans(width, window, pixelRow(meanY), scratch->means[ring(meanY)],
                       scratch->deviations[ring(meanY)]);
        }
        Slide(width, deviationRow(meanY), deviationRow(meanY - kSide),
              scratch->deviationColumns[before], scratch->deviationColumns[after]);
        const int32_t outY = meanY - kReach;
        if (isInside(outY)) {
            const WindowMeans window(width, CountAround(outY, height),
                                     scratch->deviationColumns[after], scratch);
            FindRanges(width, pixelRow(outY), scratch->means[ring(outY)], window, scratch->ranges,
                       scratch->insides);
            StretchRow(width, scratch->ranges, scratch->insides, out + outY * width);
        }
        before = after;
    }
}
