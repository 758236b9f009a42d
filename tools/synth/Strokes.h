// SPDX-License-Identifier: Apache-2.0
// Thin, slightly bent strokes: creases of the skin and scratches.
#pragma once

#include "tools/synth/Plane.h"

namespace qorfp::synth {

/// A quadratic curve of even width that runs out softly at both ends.
struct Stroke {
    double startX = 0.0;
    double startY = 0.0;
    double bendX = 0.0;  // control point
    double bendY = 0.0;
    double endX = 0.0;
    double endY = 0.0;
    double halfWidth = 0.8;  // pixels, at which the depth has fallen to 0.6
    double depth = 1.0;
};

/// A stroke of random place, direction, length (within the bounds) and bend.
Stroke DrawRandomStroke(int width, int height, double shortest, double longest, Random& random);

/// Deepens the plane along the stroke (the greater value stays).
void PaintStroke(const Stroke& stroke, Plane& plane);

}  // namespace qorfp::synth
