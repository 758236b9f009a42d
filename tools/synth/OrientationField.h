// SPDX-License-Identifier: Apache-2.0
// Ridge flow of a finger: the orientation at every pixel from the finger's singular points, in the
// zero-pole model: seen as complex numbers, the doubled orientation turns once around each core
// (zero) and once backwards around each delta (pole). To this come the arching of the flow over the
// fingertip, which alone makes the plain arch, and a small smooth perturbation.
#pragma once

#include <cstdint>

#include "tools/synth/FingerClass.h"
#include "tools/synth/Plane.h"

namespace qorfp::synth {

/// The canvas on which a finger is grown, in pixels at 508 dpi; its centre is the finger's centre.
constexpr int kCanvasWidth = 320;
constexpr int kCanvasHeight = 432;

/// Orientation of the ridges in radians, in image coordinates (y downwards), modulo pi but not
/// reduced. Canvas size.
Plane MakeOrientationField(FingerClass fingerClass, uint64_t seed, uint32_t finger);

/// Distance between neighbouring ridges in pixels, 7 .. 11. Canvas size.
Plane MakePeriodField(uint64_t seed, uint32_t finger);

}  // namespace qorfp::synth
