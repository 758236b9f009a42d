// SPDX-License-Identifier: Apache-2.0
//
// With the difference d of a window and e, twice its mixed sum, the doubled angle of the mean
// gradient is that of the vector (d, e). It is looked up by |d| and |e|, scaled so that the longer
// of them is 49: by the quotient k = (49 x shorter + longer / 2) / longer, truncated. The angle does
// not need k itself, but how many of fifteen bounds it reaches; so nothing is divided.

#include "extract/Orientation.h"

#include <stddef.h>

#include "engine/StageMemory.h"
#include "extract/FPTable.h"
#include "extract/FixedMath.h"

namespace {

using namespace qorfp;

constexpr int16_t kLongestTableSide = 49;
constexpr int16_t kMaxAngle = 15;     // of the vector with its longer axis
constexpr int16_t kQuarterTurn = 30;  // of a doubled angle

// Distance of each bound to the one before it: k reaches an angle of 1 from 2 on, 2 from 4 on, 3
// from 7 on, ..., 15 from 47 on.
constexpr int32_t kBoundSteps[kMaxAngle] = {2, 2, 3, 3, 2, 3, 3, 3, 3, 3, 4, 3, 4, 4, 5};
constexpr int32_t kLongestStep = 5;

I32x4 Magnitude(I32x4 lanes) {
    const I32x4 sign = lanes >> 31;
    return (lanes ^ sign) - sign;
}

I16x8 Negate(I16x8 lanes, I16x8 where) {
    return (lanes ^ where) - where;
}

// Eight windows: two times four 32-bit numbers, but 16 bits for angles and for what is true or not.
struct Halves {
    I32x4 low;
    I32x4 high;
};

Halves Load(const int32_t* from) {
    return {LoadVector<I32x4>(from), LoadVector<I32x4>(from + 4)};
}

// As 16-bit numbers. Those that do not fit become the nearest that does, and so keep their sign.
I16x8 Saturate(const Halves& lanes) {
#if defined(__SSE2__)
    return Narrow(lanes.low, lanes.high);
#else
    const auto fit = [](I32x4 half) {
        const I32x4 least = half < 32767 ? half : 32767 + I32x4{};
        return least > -32768 ? least : -32768 + I32x4{};
    };
    return Narrow(fit(lanes.low), fit(lanes.high));
#endif
}

// Orientation of the ridges across a gradient: `angle` of (d, e) with the d axis, 0..30.
I16x8 Turn(const Halves& wideD, const Halves& wideE, I16x8 angle) {
    constexpr int16_t kUpright = kHalfTurn / 2;
    constexpr int16_t kRound = kHalfTurn;
    const I16x8 d = Saturate(wideD);
    const I16x8 e = Saturate(wideE);
    const I16x8 isUpright = d > 0;
    const I16x8 isBackward = (isUpright & (e >> 15)) | (~isUpright & (e > 0));
    const I16x8 orientation = (isUpright & kUpright) + Negate(angle, isBackward);
    return orientation + ((orientation >> 15) & kRound);
}

// How a vector lies to its bounds: the rest that is compared with them, and the distances from one
// bound to another.
struct Bounds {
    I32x4 isSteep;
    I32x4 longer;
    I32x4 rest;
    I32x4 times[kLongestStep + 1];

    Bounds(I32x4 d, I32x4 e) : times{} {
        const I32x4 a = Magnitude(d);
        const I32x4 b = Magnitude(e);
        const I32x4 excess = b - a;
        isSteep = excess > 0;
        const I32x4 exchange = Opaque(excess & isSteep);  // instead of two selections
        longer = a + exchange;
        const I32x4 shorter = b - exchange;
        rest = kLongestTableSide * shorter + (longer >> 1);
        for (int32_t factor = 1; factor <= kLongestStep; ++factor) {
            times[factor] = times[factor - 1] + longer;
        }
    }
};

// Orientations of eight windows, of which there are the first `count`. The others hold anything, which
// must not be looked up.
I16x8 OrientationsOf(const int32_t* differences, const int32_t* mixed, int32_t count) {
    const Halves d = Load(differences);
    const Halves half = Load(mixed);
    const Halves e = {half.low + half.low, half.high + half.high};
    Bounds low(d.low, e.low);
    Bounds high(d.high, e.high);
    I16x8 angle = kMaxAngle + I16x8{};
    for (const int32_t step : kBoundSteps) {
        low.rest -= low.times[step];
        high.rest -= high.times[step];
        angle += NarrowSigns(low.rest, high.rest);  // -1 for each bound that is not reached
    }
    const I16x8 isSteep = Narrow(low.isSteep, high.isSteep);
    angle = Negate(angle, isSteep) + (isSteep & kQuarterTurn);

    // Vectors no longer than the table's are not scaled.
    const I16x8 isTabled = Saturate({low.longer, high.longer}) <= kLongestTableSide;
    uint32_t isShort = SetLanes(NarrowMask(isTabled, I16x8{}));
    MayBeUnwritten(&isShort);  // behind the last window; both ways give the others the same
    if (isShort != 0) {
        isShort &= (1u << Clamp(count, 0, kVectorBytes / 2)) - 1;
        int16_t angles[kVectorBytes / 2];
        StoreVector(angle, angles);
        for (; isShort != 0; isShort &= isShort - 1) {
            const int32_t at = __builtin_ctz(isShort);
            angles[at] = gnAtanA[Absolute(2 * mixed[at]) * 50 + Absolute(differences[at])];
        }
        angle = LoadVector<I16x8>(angles);
    }
    return Turn(d, e, angle);
}

}  // namespace

void qorfp::FindOrientations(const WindowRow& differences, const WindowRow& mixed,
                             int32_t blockColumns, OrientationRow* orientations) {
    for (int32_t column = 0; column < blockColumns; column += kVectorBytes) {
        const int32_t left = blockColumns - column;
        const I16x8 low = OrientationsOf(differences + column, mixed + column, left);
        const I16x8 high = OrientationsOf(differences + column + 8, mixed + column + 8, left - 8);
        StoreVector(Narrow(AsLanes<U16x8>(low), AsLanes<U16x8>(high)), *orientations + column);
    }
}
