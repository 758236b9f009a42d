// SPDX-License-Identifier: Apache-2.0
//
// atanA, atanB and sqrtA: the axes and corners by hand, the rest against the naive model.
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

#include "extract/FPTable.h"
#include "tests/model/ModelMaths.h"
#include "tests/support/TestImages.h"

namespace {

constexpr int32_t kLowest = std::numeric_limits<int32_t>::min();
constexpr int32_t kHighest = std::numeric_limits<int32_t>::max();

TEST(AtanA, AxesDiagonalsAndZeroVector) {
    EXPECT_EQ(atanA(1, 0), 0);
    EXPECT_EQ(atanA(0, 1), 60);
    EXPECT_EQ(atanA(-1, 0), 120);
    EXPECT_EQ(atanA(0, -1), 180);
    EXPECT_EQ(atanA(0, 0), 180);
    EXPECT_EQ(atanA(1, 1), 30);
    EXPECT_EQ(atanA(-1, 1), 90);
    EXPECT_EQ(atanA(-1, -1), 150);
    EXPECT_EQ(atanA(1, -1), 210);
}

TEST(AtanA, FullTurnWrapsToZero) {
    EXPECT_EQ(atanA(127, -1), 0);
    EXPECT_EQ(atanA(100, -1), 0);
    // atan(1 / 76) is 0.503 steps, so 239; atan(1 / 77) is 0.496 steps, so the turn is full.
    EXPECT_EQ(atanA(76, -1), 239);
    EXPECT_EQ(atanA(77, -1), 0);
}

TEST(AtanA, LongVectorsAreScaledTo127) {
    // 3 x 127 + 500 = 881, divided by 1000: 0.
    EXPECT_EQ(atanA(1000, 3), 0);
    EXPECT_EQ(atanA(1000, -3), 0);
    EXPECT_EQ(atanA(-1000, 3), 120);
    EXPECT_EQ(atanA(3, 1000), 60);
    EXPECT_EQ(atanA(3, -1000), 180);
    // 4 x 127 + 500 = 1008: 1 of 127, 0.3 steps.
    EXPECT_EQ(atanA(1000, 4), 0);
    // 13 x 127 + 500 = 2151: 2 of 127, 0.6 steps.
    EXPECT_EQ(atanA(1000, 13), 1);
    EXPECT_EQ(atanA(1000, 1000), 30);
    EXPECT_EQ(atanA(128, -128), 210);
}

TEST(AtanA, EqualsModelNearTheOrigin) {
    for (int32_t y = -140; y <= 140; ++y) {
        for (int32_t x = -140; x <= 140; ++x) {
            ASSERT_EQ(atanA(x, y), model::AtanA(x, y)) << "(" << x << ", " << y << ")";
        }
    }
}

TEST(AtanA, EqualsModelForRandomVectorsOfAnyMagnitude) {
    const uint64_t seed = testsupport::Seed();
    SCOPED_TRACE(testsupport::SeedNote(seed));
    testsupport::Random random(seed);
    for (int32_t round = 0; round < 40000; ++round) {
        // Any number of significant bits, on each component by itself.
        const int32_t x = static_cast<int32_t>(random.Next()) >> random.Below(31);
        const int32_t y = static_cast<int32_t>(random.Next()) >> random.Below(31);
        ASSERT_EQ(atanA(x, y), model::AtanA(x, y)) << "(" << x << ", " << y << ")";
    }
}

TEST(AtanA, ExtremeComponents) {
    for (const int32_t x : {kLowest, kLowest + 1, -1, 0, 1, kHighest - 1, kHighest}) {
        for (const int32_t y : {kLowest, kLowest + 1, -1, 0, 1, kHighest - 1, kHighest}) {
            EXPECT_EQ(atanA(x, y), model::AtanA(x, y)) << "(" << x << ", " << y << ")";
        }
    }
    EXPECT_EQ(atanA(kHighest, kHighest), 30);
    EXPECT_EQ(atanA(kLowest, kLowest), 150);
    EXPECT_EQ(atanA(kLowest, 0), 120);
}

TEST(AtanB, CoincidingPointsGive180) {
    EXPECT_EQ(atanB(0, 0, 0, 0), 180);
    EXPECT_EQ(atanB(17, 300, 17, 300), 180);
    EXPECT_EQ(atanB(-5, -9, -5, -9), 180);
}

TEST(AtanB, PointsFromTheFirstToTheSecond) {
    EXPECT_EQ(atanB(10, 20, 30, 20), 0);
    EXPECT_EQ(atanB(10, 20, 10, 40), 60);
    EXPECT_EQ(atanB(30, 20, 10, 20), 120);
    EXPECT_EQ(atanB(10, 40, 10, 20), 180);
    EXPECT_EQ(atanB(100, 100, 101, 99), 210);
    EXPECT_EQ(atanB(0, 1, 127, 0), 0);
}

TEST(AtanB, EqualsModelForEveryDifference) {
    for (int32_t dy = -127; dy <= 127; ++dy) {
        for (int32_t dx = -127; dx <= 127; ++dx) {
            const int32_t x = 3 * dy + 7;
            const int32_t y = 200 - dx;
            ASSERT_EQ(atanB(x, y, x + dx, y + dy), model::AtanB(x, y, x + dx, y + dy))
                << "difference (" << dx << ", " << dy << ")";
        }
    }
}

TEST(SqrtA, LimitsOfTheDomain) {
    EXPECT_EQ(sqrtA(-5), -1);
    EXPECT_EQ(sqrtA(-1), -1);
    EXPECT_EQ(sqrtA(kLowest), -1);
    EXPECT_EQ(sqrtA(0), 0);
    EXPECT_EQ(sqrtA(3), 1);
    EXPECT_EQ(sqrtA(4), 2);
    EXPECT_EQ(sqrtA(65024), 254);
    EXPECT_EQ(sqrtA(65025), 255);
    EXPECT_EQ(sqrtA(65535), 255);
    EXPECT_EQ(sqrtA(65536), 255);
    EXPECT_EQ(sqrtA(1000000), 255);
    EXPECT_EQ(sqrtA(kHighest), 255);
}

TEST(SqrtA, IsTheFloorOfTheRootOverTheWholeDomain) {
    int32_t root = 0;
    for (int32_t n = 0; n <= 65535; ++n) {
        if ((root + 1) * (root + 1) <= n) {
            ++root;
        }
        ASSERT_EQ(sqrtA(n), root) << "n = " << n;
    }
    EXPECT_EQ(root, 255);
}

TEST(SqrtA, EqualsModel) {
    for (int32_t n = -300; n <= 70000; n += 7) {
        ASSERT_EQ(sqrtA(n), model::SqrtA(n)) << "n = " << n;
    }
}

}  // namespace
