// SPDX-License-Identifier: Apache-2.0
//
// Corresponding bars, compared with the naive model: single bars that differ by about what is still
// tolerated, sets of every layout, and crowds of bars that all lie in one sector list.
#include "match/Correspondence.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <sstream>
#include <string>
#include <vector>

#include "engine/Work.h"
#include "match/BestPartner.h"
#include "match/FPMatch.h"
#include "tests/model/ModelAlignment.h"
#include "tests/support/TestMinutiae.h"
#include "tests/support/WorkBuffer.h"

namespace {

using model::MinutiaSet;
using testsupport::Layout;
using testsupport::MakeMinutia;
using testsupport::MakeSet;
using testsupport::Random;
using testsupport::WorkBuffer;

std::string Describe(const std::vector<model::BarMatch>& matches) {
    std::ostringstream text;
    for (const model::BarMatch& match : matches) {
        text << match.referenceBar << '-' << match.probeBar << " weight " << match.weight << '\n';
    }
    return text.str();
}

class CorrespondenceTest : public testing::Test {
  protected:
    CorrespondenceTest() { buffer_.Reset(testsupport::Fill::kRandom); }

    MatchContext& Context() { return *qorfp::WorkAt<MatchContext>(buffer_.Bytes()); }

    /// Compares the pairs of two sets with the model's; gives their number.
    size_t Compare(const MinutiaSet& referenceSet, const MinutiaSet& probeSet) {
        const model::Reference reference = model::PrepareReference(referenceSet);
        model::Probe probe;
        probe.set = probeSet;
        probe.bars = model::MakeProbeBars(probeSet);
        probe.centre = model::CentreOf(probeSet);
        if (!reference.prepared || probe.bars.empty()) {
            return 0;
        }
        const std::vector<model::BarMatch> expected = model::MatchBars(reference, probe);

        MatchContext& context = Context();
        context.reference = testsupport::ToLibrary(referenceSet);
        EXPECT_EQ(MakeFirstInfo(&context), 1);
        context.probe = testsupport::ToLibrary(probeSet);
        context.probeBarCount = MakeBar(&context, &context.probe, context.probeBars, 0);
        qorfp::FindCorrespondences(&context);
        std::vector<model::BarMatch> found;
        for (int32_t k = 0; k < context.pairCount; ++k) {
            const BarPair& pair = context.pairs[k];
            found.push_back({pair.reference, pair.probe, pair.weight});
        }
        EXPECT_EQ(Describe(found), Describe(expected));
        return expected.size();
    }

