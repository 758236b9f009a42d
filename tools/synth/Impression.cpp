// SPDX-License-Identifier: Apache-2.0
// Rendering of an impression. The ridge pattern is sampled through the distortion; a threshold,
// moved by pressure, moisture and the nearness of the rim, decides how much of each ridge touches;
// then come scratches, the optics' blur and the sensor's noise.
#include "tools/synth/Impression.h"

#include <cmath>

#include "tools/synth/Conditions.h"
#include "tools/synth/Distortion.h"
#include "tools/synth/Maths.h"
#include "tools/synth/Strokes.h"

namespace qorfp::synth {
namespace {

// Random variation of the skin over the frame, each of deviation about 1.
struct SkinTexture {
    Plane moisture;  // patches of dry or wet skin
    Plane grain;     // ragged ridge edges
    Plane rim;       // irregular outline
    Plane fade;      // local strength of the impression

    SkinTexture(const Frame& frame, double scale, Random& random)
        : moisture(MakeSmoothPlane(frame.width, frame.height, 28.0 / scale, random)),
          grain(MakeSmoothPlane(frame.width, frame.height, 1.9 / scale, random)),
          rim(MakeSmoothPlane(frame.width, frame.height, 16.0 / scale, random)),
          fade(MakeSmoothPlane(frame.width, frame.height, 55.0 / scale, random)) {}
};

// How deep a point lies inside the contact area: 1 at the middle, 0 at the rim, negative outside.
double ContactDepth(const Finger& finger, const Conditions& conditions, double x, double y) {
    const double dx = (x - conditions.cutX) / (finger.contact.halfWidth * conditions.contactScale);
    const double halfHeight =
        y < conditions.cutY ? finger.contact.halfHeightTip : finger.contact.halfHeightBase;
    const double dy = (y - conditions.cutY) / (halfHeight * conditions.contactScale);
    const double squareX = dx * dx;
    const double squareY = dy * dy;
    // Between an ellipse and a rectangle, the base being squarer than the tip.
    const double squareness = y < conditions.cutY ? 0.15 : 0.45;
    const double ellipse = std::sqrt(squareX + squareY);
    const double rounded = std::sqrt(std::sqrt(squareX * squareX + squareY * squareY));
    return 1.0 - (ellipse * (1.0 - squareness) + rounded * squareness);
}

// Share of a full ridge, 0 .. 1, that shows at each pixel.
Plane TouchingRidges(const Finger& finger, const Conditions& conditions, const Frame& frame,
                     const FingerMap& map, const SkinTexture& skin) {
    const double centreX = 0.5 * finger.ridges.width;
    const double centreY = 0.5 * finger.ridges.height;
    const double poreDepth =
        0.9 * conditions.pores * Clamp(1.0 - 0.7 * conditions.wetness, 0.0, 1.0);
    const double grainShare = 0.10 + 0.38 * conditions.dryness;
    Plane ridges(frame.width, frame.height);
    for (size_t i = 0; i < ridges.values.size(); ++i) {
        const double x = map.x.values[i];
        const double y = map.y.values[i];
        const double depth = ContactDepth(finger, conditions, x, y) + 0.035 * skin.rim.values[i];
        if (depth < -0.12) {
            continue;
        }
        const double wave = SampleBilinear(finger.ridges, x + centreX, y + centreY);
        const double pore = SampleBilinear(finger.pores, x + centreX, y + centreY);
        const double crease = SampleBilinear(finger.creases, x + centreX, y + centreY);
        const double patch = skin.moisture.values[i];
        // Height of the skin above the level that touches: ridges thin out towards the rim.
        const double lift = 0.28 * conditions.pressure + conditions.unevenness * patch +
                            conditions.wetness * Clamp(0.25 + 0.35 * patch, 0.0, 1.0) -
                            conditions.dryness * Clamp(0.20 + 0.30 * patch, 0.0, 1.0) -
                            1.6 * (1.0 - SmoothStep(-0.10, 0.10, depth));
        const double height = wave + 0.05 + lift + grainShare * skin.grain.values[i] -
                              1.5 * poreDepth * pore - 1.8 * crease;
        const double strength = Clamp(0.88 + 0.10 * skin.fade.values[i], 0.55, 1.0);
        ridges.values[i] = strength * SmoothStep(-0.35, 0.55, height);
    }
    return ridges;
}

void Scratch(const Conditions& conditions, const Frame& frame, double scale, Random& random,
             Plane& ridges) {
    Plane scratches(frame.width, frame.height);
    for (uint32_t i = 0; i < conditions.scratches; ++i) {
        Stroke stroke =
            DrawRandomStroke(frame.width, frame.height, 20.0 / scale, 110.0 / scale, random);
        stroke.halfWidth = random.Uniform(0.5, 1.1) / scale;
        stroke.depth = random.Uniform(0.4, 0.95);
        PaintStroke(stroke, scratches);
    }
    for (size_t i = 0; i < ridges.values.size(); ++i) {
        ridges.values[i] *= 1.0 - scratches.values[i];
    }
}

// Optics: each pixel mixed with its four neighbours (edge pixels repeat).
Plane Blurred(const Plane& plane) {
    Plane blurred(plane.width, plane.height);
    for (int y = 0; y < plane.height; ++y) {
        const int above = y > 0 ? y - 1 : y;
        const int below = y + 1 < plane.height ? y + 1 : y;
        for (int x = 0; x < plane.width; ++x) {
            const int left = x > 0 ? x - 1 : x;
            const int right = x + 1 < plane.width ? x + 1 : x;
            blurred.At(x, y) =
                0.52 * plane.At(x, y) + 0.12 * (plane.At(left, y) + plane.At(right, y) +
                                                plane.At(x, above) + plane.At(x, below));
        }
    }
    return blurred;
}

std::vector<uint8_t> Sense(const Plane& ridges, const Conditions& conditions, Random& random) {
    const Plane light = MakeSmoothPlane(ridges.width, ridges.height, 160.0, random);
    std::vector<uint8_t> pixels;
    pixels.reserve(ridges.values.size());
    for (size_t i = 0; i < ridges.values.size(); ++i) {
        const double share = ridges.values[i];
        const double clean = conditions.ground + (conditions.ink - conditions.ground) * share +
                             2.5 * light.values[i];
        // Less noise on the empty sensor than on skin.
        const double noise = conditions.noise * (0.35 + 0.65 * share) * random.Normal();
        pixels.push_back(static_cast<uint8_t>(RoundToInteger(Clamp(clean + noise, 0.0, 255.0))));
    }
    return pixels;
}

}  // namespace

std::vector<uint8_t> MakeImpression(const Finger& finger, uint32_t number, const Frame& frame,
                                    Difficulty difficulty) {
    Random placement(finger.seed, finger.number, number, Purpose::kPlacement);
    Random distortion(finger.seed, finger.number, number, Purpose::kDistortion);
    Random skinRandom(finger.seed, finger.number, number, Purpose::kSkin);
    Random scratchRandom(finger.seed, finger.number, number, Purpose::kScratches);
    Random sensor(finger.seed, finger.number, number, Purpose::kSensor);

    const double scale = 508.0 / frame.dpi;
    const Conditions conditions = DrawConditions(difficulty, placement);
    const FingerMap map = MapFrame(conditions, frame, distortion);
    const SkinTexture skin(frame, scale, skinRandom);
    Plane ridges = TouchingRidges(finger, conditions, frame, map, skin);
    Scratch(conditions, frame, scale, scratchRandom, ridges);
    return Sense(Blurred(ridges), conditions, sensor);
}

}  // namespace qorfp::synth
