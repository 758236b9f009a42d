// SPDX-License-Identifier: Apache-2.0
// Strokes are painted as a row of soft dots half a pixel apart.
#include "tools/synth/Strokes.h"

#include <cmath>

#include "tools/synth/Maths.h"

namespace qorfp::synth {
namespace {

// A soft dot of radius `halfWidth`.
void PaintDot(double centreX, double centreY, double halfWidth, double depth, Plane& plane) {
    const double reach = 3.0 * halfWidth + 1.0;
    const long long left = RoundToInteger(centreX - reach);
    const long long top = RoundToInteger(centreY - reach);
    const long long right = RoundToInteger(centreX + reach);
    const long long bottom = RoundToInteger(centreY + reach);
    for (long long y = top < 0 ? 0 : top; y <= bottom && y < plane.height; ++y) {
        for (long long x = left < 0 ? 0 : left; x <= right && x < plane.width; ++x) {
            const double dx = static_cast<double>(x) - centreX;
            const double dy = static_cast<double>(y) - centreY;
            const double bell = -0.5 * (dx * dx + dy * dy) / (halfWidth * halfWidth);
            const double value = depth * Exponential(bell);
            double& pixel = plane.At(static_cast<int>(x), static_cast<int>(y));
            if (value > pixel) {
                pixel = value;
            }
        }
    }
}

}  // namespace

Stroke DrawRandomStroke(int width, int height, double shortest, double longest, Random& random) {
    Stroke stroke;
    const double length = random.Uniform(shortest, longest);
    const double direction = random.Uniform(0.0, 2.0 * kPi);
    const double bend = random.Uniform(-0.12, 0.12) * length;
    const double stepX = Cosine(direction);
    const double stepY = Sine(direction);
    stroke.startX = random.Uniform(0.0, static_cast<double>(width));
    stroke.startY = random.Uniform(0.0, static_cast<double>(height));
    stroke.endX = stroke.startX + stepX * length;
    stroke.endY = stroke.startY + stepY * length;
    stroke.bendX = 0.5 * (stroke.startX + stroke.endX) - stepY * bend;
    stroke.bendY = 0.5 * (stroke.startY + stroke.endY) + stepX * bend;
    return stroke;
}

void PaintStroke(const Stroke& stroke, Plane& plane) {
    const double dx = stroke.endX - stroke.startX;
    const double dy = stroke.endY - stroke.startY;
    const long long steps = RoundToInteger(2.0 * std::sqrt(dx * dx + dy * dy)) + 1;
    for (long long step = 0; step <= steps; ++step) {
        const double t = static_cast<double>(step) / static_cast<double>(steps);
        const double s = 1.0 - t;
        const double x = s * s * stroke.startX + 2.0 * s * t * stroke.bendX + t * t * stroke.endX;
        const double y = s * s * stroke.startY + 2.0 * s * t * stroke.bendY + t * t * stroke.endY;
        const double run = SmoothStep(0.0, 0.2, t) * SmoothStep(0.0, 0.2, s);
        PaintDot(x, y, stroke.halfWidth, stroke.depth * run, plane);
    }
}

}  // namespace qorfp::synth
