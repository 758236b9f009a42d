// SPDX-License-Identifier: Apache-2.0
// Where a pixel of an impression lies on the finger: placement, turn and smooth elastic distortion.
#pragma once

#include "tools/synth/Conditions.h"
#include "tools/synth/Plane.h"

namespace qorfp::synth {

/// For every frame pixel the point of the finger that it shows, in finger pixels from the finger's
/// centre (x to the right, y downwards).
struct FingerMap {
    Plane x;
    Plane y;
};

FingerMap MapFrame(const Conditions& conditions, const Frame& frame, Random& random);

}  // namespace qorfp::synth
