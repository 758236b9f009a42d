// SPDX-License-Identifier: Apache-2.0

#include "match/MinutiaMean.h"

#include "extract/FixedMath.h"

namespace {

using namespace qorfp;

// Mean of two is truncated, of three rounded half away from zero.
int32_t MeanOfSum(int32_t sum, int32_t count) {
    if (count == 2) {
        return sum / 2;
    }
    return (sum >= 0 ? sum + 1 : sum - 1) / 3;
}

// The direction as a number in -120..119, so that directions around 0 can be averaged.
int32_t Signed(int32_t direction) {
    return direction >= kHalfTurn ? direction - kTurn : direction;
}

uint8_t Unsigned(int32_t direction) {
    return static_cast<uint8_t>(direction < 0 ? direction + kTurn : direction);
}

uint8_t MeanDirection(const Minutia* const* minutiae, int32_t count) {
    int32_t low = minutiae[0]->direction;
    int32_t high = low;
    for (int32_t i = 1; i < count; ++i) {
        low = Min(low, minutiae[i]->direction);
        high = Max(high, minutiae[i]->direction);
    }
    const bool isAcrossZero = high - low >= kHalfTurn;
    int32_t sum = 0;
    for (int32_t i = 0; i < count; ++i) {
        const int32_t direction = minutiae[i]->direction;
        sum += isAcrossZero ? Signed(direction) : direction;
    }
    return Unsigned(MeanOfSum(sum, count));
}

uint8_t MajorityType(const Minutia* const* minutiae, int32_t count) {
    int32_t endings = 0;
    int32_t bifurcations = 0;
    for (int32_t i = 0; i < count; ++i) {
        endings += minutiae[i]->type == kEnding ? 1 : 0;
        bifurcations += minutiae[i]->type == kBifurcation ? 1 : 0;
    }
    return bifurcations > endings ? kBifurcation : kEnding;
}

uint32_t Attributes(int32_t density, int32_t disorder) {
    return static_cast<uint32_t>(density << 6 | disorder);
}

// (3 x enrolled + observed) / 4, rounded half away from zero.
int32_t ThreeToOne(int32_t enrolled, int32_t observed) {
    const int32_t sum = 3 * enrolled + observed;
    return (sum >= 0 ? sum + 2 : sum - 2) / 4;
}

}  // namespace

Minutia qorfp::MeanOf(const Minutia* const* minutiae, int32_t count) {
    int32_t x = 0;
    int32_t y = 0;
    int32_t density = 0;
    int32_t disorder = 0;
    for (int32_t i = 0; i < count; ++i) {
        x += minutiae[i]->x;
        y += minutiae[i]->y;
        density += RidgeDensityOf(minutiae[i]->attributes);
        disorder += DisorderOf(minutiae[i]->attributes);
    }
    Minutia mean = {};
    mean.attributes = Attributes(MeanOfSum(density, count), MeanOfSum(disorder, count));
    mean.x = MeanOfSum(x, count);
    mean.y = MeanOfSum(y, count);
    mean.type = MajorityType(minutiae, count);
    mean.direction = MeanDirection(minutiae, count);
    return mean;
}

Minutia qorfp::MeanThreeToOne(const Minutia& enrolled, const Minutia& observed) {
    int32_t from = enrolled.direction;
    int32_t towards = observed.direction;
    if (Absolute(from - towards) >= kHalfTurn) {
        from = Signed(from);
        towards = Signed(towards);
    }
    Minutia mean = enrolled;
    mean.attributes = Attributes(
        ThreeToOne(RidgeDensityOf(enrolled.attributes), RidgeDensityOf(observed.attributes)),
        ThreeToOne(DisorderOf(enrolled.attributes), DisorderOf(observed.attributes)));
    mean.x = ThreeToOne(enrolled.x, observed.x);
    mean.y = ThreeToOne(enrolled.y, observed.y);
    mean.direction = Unsigned(ThreeToOne(from, towards));
    return mean;
}
