// SPDX-License-Identifier: Apache-2.0
// What fixes the ridge flow of a finger: its singular points and the shape around them. All places
// are in finger coordinates: pixels at 508 dpi from the finger's centre, x to the right, y towards
// the fingertip.
#pragma once

#include <vector>

#include "tools/synth/FingerClass.h"

namespace qorfp::synth {

struct Point {
    double x;
    double y;
};

struct Flow {
    std::vector<Point> cores;
    std::vector<Point> deltas;  // as many as cores, so that the flow is level far away
    // Within about coreReach pixels of a core the ridges inside the loop are drawn parallel instead
    // of fanning out: 0 not at all, below 1.
    double coreStraightness = 0.0;
    double coreReach = 45.0;
    // Arching: the orientation falls by up to this angle right of the finger's axis and rises left
    // of it, most at archReach pixels from the axis; it grows from 0 at y = archBottom to all at
    // y = archTop, and spreads by archSpread pixels a pixel of height above archTop.
    double archAngle = 0.0;
    double archReach = 100.0;
    double archBottom = -190.0;
    double archTop = 0.0;
    double archSpread = 0.0;
    // The pattern is drawn taller than wide by this factor.
    double stretch = 1.0;
    // Turn of the flow around `middle`, in radians, fading out over twistReach pixels: makes whorls
    // wind and twin loops clasp each other.
    Point middle = {0.0, 0.0};
    double twist = 0.0;
    double twistReach = 70.0;
};

/// A random flow of the class.
Flow DrawFlow(FingerClass fingerClass, Random& random);

}  // namespace qorfp::synth
