// SPDX-License-Identifier: Apache-2.0
// Orientation and period of the ridges. All positions here are in finger coordinates: pixels at
// 508 dpi from the centre of the canvas, x to the right, y towards the fingertip.
#include "tools/synth/OrientationField.h"

#include <cmath>
#include <vector>

#include "tools/synth/Flow.h"
#include "tools/synth/Maths.h"

namespace qorfp::synth {
namespace {

struct Complex {
    double real;
    double imaginary;
};

Complex Product(Complex a, Complex b) {
    return {a.real * b.real - a.imaginary * b.imaginary,
            a.real * b.imaginary + a.imaginary * b.real};
}

// The same direction with length 1; the real unit for 0.
Complex Unit(Complex a) {
    const double length = std::sqrt(a.real * a.real + a.imaginary * a.imaginary);
    return length > 0.0 ? Complex{a.real / length, a.imaginary / length} : Complex{1.0, 0.0};
}

// Doubled orientation at a point as a unit number, in the zero-pole model. The core numbered
// `without` is left out (-1: none).
Complex DoubledOrientation(const Flow& flow, Point at, int without) {
    Complex product = {1.0, 0.0};
    for (size_t i = 0; i < flow.cores.size(); ++i) {
        if (static_cast<int>(i) != without) {
            const Complex zero = {at.x - flow.cores[i].x, at.y - flow.cores[i].y};
            product = Product(product, Unit(zero));
        }
        // Divided by the pole: the conjugate of a unit number is its inverse.
        const Complex pole = {at.x - flow.deltas[i].x, flow.deltas[i].y - at.y};
        product = Product(product, Unit(pole));
    }
    return product;
}

// Turn of the flow at a point by the flow's twist.
double Twist(const Flow& flow, Point at) {
    const double dx = at.x - flow.middle.x;
    const double dy = at.y - flow.middle.y;
    const double reach = flow.twistReach * flow.twistReach;
    return flow.twist * Exponential(-0.5 * (dx * dx + dy * dy) / reach);
}

// Ridge orientation around the singular points of a flow.
class SingularField {
  public:
    explicit SingularField(const Flow& flow) : flow_(flow) {
        // At a core the model's orientation is half the bearing from the core plus a constant h.
        // The ridges inside the loop point straight away from the core where bearing / 2 + h =
        // bearing: the loop opens towards the bearing 2 h.
        for (size_t i = 0; i < flow.cores.size(); ++i) {
            const double turn = 2.0 * Twist(flow, flow.cores[i]);
            openings_.push_back(
                Product(DoubledOrientation(flow, flow.cores[i], static_cast<int>(i)),
                        {Cosine(turn), Sine(turn)}));
        }
    }

    // Radians, y towards the tip, modulo pi.
    double At(Point at) const {
        const Point squeezed = {at.x * flow_.stretch, at.y};
        const Complex doubled = DoubledOrientation(flow_, squeezed, -1);
        double angle = 0.5 * ArcTan2(doubled.imaginary, doubled.real) + Twist(flow_, squeezed);
        for (size_t i = 0; i < flow_.cores.size(); ++i) {
            angle -= CoreCorrection(i, squeezed);
        }
        return ArcTan2(Sine(angle) * flow_.stretch, Cosine(angle));
    }

  private:
    // With the bearing b from the core against the loop's opening, the model's orientation is b / 2
    // and the ridges fan out from the core. (b - s sin b) / 2 keeps them along the opening for
    // longer and turns them faster round the top of the loop.
    double CoreCorrection(size_t core, Point at) const {
        const double dx = at.x - flow_.cores[core].x;
        const double dy = at.y - flow_.cores[core].y;
        const double squared = dx * dx + dy * dy;
        const Complex bearing = Unit({dx, dy});
        const Complex& opening = openings_[core];
        const double sine = opening.real * bearing.imaginary - opening.imaginary * bearing.real;
        const double fading = Exponential(-0.5 * squared / (flow_.coreReach * flow_.coreReach));
        return 0.5 * flow_.coreStraightness * fading * sine;
    }

    const Flow& flow_;
    std::vector<Complex> openings_;  // unit, one a core
};

double Arching(const Flow& flow, Point at) {
    const double above = at.y > flow.archTop ? at.y - flow.archTop : 0.0;
    const double u = at.x / (flow.archReach + flow.archSpread * above);
    const double share = 2.0 * u / (1.0 + u * u);  // -1 .. 1, extreme at u = +-1
    return -flow.archAngle * SmoothStep(flow.archBottom, flow.archTop, at.y) * share;
}

}  // namespace

Plane MakeOrientationField(FingerClass fingerClass, uint64_t seed, uint32_t finger) {
    Random random(seed, finger, 0, Purpose::kOrientation);
    const double perturbation = random.Uniform(0.06, 0.12);
    const double tilt = random.Uniform(-0.08, 0.08);
    Plane field = MakeSmoothPlane(kCanvasWidth, kCanvasHeight, 60.0, random);
    const Flow flow = DrawFlow(fingerClass, random);
    const SingularField singular(flow);
    for (int y = 0; y < kCanvasHeight; ++y) {
        for (int x = 0; x < kCanvasWidth; ++x) {
            const Point at = {static_cast<double>(x - kCanvasWidth / 2),
                              static_cast<double>(kCanvasHeight / 2 - y)};
            double& value = field.At(x, y);
            const double angle = singular.At(at) + Arching(flow, at) + tilt + perturbation * value;
            value = -angle;  // the image's y points downwards
        }
    }
    return field;
}

Plane MakePeriodField(uint64_t seed, uint32_t finger) {
    Random random(seed, finger, 0, Purpose::kPeriod);
    const double mean = 9.0 + 0.45 * random.Normal();
    const double variation = random.Uniform(0.25, 0.45);
    const double widening = random.Uniform(0.2, 0.9);  // ridges are wider towards the crease
    Plane field = MakeSmoothPlane(kCanvasWidth, kCanvasHeight, 50.0, random);
    for (int y = 0; y < kCanvasHeight; ++y) {
        const double low = SmoothStep(0.45, 0.95, static_cast<double>(y) / kCanvasHeight);
        for (int x = 0; x < kCanvasWidth; ++x) {
            double& value = field.At(x, y);
            value = Clamp(mean + variation * value + widening * low, 7.0, 11.0);
        }
    }
    return field;
}

}  // namespace qorfp::synth
