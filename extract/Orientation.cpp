// SPDX-License-Identifier: Apache-2.0
//
// With the difference d of a window and e, twice its mixed sum, the doubled angle of the mean
// gradient is that of the vector (d, e). It is looked up by |d| and |e|, scaled so that the longer
// of them is 49: by the quotient k = (49 x shorter + longer / 2) / longer, truncated. The angle does
// not need k itself, but how many of fifteen bounds it reaches; so nothing is divided.

#include "extract/Orientation.h"

#include <stddef.h>

#include "extract/FPTable.h"
#include "extract/FixedMath.h"

namespace {

using namespace qorfp;

constexpr int32_t kLongestTableSide = 49;
constexpr int32_t kMaxAngle = 15;     // of the vector with its longer axis
constexpr int32_t kQuarterTurn = 30;  // of a doubled angle

// Distance of each bound to the one before it: k reaches an angle of 1 from 2 on, 2 from 4 on, 3
// from 7 on, ..., 15 from 47 on.
constexpr int32_t kBoundSteps[kMaxAngle] = {2, 2, 3, 3, 2, 3, 3, 3, 3, 3, 4, 3, 4, 4, 5};
constexpr int32_t kLongestStep = 5;

I32x4 Magnitude(I32x4 lanes) {
    const I32x4 sign = lanes >> 31;
    return (lanes ^ sign) - sign;
}

I32x4 Negate(I32x4 lanes, I32x4 where) {
    return (lanes ^ where) - where;
}

// Orientation of the ridges across a gradient: `angle` of (d, e) with the d axis, 0..30.
I32x4 Turn(I32x4 d, I32x4 e, I32x4 angle) {
    const I32x4 isUpright = d > 0;
    const I32x4 isBackward = (isUpright & (e < 0)) | (~isUpright & (e > 0));
    const I32x4 orientation = (isUpright & kHalfTurn / 2) + Negate(angle, isBackward);
    return orientation + ((orientation >> 31) & kHalfTurn);
}

struct Orientations {
    I32x4 of;
    I32x4 isShort;  // where no side is longer than the table's, and `of` means nothing
};

Orientations OrientationsOfLong(I32x4 d, I32x4 mixed) {
    const I32x4 e = mixed + mixed;
    const I32x4 a = Magnitude(d);
    const I32x4 b = Magnitude(e);
    const I32x4 isSteep = b > a;
    const I32x4 exchange = (a ^ b) & isSteep;
    const I32x4 longer = a ^ exchange;
    const I32x4 shorter = b ^ exchange;

    I32x4 times[kLongestStep + 1] = {};
    for (int32_t factor = 1; factor <= kLongestStep; ++factor) {
        times[factor] = times[factor - 1] + longer;
    }
    I32x4 rest = kLongestTableSide * shorter + (longer >> 1);
    I32x4 angle = kMaxAngle + I32x4{};
    for (const int32_t step : kBoundSteps) {
        rest -= times[step];
        angle += rest >> 31;  // -1 for each bound that is not reached
    }
    angle = Negate(angle, isSteep) + (isSteep & kQuarterTurn);
    return {Turn(d, e, angle), longer <= kLongestTableSide};
}

uint8_t OrientationOfShort(int32_t d, int32_t e) {
    const int32_t angle = gnAtanA[Absolute(e) * 50 + Absolute(d)];
    const I32x4 orientation = Turn(d + I32x4{}, e + I32x4{}, angle + I32x4{});
    return static_cast<uint8_t>(orientation[0]);
}

}  // namespace

void qorfp::FindOrientations(const WindowRow& differences, const WindowRow& mixed,
                             int32_t blockColumns, OrientationRow* orientations) {
    WindowRow found;
    I32x4 anyShort = {};
    for (ptrdiff_t column = 0; column < blockColumns; column += 4) {
        const Orientations four = OrientationsOfLong(LoadVector<I32x4>(differences + column),
                                                     LoadVector<I32x4>(mixed + column));
        StoreVector(four.of, found + column);
        anyShort |= four.isShort;
    }
    uint8_t* out = *orientations;
    for (ptrdiff_t column = 0; column < blockColumns; column += kVectorBytes) {
        const int32_t* at = found + column;
        const I16x8 low = Narrow(LoadVector<I32x4>(at), LoadVector<I32x4>(at + 4));
        const I16x8 high = Narrow(LoadVector<I32x4>(at + 8), LoadVector<I32x4>(at + 12));
        StoreVector(Narrow(AsLanes<U16x8>(low), AsLanes<U16x8>(high)), out + column);
    }
    if (!HasAny(anyShort)) {
        return;
    }
    for (int32_t column = 0; column < blockColumns; ++column) {
        const int32_t d = differences[column];
        const int32_t e = 2 * mixed[column];
        if (Absolute(d) <= kLongestTableSide && Absolute(e) <= kLongestTableSide) {
            out[column] = OrientationOfShort(d, e);
        }
    }
}
