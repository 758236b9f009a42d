// SPDX-License-Identifier: Apache-2.0
// Bilinear sampling, and smooth random planes by uniform cubic B-splines (no creases at the lattice
// lines, which linear or smooth-step interpolation would show).
#include "tools/synth/Plane.h"

#include <array>

#include "tools/synth/Maths.h"

namespace qorfp::synth {
namespace {

// Where a pixel lies on the lattice: the first of its four lattice columns (or rows) and the spline
// weights of the four, which sum to 1.
struct SplinePoint {
    size_t first;
    std::array<double, 4> weights;
};

SplinePoint LocateSpline(int pixel, double cell) {
    const double position = static_cast<double>(pixel) / cell;
    const size_t first = static_cast<size_t>(position);
    const double t = position - static_cast<double>(first);
    const double s = 1.0 - t;
    const double t2 = t * t;
    const double t3 = t2 * t;
    return {first,
            {s * s * s / 6.0, (3.0 * t3 - 6.0 * t2 + 4.0) / 6.0,
             (3.0 * t2 - 3.0 * t3 + 3.0 * t + 1.0) / 6.0, t3 / 6.0}};
}

size_t LatticeSize(int pixels, double cell) {
    return static_cast<size_t>(static_cast<double>(pixels) / cell) + 5;
}

}  // namespace

double SampleBilinear(const Plane& plane, double x, double y) {
    const double clampedX = Clamp(x, 0.0, static_cast<double>(plane.width - 1));
    const double clampedY = Clamp(y, 0.0, static_cast<double>(plane.height - 1));
    const int left = static_cast<int>(clampedX);
    const int top = static_cast<int>(clampedY);
    const int right = left + 1 < plane.width ? left + 1 : left;
    const int bottom = top + 1 < plane.height ? top + 1 : top;
    const double fx = clampedX - static_cast<double>(left);
    const double fy = clampedY - static_cast<double>(top);
    const double upper = plane.At(left, top) * (1.0 - fx) + plane.At(right, top) * fx;
    const double lower = plane.At(left, bottom) * (1.0 - fx) + plane.At(right, bottom) * fx;
    return upper * (1.0 - fy) + lower * fy;
}

Plane MakeSmoothPlane(int width, int height, double cell, Random& random) {
    // A cubic B-spline of unit noise has deviation 0.48 on average over a cell (151/315 in each
    // direction for the variance); this brings it back to 1.
    constexpr double kRestoreDeviation = 315.0 / 151.0;
    const size_t columns = LatticeSize(width, cell);
    const size_t rows = LatticeSize(height, cell);
    std::vector<double> lattice(columns * rows);
    for (double& node : lattice) {
        node = random.Normal() * kRestoreDeviation;
    }
    std::vector<SplinePoint> across;
    for (int x = 0; x < width; ++x) {
        across.push_back(LocateSpline(x, cell));
    }
    Plane plane(width, height);
    std::vector<double> blended(columns);
    for (int y = 0; y < height; ++y) {
        const SplinePoint down = LocateSpline(y, cell);
        const double* row = lattice.data() + down.first * columns;
        for (size_t column = 0; column < columns; ++column) {
            blended[column] = row[column] * down.weights[0] +
                              row[column + columns] * down.weights[1] +
                              row[column + 2 * columns] * down.weights[2] +
                              row[column + 3 * columns] * down.weights[3];
        }
        for (int x = 0; x < width; ++x) {
            const SplinePoint& point = across[static_cast<size_t>(x)];
            const double* node = blended.data() + point.first;
            plane.At(x, y) = node[0] * point.weights[0] + node[1] * point.weights[1] +
                             node[2] * point.weights[2] + node[3] * point.weights[3];
        }
    }
    return plane;
}

}  // namespace qorfp::synth
