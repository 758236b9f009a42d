// SPDX-License-Identifier: Apache-2.0
// Rigid placement plus two distortions: a turn of the middle, which sticks to the sensor, against
// the rim, and a smooth random displacement.
#include "tools/synth/Distortion.h"

#include "tools/synth/Maths.h"

namespace qorfp::synth {

FingerMap MapFrame(const Conditions& conditions, const Frame& frame, Random& random) {
    constexpr double kDistortionCell = 75.0;  // finger pixels
    constexpr double kTwistReach = 80.0;      // finger pixels
    const double scale = 508.0 / frame.dpi;   // finger pixels a frame pixel
    const double cell = kDistortionCell / scale;
    FingerMap map{MakeSmoothPlane(frame.width, frame.height, cell, random),
                  MakeSmoothPlane(frame.width, frame.height, cell, random)};
    for (int row = 0; row < frame.height; ++row) {
        for (int column = 0; column < frame.width; ++column) {
            const double dx = (column - 0.5 * (frame.width - 1)) * scale - conditions.shiftX;
            const double dy = (row - 0.5 * (frame.height - 1)) * scale - conditions.shiftY;
            const double distance = (dx * dx + dy * dy) / (kTwistReach * kTwistReach);
            const double angle =
                conditions.rotation + conditions.twist * (1.0 - 2.0 / (1.0 + distance));
            const double cosine = Cosine(angle);
            const double sine = Sine(angle);
            double& x = map.x.At(column, row);
            double& y = map.y.At(column, row);
            x = dx * cosine - dy * sine + conditions.stretch * x;
            y = dx * sine + dy * cosine + conditions.stretch * y;
        }
    }
    return map;
}

}  // namespace qorfp::synth
