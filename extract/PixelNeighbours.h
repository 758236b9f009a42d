// SPDX-License-Identifier: Apache-2.0
//
// The eight neighbours of a skeleton pixel: as one code, a walk round the pixel, and as bits of many
// pixels at once.
#pragma once

#include <stdint.h>

namespace qorfp {

/// A position in the skeleton, or a step.
struct Position {
    int32_t x;
    int32_t y;
};

constexpr int32_t kNeighbours = 8;

/// The neighbours in the order of a code's bits 7, 6, ..., 0: from the upper left, down the left
/// side first. A code has a bit set for each neighbour that is background:
///
///     128   1   2
///      64   .   4
///      32  16   8
constexpr Position kCircle[kNeighbours] = {{-1, -1}, {-1, 0}, {-1, 1}, {0, 1},
                                           {1, 1},   {1, 0},  {1, -1}, {0, -1}};

/// Whether the neighbour at a place of the circle is ridge. Places go on after a full turn.
constexpr bool IsRidgeAt(int32_t code, int32_t place) {
    return (code >> (kNeighbours - 1 - place % kNeighbours) & 1) == 0;
}

/// Runs of consecutive ridge neighbours on the circle, 0..4: branches that leave the pixel.
constexpr int32_t CountRuns(int32_t code) {
    int32_t runs = 0;
    for (int32_t place = 0; place < kNeighbours; ++place) {
        if (!IsRidgeAt(code, place) && IsRidgeAt(code, place + 1)) {
            ++runs;
        }
    }
    return runs;
}

/// The step into the run that holds the ridge neighbour at `place`: to its first 4-neighbour in the
/// order of the circle, or to the single diagonal neighbour that it is. The code must not be 0.
constexpr Position StepIntoRun(int32_t code, int32_t place) {
    int32_t first = place + kNeighbours;
    while (IsRidgeAt(code, first - 1)) {
        --first;
    }
    for (int32_t p = first; IsRidgeAt(code, p); ++p) {
        const Position step = kCircle[p % kNeighbours];
        if (step.x == 0 || step.y == 0) {
            return step;
        }
    }
    return kCircle[first % kNeighbours];
}

/// The neighbours of many pixels, a bit (or a byte's bit) a pixel: set where it is background.
template <class Bits>
struct PixelNeighbours {
    Bits upperLeft;
    Bits above;
    Bits upperRight;
    Bits left;
    Bits right;
    Bits lowerLeft;
    Bits below;
    Bits lowerRight;
};

/// Where the number of runs is odd: 1 or 3, an ending or a bifurcation. (It is the parity of the
/// places where ridge follows background.)
template <class Bits>
constexpr Bits HasOddRuns(const PixelNeighbours<Bits>& n) {
    const Bits leftCorners = n.upperLeft ^ n.lowerLeft;
    const Bits lowerCorners = n.lowerLeft ^ n.lowerRight;
    const Bits rightCorners = n.lowerRight ^ n.upperRight;
    const Bits upperCorners = n.upperRight ^ n.upperLeft;
    return (n.left & ~leftCorners) ^ (n.below & ~lowerCorners) ^ (n.right & ~rightCorners) ^
           (n.above & ~upperCorners) ^ leftCorners ^ rightCorners;
}

}  // namespace qorfp
