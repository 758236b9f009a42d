// SPDX-License-Identifier: Apache-2.0
//
// Templates with known scores, see KnownScores.h.
#include "tests/api/KnownScores.h"

#include <cmath>
#include <cstdlib>

#include "tests/support/TestImages.h"

namespace apitest {

namespace {

// A line from one minutia to another as a person would describe it; angles in 1/240 turn.
struct Line {
    double length;
    double angleFirst;
    double angleSecond;
};

Line LineOf(const HandMinutia& from, const HandMinutia& to) {
    const double dx = to.x - from.x;
    const double dy = to.y - from.y;
    const double direction = std::atan2(dy, dx) * 120.0 / std::acos(-1.0);
    return {std::hypot(dx, dy), direction - from.direction, direction + 120 - to.direction};
}

double AngleBetween(double a, double b) {
    return std::fabs(std::remainder(a - b, 240.0));
}

// Whether a comparison could take one line for the other (12 pixels, 10 steps), with a margin.
bool LookAlike(const Line& a, const Line& b) {
    return std::fabs(a.length - b.length) < 14 && AngleBetween(a.angleFirst, b.angleFirst) < 13 &&
           AngleBetween(a.angleSecond, b.angleSecond) < 13;
}

// Whether every pair of minutiae makes a bar (15 to 200 pixels) and no two lines look alike, a
// line and its reverse included.
bool IsUnmistakable(const Minutiae& minutiae) {
    std::vector<Line> lines;
    for (const HandMinutia& from : minutiae) {
        for (const HandMinutia& to : minutiae) {
            if (&from != &to) {
                lines.push_back(LineOf(from, to));
            }
        }
    }
    for (size_t i = 0; i < lines.size(); ++i) {
        if (lines[i].length < 16 || lines[i].length > 199) {
            return false;
        }
        for (size_t j = 0; j < i; ++j) {
            if (LookAlike(lines[i], lines[j])) {
                return false;
            }
        }
    }
    return true;
}

// Weight of a bar between minutiae a and b of a template, found again between a2 and b2 of a copy
// of it at the same place with other attributes or types. 963 is the greatest strength of a bar
// (30 x 20 + 44 x 12 - 165: equal angles, equal length).
int32_t ExpectedWeight(const HandMinutia& a, const HandMinutia& b, const HandMinutia& a2,
                       const HandMinutia& b2) {
    const bool isFirstEqual = a.type == a2.type;
    const bool isSecondEqual = b.type == b2.type;
    int32_t strength = 963;
    if (isFirstEqual && isSecondEqual) {
        strength = (1229 * strength + 512) / 1024;
    } else if (!isFirstEqual && !isSecondEqual) {
        strength = (853 * strength + 512) / 1024;
    }
    const int32_t disorder1 = std::abs(a.disorder - a2.disorder);
    const int32_t disorder2 = std::abs(b.disorder - b2.disorder);
    const int32_t density1 = std::abs(a.density - a2.density);
    const int32_t density2 = std::abs(b.density - b2.density);
    if (disorder1 >= 16 || disorder2 >= 16 || density1 >= 32 || density2 >= 32 ||
        density1 + density2 >= 40) {
        return 0;
    }
    return (40 - density1 - density2) * (strength * (32 - disorder1 - disorder2) / 32) / 40;
}

}  // namespace

Minutiae UnmistakableSet(int32_t count, uint64_t firstSeed, uint64_t* seed) {
    for (uint64_t trial = firstSeed;; ++trial) {
        const Minutiae minutiae = Scatter(trial, count, 130);
        if (IsUnmistakable(minutiae)) {
            if (seed != nullptr) {
                *seed = trial;
            }
            return minutiae;
        }
    }
}

int32_t ExpectedScore(const Minutiae& original, const Minutiae& copy) {
    int32_t weights = 0;
    int32_t bars = 0;
    for (size_t i = 0; i < original.size(); ++i) {
        for (size_t j = i + 1; j < original.size(); ++j) {
            weights += ExpectedWeight(original[i], original[j], copy[i], copy[j]);
            ++bars;
        }
    }
    const int32_t referenceBars = 2 * bars;  // both ways round
    const int32_t referenceShare = referenceBars > 100 ? 100 * weights / referenceBars : weights;
    const int32_t probeShare = bars > 50 ? 50 * weights / bars : weights;
    const int32_t score = (36 * (referenceShare + probeShare) + 512) / 1024;
    return score < kHighestScore ? score : kHighestScore;
}

Minutiae CopyScoring(const Minutiae& original, int32_t wanted) {
    testsupport::Random random(static_cast<uint64_t>(wanted));
    for (;;) {
        Minutiae copy = original;
        for (HandMinutia& minutia : copy) {
            minutia.density += random.Between(8, 19);
            minutia.disorder += random.Between(0, 10);
        }
        if (ExpectedScore(original, copy) == wanted) {
            return copy;
        }
    }
}

}  // namespace apitest
