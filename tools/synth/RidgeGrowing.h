// SPDX-License-Identifier: Apache-2.0
// Growing of a ridge pattern: from a few random dots, filtering again and again with the kernel
// that belongs to each place until ridges cover the canvas. Where the growing regions meet and
// where the flow spreads, ridges end and fork by themselves.
#pragma once

#include "tools/synth/Plane.h"
#include "tools/synth/RidgeFilter.h"

namespace qorfp::synth {

/// The pattern as a wave of about -1 (valley) .. 1 (ridge). Orientation and period: planes of equal
/// size, in radians and pixels.
Plane GrowRidges(const Plane& orientation, const Plane& period, const RidgeFilterBank& bank,
                 Random& random);

}  // namespace qorfp::synth
