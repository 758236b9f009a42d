// SPDX-License-Identifier: Apache-2.0
// A synthetic finger: its ridge pattern on a canvas larger than any impression, with the marks that
// stay with the skin (pores, creases) and the area that touches a sensor.
#pragma once

#include <cstdint>
#include <optional>

#include "tools/synth/FingerClass.h"
#include "tools/synth/Plane.h"
#include "tools/synth/RidgeFilter.h"

namespace qorfp::synth {

/// Half axes of the area that touches the sensor at middling pressure, in pixels at 508 dpi.
struct ContactShape {
    double halfWidth;
    double halfHeightTip;   // from the centre towards the fingertip
    double halfHeightBase;  // from the centre towards the crease
};

struct Finger {
    uint64_t seed;
    uint32_t number;
    FingerClass fingerClass;
    ContactShape contact;
    Plane ridges;   // -1 (valley) .. 1 (ridge), canvas size
    Plane pores;    // 0 .. 1: depth of a sweat pore
    Plane creases;  // 0 .. 1: depth of a lasting crease of the skin
};

/// Grows the finger of that number (1, 2, ...). Without a class, one is drawn in natural
/// proportion.
Finger MakeFinger(uint64_t seed, uint32_t number, std::optional<FingerClass> fingerClass,
                  const RidgeFilterBank& bank);

}  // namespace qorfp::synth
