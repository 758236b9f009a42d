// SPDX-License-Identifier: Apache-2.0
// Putting a finger together: flow, ridges, pores, creases, contact area.
#include "tools/synth/Finger.h"

#include "tools/synth/Maths.h"
#include "tools/synth/OrientationField.h"
#include "tools/synth/RidgeGrowing.h"
#include "tools/synth/Strokes.h"

namespace qorfp::synth {
namespace {

// Draws a pore: a small round pit of the given depth around a point, the deeper value staying.
void DrawPore(Plane& pores, double centreX, double centreY, double radius, double depth) {
    const int left = static_cast<int>(Clamp(centreX - 3.0, 0.0, pores.width - 1.0));
    const int right = static_cast<int>(Clamp(centreX + 3.0, 0.0, pores.width - 1.0));
    const int top = static_cast<int>(Clamp(centreY - 3.0, 0.0, pores.height - 1.0));
    const int bottom = static_cast<int>(Clamp(centreY + 3.0, 0.0, pores.height - 1.0));
    for (int y = top; y <= bottom; ++y) {
        for (int x = left; x <= right; ++x) {
            const double dx = x - centreX;
            const double dy = y - centreY;
            const double value =
                depth * Exponential(-0.5 * (dx * dx + dy * dy) / (radius * radius));
            if (value > pores.At(x, y)) {
                pores.At(x, y) = value;
            }
        }
    }
}

// One pore at most in each cell of a grid, on the crest of the ridge nearest to a random point.
Plane MakePores(const Plane& ridges, Random& random) {
    constexpr int kCell = 9;
    Plane pores(ridges.width, ridges.height);
    for (int cellY = 0; cellY + kCell <= ridges.height; cellY += kCell) {
        for (int cellX = 0; cellX + kCell <= ridges.width; cellX += kCell) {
            const double radius = random.Uniform(0.6, 1.1);
            const double depth = random.Uniform(0.3, 1.0);
            int x = cellX + static_cast<int>(random.Below(kCell));
            int y = cellY + static_cast<int>(random.Below(kCell));
            for (int step = 0; step < 4; ++step) {  // climb to the crest
                int bestX = x;
                int bestY = y;
                for (int nearY = y - 1; nearY <= y + 1; ++nearY) {
                    for (int nearX = x - 1; nearX <= x + 1; ++nearX) {
                        if (nearX >= 0 && nearX < ridges.width && nearY >= 0 &&
                            nearY < ridges.height &&
                            ridges.At(nearX, nearY) > ridges.At(bestX, bestY)) {
                            bestX = nearX;
                            bestY = nearY;
                        }
                    }
                }
                x = bestX;
                y = bestY;
            }
            if (ridges.At(x, y) > 0.6) {
                DrawPore(pores, x, y, radius, depth);
            }
        }
    }
    return pores;
}

Plane MakeCreases(Random& random) {
    Plane creases(kCanvasWidth, kCanvasHeight);
    const uint32_t count = random.Below(4);
    for (uint32_t crease = 0; crease < count; ++crease) {
        Stroke stroke = DrawRandomStroke(kCanvasWidth, kCanvasHeight, 25.0, 80.0, random);
        stroke.halfWidth = random.Uniform(0.5, 1.0);
        stroke.depth = random.Uniform(0.4, 0.9);
        PaintStroke(stroke, creases);
    }
    return creases;
}

ContactShape DrawContact(Random& random) {
    ContactShape shape{};
    shape.halfWidth = random.Uniform(112.0, 128.0);
    shape.halfHeightTip = random.Uniform(155.0, 172.0);
    shape.halfHeightBase = random.Uniform(155.0, 172.0);
    return shape;
}

}  // namespace

Finger MakeFinger(uint64_t seed, uint32_t number, std::optional<FingerClass> fingerClass,
                  const RidgeFilterBank& bank) {
    Random classRandom(seed, number, 0, Purpose::kClass);
    Random growthRandom(seed, number, 0, Purpose::kGrowth);
    Random poreRandom(seed, number, 0, Purpose::kPores);
    Random creaseRandom(seed, number, 0, Purpose::kCreases);
    Random shapeRandom(seed, number, 0, Purpose::kShape);

    Finger finger{};
    finger.seed = seed;
    finger.number = number;
    finger.fingerClass = fingerClass ? *fingerClass : DrawClass(classRandom);
    finger.contact = DrawContact(shapeRandom);
    const Plane orientation = MakeOrientationField(finger.fingerClass, seed, number);
    const Plane period = MakePeriodField(seed, number);
    finger.ridges = GrowRidges(orientation, period, bank, growthRandom);
    finger.pores = MakePores(finger.ridges, poreRandom);
    finger.creases = MakeCreases(creaseRandom);
    return finger;
}

}  // namespace qorfp::synth
