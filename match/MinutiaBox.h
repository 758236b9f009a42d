// SPDX-License-Identifier: Apache-2.0
//
// The bounding box of a minutia set and its centre.
#pragma once

#include <stdint.h>

#include "engine/Minutia.h"

namespace qorfp {

struct Centre {
    int32_t x;
    int32_t y;
};

/// Centre of the bounding box, truncated; `set` holds at least one minutia.
inline Centre CentreOf(const MinutiaSet& set) {
    int32_t lowX = set.minutiae[0].x;
    int32_t highX = lowX;
    int32_t lowY = set.minutiae[0].y;
    int32_t highY = lowY;
    for (int32_t i = 1; i < set.count; ++i) {
        const Minutia& minutia = set.minutiae[i];
        lowX = minutia.x < lowX ? minutia.x : lowX;
        highX = minutia.x > highX ? minutia.x : highX;
        lowY = minutia.y < lowY ? minutia.y : lowY;
        highY = minutia.y > highY ? minutia.y : highY;
    }
    return {(lowX + highX) / 2, (lowY + highY) / 2};
}

}  // namespace qorfp
