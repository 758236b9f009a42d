// SPDX-License-Identifier: Apache-2.0
//
// Minutia neighbourhood descriptors: which minutiae form bars, how a bar is described, the order
// of the bars on either side, and the reference's sector lists. Expectations are worked out by
// hand; random sets are compared with the naive model.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <sstream>
#include <string>
#include <vector>

#include "engine/Work.h"
#include "match/FPMatch.h"
#include "tests/model/ModelBars.h"
#include "tests/support/TestMinutiae.h"
#include "tests/support/WorkBuffer.h"

namespace {

using model::MinutiaSet;
using testsupport::Layout;
using testsupport::MakeMinutia;
using testsupport::MakeSet;
using testsupport::Random;
using testsupport::WorkBuffer;

constexpr int32_t kProbeMode = 0;
constexpr int32_t kReferenceMode = 1;

MatchContext* ContextIn(WorkBuffer& buffer) {
    return qorfp::WorkAt<MatchContext>(buffer.Bytes());
}

std::vector<model::Bar> ToModelBars(const ::Bar* bars, int32_t count) {
    std::vector<model::Bar> result;
    for (int32_t i = 0; i < count; ++i) {
        model::Bar bar;
        bar.first = bars[i].first;
        bar.second = bars[i].second;
        bar.length = bars[i].length;
        bar.direction = bars[i].direction;
        bar.angleFirst = bars[i].angleFirst;
        bar.angleSecond = bars[i].angleSecond;
        result.push_back(bar);
    }
    return result;
}

/// MakeBar into an array of exactly the promised size, with a guard behind it.
std::vector<model::Bar> LibraryBars(WorkBuffer& buffer, const MinutiaSet& set, int32_t mode) {
    const size_t capacity = mode == kProbeMode ? 200 : 400;
    const ::Bar guard = {-7, -7, -7, 77, 77, 77};
    std::vector<::Bar> bars(capacity + 1, guard);
    const ::MinutiaSet input = testsupport::ToLibrary(set);
    const int32_t count = MakeBar(ContextIn(buffer), &input, bars.data(), mode);
    EXPECT_GE(count, 0);
    EXPECT_LE(count, static_cast<int32_t>(capacity));
    EXPECT_EQ(bars.back().length, guard.length) << "written behind the bar array";
    return ToModelBars(bars.data(), count);
}

std::string Describe(const std::vector<model::Bar>& bars) {
    std::ostringstream text;
    for (const model::Bar& bar : bars) {
        text << bar.first << '-' << bar.second << " length " << bar.length << " direction "
             << bar.direction << " angles " << bar.angleFirst << ' ' << bar.angleSecond << '\n';
    }
    return text.str();
}

/// The second minutiae of the bars that start at minutia `first`, ascending.
std::vector<int32_t> PartnersOf(const std::vector<model::Bar>& bars, int32_t first) {
    std::vector<int32_t> partners;
    for (const model::Bar& bar : bars) {
        if (bar.first == first) {
            partners.push_back(bar.second);
        }
    }
    std::sort(partners.begin(), partners.end());
    return partners;
}

/// Minutia 0 at (100, 100) with another at an offset, and a third out of reach of both.
MinutiaSet PairAt(int32_t dx, int32_t dy, int32_t direction0 = 0, int32_t direction1 = 0) {
    return MakeSet({MakeMinutia(100, 100, direction0), MakeMinutia(100 + dx, 100 + dy, direction1),
                    MakeMinutia(700, 700, 0)});
}

struct Offset {
    int32_t x;
    int32_t y;
};

/// Minutia 0 at (300, 300) and one more at each offset from it.
MinutiaSet Around(const std::vector<Offset>& offsets) {
    std::vector<model::Minutia> minutiae = {MakeMinutia(300, 300, 0)};
    for (const Offset& offset : offsets) {
        minutiae.push_back(MakeMinutia(300 + offset.x, 300 + offset.y, 0));
    }
    return MakeSet(minutiae);
}

class BarsTest : public testing::Test {
  protected:
    WorkBuffer buffer_;
};

TEST_F(BarsTest, FewerThanThreeMinutiaeGiveNoBars) {
    const MinutiaSet two = MakeSet({MakeMinutia(100, 100, 0), MakeMinutia(150, 100, 0)});
    for (const int32_t mode : {kProbeMode, kReferenceMode}) {
        EXPECT_TRUE(LibraryBars(buffer_, two, mode).empty());
        EXPECT_TRUE(LibraryBars(buffer_, MakeSet({}), mode).empty());
    }
    MatchContext* context = ContextIn(buffer_);
    context->reference = testsupport::ToLibrary(two);
    EXPECT_EQ(MakeFirstInfo(context), 0);
}

TEST_F(BarsTest, ASingleMinutiaIsTheCentreOfItsReferenceWhichFails) {
    MatchContext* context = ContextIn(buffer_);
    context->reference = testsupport::ToLibrary(MakeSet({MakeMinutia(-17, 230, 0)}));
    EXPECT_EQ(MakeFirstInfo(context), 0);
    EXPECT_EQ(context->referenceCentreX, -17);
    EXPECT_EQ(context->referenceCentreY, 230);
}

TEST_F(BarsTest, EmptyReferenceHasItsCentreAtZeroAndFails) {
    buffer_.Reset(testsupport::Fill::kPattern);
    MatchContext* context = ContextIn(buffer_);
    context->reference = testsupport::ToLibrary(MakeSet({}));
    EXPECT_EQ(MakeFirstInfo(context), 0);
    EXPECT_EQ(context->referenceCentreX, 0);
}

TEST_F(BarsTest, BarsAreFifteenToTwoHundredPixelsLong) {
    const struct {
        Offset offset;
        int32_t length;  // 0: no bar
    } cases[] = {
        {{14, 0}, 0},     {{14, 5}, 0},  {{0, -14}, 0}, {{15, 0}, 15},     {{9, 12}, 15},
        {{0, -15}, 15},   {{15, 5}, 15}, {{16, 0}, 16}, {{141, 141}, 199}, {{120, 160}, 200},
        {{-200, 0}, 200}, {{200, 1}, 0}, {{201, 0}, 0}, {{0, -201}, 0},    {{142, 141}, 0},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(testing::Message() << "offset " << row.offset.x << ',' << row.offset.y);
        const auto bars = LibraryBars(buffer_, PairAt(row.offset.x, row.offset.y), kProbeMode);
        if (row.length == 0) {
            EXPECT_TRUE(bars.empty());
        } else {
            ASSERT_EQ(bars.size(), 1U);
            EXPECT_EQ(bars[0].length, row.length);
        }
    }
}

TEST_F(BarsTest, DirectionOfTheLine) {
    const struct {
        Offset offset;
        int32_t direction;
    } cases[] = {
        {{50, 0}, 0},
        {{0, 50}, 60},
        {{-50, 0}, 120},
        {{0, -50}, 180},
        {{40, 40}, 30},
        {{-40, 40}, 90},
        {{-40, -40}, 150},
        {{40, -40}, 210},
        {{127, -1}, 0},  // 240 - 0 becomes 0
        {{150, 0}, 0},
        {{0, -180}, 180},
        {{130, 130}, 30},
        // 130 is scaled to 127, 5 to 635 / 130 = 4: atan(4 / 127) is 1.2 steps.
        {{-130, 5}, 119},
        {{-130, -5}, 121},
        // (160, -120) is scaled to (101, -76), 24.6 steps.
        {{160, -120}, 215},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(testing::Message() << "offset " << row.offset.x << ',' << row.offset.y);
        const auto bars = LibraryBars(buffer_, PairAt(row.offset.x, row.offset.y), kProbeMode);
        ASSERT_EQ(bars.size(), 1U);
        EXPECT_EQ(bars[0].first, 0);
        EXPECT_EQ(bars[0].second, 1);
        EXPECT_EQ(bars[0].direction, row.direction);
    }
}

TEST_F(BarsTest, AnglesAreTakenAgainstTheMinutiaDirectionsModulo240) {
    const struct {
        int32_t direction0, direction1, angleFirst, angleSecond;
    } cases[] = {
        // The line runs along 0, the way back along 120.
        {0, 0, 0, 120},
        {10, 50, 230, 70},
        {239, 239, 1, 121},
        {0, 120, 0, 0},
        {1, 121, 239, 239},
        // Bytes above 239 occur in damaged templates; the remainder counts.
        {240, 240, 0, 120},
        {250, 255, 230, 105},
        {255, 245, 225, 115},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(testing::Message() << row.direction0 << ' ' << row.direction1);
        const auto bars =
            LibraryBars(buffer_, PairAt(50, 0, row.direction0, row.direction1), kProbeMode);
        ASSERT_EQ(bars.size(), 1U);
        EXPECT_EQ(bars[0].angleFirst, row.angleFirst);
        EXPECT_EQ(bars[0].angleSecond, row.angleSecond);
    }
}

TEST_F(BarsTest, UpToNineteenNeighboursTheFarthestGoTheLowestOfEquals) {
    // Numbers 1..12. Number 5 is farthest (961); 3 and 8 are next with 900 each.
    const MinutiaSet set = Around({{20, 0},
                                   {-20, 0},
                                   {30, 0},
                                   {0, 20},
                                   {31, 0},
                                   {0, -20},
                                   {22, 0},
                                   {0, 30},
                                   {-22, 0},
                                   {0, 22},
                                   {0, -22},
                                   {24, 0}});
    const std::vector<int32_t> kept = {1, 2, 4, 6, 7, 8, 9, 10, 11, 12};
    EXPECT_EQ(PartnersOf(LibraryBars(buffer_, set, kProbeMode), 0), kept);
}

TEST_F(BarsTest, TenNeighboursAreAllKept) {
    const MinutiaSet set = Around({{20, 0},
                                   {-20, 0},
                                   {0, 20},
                                   {0, -20},
                                   {22, 0},
                                   {-22, 0},
                                   {0, 22},
                                   {0, -22},
                                   {24, 0},
                                   {150, 0}});
    const std::vector<int32_t> kept = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10};
    EXPECT_EQ(PartnersOf(LibraryBars(buffer_, set, kProbeMode), 0), kept);
}

