// SPDX-License-Identifier: Apache-2.0
//
// The similarity score of an aligned probe: which bar pairs are kept, how their weights are
// scaled, and the list of matched minutiae. The matcher's record is filled by hand.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <utility>
#include <vector>

#include "engine/Work.h"
#include "match/FPMatch.h"
#include "tests/model/ModelAlignment.h"
#include "tests/support/TestMinutiae.h"
#include "tests/support/WorkBuffer.h"

namespace {

using testsupport::Fill;
using testsupport::MakeMinutia;
using testsupport::MakeSet;
using testsupport::Random;
using testsupport::WorkBuffer;

using IndexPairs = std::vector<std::pair<int32_t, int32_t>>;

class SimScoreTest : public testing::Test {
  protected:
    void SetUp() override {
        buffer_.Reset(Fill::kPattern);
        Context().reference = testsupport::ToLibrary(MakeSet({}));
        Context().probe = testsupport::ToLibrary(MakeSet({}));
        Context().referenceBarCount = 0;
        Context().probeBarCount = 0;
        Context().pairCount = 0;
        Context().acceptedCount = 0;
    }

    MatchContext& Context() { return *qorfp::WorkAt<MatchContext>(buffer_.Bytes()); }

    /// A minutia at a place on either side, the probe's displaced by (dx, dy); returns its number.
    int16_t AddMinutia(int32_t dx, int32_t dy) {
        const int16_t number = static_cast<int16_t>(Context().reference.count);
        const int32_t x = 20 * number;
        Context().reference.minutiae[number] = {0, x, 300, 1, 0};
        Context().probe.minutiae[number] = {0, x + dx, 300 + dy, 1, 0};
        ++Context().reference.count;
        ++Context().probe.count;
        return number;
    }

    /// An accepted pair of bars between minutiae of either side.
    void AddBarPair(std::pair<int16_t, int16_t> reference, std::pair<int16_t, int16_t> probe,
                    int32_t weight) {
        const int16_t r = static_cast<int16_t>(Context().referenceBarCount++);
        const int16_t p = static_cast<int16_t>(Context().probeBarCount++);
        Context().referenceBars[r] = {reference.first, reference.second, 20, 0, 0, 0};
        Context().probeBars[p] = {probe.first, probe.second, 20, 0, 0, 0};
        const int16_t pair = static_cast<int16_t>(Context().pairCount++);
        Context().pairs[pair] = {r, p, weight};
        Context().accepted[Context().acceptedCount++] = pair;
    }

    /// Two minutiae with these displacements, joined by a bar pair.
    void AddBarAt(int32_t dx1, int32_t dy1, int32_t dx2, int32_t dy2, int32_t weight) {
        const int16_t first = AddMinutia(dx1, dy1);
        const int16_t second = AddMinutia(dx2, dy2);
        AddBarPair({first, second}, {first, second}, weight);
    }

    int32_t Score(int32_t wantPairs = 1) { return GetSimScore(&Context(), &result_, wantPairs); }

    IndexPairs Pairs() const {
        IndexPairs pairs;
        for (int32_t k = 0; k < result_.pairCount; ++k) {
            pairs.emplace_back(result_.referenceIndices[k], result_.probeIndices[k]);
        }
        return pairs;
    }

