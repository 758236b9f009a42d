// SPDX-License-Identifier: Apache-2.0
//
// The neighbours of minutiae and the descriptions of bars over the whole range of offsets that two
// minutiae can have; and sets of every size, compared with the naive model.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "engine/Work.h"
#include "match/BarLength.h"
#include "match/FPMatch.h"
#include "match/Neighbours.h"
#include "tests/model/ModelBars.h"
#include "tests/support/TestMinutiae.h"
#include "tests/support/WorkBuffer.h"

namespace {

using testsupport::Layout;
using testsupport::MakeMinutia;
using testsupport::MakeSet;
using testsupport::Random;
using testsupport::WorkBuffer;

/// Whether minutia 1, at this offset from minutia 0, is found as its neighbour and the reverse.
bool AreFoundNeighbours(int32_t dx, int32_t dy) {
    const ::MinutiaSet set = testsupport::ToLibrary(
        MakeSet({MakeMinutia(250, 200, 0), MakeMinutia(250 + dx, 200 + dy, 0)}));
    qorfp::NeighbourWork work;
    qorfp::FindNeighbours(set, &work);
    EXPECT_EQ(work.neighbours[0] == 2, work.neighbours[1] == 1) << dx << ',' << dy;
    EXPECT_TRUE(work.neighbours[0] == 2 || work.neighbours[0] == 0) << dx << ',' << dy;
    return work.neighbours[0] == 2;
}

bool AreNeighbours(int32_t dx, int32_t dy) {
    const int32_t squared = dx * dx + dy * dy;
    return squared >= 225 && squared <= 40000;
}

TEST(Neighbours, AreThoseFifteenToTwoHundredPixelsAway) {
    for (int32_t dx = -290; dx <= 290; ++dx) {
        for (int32_t dy = -290; dy <= 290; ++dy) {
            ASSERT_EQ(AreFoundNeighbours(dx, dy), AreNeighbours(dx, dy)) << dx << ',' << dy;
        }
    }
}

TEST(Neighbours, AreNeverFartherAway) {
    // As far as the corners of the coordinate range, and as an alignment moves minutiae.
    for (int32_t dx = -3000; dx <= 3000; dx += 29) {
        for (int32_t dy = -3000; dy <= 3000; dy += 31) {
            ASSERT_EQ(AreFoundNeighbours(dx, dy), AreNeighbours(dx, dy)) << dx << ',' << dy;
        }
    }
}

TEST(Neighbours, AreTwoHundredPixelsAwayAmongManyToo) {
    // Twenty around minutia 0, all at the longest distance.
    const int32_t offsets[5][2] = {{200, 0}, {192, 56}, {160, 120}, {120, 160}, {56, 192}};
    std::vector<model::Minutia> minutiae = {MakeMinutia(256, 256, 0)};
    for (const auto& offset : offsets) {
        for (const int32_t turn : {0, 1, 2, 3}) {
            const int32_t x = turn % 2 == 0 ? offset[0] : -offset[1];
            const int32_t y = turn % 2 == 0 ? offset[1] : offset[0];
            minutiae.push_back(
                MakeMinutia(256 + (turn < 2 ? x : -x), 256 + (turn < 2 ? y : -y), 0));
        }
    }
    const ::MinutiaSet set = testsupport::ToLibrary(MakeSet(minutiae));
    qorfp::NeighbourWork work;
    qorfp::FindNeighbours(set, &work);
    EXPECT_EQ(work.neighbours[0], 0x7FEU) << "the ten of the lowest numbers";
}

TEST(BarLength, IsTheWholeRootOfTheSquaredDistance) {
    int32_t root = 15;
    for (int32_t squared = 225; squared <= 40000; ++squared) {
        root += (root + 1) * (root + 1) == squared ? 1 : 0;
        ASSERT_EQ(qorfp::LengthOf(squared), root) << squared;
    }
}

class BarsOfSetsTest : public testing::Test {
  protected:
    MatchContext* Context() { return qorfp::WorkAt<MatchContext>(buffer_.Bytes()); }