/// 3 neighbours of whole length 29 as numbers 2 (squared 890), 9 and 12 (841 each), 9 nearer ones
/// at the end, and farther ones in between.
MinutiaSet TiesAtTheCut(size_t fartherOnes) {
    std::vector<Offset> offsets;
    int32_t farther = 30;
    size_t placed = 0;
    while (offsets.size() < 3 + fartherOnes) {
        const size_t number = offsets.size() + 1;
        if (number == 2) {
            offsets.push_back({29, 7});
        } else if (number == 9) {
            offsets.push_back({29, 0});
        } else if (number == 12 || (number < 12 && placed == fartherOnes)) {
            offsets.push_back({0, 29});
        } else {
            offsets.push_back({-farther, 0});
            ++farther;
            ++placed;
        }
    }
    for (int32_t length = 20; length <= 28; ++length) {
        offsets.push_back({0, -length});
    }
    return Around(offsets);
}

TEST_F(BarsTest, FromTwentyNeighboursOnTheCutIsMadeByWholeLength) {
    // 25 neighbours: nine of length 20..28 (numbers 17..25); of the three of length 29 the
    // lowest-numbered stays although it is the farthest of them.
    const MinutiaSet set = TiesAtTheCut(13);
    ASSERT_EQ(set.minutiae.size(), 26U);
    const std::vector<int32_t> kept = {2, 17, 18, 19, 20, 21, 22, 23, 24, 25};
    EXPECT_EQ(PartnersOf(LibraryBars(buffer_, set, kProbeMode), 0), kept);
}

