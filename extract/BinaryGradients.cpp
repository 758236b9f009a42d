// SPDX-License-Identifier: Apache-2.0
//
// With p(r, c) = 1 for white, and rows and columns from -1 to 5 around a block whose own are 0 to 3,
// the weights are, for the gradient along x and along y (which has the same ones, transposed),
//
//               -1  0  1  2  3  4  5
//          -1    .  .  .  .  .  .  .        U(c) is the sum of column c weighted 1 5 8 5 1 from row 0
//           0    . -1 -2  .  2  1  .        on, W(c) that weighted 1 2 1 from row 1 on, and
//           1   -1 -7 -11 . 11  7  1
//           2   -2 -12 -18 . 18 12 2        x = 2 U(3) + U(4) + W(3) + 2 W(4) + W(5)
//           3   -1 -7 -11 . 11  7  1            - 2 U(1) - U(0) - W(1) - 2 W(0) - W(-1).
//           4    . -1 -2  .  2  1  .
//           5    .  .  .  .  .  .  .
//
// For y, Y1(c) and Y2(c) are differences of rows, which columns 0 .. 4 enter weighted 1 5 8 5 1 and
// columns 1 .. 3 weighted 1 2 1. A vector of 16 bytes holds four columns of four blocks; what column
// 4 or 5 of a block gives is found with the block to the right, whose columns 0 and 1 they are.

#include "extract/BinaryGradients.h"

#include <string.h>

namespace {

using namespace qorfp;

// The parts of four blocks.
struct PartsOfFour {
    I32x4 xOwn;
    I32x4 xToLeft;
    I32x4 xToRight;
    I32x4 yOwn;
    I32x4 yToLeft;
};

#if defined(__SSE2__)
QORFP_INLINE
#else
// On small machines it is there once.
__attribute__((noinline))
#endif
PartsOfFour PartsAt(const RowsAroundBlocks& rows, ptrdiff_t at) {
    constexpr I16x8 kSum = {1, 1, 1, 1, 1, 1, 1, 1};
    constexpr I16x8 kDifference = {-1, 1, -1, 1, -1, 1, -1, 1};
    const uint8_t* first = rows.first + at;
    const auto row = [=](int32_t y) { return LoadVector<U8x16>(first + y * rows.width); };

    // White is 255, or -1: sums are negative, and so taken off.
    const U8x16 middle = row(2);
    const U8x16 sides = row(1) + row(3);
    const U8x16 ends = row(0) + row(4);
    const U8x16 w = U8x16{} - (sides + middle + middle);
    const U8x16 w2 = w + w;
    const U8x16 u = w2 + w2 - sides - ends;
    const U8x16 a = u + u + w;
    const U8x16 b = u + w2;

    const U8x16 nearRows = row(1) - row(3);
    const U8x16 farRows = row(0) - row(4);
    const U8x16 y1 = nearRows + nearRows + farRows;
    const U8x16 y2 = nearRows + farRows + farRows + LoadVector<U8x16>(rows.above + at) -
                     LoadVector<U8x16>(rows.below + at);
    const U8x16 y1x2 = y1 + y1;
    const U8x16 half = y1x2 + y1x2 + y2;  // of what column 2 gives
    const U8x16 odd = half + y1;

    const I32x4 firstB = SignedFourths<0>(b);
    const I32x4 firstY = SignedFourths<0>(y1);
    const I32x4 middleY = SignedFourths<2>(half);
    return {MultiplyPairs(AsLanes<I16x8>(OddBytes(a)), kDifference) - firstB,
            firstB + SignedFourths<1>(w), SignedFourths<3>(w),
            MultiplyPairs(SignedOddBytes(odd), kSum) + middleY + middleY + firstY, firstY};
}

// Sums of a single column of white pixels.
struct WhiteColumn {
    int32_t middle;
    int32_t w;
    int32_t u;

    WhiteColumn(const RowsAroundBlocks& rows, int32_t column) {
        const auto at = [&](int32_t y) { return rows.first[y * rows.width + column] & 1; };
        const int32_t sides = at(1) + at(3);
        middle = at(2);
        w = sides + 2 * middle;
        u = at(0) + sides + 4 * w + at(4);
    }
};

}  // namespace

void qorfp::FindBinaryGradients(const RowsAroundBlocks& rows, int32_t blockColumns,
                                BinaryGradientParts* parts, GradientRow* gradients) {
    for (int32_t column = 0; column <= blockColumns; column += 8) {
        const ptrdiff_t at = column * kBlockSide;
        const PartsOfFour low = PartsAt(rows, at);
        const PartsOfFour high = PartsAt(rows, at + kVectorBytes);
        StoreVector(Narrow(low.xOwn, high.xOwn), parts->xOwn + column);
        StoreVector(Narrow(low.xToLeft, high.xToLeft), parts->xToLeft + column);
        StoreVector(Narrow(low.xToRight, high.xToRight), parts->xToRight + 1 + column);
        StoreVector(Narrow(low.yOwn, high.yOwn), parts->yOwn + column);
        StoreVector(Narrow(low.yToLeft, high.yToLeft), parts->yToLeft + column);
    }
    // The first and the last pixel count as they are, 16 times, not smoothed.
    const int32_t last = kBlockSide * blockColumns;
    const WhiteColumn atLeft(rows, 0);
    const WhiteColumn atRight(rows, last);
    parts->xToRight[0] =
        static_cast<int16_t>(16 * atLeft.middle - 2 * atLeft.w - WhiteColumn(rows, 1).w);
    parts->xToLeft[blockColumns] =
        static_cast<int16_t>(16 * atRight.middle + atRight.u - WhiteColumn(rows, last - 1).w);

    const auto load = [](const int16_t* from) { return LoadVector<I16x8>(from); };
    for (int32_t column = 0; column < blockColumns; column += 8) {
        StoreVector(load(parts->xOwn + column) + load(parts->xToLeft + column + 1) -
                        load(parts->xToRight + column),
                    gradients->x + column);
        StoreVector(load(parts->yOwn + column) + load(parts->yToLeft + column + 1),
                    gradients->y + column);
    }
    ClearBeyond(blockColumns, gradients);
}

void qorfp::MakeRowBeyond(const uint8_t* edge, const uint8_t* inner, int32_t blockColumns,
                          uint8_t* beyond) {
    // With the edge row twice and the inner one they make what column 2 of a block gives eight times
    // its pixel, and what columns 1 and 3 give nothing. (Column 0 enters no such sum.)
    constexpr uint8_t kEight = 0xF8;                               // -8
    constexpr U8x16 kOfWhite = {0, 0, kEight, 0, 0, 0, kEight, 0,  //
                                0, 0, kEight, 0, 0, 0, kEight, 0};
    const ptrdiff_t end = PadColumns(blockColumns + 1) * kBlockSide;
    for (ptrdiff_t x = 0; x < end; x += kVectorBytes) {
        const U8x16 pixels = LoadVector<U8x16>(edge + x);
        StoreVector((pixels & kOfWhite) - pixels - pixels - LoadVector<U8x16>(inner + x),
                    beyond + x);
    }
}
