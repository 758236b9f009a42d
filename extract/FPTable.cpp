// SPDX-License-Identifier: Apache-2.0
//
// The tables of directions, roots and divisions. All are made by rule while compiling: the
// generators below use floating point, the object file holds none and needs no start-up code.

#include "extract/FPTable.h"

#include <stddef.h>

#include "extract/Repeat.h"

namespace {

constexpr double kPi = 3.14159265358979323846;

// Taylor series; the argument is at most a quarter turn, so 13 terms are exact to the last bits.
constexpr double SineOfQuarter(double angle) {
    double term = angle;
    double sum = angle;
    for (int k = 1; k < 13; ++k) {
        term = -term * angle * angle / ((2 * k) * (2 * k + 1));
        sum += term;
    }
    return sum;
}

constexpr double CosineOfQuarter(double angle) {
    return SineOfQuarter(kPi / 2 - angle);
}

constexpr int32_t RoundToNearest(double value) {
    return static_cast<int32_t>(value < 0 ? value - 0.5 : value + 0.5);
}

// round(16384 x sin), for any step 0..359.
constexpr int32_t SineQ14(int32_t step) {
    const int32_t k = step % 240;
    const int32_t half = k % 120;
    const int32_t quarter = half <= 60 ? half : 120 - half;
    const int32_t value = RoundToNearest(16384 * SineOfQuarter(quarter * kPi / 120));
    return k < 120 ? value : -value;
}
static_assert(SineQ14(0) == 0 && SineQ14(1) == 429 && SineQ14(2) == 857 && SineQ14(3) == 1285 &&
                  SineQ14(4) == 1713 && SineQ14(5) == 2139 && SineQ14(6) == 2563 &&
                  SineQ14(7) == 2986 && SineQ14(60) == 16384,
              "first sines");
static_assert(SineQ14(61) == 16378 && SineQ14(62) == 16362 && SineQ14(63) == 16333 &&
                  SineQ14(64) == 16294 && SineQ14(180) == -16384 && SineQ14(299) == 16378,
              "first cosines");

// round(atan(row / column) x stepsPerQuarter / (pi / 2)) for all rows and columns of a square
// table; the first column is a full quarter. Along a row the angle only falls, so it is counted
// down past the tangents of the half steps.
template <size_t kSide, size_t kStepsPerQuarter>
struct AtanTable {
    uint8_t values[kSide * kSide];

    constexpr AtanTable() : values() {
        double halfStepTangent[kStepsPerQuarter + 1] = {};  // [a]: where a - 1 rounds up to a
        for (size_t a = 1; a <= kStepsPerQuarter; ++a) {
            const double angle = (static_cast<double>(a) - 0.5) * kPi / 2 / kStepsPerQuarter;
            halfStepTangent[a] = SineOfQuarter(angle) / CosineOfQuarter(angle);
        }
        for (size_t row = 0; row < kSide; ++row) {
            size_t angle = kStepsPerQuarter;
            values[row * kSide] = kStepsPerQuarter;
            for (size_t column = 1; column < kSide; ++column) {
                while (angle > 0 && static_cast<double>(row) <
                                        halfStepTangent[angle] * static_cast<double>(column)) {
                    --angle;
                }
                values[row * kSide + column] = static_cast<uint8_t>(angle);
            }
        }
    }
};

constexpr AtanTable<128, 60> kAtanB;
constexpr AtanTable<50, 30> kAtanA;

constexpr bool StartsWith(const uint8_t* entries, const int (&expected)[10]) {
    for (int i = 0; i < 10; ++i) {
        if (entries[i] != expected[i]) {
            return false;
        }
    }
    return true;
}
static_assert(StartsWith(kAtanB.values + 128, {60, 30, 18, 12, 9, 8, 6, 5, 5, 4}), "row 1");
static_assert(StartsWith(kAtanA.values + 50, {30, 15, 9, 6, 5, 4, 3, 3, 2, 2}), "row 1");

// Five segments of rounded square roots, each with a step twice or more that of the one before.
struct SqrtTable {
    uint8_t values[976];

    constexpr SqrtTable() : values() {
        AddSegment(0, 0, 0, 255);
        AddSegment(240, 4, 16, 63);
        AddSegment(272, 5, 32, 127);
        AddSegment(336, 6, 64, 255);
        AddSegment(464, 7, 128, 511);
    }

    constexpr void AddSegment(int origin, int shift, int first, int last) {
        int root = 0;
        for (int k = first; k <= last; ++k) {
            const int square = k << shift;
            while (root * root + root < square) {  // (root + 1/2)^2 < square
                ++root;
            }
            values[origin + k] = static_cast<uint8_t>(root < 255 ? root : 255);
        }
    }
};

constexpr SqrtTable kSqrt;
static_assert(kSqrt.values[2] == 1 && kSqrt.values[3] == 2 && kSqrt.values[255] == 16, "rounded");
static_assert(kSqrt.values[974] == 255 && kSqrt.values[975] == 255, "limited to a byte");

}  // namespace

#define QORFP_ATAN_B(i) kAtanB.values[i]
const uint8_t gnAtanB[128 * 128] = {QORFP_REPEAT_16384(QORFP_ATAN_B, 0)};

#define QORFP_ATAN_A(i) kAtanA.values[i]
const uint8_t gnAtanA[50 * 50] = {
    QORFP_REPEAT_2048(QORFP_ATAN_A, 0), QORFP_REPEAT_256(QORFP_ATAN_A, 2048),
    QORFP_REPEAT_128(QORFP_ATAN_A, 2304), QORFP_REPEAT_64(QORFP_ATAN_A, 2432),
    QORFP_REPEAT_4(QORFP_ATAN_A, 2496)};

#define QORFP_SQRT(i) kSqrt.values[i]
const uint8_t gnSqrt[976] = {QORFP_REPEAT_512(QORFP_SQRT, 0), QORFP_REPEAT_256(QORFP_SQRT, 512),
                             QORFP_REPEAT_128(QORFP_SQRT, 768), QORFP_REPEAT_64(QORFP_SQRT, 896),
                             QORFP_REPEAT_16(QORFP_SQRT, 960)};

#define QORFP_SQUARE(i) ((i) * (i))
const int32_t gnSqr[256] = {QORFP_REPEAT_256(QORFP_SQUARE, 0)};

#define QORFP_REPEAT_240(entry)                                                           \
    QORFP_REPEAT_128(entry, 0), QORFP_REPEAT_64(entry, 128), QORFP_REPEAT_32(entry, 192), \
        QORFP_REPEAT_16(entry, 224)

#define QORFP_SINE(i) SineQ14(i)
const int32_t gnSin[240] = {QORFP_REPEAT_240(QORFP_SINE)};

#define QORFP_COSINE(i) SineQ14((i) + 60)
const int32_t gnCos[240] = {QORFP_REPEAT_240(QORFP_COSINE)};

#define QORFP_DIV_6(i) (i) / 6
const uint8_t gbDiv6[1536] = {QORFP_REPEAT_1024(QORFP_DIV_6, 0),
                              QORFP_REPEAT_512(QORFP_DIV_6, 1024)};

#define QORFP_DIV_9(i) (i) / 9
const uint8_t gbDiv9[2304] = {QORFP_REPEAT_2048(QORFP_DIV_9, 0),
                              QORFP_REPEAT_256(QORFP_DIV_9, 2048)};

#define QORFP_DIV_20(i) (i) / 20
const uint8_t gbDiv20[240] = {QORFP_REPEAT_240(QORFP_DIV_20)};