TEST_F(BarsTest, WithTwentyNeighboursExactly) {
    // Two of the three of length 29 are numbers 2 and 9, the third and the farther ones fill
    // 1..11; the nine nearest are 12..20.
    const MinutiaSet set = TiesAtTheCut(8);
    ASSERT_EQ(set.minutiae.size(), 21U);
    const std::vector<int32_t> kept = {2, 12, 13, 14, 15, 16, 17, 18, 19, 20};
    EXPECT_EQ(PartnersOf(LibraryBars(buffer_, set, kProbeMode), 0), kept);
}

TEST_F(BarsTest, TheCutMayLieAtTheShortestLength) {
    // Twelve of length 15 (1..12) and eight of length 16 (13..20): the first ten stay.
    const MinutiaSet set =
        Around({{15, 0},  {0, 15},  {-15, 0}, {0, -15},  {9, 12},   {12, 9}, {-9, 12},
                {12, -9}, {-12, 9}, {9, -12}, {-9, -12}, {-12, -9}, {16, 0}, {0, 16},
                {-16, 0}, {0, -16}, {16, 1},  {1, 16},   {-16, 1},  {1, -16}});
    const std::vector<int32_t> kept = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10};
    EXPECT_EQ(PartnersOf(LibraryBars(buffer_, set, kProbeMode), 0), kept);
}

TEST_F(BarsTest, WithNineteenNeighboursTheSquaredDistanceDecides) {
    // The same with seven farther ones: these go, then number 2 (890), then of the two at 841 the
    // lower-numbered (9), so that the other (10) stays with the nine nearest (11..19).
    const MinutiaSet set = TiesAtTheCut(7);
    ASSERT_EQ(set.minutiae.size(), 20U);
    const std::vector<int32_t> kept = {10, 11, 12, 13, 14, 15, 16, 17, 18, 19};
    EXPECT_EQ(PartnersOf(LibraryBars(buffer_, set, kProbeMode), 0), kept);
}

