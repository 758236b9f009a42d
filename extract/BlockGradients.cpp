// SPDX-License-Identifier: Apache-2.0
//
// Four blocks at a time: a vector of 16 bytes holds four pixels of each, in columns 0 to 3. Columns
// 0 and 2 are its even bytes, columns 1 and 3 its odd ones; sums and differences of two columns are
// those of pairs of lanes.

#include "extract/BlockGradients.h"

#include <string.h>

namespace {

using namespace qorfp;

struct GradientsOfFour {
    I32x4 x;
    I32x4 y;
};

I16x8 Even(const uint8_t* pixels) {
    return AsLanes<I16x8>(EvenBytes(LoadVector<U8x16>(pixels)));
}

I16x8 Odd(const uint8_t* pixels) {
    return AsLanes<I16x8>(OddBytes(LoadVector<U8x16>(pixels)));
}

// In sixteenths, not yet rounded: -1530..1530.
GradientsOfFour RawGradients(const uint8_t* const rows[kRowsOfBlock], ptrdiff_t at) {
    constexpr I16x8 kFirst = {1, 0, 1, 0, 1, 0, 1, 0};
    constexpr I16x8 kSecond = {0, 1, 0, 1, 0, 1, 0, 1};
    constexpr I16x8 kBoth = {1, 1, 1, 1, 1, 1, 1, 1};
    constexpr I16x8 kDifference = {-1, 1, -1, 1, -1, 1, -1, 1};
    const uint8_t* above = rows[1] + at;
    const uint8_t* centre = rows[2] + at;
    const uint8_t* below = rows[3] + at;

    const I16x8 sides = 3 * Odd(centre) + Odd(above) + Odd(below);  // columns 1 and 3
    const I16x8 ends = Even(centre + kBlockSide) - Even(centre);    // column 4 less column 0
    const I16x8 middle = 3 * (Even(below) - Even(above)) +          // column 2
                         Even(rows[4] + at) - Even(rows[0] + at);
    const I16x8 corners = Odd(below) - Odd(above);  // columns 1 and 3
    return {MultiplyPairs(sides, kDifference) + MultiplyPairs(ends, kFirst),
            MultiplyPairs(middle, kSecond) + MultiplyPairs(corners, kBoth)};
}

// lanes / 16, rounded half away from zero.
I16x8 RoundSixteenth(I16x8 lanes) {
    const I16x8 sign = lanes >> 15;  // -1 or 0
    const I16x8 magnitude = (lanes ^ sign) - sign;
    return (((magnitude + 8) >> 4) ^ sign) - sign;
}

}  // namespace

void qorfp::FindGradients(const uint8_t* const rows[kRowsOfBlock], int32_t blockColumns,
                          GradientRow* gradients) {
    for (int32_t column = 0; column < blockColumns; column += 8) {
        const ptrdiff_t at = column * kBlockSide;
        const GradientsOfFour low = RawGradients(rows, at);
        const GradientsOfFour high = RawGradients(rows, at + kVectorBytes);
        StoreVector(RoundSixteenth(Narrow(low.x, high.x)), gradients->x + column);
        StoreVector(RoundSixteenth(Narrow(low.y, high.y)), gradients->y + column);
    }
    ClearBeyond(blockColumns, gradients);
}

void qorfp::ClearBeyond(int32_t blockColumns, GradientRow* gradients) {
    const int32_t beyond = PadColumns(blockColumns) - blockColumns;
    memset(gradients->x + blockColumns, 0, static_cast<size_t>(beyond) * sizeof(int16_t));
    memset(gradients->y + blockColumns, 0, static_cast<size_t>(beyond) * sizeof(int16_t));
}