    WorkBuffer buffer_;
};

uint32_t Attributes(int32_t density, int32_t disorder) {
    return static_cast<uint32_t>(density * 64 + disorder);
}

/// A value near another one, within 0..63.
int32_t Near(int32_t value, int32_t reach, Random& random) {
    const int32_t other = value + random.Between(-reach, reach);
    return other < 0 ? 0 : (other > 63 ? 63 : other);
}

TEST_F(CorrespondenceTest, BarsThatDifferByAboutTheTolerances) {
    const uint64_t seed = testsupport::Seed();
    SCOPED_TRACE(testsupport::SeedNote(seed));
    Random random(seed);
    size_t pairs = 0;
    for (int32_t round = 0; round < 20000; ++round) {
        const bool isAlike = random.OneIn(2);
        const int32_t length = random.Between(15, 186);
        const int32_t otherLength =
            length + (isAlike ? random.Between(0, 4) : random.Between(0, 13));
        const int32_t angle = isAlike ? 6 : 13;
        const int32_t direction0 = random.Below(240);
        const int32_t direction1 = random.Below(240);
        int32_t density[2];
        int32_t disorder[2];
        int32_t type[2];
        for (int32_t end = 0; end < 2; ++end) {
            density[end] = random.Below(64);
            disorder[end] = random.Below(64);
            type[end] = random.Between(1, 2);
        }
        const MinutiaSet one = MakeSet(
            {MakeMinutia(0, 0, direction0, type[0], Attributes(density[0], disorder[0])),
             MakeMinutia(length, 0, direction1, type[1], Attributes(density[1], disorder[1])),
             MakeMinutia(700, 700, 0)});
        const MinutiaSet other = MakeSet(
            {MakeMinutia(0, 0, (direction0 + 240 + random.Between(-angle, angle)) % 240,
                         random.Between(1, 2),
                         Attributes(Near(density[0], 33, random), Near(disorder[0], 17, random))),
             MakeMinutia(otherLength, 0, (direction1 + 240 + random.Between(-angle, angle)) % 240,
                         random.Between(1, 2),
                         Attributes(Near(density[1], 33, random), Near(disorder[1], 17, random))),
             MakeMinutia(700, 700, 0)});
        SCOPED_TRACE(testing::Message() << "round " << round);
        pairs += random.OneIn(2) ? Compare(one, other) : Compare(other, one);
        ASSERT_FALSE(HasFailure());
    }
    EXPECT_GE(pairs, 5000U) << "too few correspond";
    EXPECT_LE(pairs, 15000U) << "too few do not";
}

TEST_F(CorrespondenceTest, SetsOfEveryLayoutAndSize) {
    const uint64_t seed = testsupport::Seed() + 1;
    SCOPED_TRACE(testsupport::SeedNote(seed));
    Random random(seed);
    for (const Layout layout : testsupport::kAllLayouts) {
        for (int32_t count = 3; count <= 60; ++count) {
            SCOPED_TRACE(testing::Message() << NameOf(layout) << ", " << count << " minutiae");
            const MinutiaSet set = testsupport::RandomSet(random, layout, count);
            Compare(set, testsupport::TakeImpression(set, testsupport::RandomImpression(random),
                                                     random));
            ASSERT_FALSE(HasFailure());
        }
    }
}

/// Minutiae in two heaps 40 pixels apart, whose bars have nearly the same lengths and both angles
/// about the same: bars and reverses crowd into a few lists.
MinutiaSet TwoHeaps(int32_t count, Random& random) {
    std::vector<model::Minutia> minutiae;
    for (int32_t i = 0; i < count; ++i) {
        const bool isLeft = i % 2 == 0;
        const int32_t direction = isLeft ? 230 : 110;
        minutiae.push_back(
            MakeMinutia((isLeft ? 100 : 140) + random.Between(0, 3), 100 + random.Between(0, 3),
                        (direction + random.Between(0, 2)) % 240, random.OneIn(5) ? 2 : 1,
                        Attributes(20 + random.Below(5), 10 + random.Below(4))));
    }
    return MakeSet(minutiae);
}

TEST_F(CorrespondenceTest, CrowdsInOneList) {
    const uint64_t seed = testsupport::Seed() + 2;
    SCOPED_TRACE(testsupport::SeedNote(seed));
    Random random(seed);
    int32_t longest = 0;
    for (int32_t round = 0; round < 40; ++round) {
        SCOPED_TRACE(testing::Message() << "round " << round);
        const int32_t count = random.Between(10, 60);
        buffer_.Reset(round % 2 == 0 ? testsupport::Fill::kRandom : testsupport::Fill::kPattern);
        Compare(TwoHeaps(count, random), TwoHeaps(count, random));
        ASSERT_FALSE(HasFailure());
        for (const int16_t length : Context().sectorLength) {
            longest = length > longest ? length : longest;
        }
    }
    EXPECT_EQ(longest, 400);
}

/// The same minutiae in reverse order, so that bars become reverses.
MinutiaSet Backwards(MinutiaSet set) {
    std::reverse(set.minutiae.begin(), set.minutiae.end());
    return set;
}

/// The same with the first angle of every bar from left to right turned.
MinutiaSet LeftHeapTurned(MinutiaSet set, int32_t steps) {
    for (model::Minutia& minutia : set.minutiae) {
        const int32_t direction = minutia.direction + (minutia.x < 120 ? steps : 0);
        minutia.direction = static_cast<uint8_t>(direction);
    }
    return set;
}

TEST_F(CorrespondenceTest, CrowdsOfWhichSomeAreBeyondTheTolerances) {
    const uint64_t seed = testsupport::Seed() + 3;
    SCOPED_TRACE(testsupport::SeedNote(seed));
    Random random(seed);
    for (int32_t steps = -13; steps <= 7; ++steps) {
        SCOPED_TRACE(testing::Message() << "turned by " << steps);
        const MinutiaSet set = TwoHeaps(random.Between(20, 60), random);
        Compare(set, LeftHeapTurned(set, steps));
        Compare(set, Backwards(LeftHeapTurned(set, steps)));
        ASSERT_FALSE(HasFailure());
    }
}

TEST_F(CorrespondenceTest, TheLastEntryOfACrowdFindsItsPartner) {
    // All bars are in the last list, whose last entry is the longest bar's reverse.
    std::vector<model::Minutia> minutiae;
    for (int32_t i = 0; i < 8; ++i) {
        minutiae.push_back(MakeMinutia(i == 0 ? 98 : 100, 100, 8, 1, 1290));
        minutiae.push_back(MakeMinutia(140 + i, 100, 132, 2, 1290));
    }
    const MinutiaSet set = MakeSet(minutiae);
    const MinutiaSet probe = Backwards(set);
    EXPECT_GT(Compare(set, probe), 0U);
    EXPECT_GT(Context().sectorLength[qorfp::kSectorLists - 1], 64);
    const int32_t last = Context().referenceBarCount - 1;
    EXPECT_EQ(Context().sectorEntries[4 * last + 3], last);
    EXPECT_EQ(qorfp::WeightIn(Context().correspondence.referenceBest[last]), 1156);
}

TEST_F(CorrespondenceTest, WhatLiesBehindAListIsNotCompared) {
    // One reference bar and its reverse; the rest of the record holds copies of the same bar.
    const MinutiaSet set =
        MakeSet({MakeMinutia(100, 100, 30), MakeMinutia(150, 100, 170), MakeMinutia(700, 700, 0)});
    MatchContext& context = Context();
    context.reference = testsupport::ToLibrary(set);
    ASSERT_EQ(MakeFirstInfo(&context), 1);
    ASSERT_EQ(context.referenceBarCount, 2);
    for (int32_t entry = 8; entry < qorfp::kSectorEntries; ++entry) {
        context.sectorEntries[entry] = 399;
        context.sectorBars[entry] = context.sectorBars[entry % 8];
    }
    context.probe = context.reference;
    context.probeBarCount = MakeBar(&context, &context.probe, context.probeBars, 0);
    qorfp::FindCorrespondences(&context);
    ASSERT_EQ(context.pairCount, 1);
    EXPECT_EQ(context.pairs[0].reference, 0);
    EXPECT_EQ(context.pairs[0].weight, 1156);
    EXPECT_EQ(context.correspondence.referenceBest[399], context.correspondence.referenceBest[398])
        << "bars that do not exist have found partners";
}

}  // namespace