    WorkBuffer buffer_;
    MatchResult result_ = {};
};

TEST_F(SimScoreTest, WithoutAcceptedPairsTheScoreIsZero) {
    result_.pairCount = 9;
    EXPECT_EQ(Score(), 0);
    EXPECT_EQ(result_.pairCount, 0);
}

TEST_F(SimScoreTest, MinutiaeLieTogetherWithin16PixelsEachWayAnd19InAll) {
    const struct {
        int32_t dx, dy;
        bool isKept;
    } cases[] = {
        {0, 0, true},    {16, 0, true},  {-16, 0, true},  {0, 16, true},
        {0, -16, true},  {17, 0, false}, {-17, 0, false}, {0, 17, false},
        {0, -17, false}, {19, 0, false}, {16, 10, true},  {-10, -16, true},
        {16, 11, false}, {6, 18, false}, {13, 13, true},  {15, 11, true},  // 346
        {15, 12, false},                                                   // 369
        {14, 12, true},                                                    // 340
        {14, 13, false},                                                   // 365
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(testing::Message() << row.dx << ',' << row.dy);
        for (const bool atFirst : {true, false}) {
            SetUp();
            if (atFirst) {
                AddBarAt(row.dx, row.dy, 0, 0, 1000);
            } else {
                AddBarAt(0, 0, row.dx, row.dy, 1000);
            }
            // (36 x 2000 + 512) / 1024 = 70.8
            EXPECT_EQ(Score(), row.isKept ? 70 : 0);
            EXPECT_EQ(Context().acceptedCount, row.isKept ? 1 : 0);
            EXPECT_EQ(result_.pairCount, row.isKept ? 2 : 0);
        }
    }
}

TEST_F(SimScoreTest, KeptPairsAreMovedToTheFrontInOrder) {
    AddBarAt(0, 0, 0, 0, 100);
    AddBarAt(17, 0, 0, 0, 1000);
    AddBarAt(1, 2, 3, 4, 200);
    AddBarAt(0, 0, 0, 40, 1000);
    AddBarAt(5, 5, 5, 5, 300);
    EXPECT_EQ(Score(), (36 * 1200 + 512) / 1024);
    ASSERT_EQ(Context().acceptedCount, 3);
    EXPECT_EQ(Context().accepted[0], 0);
    EXPECT_EQ(Context().accepted[1], 2);
    EXPECT_EQ(Context().accepted[2], 4);
    EXPECT_EQ(Pairs(), (IndexPairs{{0, 0}, {1, 1}, {4, 4}, {5, 5}, {8, 8}, {9, 9}}));
}

TEST_F(SimScoreTest, AReferenceOfMoreThan100BarsScalesItsHalfDown) {
    AddBarAt(0, 0, 0, 0, 1000);
    Context().probeBarCount = 50;
    Context().referenceBarCount = 100;
    EXPECT_EQ(Score(), 70);  // (36 x 2000 + 512) / 1024
    Context().referenceBarCount = 101;
    EXPECT_EQ(Score(), 70);  // 990: (36 x 1990 + 512) / 1024 = 70.5
    Context().referenceBarCount = 400;
    EXPECT_EQ(Score(), 44);  // 250: (36 x 1250 + 512) / 1024 = 44.4
}

TEST_F(SimScoreTest, AProbeOfMoreThan50BarsScalesItsHalfDown) {
    AddBarAt(0, 0, 0, 0, 10000);
    Context().referenceBarCount = 2;
    Context().probeBarCount = 50;
    EXPECT_EQ(Score(), 703);  // (36 x 20000 + 512) / 1024 = 703.6
    Context().probeBarCount = 51;
    EXPECT_EQ(Score(), 696);  // 9803: (36 x 19803 + 512) / 1024 = 696.7
    Context().probeBarCount = 200;
    EXPECT_EQ(Score(), 439);  // 2500: (36 x 12500 + 512) / 1024 = 439.9
}

TEST_F(SimScoreTest, BothHalvesAreScaledWithTruncation) {
    AddBarAt(0, 0, 0, 0, 999);
    Context().referenceBarCount = 398;
    Context().probeBarCount = 199;
    // 99900 / 398 = 251 (251.006), 49950 / 199 = 251 (251.005).
    EXPECT_EQ(Score(), (36 * 502 + 512) / 1024);
}

TEST_F(SimScoreTest, AtMost160PairsAreKept) {
    const int16_t first = AddMinutia(0, 0);
    const int16_t second = AddMinutia(0, 0);
    const int16_t astray = AddMinutia(30, 0);
    for (int32_t i = 0; i < 15; ++i) {
        AddBarPair({first, astray}, {first, astray}, 100000);  // never kept
    }
    for (int32_t i = 0; i < 160; ++i) {
        AddBarPair({first, second}, {first, second}, 100);
    }
    for (int32_t i = 0; i < 25; ++i) {
        AddBarPair({first, second}, {first, second}, 7777);  // too late
    }
    // 200 bars either side; 160 x 100 = 16000, scaled to 8000 and 4000: 422.4.
    EXPECT_EQ(Score(), 422);
    EXPECT_EQ(Context().acceptedCount, 160);
}

TEST_F(SimScoreTest, AnIndexPairIsListedOnce) {
    for (int32_t i = 0; i < 5; ++i) {
        AddMinutia(0, 0);
    }
    Context().probe.minutiae[4] = Context().probe.minutiae[1];
    AddBarPair({0, 1}, {0, 1}, 10);
    AddBarPair({1, 2}, {1, 2}, 10);  // 1-1 is known
    AddBarPair({2, 1}, {2, 4}, 10);  // 2-2 is known, 1-4 is another pair
    AddBarPair({0, 1}, {0, 4}, 10);  // nothing new
    Score();
    EXPECT_EQ(Pairs(), (IndexPairs{{0, 0}, {1, 1}, {2, 2}, {1, 4}}));
}

TEST_F(SimScoreTest, TheListHoldsAtMost120Pairs) {
    // All 60 minutiae of either side lie together; every bar pair brings two new index pairs.
    for (int32_t i = 0; i < 60; ++i) {
        AddMinutia(0, 0);
        Context().reference.minutiae[i].x = 100;
        Context().probe.minutiae[i].x = 100;
    }
    IndexPairs expected;
    for (int32_t i = 0; i < 65; ++i) {
        const int16_t r = static_cast<int16_t>(i % 60);
        const int16_t p = static_cast<int16_t>(2 * i % 60);
        const int16_t q = static_cast<int16_t>((2 * i + 1) % 60);
        AddBarPair({r, r}, {p, q}, 10);
        if (expected.size() < 120) {
            expected.emplace_back(r, p);
            expected.emplace_back(r, q);
        }
    }
    Score();
    EXPECT_EQ(result_.pairCount, 120);
    EXPECT_EQ(Pairs(), expected);
}

TEST_F(SimScoreTest, WithoutPairsWantedTheResultStays) {
    AddBarAt(0, 0, 0, 0, 1000);
    result_.pairCount = 33;
    result_.referenceIndices[0] = 12;
    EXPECT_EQ(Score(0), 70);
    EXPECT_EQ(result_.pairCount, 33);
    EXPECT_EQ(result_.referenceIndices[0], 12);
}

TEST_F(SimScoreTest, WantedPairsReplaceOldOnes) {
    AddBarAt(0, 0, 0, 0, 1000);
    result_.pairCount = 120;
    for (int32_t k = 0; k < 120; ++k) {
        result_.referenceIndices[k] = 55;
        result_.probeIndices[k] = 55;
    }
    Score();
    EXPECT_EQ(Pairs(), (IndexPairs{{0, 0}, {1, 1}}));
    EXPECT_EQ(result_.referenceIndices[2], 0);
    EXPECT_EQ(result_.probeIndices[119], 0);
}

TEST_F(SimScoreTest, AgreesWithTheModelOnRandomRecords) {
    const uint64_t seed = testsupport::Seed();
    SCOPED_TRACE(testsupport::SeedNote(seed));
    Random random(seed);
    for (int32_t round = 0; round < 100; ++round) {
        SCOPED_TRACE(testing::Message() << "round " << round);
        SetUp();
        const int32_t minutiae = random.Between(2, 60);
        const int32_t reach = random.Between(0, 20);
        for (int32_t i = 0; i < minutiae; ++i) {
            AddMinutia(random.Between(-reach, reach), random.Between(-reach, reach));
        }
        for (int32_t i = random.Below(200); i > 0; --i) {
            const int16_t first = static_cast<int16_t>(random.Below(minutiae));
            const int16_t second = static_cast<int16_t>(random.Below(minutiae));
            const int16_t neighbour =
                static_cast<int16_t>(random.OneIn(4) ? random.Below(minutiae) : second);
            AddBarPair({first, second}, {first, neighbour}, random.Between(1, 1156));
        }
        Context().referenceBarCount = std::max(Context().referenceBarCount, random.Below(401));

        model::Reference reference;
        reference.set = testsupport::ToModel(Context().reference);
        model::Probe probe;
        probe.set = testsupport::ToModel(Context().probe);
        std::vector<model::BarMatch> matches;
        for (int32_t i = 0; i < Context().referenceBarCount; ++i) {
            model::Bar bar;
            if (i < Context().pairCount) {
                bar.first = Context().referenceBars[i].first;
                bar.second = Context().referenceBars[i].second;
            }
            reference.bars.push_back(bar);
        }
        for (int32_t i = 0; i < Context().probeBarCount; ++i) {
            model::Bar bar;
            bar.first = Context().probeBars[i].first;
            bar.second = Context().probeBars[i].second;
            probe.bars.push_back(bar);
            matches.push_back({i, i, Context().pairs[i].weight});
        }
        const int32_t expected = model::SimilarityScore(reference, probe, matches);
        EXPECT_EQ(Score(), expected);
        ASSERT_EQ(Context().acceptedCount, static_cast<int32_t>(matches.size()));
        for (size_t k = 0; k < matches.size(); ++k) {
            EXPECT_EQ(Context().accepted[k], matches[k].probeBar);
        }
        EXPECT_EQ(Pairs(), model::MinutiaPairs(reference, probe, matches));
    }
    EXPECT_TRUE(buffer_.GuardsIntact());
}

}  // namespace
