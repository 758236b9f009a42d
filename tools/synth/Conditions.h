// SPDX-License-Identifier: Apache-2.0
// What differs from one impression of a finger to the next, as numbers drawn within the limits of
// the difficulty.
#pragma once

#include "tools/synth/Impression.h"

namespace qorfp::synth {

/// The circumstances of one impression.
struct Conditions {
    // Placement: the finger's centre in the frame, in finger pixels from the frame's centre, and
    // its turn in radians.
    double shiftX;
    double shiftY;
    double rotation;
    double stretch;       // deviation of the elastic displacement, finger pixels
    double twist;         // turn of the middle against the rim, radians
    double pressure;      // -1.4 (faint touch) .. 1.4 (pressed hard): ridge thickness, contact area
    double dryness;       // 0 .. 1.6: ragged and broken ridges
    double wetness;       // 0 .. 1.6: valleys filling up in places
    double unevenness;    // deviation of the local ridge thickness
    double pores;         // 0.2 .. 1: how open they are
    double contactScale;  // size of the contact area against the finger's usual one
    double cutX;          // the contact area's centre against the finger's, finger pixels
    double cutY;
    uint32_t scratches;
    double ink;     // grey of a full ridge
    double ground;  // grey of the empty sensor
    double noise;   // deviation of the sensor's noise, grey levels
};

Conditions DrawConditions(Difficulty difficulty, Random& random);

}  // namespace qorfp::synth