TEST_F(BarsTest, ADroppedNeighbourStillMakesTheBarFromItsOwnSide) {
    // Number 11 is the farthest of the eleven neighbours of 0; for 11 itself number 6 at (-22, 0)
    // is the farthest of its eleven.
    const MinutiaSet set = Around({{20, 0},
                                   {-20, 0},
                                   {0, 20},
                                   {0, -20},
                                   {22, 0},
                                   {-22, 0},
                                   {0, 22},
                                   {0, -22},
                                   {24, 0},
                                   {0, 24},
                                   {40, 0}});
    const auto bars = LibraryBars(buffer_, set, kProbeMode);
    const std::vector<int32_t> keptByZero = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10};
    EXPECT_EQ(PartnersOf(bars, 0), keptByZero);
    const std::vector<int32_t> keptByEleven = PartnersOf(bars, 11);
    EXPECT_EQ(std::count(keptByEleven.begin(), keptByEleven.end(), 0), 1);
    EXPECT_EQ(std::count(keptByEleven.begin(), keptByEleven.end(), 6), 0);
}

TEST_F(BarsTest, ProbeBarsComeOnceAPairInOrderOfGeneration) {
    const MinutiaSet set =
        MakeSet({MakeMinutia(100, 100, 10), MakeMinutia(200, 100, 20), MakeMinutia(100, 200, 30)});
    EXPECT_EQ(Describe(LibraryBars(buffer_, set, kProbeMode)),
              "0-1 length 100 direction 0 angles 230 100\n"
              "0-2 length 100 direction 60 angles 50 150\n"
              "1-2 length 141 direction 90 angles 70 180\n");
}

TEST_F(BarsTest, ReferenceBarsComeWithTheirReverseByLengthEqualsInReverseOrder) {
    const MinutiaSet set =
        MakeSet({MakeMinutia(100, 100, 10), MakeMinutia(200, 100, 20), MakeMinutia(100, 200, 30)});
    EXPECT_EQ(Describe(LibraryBars(buffer_, set, kReferenceMode)),
              "0-2 length 100 direction 60 angles 50 150\n"
              "2-0 length 100 direction 180 angles 150 50\n"
              "0-1 length 100 direction 0 angles 230 100\n"
              "1-0 length 100 direction 120 angles 100 230\n"
              "1-2 length 141 direction 90 angles 70 180\n"
              "2-1 length 141 direction 210 angles 180 70\n");
}

TEST_F(BarsTest, AtMostTwoHundredPairsAreGenerated) {
    Random random(testsupport::Seed());
    SCOPED_TRACE(testsupport::SeedNote(testsupport::Seed()));
    const MinutiaSet set = testsupport::RandomSet(random, Layout::kCrowded, 60);
    const auto probeBars = LibraryBars(buffer_, set, kProbeMode);
    const auto referenceBars = LibraryBars(buffer_, set, kReferenceMode);
    EXPECT_EQ(probeBars.size(), 200U);
    EXPECT_EQ(referenceBars.size(), 400U);
    // Both stop at the same pair: the reference holds the probe's bars, sorted.
    std::vector<model::Bar> forward;
    for (size_t i = 0; i < referenceBars.size(); i += 2) {
        forward.push_back(referenceBars[i]);
    }
    std::sort(forward.begin(), forward.end(), [](const model::Bar& a, const model::Bar& b) {
        return a.first != b.first ? a.first < b.first : a.second < b.second;
    });
    EXPECT_EQ(Describe(forward), Describe(probeBars));
}

TEST_F(BarsTest, CentreIsTheMiddleOfTheBoundingBoxRoundedTowardsZero) {
    MatchContext* context = ContextIn(buffer_);
    context->reference = testsupport::ToLibrary(
        MakeSet({MakeMinutia(-25, 10, 0), MakeMinutia(4, 21, 0), MakeMinutia(-3, 61, 0)}));
    ASSERT_EQ(MakeFirstInfo(context), 1);
    EXPECT_EQ(context->referenceCentreX, -10);  // -21 / 2
    EXPECT_EQ(context->referenceCentreY, 35);   // 71 / 2
}

std::vector<int32_t> SectorList(const MatchContext& context, int32_t s, int32_t t) {
    const int32_t list = 12 * s + t;
    std::vector<int32_t> bars;
    for (int32_t i = 0; i < context.sectorLength[list]; ++i) {
        const int32_t place = context.sectorStart[list] + i;
        EXPECT_GE(place, 0);
        EXPECT_LT(place, 1600);
        bars.push_back(context.sectorEntries[place]);
    }
    return bars;
}

