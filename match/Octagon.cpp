// SPDX-License-Identifier: Apache-2.0

#include "match/Octagon.h"

#include "extract/FixedMath.h"

namespace {

struct Coordinates {
    int32_t along[qorfp::Octagon::kAxes];
};

Coordinates CoordinatesOf(int32_t x, int32_t y) {
    return {{x, y, x + y, x - y}};
}

}  // namespace

qorfp::Octagon qorfp::OctagonAt(int32_t x, int32_t y) {
    const Coordinates position = CoordinatesOf(x, y);
    Octagon octagon;
    for (int32_t axis = 0; axis < Octagon::kAxes; ++axis) {
        octagon.low[axis] = position.along[axis];
        octagon.high[axis] = position.along[axis];
    }
    return octagon;
}

void qorfp::Include(Octagon* octagon, int32_t x, int32_t y) {
    const Coordinates position = CoordinatesOf(x, y);
    for (int32_t axis = 0; axis < Octagon::kAxes; ++axis) {
        octagon->low[axis] = Min(octagon->low[axis], position.along[axis]);
        octagon->high[axis] = Max(octagon->high[axis], position.along[axis]);
    }
}

bool qorfp::Contains(const Octagon& octagon, int32_t x, int32_t y) {
    const Coordinates position = CoordinatesOf(x, y);
    for (int32_t axis = 0; axis < Octagon::kAxes; ++axis) {
        if (position.along[axis] < octagon.low[axis] || position.along[axis] > octagon.high[axis]) {
            return false;
        }
    }
    return true;
}

qorfp::Octagon qorfp::InnerOf(const Octagon& octagon) {
    Octagon inner;
    for (int32_t axis = 0; axis < Octagon::kAxes; ++axis) {
        inner.low[axis] = (3 * octagon.low[axis] + octagon.high[axis]) / 4;
        inner.high[axis] = (3 * octagon.high[axis] + octagon.low[axis]) / 4;
    }
    return inner;
}

qorfp::Octagon qorfp::Widened(const Octagon& octagon, int32_t straight, int32_t diagonal) {
    Octagon wide = octagon;
    for (int32_t axis = 0; axis < Octagon::kAxes; ++axis) {
        const int32_t margin = axis < 2 ? straight : diagonal;
        wide.low[axis] -= margin;
        wide.high[axis] += margin;
    }
    return wide;
}
