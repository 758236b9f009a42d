// SPDX-License-Identifier: Apache-2.0
//
// The columns between the first and the last one by vectors; those two have windows of their own.

#include "preprocess/Mean3x3.h"

#include <stddef.h>
#include <string.h>

#include "extract/RowBands.h"

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

struct MeanFilter {
    uint16_t reciprocal;

    // The sum of each pixel and its neighbours to the left and right.
    QORFP_INLINE static RowShares<U16x16> Share(const uint8_t* pixels) {
        const U8x16 centre = LoadVector<U8x16>(pixels);
        const U16x8 pairs = EvenBytes(centre) + OddBytes(centre);
        const U16x16 sums = {pairs + EvenBytes(LoadVector<U8x16>(pixels - 1)),
                             pairs + OddBytes(LoadVector<U8x16>(pixels + 1))};
        return {sums, sums};
    }
    QORFP_INLINE U8x16 Finish(U16x16 sums) const { return Join(MultiplyHigh(sums, reciprocal)); }
};

// The means of a row's first or last pixel; `pixels` are that pixel and its neighbour.
void WriteMeansAtEnd(const uint8_t* pixels, int32_t width, int32_t rows, uint16_t reciprocal,
                     uint8_t* out) {
    const auto sum = [](const uint8_t* row) { return row[0] + row[1]; };
    int32_t here = sum(pixels + width);
    int32_t both = sum(pixels) + here;
    pixels += 2 * width;
    for (int32_t row = 0; row < rows; ++row) {
        const int32_t below = sum(pixels);
        *out = Divide(both + below, reciprocal);
        both = here + below;
        here = below;
        pixels += width;
        out += width;
    }
}

// Rows `top` .. `top` + `rows` - 1, by what `above` and the rows below it hold. Inlined at every call
// it would be there four times.
__attribute__((noinline)) void WriteMeans(const uint8_t* above, int32_t width, int32_t height,
                                          int32_t top, int32_t rows, uint8_t* image) {
    const int32_t rowCount = (top > 0 ? 1 : 0) + 1 + (top < height - 1 ? 1 : 0);
    const uint16_t inside = kInsideReciprocals[rowCount];
    const uint16_t atEnds = kEndReciprocals[rowCount];
    uint8_t* out = image + top * width;
    const int32_t last = width - 1;
    FilterBand(above, width, rows, 1, last, out, width, MeanFilter{inside});
    WriteMeansAtEnd(above, width, rows, atEnds, out);
    WriteMeansAtEnd(above + last - 1, width, rows, atEnds, out + last);
}

}  // namespace

void qorfp::Mean3x3(int32_t width, int32_t height, uint8_t* image, uint8_t* copies,
                    int32_t copyRows) {
    ForEachBand<1>(image, width, height, 0, height, copies, width, copyRows,
                   [=](const uint8_t* above, int32_t top, int32_t rows) {
                       WriteMeans(above, width, height, top, rows, image);
                   });
}

void qorfp::Mean3x3Apart(int32_t width, int32_t height, const uint8_t* source, uint8_t* out,
                         uint8_t* edge) {
    // The first and the last row, with an empty one beyond them.
    const size_t rowBytes = static_cast<size_t>(width);
    memset(edge, 0, rowBytes);
    memcpy(edge + width, source, 2 * rowBytes);
    WriteMeans(edge, width, height, 0, 1, out);
    memcpy(edge, source + (height - 2) * width, 2 * rowBytes);
    memset(edge + 2 * width, 0, rowBytes);
    WriteMeans(edge, width, height, height - 1, 1, out);
    ForEachInnerBand(source, width, height, [=](const uint8_t* above, int32_t top, int32_t rows) {
        WriteMeans(above, width, height, top, rows, out);
    });
}
