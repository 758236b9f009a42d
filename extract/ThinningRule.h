// SPDX-License-Identifier: Apache-2.0
//
// The deletion tables of thinning (gbThin) as boolean formulas, so that one evaluation decides for
// as many pixels as a word or a vector has bits. A logic minimiser found them: no operation can be
// left out, and a term by itself has no meaning. SkeletonTable.cpp compares them with the tables.
#pragma once

#include "extract/PixelNeighbours.h"

namespace qorfp {

/// Where the first sub-iteration deletes a ridge pixel. Bits of background pixels mean nothing.
template <class Bits>
constexpr Bits IsDeletedFirst(const PixelNeighbours<Bits>& n) {
    const Bits leftSide = n.left | (n.upperLeft & n.lowerLeft);
    const Bits overRidge = (n.above | (n.left & ~n.upperRight)) & ~n.below &
                           ~(n.right & ~(n.upperRight & ~(n.left & n.lowerLeft))) &
                           ~(n.lowerRight & ~(n.right & ~leftSide));
    const Bits overBackground = n.below & ~(n.lowerRight & n.above & (n.lowerLeft | n.upperLeft)) &
                                ~(n.right & ~(n.lowerRight & ~(n.left & n.upperLeft))) &
                                ~(leftSide & ~(n.lowerLeft & ~n.upperRight));
    const Bits kept = ((n.below | n.lowerLeft) & ~(n.left | n.right)) |
                      (n.above & ((n.lowerRight & ~n.upperRight) | (n.left & ~n.upperLeft)));
    return (overRidge | overBackground) & ~kept;
}

/// The same for the second sub-iteration.
template <class Bits>
constexpr Bits IsDeletedSecond(const PixelNeighbours<Bits>& n) {
    const Bits cornerNotLeft = n.upperRight & ~n.left;
    const Bits leftNotRight = n.left & ~n.right;
    const Bits rightCorners = n.upperRight & n.lowerRight;
    const Bits rightOrBelow = n.right | n.below;
    const Bits deleted = (n.above & ~n.below) |
                         (rightOrBelow & ~(n.left & ~n.lowerLeft) & ~(n.lowerLeft & ~n.below) &
                          ~(n.upperLeft & ~(leftNotRight & ~rightCorners)));
    const Bits keptBelow = (n.right & n.below & ~(n.lowerRight & ~(n.left & n.upperRight))) |
                           (cornerNotLeft & ~n.right);
    const Bits keptAbove =
        n.above &
        ~((cornerNotLeft | (n.upperLeft & (leftNotRight | (n.upperRight & ~n.lowerRight)))) &
          ~(n.lowerLeft & (n.upperRight | n.lowerRight) & (rightOrBelow | rightCorners)));
    return deleted & ~keptBelow & ~keptAbove;
}

}  // namespace qorfp
