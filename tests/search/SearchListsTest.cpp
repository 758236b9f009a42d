// SPDX-License-Identifier: Apache-2.0
//
// Both searches on lists of 0 to 5,000 entries against the plain restatement: the index score of
// every entry, which entries are matched in full in which order with which score, and what is
// reported.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "include/QORFPApi.h"
#include "tests/model/ModelSearch.h"
#include "tests/search/CandidatePool.h"
#include "tests/search/PlainSearch.h"
#include "tests/search/SearchCalls.h"

namespace {

using searchtest::Call;
using searchtest::CallerList;
using searchtest::CallOutcome;
using searchtest::CandidatePool;
using searchtest::Entry;
using searchtest::kAllShapes;
using searchtest::kBothCalls;
using searchtest::KnownScores;
using searchtest::PlainOutcome;
using searchtest::Pool;
using searchtest::RunCall;
using searchtest::Shape;
using searchtest::TemplateBytes;
using testsupport::Random;

constexpr size_t kCounts[] = {1,   2,   3,   5,   19,  20,  50,  199, 200, 201,  205,  209,
                              210, 211, 219, 220, 221, 239, 240, 399, 400, 1000, 2000, 5000};
constexpr size_t kLargeCount = 199;  // from here on one list of each shape, else three

struct Case {
    Shape shape;
    std::vector<Entry> entries;
    int32_t level;
};

/// The same for the same count, in every test.
std::vector<Case> CasesOf(size_t count) {
    Random random(testsupport::Seed() + count);
    std::vector<Case> cases;
    for (const Shape shape : kAllShapes) {
        for (int32_t i = 0; i < (count < kLargeCount ? 3 : 1); ++i) {
            cases.push_back({shape, Pool().MakeList(shape, count, random), random.Between(1, 5)});
        }
    }
    return cases;
}

std::string Describe(const Case& one) {
    return std::to_string(one.entries.size()) + " entries, " + NameOf(one.shape) + ", level " +
           std::to_string(one.level) + ", " + testsupport::SeedNote(testsupport::Seed());
}

void ExpectPlain(const CallOutcome& outcome, const KnownScores& known, const PlainOutcome& plain) {
    EXPECT_EQ(outcome.result, plain.result);
    EXPECT_EQ(outcome.index, plain.result == 0 ? plain.index : searchtest::kUnwrittenIndex);
    EXPECT_EQ(outcome.score, plain.result == 0 ? plain.score : searchtest::kUnwrittenScore);
    EXPECT_EQ(outcome.matched, plain.matched);
    EXPECT_EQ(outcome.scores, plain.scores);
    EXPECT_EQ(outcome.output, "");
    ASSERT_EQ(outcome.recording.indexScores.size(), known.index.size());
    for (size_t i = 0; i < known.index.size(); ++i) {
        ASSERT_EQ(outcome.recording.indexScores[i], static_cast<int32_t>(known.index[i]))
            << "index score of entry " << i;
    }
}

class SearchLists : public testing::TestWithParam<size_t> {};

TEST_P(SearchLists, AgreeWithThePlainSearch) {
    for (const Case& one : CasesOf(GetParam())) {
        SCOPED_TRACE(Describe(one));
        const CallerList list(Pool().TemplatesOf(one.entries));
        const KnownScores known = ScoresOf(Pool(), one.entries);
        const PlainOutcome plain = PlainSearch(known, one.level);
        for (const Call call : kBothCalls) {
            SCOPED_TRACE(NameOf(call));
            ExpectPlain(RunCall(call, Pool().probe, list, static_cast<uint32_t>(one.level)), known,
                        plain);
        }
        if (HasFailure()) {
            return;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Counts, SearchLists, testing::ValuesIn(kCounts),
                         testing::PrintToStringParamName());

// The lists above mean something only if the rules make a difference in them.
TEST(SearchCases, ExerciseEveryRule) {
    int32_t found = 0;
    int32_t notFound = 0;
    int32_t endedEarly = 0;
    int32_t lastBelowThreshold = 0;
    int32_t lastBelowBest = 0;
    int32_t bestCameTwice = 0;
    int32_t bestRankedLater = 0;
    int32_t beyondTheLimit = 0;
    int32_t firstUndecodable = 0;
    int32_t rankedAmongTies = 0;
    for (const size_t count : kCounts) {
        for (const Case& one : CasesOf(count)) {
            const KnownScores known = ScoresOf(Pool(), one.entries);
            const PlainOutcome plain = PlainSearch(known, one.level);
            const int32_t threshold = model::Threshold(one.level);
            const int32_t best = *std::max_element(known.full.begin(), known.full.end());
            const size_t first = plain.matched.front();
            (plain.result == 0 ? found : notFound) += 1;
            endedEarly += plain.endedEarly && plain.matched.size() > 1 ? 1 : 0;
            lastBelowThreshold += plain.result == 0 && plain.score < threshold ? 1 : 0;
            lastBelowBest += plain.score >= threshold && plain.score < plain.best ? 1 : 0;
            bestCameTwice += plain.bestCameTwice ? 1 : 0;
            bestRankedLater += plain.result == 0 && plain.index != first ? 1 : 0;
            beyondTheLimit += !plain.endedEarly && known.decodes.at(first) && best > plain.best &&
                                      best >= threshold
                                  ? 1
                                  : 0;
            firstUndecodable += !known.decodes.at(first) && best >= threshold ? 1 : 0;
            rankedAmongTies += !std::is_sorted(plain.matched.begin(), plain.matched.end()) &&
                                       one.shape == Shape::kFewAreas
                                   ? 1
                                   : 0;
        }
    }
    EXPECT_GE(found, 100);
    EXPECT_GE(notFound, 50);
    EXPECT_GE(endedEarly, 10);
    EXPECT_GE(lastBelowThreshold, 50);
    EXPECT_GE(lastBelowBest, 2);
    EXPECT_GE(bestCameTwice, 20);
    EXPECT_GE(bestRankedLater, 50);
    EXPECT_GE(beyondTheLimit, 5);
    EXPECT_GE(firstUndecodable, 10);
    EXPECT_GE(rankedAmongTies, 20);
}

// Known scores are a short cut; without it the result is the same.
TEST(SearchCases, PlainSearchAgreesWithTheModel) {
    for (const size_t count : {1U, 3U, 50U, 211U}) {
        for (const Case& one : CasesOf(count)) {
            SCOPED_TRACE(Describe(one));
            const PlainOutcome plain = PlainSearch(ScoresOf(Pool(), one.entries), one.level);
            const model::SearchOutcome outcome =
                model::Search(Pool().probe, Pool().TemplatesOf(one.entries), one.level);
            ASSERT_EQ(static_cast<uint32_t>(outcome.result), plain.result);
            ASSERT_EQ(outcome.fullMatches, plain.matched.size());
            if (plain.result == 0) {
                ASSERT_EQ(outcome.index, plain.index);
                ASSERT_EQ(outcome.score, plain.score);
            }
        }
    }
}

// One array of pointers may name the same template many times; the first of equals is reported.
TEST(SearchCases, IdentifyTakesOnePointerManyTimes) {
    const Entry entry = {Pool().near.back(), Pool().areaOfProbe};  // 210 to 224
    const TemplateBytes bytes = Pool().TemplateOf(entry);
    const std::vector<const uint8_t*> pointers(5000, bytes.data());
    uint32_t index = 7;
    int32_t score = -1;
    EXPECT_EQ(QORFP_Identify(Pool().probe.data(), pointers.data(), 5000, 5, &index, &score), 0U);
    EXPECT_EQ(index, 0U);
    EXPECT_EQ(score, Pool().heads[entry.head].score);
}

}  // namespace