TEST_F(BarsTest, AReferenceBarEntersTheSectorsTenStepsEitherSideOfItsAngles) {
    // Angles 5 and 100: sectors 11 and 0 (235 and 15), 4 and 5 (90 and 110).
    MatchContext* context = ContextIn(buffer_);
    context->reference = testsupport::ToLibrary(PairAt(50, 0, 235, 20));
    ASSERT_EQ(MakeFirstInfo(context), 1);
    ASSERT_EQ(context->referenceBarCount, 2);
    ASSERT_EQ(context->referenceBars[0].angleFirst, 5);
    ASSERT_EQ(context->referenceBars[0].angleSecond, 100);
    for (int32_t s = 0; s < 12; ++s) {
        for (int32_t t = 0; t < 12; ++t) {
            SCOPED_TRACE(testing::Message() << "list " << s << ',' << t);
            const bool isBar = (s == 11 || s == 0) && (t == 4 || t == 5);
            const bool isReverse = (t == 11 || t == 0) && (s == 4 || s == 5);
            const std::vector<int32_t> expected = isBar       ? std::vector<int32_t>{0}
                                                  : isReverse ? std::vector<int32_t>{1}
                                                              : std::vector<int32_t>{};
            EXPECT_EQ(SectorList(*context, s, t), expected);
        }
    }
}

TEST_F(BarsTest, SectorListsRunByIncreasingLength) {
    Random random(testsupport::Seed() + 1);
    SCOPED_TRACE(testsupport::SeedNote(testsupport::Seed() + 1));
    MatchContext* context = ContextIn(buffer_);
    context->reference =
        testsupport::ToLibrary(testsupport::RandomSet(random, Layout::kSpread, 60));
    ASSERT_EQ(MakeFirstInfo(context), 1);
    int32_t entries = 0;
    for (int32_t s = 0; s < 12; ++s) {
        for (int32_t t = 0; t < 12; ++t) {
            int32_t previous = 0;
            for (const int32_t bar : SectorList(*context, s, t)) {
                EXPECT_GE(context->referenceBars[bar].length, previous);
                previous = context->referenceBars[bar].length;
                ++entries;
            }
        }
    }
    EXPECT_EQ(entries, 4 * context->referenceBarCount);
}

/// Both kinds of bars, the centre and the sector lists as text.
std::string DescribeReference(const std::vector<model::Bar>& bars, int32_t centreX, int32_t centreY,
                              const std::vector<std::vector<int32_t>>& sectors) {
    std::ostringstream text;
    text << "centre " << centreX << ' ' << centreY << '\n' << Describe(bars);
    for (size_t list = 0; list < sectors.size(); ++list) {
        text << "list " << list << ':';
        for (const int32_t bar : sectors[list]) {
            text << ' ' << bar;
        }
        text << '\n';
    }
    return text.str();
}

TEST_F(BarsTest, AgreesWithTheModelOnRandomSets) {
    const uint64_t seed = testsupport::Seed() + 2;
    SCOPED_TRACE(testsupport::SeedNote(seed));
    Random random(seed);
    for (const Layout layout : testsupport::kAllLayouts) {
        for (const int32_t count : {0, 1, 2, 3, 4, 6, 9, 11, 12, 15, 19, 20, 21, 22, 31, 47, 60}) {
            SCOPED_TRACE(testing::Message() << NameOf(layout) << ", " << count << " minutiae");
            const MinutiaSet set = testsupport::RandomSet(random, layout, count);
            const model::Reference reference = model::PrepareReference(set);
            const std::string expectedProbe = Describe(model::MakeProbeBars(set));
            const std::string expectedReference =
                DescribeReference(reference.bars, reference.centre.x, reference.centre.y,
                                  {reference.sectors.begin(), reference.sectors.end()});
            testsupport::WithEachFill(buffer_, [&](WorkBuffer& buffer) {
                EXPECT_EQ(Describe(LibraryBars(buffer, set, kProbeMode)), expectedProbe);
                MatchContext* context = ContextIn(buffer);
                context->reference = testsupport::ToLibrary(set);
                ASSERT_EQ(MakeFirstInfo(context), reference.prepared ? 1 : 0);
                if (!reference.prepared) {
                    return;
                }
                std::vector<std::vector<int32_t>> sectors;
                for (int32_t s = 0; s < 12; ++s) {
                    for (int32_t t = 0; t < 12; ++t) {
                        sectors.push_back(SectorList(*context, s, t));
                    }
                }
                const auto bars = ToModelBars(context->referenceBars, context->referenceBarCount);
                EXPECT_EQ(DescribeReference(bars, context->referenceCentreX,
                                            context->referenceCentreY, sectors),
                          expectedReference);
            });
        }
    }
}

}  // namespace
