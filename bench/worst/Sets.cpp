// SPDX-License-Identifier: Apache-2.0
//
// Minutiae where no finger has them.
#include <cmath>

#include "bench/worst/Cases.h"

namespace worst {
namespace {

using model::Minutia;
using testsupport::MakeMinutia;
using testsupport::MakeSet;
using testsupport::Random;

constexpr int32_t kMinutiae = 60;
constexpr int32_t kTurn = 240;
constexpr double kPi = 3.14159265358979323846;

// How the directions of a set's minutiae are chosen.
enum class Directions { kEqual, kOpposite, kRandom, kNearlyEqual };

constexpr Directions kAllDirections[] = {Directions::kEqual, Directions::kOpposite,
                                         Directions::kNearlyEqual, Directions::kRandom};

std::string NameOf(Directions directions) {
    switch (directions) {
        case Directions::kEqual:
            return "equal directions";
        case Directions::kOpposite:
            return "opposite directions";
        case Directions::kNearlyEqual:
            return "nearly equal directions";
        case Directions::kRandom:
            return "random directions";
    }
    return "?";
}

int32_t DirectionOf(Directions directions, int32_t i, Random& random) {
    switch (directions) {
        case Directions::kEqual:
            return 30;
        case Directions::kOpposite:
            return i % 2 == 0 ? 30 : 150;
        case Directions::kNearlyEqual:
            return 30 + random.Below(8);
        case Directions::kRandom:
            break;
    }
    return random.Below(kTurn);
}

struct Place {
    int32_t x;
    int32_t y;
};

// A set with minutia i at `place(i)`.
template <class PlaceOf>
NamedSet Placed(const std::string& name, Directions directions, Random& random, PlaceOf place) {
    std::vector<Minutia> minutiae;
    for (int32_t i = 0; i < kMinutiae; ++i) {
        const Place at = place(i);
        minutiae.push_back(MakeMinutia(at.x, at.y, DirectionOf(directions, i, random)));
    }
    return {name + ", " + NameOf(directions), MakeSet(minutiae)};
}

void AddHeaps(Directions directions, Random& random, std::vector<NamedSet>* sets) {
    for (const int32_t heaps : {1, 2, 3, 4, 6, 10, 30}) {
        for (const int32_t radius : {0, 5}) {
            for (const int32_t distance : {15, 60}) {
                if (heaps == 1 && distance > 15) {
                    continue;
                }
                sets->push_back(Placed(
                    std::to_string(heaps) + " heaps of radius " + std::to_string(radius) + ", " +
                        std::to_string(distance) + " apart",
                    directions, random, [&](int32_t i) {
                        const double turn = 2 * kPi * (i % heaps) / heaps;
                        const double ring = heaps == 1 ? 0 : distance / 2.0 / std::sin(kPi / heaps);
                        return Place{
                            100 + static_cast<int32_t>(std::lround(ring * std::cos(turn))) +
                                random.Between(-radius, radius),
                            100 + static_cast<int32_t>(std::lround(ring * std::sin(turn))) +
                                random.Between(-radius, radius)};
                    }));
            }
        }
    }
}

void AddLines(Directions directions, Random& random, std::vector<NamedSet>* sets) {
    for (const int32_t step : {1, 2, 4, 8}) {
        const std::string apart = ", " + std::to_string(step) + " apart";
        sets->push_back(Placed("a line" + apart, directions, random, [=](int32_t i) {
            return Place{20 + step * i, 100};
        }));
        sets->push_back(Placed("a slanting line" + apart, directions, random, [=](int32_t i) {
            return Place{20 + step * i, 10 + step * i / 2};
        }));
        sets->push_back(Placed("two lines" + apart, directions, random, [=](int32_t i) {
            return Place{20 + step * (i / 2), i % 2 == 0 ? 90 : 115};
        }));
        sets->push_back(Placed("a lattice" + apart, directions, random, [=](int32_t i) {
            return Place{50 + 4 * step * (i % 8), 50 + 4 * step * (i / 8)};
        }));
        sets->push_back(Placed("a circle" + apart, directions, random, [=](int32_t i) {
            const double turn = 2 * kPi * i / kMinutiae;
            const double radius = step * kMinutiae / 2 / kPi;
            return Place{150 + static_cast<int32_t>(std::lround(radius * std::cos(turn))),
                         150 + static_cast<int32_t>(std::lround(radius * std::sin(turn)))};
        }));
    }
}

}  // namespace

std::vector<NamedSet> AdversarialSets() {
    Random random(1);
    std::vector<NamedSet> sets;
    for (const Directions directions : kAllDirections) {
        AddHeaps(directions, random, &sets);
        AddLines(directions, random, &sets);
    }
    for (const testsupport::Layout layout : testsupport::kAllLayouts) {
        if (layout != testsupport::Layout::kSpread) {
            sets.push_back({"layout " + testsupport::NameOf(layout),
                            testsupport::RandomSet(random, layout, kMinutiae)});
        }
    }
    return sets;
}

std::vector<NamedSet> SpreadSets() {
    constexpr int32_t kSets = 12;
    Random random(2);
    std::vector<NamedSet> sets;
    for (int32_t i = 0; i < kSets; ++i) {
        sets.push_back(
            {"spread", testsupport::RandomSet(random, testsupport::Layout::kSpread, kMinutiae)});
    }
    return sets;
}

}  // namespace worst