    /// Compares the probe bars of a set with the model's.
    void Compare(const model::MinutiaSet& set) {
        const ::MinutiaSet input = testsupport::ToLibrary(set);
        const std::vector<model::Bar> expected = model::MakeProbeBars(set);
        ::Bar bars[200];
        ASSERT_EQ(MakeBar(Context(), &input, bars, 0), static_cast<int32_t>(expected.size()));
        for (size_t i = 0; i < expected.size(); ++i) {
            const model::Bar& bar = expected[i];
            ASSERT_EQ(bars[i].first, bar.first) << "bar " << i;
            ASSERT_EQ(bars[i].second, bar.second) << "bar " << i;
            ASSERT_EQ(bars[i].length, bar.length) << "bar " << i;
            ASSERT_EQ(bars[i].direction, bar.direction) << "bar " << i;
            ASSERT_EQ(bars[i].angleFirst, bar.angleFirst) << "bar " << i;
            ASSERT_EQ(bars[i].angleSecond, bar.angleSecond) << "bar " << i;
        }
    }

    WorkBuffer buffer_;
};

TEST_F(BarsOfSetsTest, EveryOffsetOfTwoMinutiae) {
    const uint64_t seed = testsupport::Seed();
    SCOPED_TRACE(testsupport::SeedNote(seed));
    Random random(seed);
    for (int32_t dx = -200; dx <= 200; ++dx) {
        for (int32_t dy = -200; dy <= 200; ++dy) {
            if (!AreNeighbours(dx, dy)) {
                continue;
            }
            SCOPED_TRACE(testing::Message() << dx << ',' << dy);
            ASSERT_NO_FATAL_FAILURE(Compare(MakeSet(
                {MakeMinutia(250, 200, random.Below(256)),
                 MakeMinutia(250 + dx, 200 + dy, random.Below(256)), MakeMinutia(-200, 700, 0)})));
        }
    }
}

TEST_F(BarsOfSetsTest, EverySizeOfEveryLayout) {
    const uint64_t seed = testsupport::Seed() + 1;
    SCOPED_TRACE(testsupport::SeedNote(seed));
    Random random(seed);
    for (const Layout layout : testsupport::kAllLayouts) {
        for (int32_t count = 1; count <= 60; ++count) {
            SCOPED_TRACE(testing::Message() << NameOf(layout) << ", " << count << " minutiae");
            ASSERT_NO_FATAL_FAILURE(Compare(testsupport::RandomSet(random, layout, count)));
        }
    }
}

TEST_F(BarsOfSetsTest, NearlyEqualDistancesByTheDozen) {
    // Small circles of lattice points: squared distances that agree or differ by little.
    const struct {
        int32_t dx, dy;
    } ring[] = {{25, 0},  {24, 7},  {20, 15},  {15, 20},  {7, 24},  {0, 25},
                {25, 1},  {24, 8},  {21, 14},  {14, 21},  {1, 25},  {26, 0},
                {-25, 0}, {-24, 7}, {-20, 15}, {-15, 20}, {-7, 24}, {0, -25}};
    const uint64_t seed = testsupport::Seed() + 2;
    SCOPED_TRACE(testsupport::SeedNote(seed));
    Random random(seed);
    for (int32_t round = 0; round < 600; ++round) {
        SCOPED_TRACE(testing::Message() << "round " << round);
        std::vector<model::Minutia> minutiae = {MakeMinutia(100, 100, 0)};
        for (int32_t i = 12 + random.Below(20); i > 0; --i) {
            const auto& at = ring[random.Below(18)];
            const int32_t scale = random.OneIn(4) ? 2 : 1;
            minutiae.push_back(MakeMinutia(100 + scale * at.dx, 100 + scale * at.dy, 0));
        }
        ASSERT_NO_FATAL_FAILURE(Compare(MakeSet(minutiae)));
    }
}

}  // namespace
