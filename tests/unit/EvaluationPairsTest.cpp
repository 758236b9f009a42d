// SPDX-License-Identifier: Apache-2.0
//
// What the command line's evaluation compares: names of files, their order, and the pairs.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tools/qorfp/ToolError.h"
#include "tools/qorfp/eval/NamePattern.h"
#include "tools/qorfp/eval/Pairs.h"

namespace {

using qorfp::cli::IsBefore;
using qorfp::cli::MakePairs;
using qorfp::cli::NamePattern;
using qorfp::cli::Pair;
using qorfp::cli::Protocol;

// "finger/impression", or "-" when the name does not fit.
std::string Parts(const std::string& pattern, const std::string& name) {
    const auto parts = NamePattern(pattern).Match(name);
    return parts ? parts->finger + "/" + parts->impression : "-";
}

TEST(NamePattern, FingerAndImpression) {
    EXPECT_EQ(Parts("{finger}_{impression}", "12_3"), "12/3");
    EXPECT_EQ(Parts("{finger}_{impression}", "left_index_3"), "left_index/3");
    EXPECT_EQ(Parts("{finger}_{impression}", "12_"), "-");
    EXPECT_EQ(Parts("{finger}_{impression}", "_3"), "-");
    EXPECT_EQ(Parts("{finger}_{impression}", "123"), "-");
    EXPECT_EQ(Parts("{finger}_{impression}", ""), "-");
}

TEST(NamePattern, OtherPlaces) {
    EXPECT_EQ(Parts("s{impression}-f{finger}", "s1-f20"), "20/1");
    EXPECT_EQ(Parts("*person{finger}*shot{impression}", "2020person7-right-shot4"), "7-right-/4");
    EXPECT_EQ(Parts("*person{finger}-*shot{impression}", "person7-shot4"), "7/4");
    EXPECT_EQ(Parts("x{finger}_{impression}", "1_2"), "-");
    EXPECT_EQ(Parts("{finger}_{impression}x", "1_2"), "-");
}

TEST(NamePattern, RefusesPatternsWithoutBothPlaces) {
    for (const char* pattern : {"", "*", "{finger}", "{impression}", "{finger}_{finger}",
                                "{finger}_{impression}_{finger}", "{Finger}_{impression}"}) {
        EXPECT_THROW(NamePattern{pattern}, qorfp::cli::ToolError) << pattern;
    }
}

TEST(NameOrder, NumbersCountByTheirValue) {
    const std::vector<std::string> sorted = {"",  "2",  "010", "10",   "11", "100",
                                             "a", "a2", "a10", "a10b", "b"};
    for (size_t i = 0; i < sorted.size(); ++i) {
        for (size_t k = 0; k < sorted.size(); ++k) {
            EXPECT_EQ(IsBefore(sorted[i], sorted[k]), i < k) << sorted[i] << " " << sorted[k];
        }
    }
}

std::string Text(const std::vector<Pair>& pairs) {
    std::string text;
    for (const Pair& pair : pairs) {
        text += (text.empty() ? "" : " ") + std::to_string(pair.first) + "-" +
                std::to_string(pair.second);
    }
    return text;
}

TEST(Pairs, GenuineAndImpostor) {
    // Three fingers with two, three and one captures.
    const std::vector<size_t> fingers = {0, 0, 1, 1, 1, 2};
    const auto fvc = MakePairs(fingers, Protocol::kFvc);
    EXPECT_EQ(Text(fvc.genuine), "0-1 2-3 2-4 3-4");
    EXPECT_EQ(Text(fvc.impostor), "0-2 0-5 2-5");
    const auto all = MakePairs(fingers, Protocol::kAll);
    EXPECT_EQ(Text(all.genuine), "0-1 2-3 2-4 3-4");
    EXPECT_EQ(Text(all.impostor), "0-2 0-3 0-4 0-5 1-2 1-3 1-4 1-5 2-5 3-5 4-5");
}

TEST(Pairs, OfNothing) {
    EXPECT_TRUE(MakePairs({}, Protocol::kAll).genuine.empty());
    EXPECT_TRUE(MakePairs({0}, Protocol::kAll).impostor.empty());
}

}  // namespace
