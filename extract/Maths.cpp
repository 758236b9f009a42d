// SPDX-License-Identifier: Apache-2.0
//
// Directions and square roots by table.

#include "extract/FPTable.h"
#include "extract/FixedMath.h"

namespace {

using namespace qorfp;

constexpr int32_t kLongestTableSide = 127;

// The direction of (x, y), given the angle 0..60 between it and the x axis. Deliberately lopsided
// on the axes and 180 for the zero vector: directions are compared with one another, so the corners
// must never move.
int32_t DirectionInQuadrant(int32_t x, int32_t y, int32_t angle) {
    int32_t direction = 0;
    if (x > 0) {
        direction = y >= 0 ? angle : kTurn - angle;
    } else {
        direction = y > 0 ? kHalfTurn - angle : kHalfTurn + angle;
    }
    return direction == kTurn ? 0 : direction;
}

// |value| of any 32-bit number.
int64_t Magnitude(int32_t value) {
    return value < 0 ? -static_cast<int64_t>(value) : value;
}

// side scaled so that the longest side becomes 127, rounded. Differences of pixel coordinates stay
// in 32 bits; only absurd vectors need more.
int32_t ScaleSide(int64_t side, int64_t longest) {
    if (longest <= INT32_MAX / kLongestTableSide / 2) {
        const int32_t shorter = static_cast<int32_t>(side);
        const int32_t longer = static_cast<int32_t>(longest);
        return (shorter * kLongestTableSide + longer / 2) / longer;
    }
    return static_cast<int32_t>((side * kLongestTableSide + longest / 2) / longest);
}

}  // namespace

int32_t atanA(int32_t x, int32_t y) {
    int64_t longX = Magnitude(x);
    int64_t longY = Magnitude(y);
    const int64_t longest = longX > longY ? longX : longY;
    if (longest > kLongestTableSide) {
        longX = ScaleSide(longX, longest);
        longY = ScaleSide(longY, longest);
    }
    // The quadrant goes by the unscaled vector: a component scaled down to 0 keeps its sign.
    return DirectionInQuadrant(x, y, gnAtanB[longY * 128 + longX]);
}

int32_t atanB(int32_t x1, int32_t y1, int32_t x2, int32_t y2) {
    const int32_t dx = x2 - x1;
    const int32_t dy = y2 - y1;
    return DirectionInQuadrant(dx, dy, gnAtanB[Absolute(dy) * 128 + Absolute(dx)]);
}

int32_t sqrtA(int32_t n) {
    if (n < 0) {
        return -1;
    }
    int32_t root = 255;
    if (n < 256) {
        root = gnSqrt[n];
    } else if (n < 1024) {
        root = gnSqrt[240 + (n >> 4)];
    } else if (n < 4096) {
        root = gnSqrt[272 + (n >> 5)];
    } else if (n < 16384) {
        root = gnSqrt[336 + (n >> 6)];
    } else if (n < 65536) {
        root = gnSqrt[464 + (n >> 7)];
    }
    // The table rounds a sample at or below n, so it is at most one above the true root.
    return n < gnSqr[root] ? root - 1 : root;
}
