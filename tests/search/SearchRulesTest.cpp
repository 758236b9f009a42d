// SPDX-License-Identifier: Apache-2.0
//
// The rules of both searches, each by scores made up for it: how many entries are matched in full
// and in which order, which one is reported with which score, and what ends the search. All
// expectations are written out.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <numeric>
#include <string>
#include <utility>
#include <vector>

#include "tests/model/ModelSearch.h"
#include "tests/search/SearchCalls.h"

namespace {

using searchtest::Call;
using searchtest::CallerList;
using searchtest::CallOutcome;
using searchtest::kBothCalls;
using searchtest::kUnwrittenIndex;
using searchtest::kUnwrittenScore;
using searchtest::NameOf;
using searchtest::Oddities;
using searchtest::Script;
using searchtest::TemplateBytes;
using testsupport::Random;

constexpr int32_t kHighestScore = 2047;

/// Valid for a search; what else is in it does not matter here.
TemplateBytes AnyTemplate() {
    TemplateBytes bytes(512, 0);
    bytes[0] = '3';
    bytes[1] = '0';
    bytes[2] = '1';
    return bytes;
}

CallOutcome RunScript(Call call, const Script& script, uint32_t level) {
    const CallerList list(std::vector<TemplateBytes>(script.fullScores.size(), AnyTemplate()));
    Oddities oddities;
    oddities.script = &script;
    return RunCall(call, AnyTemplate(), list, level, oddities);
}

/// Entries ranked from the last position to the first: rank k stands at position n - 1 - k. The
/// scores are given by rank.
Script Ranked(std::vector<int32_t> scoresByRank) {
    Script script;
    script.fullScores = std::move(scoresByRank);
    std::reverse(script.fullScores.begin(), script.fullScores.end());
    script.indexScores.resize(script.fullScores.size());
    std::iota(script.indexScores.begin(), script.indexScores.end(), 0);
    return script;
}

void ExpectFound(const CallOutcome& outcome, uint32_t index, int32_t score) {
    EXPECT_EQ(outcome.result, 0U);
    EXPECT_EQ(outcome.index, index);
    EXPECT_EQ(outcome.score, score);
}

void ExpectNotFound(const CallOutcome& outcome) {
    EXPECT_EQ(outcome.result, 1U);
    EXPECT_EQ(outcome.index, kUnwrittenIndex);
    EXPECT_EQ(outcome.score, kUnwrittenScore);
}

struct Limit {
    size_t count;
    size_t matched;
};

constexpr Limit kLimits[] = {
    {1, 1},     {2, 2},      {19, 19},    {20, 20},    {100, 100},   {198, 198},
    {199, 199}, {200, 200},  {201, 201},  {209, 209},  {210, 210},   {211, 210},
    {219, 210}, {220, 211},  {221, 211},  {239, 211},  {240, 212},   {399, 219},
    {400, 220}, {1000, 250}, {4999, 449}, {5000, 450}, {10000, 700},
};

TEST(SearchRules, MatchesTheBestRankedPartInOrder) {
    for (const Limit& limit : kLimits) {
        SCOPED_TRACE(limit.count);
        std::vector<size_t> ranks(limit.matched);
        for (size_t k = 0; k < ranks.size(); ++k) {
            ranks[k] = limit.count - 1 - k;
        }
        for (const Call call : kBothCalls) {
            SCOPED_TRACE(NameOf(call));
            const CallOutcome outcome =
                RunScript(call, Ranked(std::vector<int32_t>(limit.count, 149)), 1);
            ExpectNotFound(outcome);
            EXPECT_EQ(outcome.matched, ranks);
        }
    }
}

TEST(SearchRules, FindsTheLastOneWithinTheLimitAndNoneBeyond) {
    for (const Limit& limit : kLimits) {
        SCOPED_TRACE(limit.count);
        for (const Call call : kBothCalls) {
            SCOPED_TRACE(NameOf(call));
            std::vector<int32_t> scores(limit.count, 0);
            scores[limit.matched - 1] = 150;
            ExpectFound(RunScript(call, Ranked(scores), 1),
                        static_cast<uint32_t>(limit.count - limit.matched), 150);
            if (limit.matched < limit.count) {
                scores[limit.matched - 1] = 0;
                scores[limit.matched] = kHighestScore;
                ExpectNotFound(RunScript(call, Ranked(scores), 1));
            }
        }
    }
}

TEST(SearchRules, EachLevelAcceptsFromItsThresholdOn) {
    const int32_t thresholds[] = {150, 165, 180, 195, 210};
    for (uint32_t level = 1; level <= 5; ++level) {
        const int32_t threshold = thresholds[level - 1];
        SCOPED_TRACE(level);
        for (const Call call : kBothCalls) {
            SCOPED_TRACE(NameOf(call));
            ExpectNotFound(RunScript(call, Ranked({threshold - 1}), level));
            ExpectFound(RunScript(call, Ranked({threshold}), level), 0, threshold);
            ExpectNotFound(RunScript(call, Ranked({threshold - 1, 0, threshold - 1}), level));
            ExpectFound(RunScript(call, Ranked({0, threshold, threshold - 1}), level), 1,
                        threshold - 1);
        }
    }
}

TEST(SearchRules, Ends225AndNotBefore) {
    for (uint32_t level = 1; level <= 5; ++level) {
        SCOPED_TRACE(level);
        for (const Call call : kBothCalls) {
            SCOPED_TRACE(NameOf(call));
            const CallOutcome ended =
                RunScript(call, Ranked({0, 224, 225, kHighestScore, 0}), level);
            ExpectFound(ended, 2, 225);
            EXPECT_EQ(ended.matched, (std::vector<size_t>{4, 3, 2}));
            const CallOutcome whole = RunScript(call, Ranked({0, 224, 224, 0, 0}), level);
            ExpectFound(whole, 3, 0);
            EXPECT_EQ(whole.matched, (std::vector<size_t>{4, 3, 2, 1, 0}));
            const CallOutcome atOnce = RunScript(call, Ranked({kHighestScore, 300, 400}), level);
            ExpectFound(atOnce, 2, kHighestScore);
            EXPECT_EQ(atOnce.matched, (std::vector<size_t>{2}));
        }
    }
}

TEST(SearchRules, OnlyAHigherScoreReplacesTheBest) {
    for (const Call call : kBothCalls) {
        SCOPED_TRACE(NameOf(call));
        ExpectFound(RunScript(call, Ranked({200, 200, 200}), 1), 2, 200);
        ExpectFound(RunScript(call, Ranked({199, 200, 200}), 1), 1, 200);
        ExpectFound(RunScript(call, Ranked({200, 201, 200}), 1), 1, 200);
        ExpectFound(RunScript(call, Ranked({201, 200, 201}), 1), 2, 201);
        ExpectFound(RunScript(call, Ranked({160, 224, 190}), 3), 1, 190);
    }
}

TEST(SearchRules, ReportsTheScoreOfTheLastOneMatched) {
    for (const Call call : kBothCalls) {
        SCOPED_TRACE(NameOf(call));
        ExpectFound(RunScript(call, Ranked({200, 120}), 1), 1, 120);
        ExpectFound(RunScript(call, Ranked({200, 0}), 1), 1, 0);
        ExpectFound(RunScript(call, Ranked({120, 200}), 1), 0, 200);
        ExpectFound(RunScript(call, Ranked({200, 199}), 1), 1, 199);
        std::vector<int32_t> scores(1000, 10);
        scores[0] = 210;
        scores[249] = 77;
        scores[250] = 223;
        ExpectFound(RunScript(call, Ranked(scores), 5), 999, 77);
    }
}

TEST(SearchRules, AFailedMatchEndsTheCallWithoutOutputs) {
    for (const Call call : kBothCalls) {
        SCOPED_TRACE(NameOf(call));
        Script script = Ranked({200, 210, 220});
        script.failsAt = 2;  // the first one matched
        CallOutcome outcome = RunScript(call, script, 1);
        ExpectNotFound(outcome);
        EXPECT_EQ(outcome.matched, (std::vector<size_t>{2}));
        script.failsAt = 1;  // after one that was accepted
        outcome = RunScript(call, script, 1);
        EXPECT_EQ(outcome.result, 0U);
        EXPECT_FALSE(outcome.HasWritten());
        EXPECT_EQ(outcome.matched, (std::vector<size_t>{2, 1}));
    }
}

TEST(SearchRules, GoesOnWhenTheIndexFails) {
    for (const Call call : kBothCalls) {
        SCOPED_TRACE(NameOf(call));
        Script script = Ranked({120, 200});
        script.setIndexResult = 1;
        script.getScoresResult = 1;
        const CallOutcome outcome = RunScript(call, script, 1);
        ExpectFound(outcome, 0, 200);
        EXPECT_EQ(outcome.recording.indexScores, script.indexScores);
    }
}

TEST(SearchRules, EqualIndexScoresComeAsTheSortLeavesThem) {
    struct Ties {
        std::vector<int32_t> indexScores;
        std::vector<size_t> order;
    };
    const Ties cases[] = {
        {{9, 9, 9, 9, 9}, {0, 1, 2, 3, 4}},  // each partition leaves its pivot in place
        {{5, 7, 5}, {1, 0, 2}},
        {{5, 7, 7}, {2, 1, 0}},  // the last one fills the pivot's hole
        {{7, 5, 7}, {0, 2, 1}},
        {{0, 0, 0, 1}, {3, 1, 2, 0}},
    };
    for (const Ties& ties : cases) {
        SCOPED_TRACE(testing::PrintToString(ties.indexScores));
        for (const Call call : kBothCalls) {
            SCOPED_TRACE(NameOf(call));
            Script script;
            script.indexScores = ties.indexScores;
            script.fullScores.assign(ties.indexScores.size(), 0);
            EXPECT_EQ(RunScript(call, script, 1).matched, ties.order);
        }
    }
}

TEST(SearchRules, AnyIndexScoresAreRankedAsTheModelRanksThem) {
    const uint64_t seed = testsupport::Seed();
    SCOPED_TRACE(testsupport::SeedNote(seed));
    Random random(seed);
    for (const size_t count : {2U, 7U, 40U, 200U, 1000U, 5000U}) {
        for (const int32_t values : {1, 2, 10, 3000}) {
            SCOPED_TRACE(std::to_string(count) + " entries of " + std::to_string(values) +
                         " scores");
            Script script;
            for (size_t i = 0; i < count; ++i) {
                script.indexScores.push_back(random.Below(values));
            }
            script.fullScores.assign(count, 0);
            std::vector<size_t> expected;
            for (const int32_t position : model::RankedOrder(
                     std::vector<uint32_t>(script.indexScores.begin(), script.indexScores.end()))) {
                expected.push_back(static_cast<size_t>(position));
            }
            expected.resize(std::min(count, count < 200 ? count : count / 20 + 200));
            for (const Call call : kBothCalls) {
                SCOPED_TRACE(NameOf(call));
                EXPECT_EQ(RunScript(call, script, 1).matched, expected);
            }
        }
    }
}

}  // namespace
