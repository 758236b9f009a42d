// SPDX-License-Identifier: Apache-2.0
//
// A row is overwritten while the row below still needs it; so what the rows need of each other, the
// sums of three neighbours in a row, is taken one row ahead.

#include "preprocess/Mean3x3.h"

#include <stddef.h>
#include <string.h>

namespace {

using namespace qorfp;

// sum / count for the sum of 2 to 9 pixels is (sum x reciprocal) >> 16.
constexpr uint16_t ReciprocalOf(int32_t count) {
    return static_cast<uint16_t>((65536 + count - 1) / count);
}

constexpr uint8_t Divide(int32_t sum, uint16_t reciprocal) {
    return static_cast<uint8_t>(static_cast<uint32_t>(sum) * reciprocal >> 16);
}

constexpr bool DividesExactly(int32_t count) {
    for (int32_t sum = 0; sum <= 255 * count; ++sum) {
        if (Divide(sum, ReciprocalOf(count)) != sum / count) {
            return false;
        }
    }
    return true;
}
static_assert(DividesExactly(2) && DividesExactly(3) && DividesExactly(4) && DividesExactly(6) &&
                  DividesExactly(9),
              "exact for every sum of every window");

// By the number of rows in the window.
constexpr uint16_t kEndReciprocals[4] = {0, ReciprocalOf(2), ReciprocalOf(4), ReciprocalOf(6)};
constexpr uint16_t kInsideReciprocals[4] = {0, ReciprocalOf(3), ReciprocalOf(6), ReciprocalOf(9)};

// The sum of each pixel and its neighbours to the left and right, for 16 pixels from `pixels` on.
U16x16 SumAcross(const uint8_t* pixels) {
    return Widen(LoadVector<U8x16>(pixels - 1)) + Widen(LoadVector<U8x16>(pixels)) +
           Widen(LoadVector<U8x16>(pixels + 1));
}

// The same for the row's ends, which have one neighbour.
void SumAtEnds(int32_t width, const uint8_t* row, uint16_t* sums) {
    const int32_t last = width - 1;
    sums[0] = static_cast<uint16_t>(row[0] + row[1]);
    sums[last] = static_cast<uint16_t>(row[last - 1] + row[last]);
}

// Sums across three rows, of which the middle one is written. Rows outside the image are 0.
struct Window {
    uint16_t* above;
    uint16_t* here;
    uint16_t* below;
    int32_t rowCount;  // of the image

    uint8_t MeanAtEnd(int32_t x) const {
        return Divide(above[x] + here[x] + below[x], kEndReciprocals[rowCount]);
    }
};

// One row of means; belowAt(x) are the sums below.
template <class BelowAt>
void WriteMeans(int32_t width, const Window& window, BelowAt belowAt, uint8_t* out) {
    const uint16_t* above = window.above;
    const uint16_t* here = window.here;
    const uint16_t reciprocal = kInsideReciprocals[window.rowCount];
    ForEachVector(1, width - 1, [=](ptrdiff_t x) {
        const U16x16 sum = LoadLanes(above + x) + LoadLanes(here + x) + belowAt(x);
        StoreVector(Narrow(MultiplyHigh(sum, reciprocal)), out + x);
    });
    out[0] = window.MeanAtEnd(0);
    out[width - 1] = window.MeanAtEnd(width - 1);
}

}  // namespace

void qorfp::Mean3x3(int32_t width, int32_t height, uint8_t* image, uint16_t* sumRows) {
    const size_t sumRowBytes = static_cast<size_t>(width) * sizeof(sumRows[0]);
    Window window = {sumRows, sumRows + width, sumRows + 2 * width, 1};
    memset(window.above, 0, sumRowBytes);
    SumAtEnds(width, image, window.here);
    ForEachVector(1, width - 1,
                  [=](ptrdiff_t x) { StoreLanes(SumAcross(image + x), window.here + x); });
    uint8_t* row = image;
    for (int32_t y = 0; y < height - 1; ++y) {
        const uint8_t* next = row + width;
        uint16_t* below = window.below;
        SumAtEnds(width, next, below);
        const auto enterNext = [=](ptrdiff_t x) {
            const U16x16 sums = SumAcross(next + x);
            StoreLanes(sums, below + x);
            return sums;
        };
        window.rowCount = y == 0 ? 2 : 3;
        WriteMeans(width, window, enterNext, row);
        window = {window.here, below, window.above, 2};
        row += width;
    }
    memset(window.below, 0, sumRowBytes);
    WriteMeans(
        width, window, [](ptrdiff_t) { return U16x16{}; }, row);
}
