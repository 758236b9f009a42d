// SPDX-License-Identifier: Apache-2.0
//
// The last steps of detection: compaction, the crowding filter, the close-pair filter, and the
// assembly of the set with its local attributes.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <utility>
#include <vector>

#include "extract/Minutiae.h"
#include "tests/support/DrawnSkeleton.h"

namespace {

using model::Candidate;
using model::Candidates;
using testsupport::CandidatesOf;
using testsupport::DrawnSkeleton;
using testsupport::ListOf;
using testsupport::Spot;

constexpr int32_t kEnding = 1;
constexpr int32_t kBifurcation = 2;
constexpr int32_t kDeleted = 255;

std::vector<int32_t> DirectionsOf(const Candidates& candidates) {
    std::vector<int32_t> directions;
    for (const Candidate& candidate : candidates) {
        directions.push_back(candidate.direction);
    }
    return directions;
}

// --- Compaction ---------------------------------------------------------------------------------

TEST(Compaction, KeepsTheOrderOfTheRest) {
    qorfp::CandidateList list = ListOf({{1, 10, kEnding, kDeleted},
                                        {2, 20, kBifurcation, 0},
                                        {3, 30, kEnding, 239},
                                        {4, 40, kEnding, kDeleted},
                                        {5, 50, kEnding, 7},
                                        {6, 60, kBifurcation, kDeleted}});
    qorfp::CompactCandidates(&list);
    EXPECT_EQ(CandidatesOf(list),
              (Candidates{{2, 20, kBifurcation, 0}, {3, 30, kEnding, 239}, {5, 50, kEnding, 7}}));
}

TEST(Compaction, MayLeaveNoneOrAll) {
    qorfp::CandidateList none = ListOf({{1, 10, kEnding, kDeleted}, {2, 20, kEnding, kDeleted}});
    qorfp::CompactCandidates(&none);
    EXPECT_EQ(none.count, 0);
    qorfp::CompactCandidates(&none);
    EXPECT_EQ(none.count, 0);
    const Candidates all(200, Candidate{9, 9, kEnding, 9});
    qorfp::CandidateList full = ListOf(all);
    qorfp::CompactCandidates(&full);
    EXPECT_EQ(CandidatesOf(full), all);
}

// --- Crowding -----------------------------------------------------------------------------------

std::vector<int32_t> Crowded(const std::vector<Spot>& spots) {
    Candidates candidates;
    for (const Spot& spot : spots) {
        candidates.push_back({spot.x, spot.y, kEnding, 1});
    }
    qorfp::CandidateList list = ListOf(candidates);
    qorfp::DeleteCrowded(&list);
    return DirectionsOf(CandidatesOf(list));
}

TEST(CrowdingFilter, DeletesSixWithinTwentyPixels) {
    const std::vector<Spot> six = {{50, 50}, {54, 50}, {58, 50}, {50, 54}, {54, 54}, {58, 54}};
    EXPECT_EQ(Crowded(six), std::vector<int32_t>(6, kDeleted));
    const std::vector<Spot> five(six.begin(), six.begin() + 5);
    EXPECT_EQ(Crowded(five), std::vector<int32_t>(5, 1));
}

TEST(CrowdingFilter, DoesNotCountAtTwentyPixels) {
    // Five around the first: four near and one at exactly 20 (12, 16), or just below (12, 15).
    EXPECT_EQ(Crowded({{50, 50}, {55, 50}, {45, 50}, {50, 55}, {50, 45}, {62, 66}})[0], 1);
    EXPECT_EQ(Crowded({{50, 50}, {55, 50}, {45, 50}, {50, 55}, {50, 45}, {62, 65}})[0], kDeleted);
    EXPECT_EQ(Crowded({{50, 50}, {55, 50}, {45, 50}, {50, 55}, {50, 45}, {70, 50}})[0], 1);
    EXPECT_EQ(Crowded({{50, 50}, {55, 50}, {45, 50}, {50, 55}, {50, 45}, {69, 50}})[0], kDeleted);
}

TEST(CrowdingFilter, CountsThoseDeletedBefore) {
    // A row with 8 pixels between neighbours: each sees two to either side (16 pixels), the middle
    // ones four. With 5 pixels: three to either side, so all but the outer two on each end go,
    // whatever became of their neighbours before.
    std::vector<Spot> row;
    for (int32_t k = 0; k < 10; ++k) {
        row.push_back({20 + 8 * k, 50});
    }
    EXPECT_EQ(Crowded(row), std::vector<int32_t>(10, 1));
    row.clear();
    for (int32_t k = 0; k < 10; ++k) {
        row.push_back({20 + 5 * k, 50});
    }
    std::vector<int32_t> expected(10, kDeleted);
    expected[0] = expected[1] = expected[8] = expected[9] = 1;
    EXPECT_EQ(Crowded(row), expected);
}

TEST(CrowdingFilter, TakesAnEmptyList) {
    EXPECT_EQ(Crowded({}), std::vector<int32_t>{});
}

// --- Close pairs --------------------------------------------------------------------------------

std::vector<int32_t> Close(const Candidates& candidates) {
    qorfp::CandidateList list = ListOf(candidates);
    qorfp::DeleteClosePairs(&list);
    return DirectionsOf(CandidatesOf(list));
}

/// Whether two of these types, (dx, dy) apart, are deleted; the directions as given.
bool AreTooClose(int32_t type0, int32_t type1, Spot offset, int32_t direction0,
                 int32_t direction1) {
    const std::vector<int32_t> after =
        Close({{50, 50, type0, direction0}, {50 + offset.x, 50 + offset.y, type1, direction1}});
    EXPECT_EQ(after[0] == kDeleted, after[1] == kDeleted);
    return after[0] == kDeleted;
}

TEST(ClosePairFilter, DeletesBifurcationsUpToSquaredDistanceEight) {
    for (const int32_t direction : {0, 60, 120, 200}) {
        EXPECT_TRUE(AreTooClose(kBifurcation, kBifurcation, {2, 2}, 0, direction));
        EXPECT_TRUE(AreTooClose(kBifurcation, kBifurcation, {0, 0}, 0, direction));
        EXPECT_EQ(AreTooClose(kBifurcation, kBifurcation, {3, 0}, 0, direction), direction == 120);
    }
}

TEST(ClosePairFilter, DeletesOppositeBifurcationsCloserThanSixPixels) {
    for (const Spot& offset : {Spot{3, 0}, Spot{5, 3}, Spot{-5, 3}}) {  // 9 and 34
        EXPECT_TRUE(AreTooClose(kBifurcation, kBifurcation, offset, 20, 140));
        EXPECT_TRUE(AreTooClose(kBifurcation, kBifurcation, offset, 20, 122));   // 18 off
        EXPECT_FALSE(AreTooClose(kBifurcation, kBifurcation, offset, 20, 121));  // 19 off
        EXPECT_TRUE(AreTooClose(kBifurcation, kBifurcation, offset, 20, 158));
        EXPECT_FALSE(AreTooClose(kBifurcation, kBifurcation, offset, 20, 159));
        EXPECT_TRUE(AreTooClose(kBifurcation, kBifurcation, offset, 230, 128));  // 102 apart
        EXPECT_FALSE(AreTooClose(kBifurcation, kBifurcation, offset, 230, 129));
    }
    EXPECT_FALSE(AreTooClose(kBifurcation, kBifurcation, {6, 0}, 20, 140));  // 36
}

TEST(ClosePairFilter, DeletesOthersWhenOppositeBelowSquaredDistanceTwenty) {
    const std::vector<std::pair<int32_t, int32_t>> types = {
        {kEnding, kEnding}, {kEnding, kBifurcation}, {kBifurcation, kEnding}};
    for (const auto& [first, second] : types) {
        EXPECT_TRUE(AreTooClose(first, second, {3, 3}, 20, 140));  // 18
        EXPECT_TRUE(AreTooClose(first, second, {3, 3}, 20, 122));
        EXPECT_FALSE(AreTooClose(first, second, {3, 3}, 20, 121));
        EXPECT_TRUE(AreTooClose(first, second, {3, 3}, 158, 20));
        EXPECT_FALSE(AreTooClose(first, second, {3, 3}, 159, 20));
        EXPECT_FALSE(AreTooClose(first, second, {4, 2}, 20, 140));  // 20
        EXPECT_FALSE(AreTooClose(first, second, {2, 2}, 20, 20));
        EXPECT_FALSE(AreTooClose(first, second, {0, 0}, 20, 20));
        EXPECT_TRUE(AreTooClose(first, second, {0, 0}, 20, 140));
    }
}

TEST(ClosePairFilter, DoesNotPairADeletedOneAgain) {
    // The first two go; the third is close to the second only, which is gone.
    EXPECT_EQ(Close({{50, 50, kEnding, 0}, {53, 50, kEnding, 120}, {56, 50, kEnding, 0}}),
              (std::vector<int32_t>{kDeleted, kDeleted, 0}));
    // The first goes with the second, before it meets the third; the third meets the fourth.
    EXPECT_EQ(Close({{50, 50, kEnding, 0},
                     {53, 50, kEnding, 120},
                     {52, 52, kEnding, 120},
                     {53, 52, kEnding, 0}}),
              (std::vector<int32_t>{kDeleted, kDeleted, kDeleted, kDeleted}));
    EXPECT_EQ(Close({{50, 50, kEnding, 0}, {53, 50, kEnding, 120}, {52, 52, kEnding, 120}}),
              (std::vector<int32_t>{kDeleted, kDeleted, 120}));
    // A candidate deleted before the filter pairs with nobody.
    EXPECT_EQ(Close({{50, 50, kBifurcation, kDeleted}, {50, 50, kBifurcation, 120}}),
              (std::vector<int32_t>{kDeleted, 120}));
}

// --- Assembly and attributes --------------------------------------------------------------------

MinutiaSet Assemble(DrawnSkeleton& drawing, const Candidates& candidates) {
    MinutiaSet set;
    std::memset(&set, 0x5A, sizeof(set));
    qorfp::AssembleMinutiae(drawing.View(), ListOf(candidates), &set);
    return set;
}

TEST(Assembly, CopiesWhatIsLeftInOrder) {
    DrawnSkeleton drawing(64, 64);
    const MinutiaSet set = Assemble(drawing, {{20, 30, kEnding, 5},
                                              {21, 31, kEnding, kDeleted},
                                              {40, 50, kBifurcation, 239},
                                              {8, 8, kEnding, 0}});
    ASSERT_EQ(set.count, 3);
    EXPECT_EQ(set.minutiae[0].x, 20);
    EXPECT_EQ(set.minutiae[0].y, 30);
    EXPECT_EQ(set.minutiae[0].type, 1);
    EXPECT_EQ(set.minutiae[0].direction, 5);
    EXPECT_EQ(set.minutiae[1].x, 40);
    EXPECT_EQ(set.minutiae[1].y, 50);
    EXPECT_EQ(set.minutiae[1].type, 2);
    EXPECT_EQ(set.minutiae[1].direction, 239);
    EXPECT_EQ(set.minutiae[2].x, 8);
    EXPECT_EQ(set.minutiae[2].attributes, 0u);
}

TEST(Assembly, DropsTheSixtyFirst) {
    DrawnSkeleton drawing(256, 64);
    Candidates candidates;
    for (int32_t k = 0; k < 61; ++k) {
        candidates.push_back({10 + 3 * k, 30, kEnding, k});
    }
    const MinutiaSet set = Assemble(drawing, candidates);
    ASSERT_EQ(set.count, 60);
    EXPECT_EQ(set.minutiae[59].x, 10 + 3 * 59);
    // Deleted ones do not take places.
    candidates[0].direction = kDeleted;
    EXPECT_EQ(Assemble(drawing, candidates).minutiae[59].x, 10 + 3 * 60);
    EXPECT_EQ(Assemble(drawing, {}).count, 0);
}

uint32_t AttributesAt(DrawnSkeleton& drawing, Spot spot) {
    return Assemble(drawing, {{spot.x, spot.y, kEnding, 0}}).minutiae[0].attributes;
}

TEST(DensityAttribute, IsTwiceTheRoundedMeanOfNineBlocks) {
    struct Case {
        int32_t sum;
        uint32_t attribute;
    };
    for (const Case& c :
         {Case{0, 0}, Case{4, 0}, Case{5, 2}, Case{13, 2}, Case{14, 4}, Case{144, 32},
          Case{274, 60}, Case{275, 62}, Case{283, 62}, Case{284, 62}, Case{324, 62}}) {
        DrawnSkeleton drawing(64, 64);
        drawing.periods = model::Grid(15, 15, 200);  // blocks outside the nine do not count
        for (int32_t k = 0; k < 9; ++k) {
            drawing.periods.At(7 + k % 3, 7 + k / 3) =
                static_cast<uint8_t>(c.sum / 9 + (k < c.sum % 9 ? 1 : 0));
        }
        // Block (8, 8): pixels 33..36.
        EXPECT_EQ(AttributesAt(drawing, {33, 36}), 64 * c.attribute) << c.sum;
        EXPECT_EQ(AttributesAt(drawing, {36, 33}), 64 * c.attribute) << c.sum;
        EXPECT_EQ(AttributesAt(drawing, {32, 33}) == 64 * c.attribute, c.attribute == 62);
    }
}

TEST(DisorderAttribute, IsTheMeanDifferenceFromTheOwnBlock) {
    struct Case {
        int32_t own;
        int32_t other;
        int32_t others;  // how many blocks of the 49 differ
        uint32_t attribute;
    };
    for (const Case& c :
         {Case{0, 0, 48, 0}, Case{10, 70, 48, 63},  // 2880 x 255 / 2940 = 249: above 127
          Case{70, 10, 24, 62},                     // 1440: 124
          Case{70, 10, 25, 63},                     // 1500: 130
          Case{0, 61, 24, 61},                      // 59 each, 1416: 122
          Case{119, 0, 48, 2},                      // 1 each, 48: 4
          Case{0, 119, 24, 1},                      // 24: 2
          Case{0, 119, 11, 0},                      // 11 x 255 = 2805, below 2940
          Case{5, 30, 48, 52}}) {                   // 1200: 104
        DrawnSkeleton drawing(64, 64);
        drawing.directions = model::Grid(15, 15, 77);  // blocks outside the window do not count
        for (int32_t k = 0; k < 49; ++k) {
            // The own block, (8, 8), is the 25th; count the others around it.
            const int32_t place = k < 24 ? k : k - 1;
            const bool isOwn = k == 24;
            drawing.directions.At(5 + k % 7, 5 + k / 7) =
                static_cast<uint8_t>(isOwn || place >= c.others ? c.own : c.other);
        }
        EXPECT_EQ(AttributesAt(drawing, {33, 33}), c.attribute) << c.own << ' ' << c.others;
    }
}

TEST(DisorderAttribute, CountsReliableBlocksOnly) {
    DrawnSkeleton drawing(64, 64);
    // All unreliable: nothing to count.
    drawing.directions = model::Grid(15, 15, 128 + 60);
    EXPECT_EQ(AttributesAt(drawing, {33, 33}), 0u);
    // The own block is unreliable, but still the reference (50); one reliable block is 20 off:
    // 20 x 255 / 60 = 85.
    drawing.directions.At(8, 8) = 128 + 50;
    drawing.directions.At(5, 11) = 70;
    EXPECT_EQ(AttributesAt(drawing, {33, 33}), 42u);
    // An orientation of 119 counts, 120 does not.
    drawing.directions.At(5, 11) = 119;  // 69, folded 51: 216
    EXPECT_EQ(AttributesAt(drawing, {33, 33}), 63u);
    drawing.directions.At(5, 11) = 120;
    EXPECT_EQ(AttributesAt(drawing, {33, 33}), 0u);
}

TEST(DisorderAttribute, ClipsItsWindowAtTheGrid) {
    // (8, 8) lies in block (1, 1): columns and rows 0..4, 25 blocks; 24 of them 30 off:
    // 720 x 255 / 1500 = 122. Outside the window everything is 60 off.
    DrawnSkeleton drawing(64, 64);
    drawing.directions = model::Grid(15, 15, 60);
    for (int32_t k = 0; k < 25; ++k) {
        drawing.directions.At(k % 5, k / 5) = 30;
    }
    drawing.directions.At(1, 1) = 0;
    EXPECT_EQ(AttributesAt(drawing, {8, 8}), 61u);
    // The same in the far corner: (55, 55) lies in block (13, 13), the window is 10..14.
    DrawnSkeleton far(64, 64);
    far.directions = model::Grid(15, 15, 60);
    for (int32_t k = 0; k < 25; ++k) {
        far.directions.At(10 + k % 5, 10 + k / 5) = 30;
    }
    far.directions.At(13, 13) = 0;
    EXPECT_EQ(AttributesAt(far, {55, 55}), 61u);
}

}  // namespace
