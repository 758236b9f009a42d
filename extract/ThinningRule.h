// SPDX-License-Identifier: Apache-2.0
//
// The deletion tables of thinning (gbThin) as boolean formulas, so that one evaluation decides for
// as many pixels as a word or a vector has bits. A logic minimiser found them: no operation can be
// left out, and a term by itself has no meaning. SkeletonTable.cpp compares them with the tables.
#pragma once

#include "extract/PixelNeighbours.h"
#include "extract/Vector.h"

namespace qorfp {

/// `a` without the bits of `b`. As one operation: compilers turn a & ~(b & ~c) into a & (~b | c), which
/// are more instructions where there is one for this.
template <class Bits>
constexpr Bits ButNot(Bits a, Bits b) {
    return a & ~b;
}

#if defined(__SSE2__)
inline U8x16 ButNot(U8x16 a, U8x16 b) {
    __asm__("pandn %1, %0" : "+x"(b) : "x"(a));
    return b;
}
#endif

/// Where the first sub-iteration deletes a ridge pixel. Bits of background pixels mean nothing.
template <class Bits>
constexpr Bits IsDeletedFirst(const PixelNeighbours<Bits>& n) {
    const Bits leftSide = n.left | (n.upperLeft & n.lowerLeft);
    const Bits overRidge =
        ButNot(ButNot(ButNot(n.above | ButNot(n.left, n.upperRight), n.below),
                      ButNot(n.right, ButNot(n.upperRight, n.left & n.lowerLeft))),
               ButNot(n.lowerRight, ButNot(n.right, leftSide)));
    const Bits overBackground =
        ButNot(ButNot(ButNot(n.below, n.lowerRight & n.above & (n.lowerLeft | n.upperLeft)),
                      ButNot(n.right, ButNot(n.lowerRight, n.left & n.upperLeft))),
               ButNot(leftSide, ButNot(n.lowerLeft, n.upperRight)));
    const Bits kept =
        ButNot(n.below | n.lowerLeft, n.left | n.right) |
        (n.above & (ButNot(n.lowerRight, n.upperRight) | ButNot(n.left, n.upperLeft)));
    return ButNot(overRidge | overBackground, kept);
}

/// The same for the second sub-iteration.
template <class Bits>
constexpr Bits IsDeletedSecond(const PixelNeighbours<Bits>& n) {
    const Bits cornerNotLeft = ButNot(n.upperRight, n.left);
    const Bits leftNotRight = ButNot(n.left, n.right);
    const Bits rightCorners = n.upperRight & n.lowerRight;
    const Bits rightOrBelow = n.right | n.below;
    const Bits deleted =
        ButNot(n.above, n.below) | ButNot(ButNot(ButNot(rightOrBelow, ButNot(n.left, n.lowerLeft)),
                                                 ButNot(n.lowerLeft, n.below)),
                                          ButNot(n.upperLeft, ButNot(leftNotRight, rightCorners)));
    const Bits keptBelow = ButNot(n.right & n.below, ButNot(n.lowerRight, n.left & n.upperRight)) |
                           ButNot(cornerNotLeft, n.right);
    const Bits keptAbove = ButNot(
        n.above,
        ButNot(cornerNotLeft | (n.upperLeft & (leftNotRight | ButNot(n.upperRight, n.lowerRight))),
               n.lowerLeft & (n.upperRight | n.lowerRight) & (rightOrBelow | rightCorners)));
    return ButNot(ButNot(deleted, keptBelow), keptAbove);
}

}  // namespace qorfp
