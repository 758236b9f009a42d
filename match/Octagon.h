// SPDX-License-Identifier: Apache-2.0
//
// Bounding octagon of positions: the ranges of x, y, x + y and x - y, all bounds inclusive.
#pragma once

#include <stdint.h>

namespace qorfp {

struct Octagon {
    static constexpr int32_t kAxes = 4;
    int32_t low[kAxes];
    int32_t high[kAxes];
};

/// The octagon that holds one position.
Octagon OctagonAt(int32_t x, int32_t y);

/// Widens the octagon so that it holds a position.
void Include(Octagon* octagon, int32_t x, int32_t y);

bool Contains(const Octagon& octagon, int32_t x, int32_t y);

/// The octagon with a quarter of each range taken off at both ends.
Octagon InnerOf(const Octagon& octagon);

/// The octagon moved outwards by `straight` in x and y, by `diagonal` in x + y and x - y.
Octagon Widened(const Octagon& octagon, int32_t straight, int32_t diagonal);

}  // namespace qorfp
