// SPDX-License-Identifier: Apache-2.0
// A plane of doubles over an image, and smooth random planes made of cubic splines over a coarse
// lattice of random values.
#pragma once

#include <cstddef>
#include <vector>

#include "tools/synth/Random.h"

namespace qorfp::synth {

/// width x height values, row by row.
struct Plane {
    int width = 0;
    int height = 0;
    std::vector<double> values;

    Plane() = default;
    Plane(int planeWidth, int planeHeight)
        : width(planeWidth),
          height(planeHeight),
          values(static_cast<size_t>(planeWidth) * static_cast<size_t>(planeHeight), 0.0) {}

    double& At(int x, int y) { return values[Index(x, y)]; }
    double At(int x, int y) const { return values[Index(x, y)]; }

    size_t Index(int x, int y) const {
        return static_cast<size_t>(y) * static_cast<size_t>(width) + static_cast<size_t>(x);
    }
};

/// Value at a point between pixels (bilinear); points outside give the nearest edge value.
double SampleBilinear(const Plane& plane, double x, double y);

/// A random plane of mean 0 and deviation about 1 that varies smoothly over `cell` pixels (more
/// than 0).
Plane MakeSmoothPlane(int width, int height, double cell, Random& random);

}  // namespace qorfp::synth
