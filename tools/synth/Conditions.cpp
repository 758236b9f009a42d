// SPDX-License-Identifier: Apache-2.0
// Limits of each difficulty and the drawing of conditions within them.
#include "tools/synth/Conditions.h"

#include "tools/synth/Maths.h"

namespace qorfp::synth {
namespace {

// What a difficulty allows. "Most": drawn evenly up to that; "deviation": drawn normally.
struct Limits {
    double shift;            // deviation, finger pixels
    double rotation;         // deviation, degrees
    double stretch;          // most, finger pixels
    double twist;            // most, degrees
    double pressure;         // most, either way
    double dryness;          // most
    double wetness;          // most
    double unevenness;       // most, in heights of the skin (a ridge is 2 high)
    double smallestContact;  // size of the contact area, at least
    double cut;              // most, finger pixels
    uint32_t scratches;      // most
    double noise;            // most, grey levels
};

// Share of normal impressions that are made within the limits of the hard ones.
constexpr double kCarelessShare = 0.13;

// Largest contact area, relative to the finger's: keeps the print within the finger's canvas.
constexpr double kLargestContact = 1.07;

Limits LimitsOf(Difficulty difficulty) {
    switch (difficulty) {
        case Difficulty::kEasy:
            return {8.0, 4.0, 1.2, 1.0, 0.40, 0.30, 0.30, 0.12, 0.92, 8.0, 2, 3.0};
        case Difficulty::kNormal:
            return {17.0, 9.0, 4.8, 5.0, 1.00, 1.20, 0.90, 0.26, 0.88, 30.0, 6, 6.0};
        case Difficulty::kHard:
            return {30.0, 13.0, 5.5, 7.0, 1.40, 1.60, 1.60, 0.36, 0.52, 56.0, 10, 10.0};
    }
    return {};
}

}  // namespace

Conditions DrawConditions(Difficulty difficulty, Random& random) {
    constexpr double kDegree = kPi / 180.0;
    // Now and then a finger is put down carelessly.
    const bool isCareless = random.Uniform() < kCarelessShare;
    const Limits limits =
        LimitsOf(isCareless && difficulty == Difficulty::kNormal ? Difficulty::kHard : difficulty);
    Conditions drawn{};
    drawn.shiftX = limits.shift * random.Normal();
    drawn.shiftY = limits.shift * random.Normal();
    drawn.rotation = limits.rotation * kDegree * random.Normal();
    drawn.stretch = limits.stretch * random.Uniform(0.4, 1.0);
    drawn.twist = limits.twist * kDegree * random.Uniform(-1.0, 1.0);
    drawn.pressure = limits.pressure * random.Uniform(-1.0, 1.0);
    // A skin is dry or wet, not both.
    const double moisture = random.Uniform(-1.0, 1.0);
    drawn.dryness = moisture < 0.0 ? -moisture * limits.dryness : 0.0;
    drawn.wetness = moisture > 0.0 ? moisture * limits.wetness : 0.0;
    drawn.unevenness = limits.unevenness * random.Uniform(0.6, 1.0);
    drawn.pores = random.Uniform(0.2, 1.0);
    const double size = random.Uniform(limits.smallestContact, 1.04) + 0.03 * drawn.pressure;
    drawn.contactScale = Clamp(size, 0.0, kLargestContact);
    // A small area may lie further off the middle than a large one, which fills the finger.
    const double room = kLargestContact - drawn.contactScale;
    drawn.cutX = Clamp(limits.cut, 0.0, 6.0 + 108.0 * room) * random.Uniform(-1.0, 1.0);
    drawn.cutY = Clamp(limits.cut, 0.0, 6.0 + 150.0 * room) * random.Uniform(-1.0, 1.0);
    drawn.scratches = random.Below(limits.scratches + 1);
    drawn.ink = random.Uniform(42.0, 82.0) - 8.0 * drawn.pressure;
    drawn.ground = random.Uniform(232.0, 248.0);
    drawn.noise = limits.noise * random.Uniform(0.7, 1.0);
    return drawn;
}

}  // namespace qorfp::synth
