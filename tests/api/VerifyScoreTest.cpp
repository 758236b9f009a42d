// SPDX-License-Identifier: Apache-2.0
//
// QORFP_Verify: scores of templates written by hand, for which the score follows from the rules
// with pencil and paper (see KnownScores.h), and the decision on either side of every threshold.
#include <gtest/gtest.h>

#include <string>

#include "include/QORFPApi.h"
#include "tests/api/HandTemplate.h"
#include "tests/api/KnownScores.h"
#include "tests/support/TestImages.h"

namespace {

using apitest::Bytes;
using apitest::ExpectedScore;
using apitest::HandMinutia;
using apitest::kHighestScore;
using apitest::kThresholds;
using apitest::Minutiae;
using apitest::UnmistakableSet;

// Verifies at every level; expects one score and the decisions that follow from it.
int32_t Score(const Bytes& first, const Bytes& second) {
    int32_t common = -1;
    for (int32_t level = 1; level <= 5; ++level) {
        int32_t score = -1;
        const uint32_t result = QORFP_Verify(first.data(), second.data(), level, &score);
        EXPECT_EQ(result, score >= kThresholds[level] ? QORFP_OK : QORFP_FAILED)
            << "score " << score << " at level " << level;
        EXPECT_TRUE(level == 1 || score == common) << "score depends on the level";
        common = score;
    }
    EXPECT_GE(common, 0);
    EXPECT_LE(common, kHighestScore);
    return common;
}

int32_t Score(const Minutiae& first, const Minutiae& second) {
    return Score(apitest::WriteTemplate(first), apitest::WriteTemplate(second));
}

Minutiae WithOtherAttributes(Minutiae minutiae, int32_t density, int32_t disorder) {
    for (HandMinutia& minutia : minutiae) {
        minutia.density += density;
        minutia.disorder += disorder;
    }
    return minutiae;
}

Minutiae WithOtherTypes(Minutiae minutiae) {
    for (HandMinutia& minutia : minutiae) {
        minutia.type = 3 - minutia.type;
    }
    return minutiae;
}

TEST(VerifyScore, OfSixMinutiaeWithThemselves) {
    const Minutiae six = UnmistakableSet(6);
    EXPECT_EQ(Score(six, six), 1219);  // 15 bars of weight 1156
}

TEST(VerifyScore, IsCutAtTheHighest) {
    const Minutiae seven = UnmistakableSet(7);
    EXPECT_EQ(Score(seven, seven), 1707);  // 21 bars
    const Minutiae eight = UnmistakableSet(8);
    EXPECT_EQ(Score(eight, eight), kHighestScore);  // 28 bars, 2276 before the cut
    const Minutiae many = apitest::Scatter(1, 60, 200);
    ASSERT_EQ(many.size(), 60u);
    EXPECT_EQ(Score(many, many), kHighestScore);
}

TEST(VerifyScore, FallsWithTheAttributes) {
    const Minutiae six = UnmistakableSet(6);
    EXPECT_EQ(Score(six, WithOtherAttributes(six, 0, 1)), 1142);  // weight 1083
    EXPECT_EQ(Score(six, WithOtherAttributes(six, 10, 0)), 610);  // weight 578
    EXPECT_EQ(Score(six, WithOtherAttributes(six, -10, 0)), 610);
    EXPECT_EQ(Score(six, WithOtherAttributes(six, 19, 0)), 60);  // weight 57
    EXPECT_EQ(Score(six, WithOtherAttributes(six, 20, 0)), 0);   // densities add up to 40
    EXPECT_GT(Score(six, WithOtherAttributes(six, 0, 15)), 0);
    EXPECT_EQ(Score(six, WithOtherAttributes(six, 0, 16)), 0);
    EXPECT_EQ(Score(six, WithOtherAttributes(six, 0, -16)), 0);
}

TEST(VerifyScore, FallsWithTheTypes) {
    const Minutiae six = UnmistakableSet(6);
    EXPECT_EQ(Score(six, WithOtherTypes(six)), 846);  // weight 802
    Minutiae one = six;
    one[2].type = 3 - one[2].type;
    EXPECT_EQ(Score(six, one), 1151);  // 10 bars of 1156, 5 of 963
}

TEST(VerifyScore, DoesNotLookAtConfidenceQualityIndexOrChecksum) {
    Minutiae six = UnmistakableSet(6);
    const Bytes plain = apitest::WriteTemplate(six);
    for (HandMinutia& minutia : six) {
        minutia.confidence = 15 - minutia.confidence;
    }
    EXPECT_EQ(Score(plain, apitest::WriteTemplate(six)), 1219);
    Bytes changed = plain;
    std::fill(changed.begin() + 364, changed.end(), uint8_t{0xFF});
    EXPECT_EQ(Score(plain, changed), 1219);
    EXPECT_EQ(Score(changed, plain), 1219);
    Bytes wrongSum = plain;
    wrongSum[apitest::kChecksumByte] ^= 1;
    EXPECT_EQ(Score(wrongSum, wrongSum), 1219);
}

// Six minutiae and, more than 200 pixels away from them, eleven more. All of a cluster are
// neighbours of each other, so the larger template has 15 + 55 bars, and the sum of the weights is
// scaled down to 50 of them.
TEST(VerifyScore, IsScaledDownForManyBars) {
    const Minutiae six = UnmistakableSet(6);
    const Minutiae more = apitest::Shifted(apitest::Scatter(5, 11, 100), 400, 0);
    ASSERT_EQ(more.size(), 11u);
    Minutiae both = six;
    both.insert(both.end(), more.begin(), more.end());
    EXPECT_EQ(Score(six, both), 1045);
    EXPECT_EQ(Score(both, six), 1045);
}

TEST(VerifyScore, FollowsTheRuleForAnyAttributes) {
    const Minutiae original = UnmistakableSet(6);
    testsupport::Random random(17);
    int32_t different = 0;
    for (int32_t round = 0; round < 300; ++round) {
        Minutiae copy = original;
        for (HandMinutia& minutia : copy) {
            minutia.density += random.Between(-12, 12);
            minutia.disorder += random.Between(-10, 10);
            minutia.type = random.OneIn(3) ? 3 - minutia.type : minutia.type;
        }
        const int32_t expected = ExpectedScore(original, copy);
        different += expected != 1219 && expected != 0 ? 1 : 0;
        ASSERT_EQ(Score(original, copy), expected) << "round " << round;
        ASSERT_EQ(Score(copy, original), expected) << "round " << round;
    }
    EXPECT_GT(different, 250);
}

// Copies whose score lies exactly at a threshold, and one below it.
TEST(VerifyScore, IsAcceptedFromTheThresholdOn) {
    const Minutiae original = UnmistakableSet(6);
    const Bytes reference = apitest::WriteTemplate(original);
    for (int32_t level = 1; level <= 5; ++level) {
        for (const int32_t wanted : {kThresholds[level] - 1, kThresholds[level]}) {
            const Minutiae copy = apitest::CopyScoring(original, wanted);
            const Bytes probe = apitest::WriteTemplate(copy);
            int32_t score = -1;
            EXPECT_EQ(QORFP_Verify(reference.data(), probe.data(), level, &score),
                      wanted == kThresholds[level] ? QORFP_OK : QORFP_FAILED)
                << "level " << level;
            EXPECT_EQ(score, wanted);
            EXPECT_EQ(Score(reference, probe), wanted);
        }
    }
}

// A shift is found up to 251 pixels one way and 250 the other; nothing is left beyond.
TEST(VerifyScore, IsTheSameAfterAShift) {
    const Minutiae six = UnmistakableSet(6);
    const Bytes original = apitest::WriteTemplate(six);
    const auto shifted = [&](int32_t dx, int32_t dy) {
        return Score(original, apitest::WriteTemplate(apitest::Shifted(six, dx, dy)));
    };
    const int32_t found[][2] = {{1, 0},    {0, -1},  {-19, 20}, {100, 90},   {251, 0},
                                {-250, 0}, {0, 251}, {0, -250}, {251, -250}, {-250, 251}};
    for (const auto& shift : found) {
        EXPECT_EQ(shifted(shift[0], shift[1]), 1219) << shift[0] << ", " << shift[1];
    }
    const int32_t lost[][2] = {{252, 0}, {-251, 0}, {0, 252}, {0, -251}, {300, 300}, {252, 5}};
    for (const auto& shift : lost) {
        EXPECT_EQ(shifted(shift[0], shift[1]), 0) << shift[0] << ", " << shift[1];
    }
}

TEST(VerifyScore, AcceptsTurnedCopies) {
    const Minutiae original = apitest::Scatter(4, 25, 200);
    ASSERT_EQ(original.size(), 25u);
    for (int32_t quarters = 1; quarters <= 3; ++quarters) {
        EXPECT_GE(Score(original, apitest::QuarterTurned(original, quarters)), 1800) << quarters;
    }
    for (int32_t steps = -120; steps < 120; steps += 7) {
        EXPECT_GE(Score(original, apitest::Turned(original, steps)), 1000) << steps;
    }
    const Minutiae moved = apitest::Shifted(apitest::Turned(original, 11), -30, 40);
    EXPECT_GE(Score(original, moved), 1000);
    EXPECT_GE(Score(moved, original), 1000);
}

TEST(VerifyScore, OfATemplateWithItselfIsTheHighest) {
    for (uint64_t seed = 1; seed <= 20; ++seed) {
        const int32_t count = 6 + static_cast<int32_t>(seed);
        const Minutiae original = apitest::Scatter(seed, count, 200);
        const int32_t own = Score(original, original);
        testsupport::Random random(seed);
        for (int32_t round = 0; round < 5; ++round) {
            Minutiae other = original;
            for (HandMinutia& minutia : other) {
                minutia.x += random.Between(-3, 3);
                minutia.y += random.Between(-3, 3);
                minutia.disorder += random.Between(-3, 3);
            }
            EXPECT_LE(Score(original, other), own) << "seed " << seed;
            EXPECT_LE(Score(other, original), own) << "seed " << seed;
        }
        EXPECT_LT(Score(original, apitest::Scatter(seed + 100, count, 200)), 150);
    }
}

// Directions are taken modulo 240, so 240 + k is k.
TEST(VerifyScore, TakesDirectionsModulo240) {
    Minutiae six = UnmistakableSet(6);
    for (int32_t excess = 0; excess < 16; ++excess) {
        Minutiae low = six;
        Minutiae high = six;
        low[3].direction = excess;
        high[3].direction = 240 + excess;
        const int32_t score = Score(low, low);
        EXPECT_GT(score, 210);
        EXPECT_EQ(Score(high, high), score) << excess;
        EXPECT_EQ(Score(low, high), score) << excess;
        EXPECT_EQ(Score(high, low), score) << excess;
        const int32_t changed = Score(six, low);
        EXPECT_EQ(Score(six, high), changed) << excess;
    }
}

// Minutiae closer than 15 pixels or further than 200 pixels apart make no bars.
TEST(VerifyScore, IsZeroWithoutBars) {
    const auto line = [](int32_t step) {
        Minutiae minutiae;
        for (int32_t k = 0; k < 6; ++k) {
            HandMinutia minutia;
            minutia.x = -200 + k % 3 * step;
            minutia.y = k / 3 * step;
            minutia.direction = 40 * k;
            minutiae.push_back(minutia);
        }
        return minutiae;
    };
    EXPECT_EQ(Score(line(201), line(201)), 0);
    EXPECT_EQ(Score(line(6), line(6)), 0);  // the farthest two are 13 pixels apart
    EXPECT_GT(Score(line(100), line(100)), 0);
    EXPECT_GT(Score(line(8), line(8)), 0);
    const Minutiae coincident(20);
    EXPECT_EQ(Score(coincident, coincident), 0);
}

}  // namespace
