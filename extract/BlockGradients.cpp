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

// Stretched pixels of sixteen columns.
struct Stretched {
    I16x8 even;
    I16x8 odd;

    QORFP_INLINE Stretched(const uint8_t* pixels, const GreyStretcher& stretcher) {
        const U8x16 distances = stretcher.DistancesOf(LoadVector<U8x16>(pixels));
        even = stretcher.OfDistances(EvenBytes(distances));
        odd = stretcher.OfDistances(OddBytes(distances));
    }
};

QORFP_INLINE I16x8 StretchedEven(const uint8_t* pixels, const GreyStretcher& stretcher) {
    const U8x16 distances = stretcher.DistancesOf(LoadVector<U8x16>(pixels));
    return stretcher.OfDistances(EvenBytes(distances));
}

// In sixteenths, not yet rounded: -1530..1530. `edge`: the even columns of row 0, then those of row 4.
QORFP_INLINE GradientsOfFour RawGradients(const uint8_t* first, int32_t width,
                                          const GreyStretcher& stretcher, int16_t* edge) {
    constexpr I16x8 kFirst = {1, 0, 1, 0, 1, 0, 1, 0};
    constexpr I16x8 kSecond = {0, 1, 0, 1, 0, 1, 0, 1};
    constexpr I16x8 kBoth = {1, 1, 1, 1, 1, 1, 1, 1};
    constexpr I16x8 kDifference = {-1, 1, -1, 1, -1, 1, -1, 1};
    const Stretched above(first + width, stretcher);
    const Stretched centre(first + 2 * width, stretcher);
    const Stretched below(first + 3 * width, stretcher);
    const I16x8 next = StretchedEven(first + 2 * width + kBlockSide, stretcher);
    const I16x8 lower = StretchedEven(first + 4 * width, stretcher);
    const I16x8 upper = LoadVector<I16x8>(edge);
    StoreVector(lower, edge);

    const I16x8 sides = 3 * centre.odd + above.odd + below.odd;          // columns 1 and 3
    const I16x8 ends = next - centre.even;                               // column 4 less column 0
    const I16x8 middle = 3 * (below.even - above.even) + lower - upper;  // column 2
    const I16x8 corners = below.odd - above.odd;                         // columns 1 and 3
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

void qorfp::BeginGradients(const uint8_t* row, int32_t blockColumns, const GreyStretcher& stretcher,
                           EvenColumns* edge) {
    for (ptrdiff_t x = 0; x < kBlockSide * blockColumns; x += kVectorBytes) {
        StoreVector(StretchedEven(row + x, stretcher), *edge + x / 2);
    }
}

void qorfp::FindGradients(const uint8_t* first, int32_t width, int32_t blockColumns,
                          const GreyStretcher& stretcher, EvenColumns* edge,
                          GradientRow* gradients) {
    const GreyStretcher stretch = stretcher;  // which no store below can change
    for (int32_t column = 0; column < blockColumns; column += 8) {
        const ptrdiff_t at = column * kBlockSide;
        int16_t* evens = *edge + at / 2;
        const GradientsOfFour low = RawGradients(first + at, width, stretch, evens);
        const GradientsOfFour high =
            RawGradients(first + at + kVectorBytes, width, stretch, evens + kVectorBytes / 2);
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
