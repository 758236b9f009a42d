// SPDX-License-Identifier: Apache-2.0
//
// The upright box around the minutiae of a template.
#pragma once

#include <algorithm>
#include <vector>

#include "tools/qorfp/TemplateView.h"

namespace qorfp::cli {

/// In pixels; the sides belong to it. Empty where a side lies behind the opposite one.
struct Box {
    int left = 0;
    int top = 0;
    int right = 0;
    int bottom = 0;

    double Area() const {
        return left > right || top > bottom ? 0.0 : (right - left + 1.0) * (bottom - top + 1.0);
    }
};

/// Around one minutia at least.
inline Box BoxAround(const std::vector<MinutiaView>& minutiae) {
    Box box = {minutiae[0].x, minutiae[0].y, minutiae[0].x, minutiae[0].y};
    for (const MinutiaView& minutia : minutiae) {
        box.left = std::min(box.left, minutia.x);
        box.top = std::min(box.top, minutia.y);
        box.right = std::max(box.right, minutia.x);
        box.bottom = std::max(box.bottom, minutia.y);
    }
    return box;
}

}  // namespace qorfp::cli
