// SPDX-License-Identifier: Apache-2.0
//
// Error rates of the command line's evaluation, on sets of scores small enough to count by hand.
#include <gtest/gtest.h>

#include <vector>

#include "tools/qorfp/eval/ErrorRates.h"

namespace {

using qorfp::cli::ErrorRates;
using qorfp::cli::Interval;
using qorfp::cli::kNoAcceptance;
using qorfp::cli::OperatingPoint;
using qorfp::cli::Share;
using qorfp::cli::WilsonInterval;

constexpr double kExact = 1e-12;

TEST(ErrorRates, AcceptsFromTheThresholdOn) {
    const ErrorRates rates({10, 20, 30, 40}, {5, 15, 25, 8});
    EXPECT_EQ(rates.FalseMatches(0).count, 4);
    EXPECT_EQ(rates.FalseMatches(5).count, 4);
    EXPECT_EQ(rates.FalseMatches(6).count, 3);
    EXPECT_EQ(rates.FalseMatches(25).count, 1);
    EXPECT_EQ(rates.FalseMatches(26).count, 0);
    EXPECT_EQ(rates.FalseMatches(26).all, 4);
    EXPECT_EQ(rates.FalseNonMatches(10).count, 0);
    EXPECT_EQ(rates.FalseNonMatches(11).count, 1);
    EXPECT_EQ(rates.FalseNonMatches(40).count, 3);
    EXPECT_EQ(rates.FalseNonMatches(41).count, 4);
    EXPECT_EQ(rates.FalseNonMatches(41).all, 4);
}

TEST(ErrorRates, TheHighestScoreIsAcceptedByEveryThresholdButTheLast) {
    const ErrorRates rates({2047}, {2047});
    EXPECT_EQ(rates.FalseMatches(2047).count, 1);
    EXPECT_EQ(rates.FalseNonMatches(2047).count, 0);
    EXPECT_EQ(rates.FalseMatches(kNoAcceptance).count, 0);
    EXPECT_EQ(rates.FalseNonMatches(kNoAcceptance).count, 1);
}

TEST(ErrorRates, OperatingPoints) {
    std::vector<int> impostor(198, 0);
    impostor.push_back(50);
    impostor.push_back(60);
    const ErrorRates rates({1, 55, 60, 61}, impostor);
    // Two of 200 are 1 %, so everything above 0 may be accepted; one in 1000 of 200 is none.
    const OperatingPoint fmr100 = rates.AtFalseMatchRate(100);
    EXPECT_EQ(fmr100.threshold, 1);
    EXPECT_EQ(fmr100.falseMatches.count, 2);
    EXPECT_EQ(fmr100.falseNonMatches.count, 0);
    const OperatingPoint fmr200 = rates.AtFalseMatchRate(200);
    EXPECT_EQ(fmr200.threshold, 51);
    EXPECT_EQ(fmr200.falseMatches.count, 1);
    EXPECT_EQ(fmr200.falseNonMatches.count, 1);
    for (const int64_t impostors : {int64_t{1000}, int64_t{0}}) {
        const OperatingPoint none = rates.AtFalseMatchRate(impostors);
        EXPECT_EQ(none.threshold, 61);
        EXPECT_EQ(none.falseMatches.count, 0);
        EXPECT_EQ(none.falseNonMatches.count, 3);
    }
}

TEST(ErrorRates, NoThresholdIsLeftWhenAnImpostorScoresHighest) {
    const OperatingPoint none = ErrorRates({2047}, {2047}).AtFalseMatchRate(0);
    EXPECT_EQ(none.threshold, kNoAcceptance);
    EXPECT_EQ(none.falseNonMatches.count, 1);
}

TEST(ErrorRates, EqualAtAThreshold) {
    // At 16: one genuine of four refused, one impostor of four accepted.
    const auto equal = ErrorRates({10, 20, 30, 40}, {5, 15, 25, 8}).Equal();
    ASSERT_TRUE(equal.has_value());
    EXPECT_NEAR(equal->rate, 0.25, kExact);
    EXPECT_EQ(equal->threshold, 16);
}

TEST(ErrorRates, EqualBetweenTwoThresholds) {
    // From 10 to 11, FMR falls from 1/2 to 0 and FNMR rises from 0 to 1/3: they meet at 1/5.
    const auto both = ErrorRates({10, 20, 30}, {10, 10, 3, 3}).Equal();
    ASSERT_TRUE(both.has_value());
    EXPECT_NEAR(both->rate, 0.2, kExact);
    EXPECT_EQ(both->threshold, 11);
    // From 10 to 11, FMR stays at 1/4 and FNMR rises from 0 to 1/3.
    const auto one = ErrorRates({10, 20, 30}, {20, 5, 6, 7}).Equal();
    ASSERT_TRUE(one.has_value());
    EXPECT_NEAR(one->rate, 0.25, kExact);
    EXPECT_EQ(one->threshold, 11);
}

TEST(ErrorRates, EqualErrorRateOfSeparateScores) {
    const auto equal = ErrorRates(std::vector<int>(10, 100), std::vector<int>(10, 0)).Equal();
    ASSERT_TRUE(equal.has_value());
    EXPECT_EQ(equal->rate, 0);
    EXPECT_EQ(equal->threshold, 1);
    EXPECT_EQ(equal->interval.low, 0);
    EXPECT_NEAR(equal->interval.high, 0.27753, 1e-5);  // Wilson's upper limit of 0 in 10
}

TEST(ErrorRates, NothingIsEqualWithoutPairsOfBothKinds) {
    EXPECT_FALSE(ErrorRates({1}, {}).Equal().has_value());
    EXPECT_FALSE(ErrorRates({}, {1}).Equal().has_value());
}

// The examples that Newcombe gives for the score method without continuity correction (Statistics in
// Medicine 17, 1998, page 861).
TEST(WilsonInterval, PublishedExamples) {
    const struct {
        Share share;
        double low;
        double high;
    } examples[] = {{{81, 263}, 0.2553, 0.3662},
                    {{15, 148}, 0.0624, 0.1605},
                    {{0, 20}, 0.0000, 0.1611},
                    {{1, 29}, 0.0061, 0.1718}};
    for (const auto& example : examples) {
        const Interval interval = WilsonInterval(example.share);
        EXPECT_NEAR(interval.low, example.low, 0.00005) << example.share.count;
        EXPECT_NEAR(interval.high, example.high, 0.00005) << example.share.count;
    }
}

TEST(WilsonInterval, Ends) {
    EXPECT_EQ(WilsonInterval({0, 7}).low, 0);
    EXPECT_EQ(WilsonInterval({7, 7}).high, 1);
    EXPECT_EQ(WilsonInterval({0, 0}).low, 0);
    EXPECT_EQ(WilsonInterval({0, 0}).high, 1);
}

}  // namespace
