// SPDX-License-Identifier: Apache-2.0
//
// The border and background filter and the final directions, on drawn skeletons.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "extract/Minutiae.h"
#include "tests/support/DrawnSkeleton.h"

namespace {

using model::Candidate;
using model::Candidates;
using testsupport::CandidatesOf;
using testsupport::DrawnSkeleton;
using testsupport::ListOf;
using Rows = std::vector<std::string>;

constexpr int32_t kEnding = 1;
constexpr int32_t kBifurcation = 2;
constexpr int32_t kDeleted = 255;

const testsupport::Spot kEast = {1, 0};
const testsupport::Spot kWest = {-1, 0};
const testsupport::Spot kSouth = {0, 1};
const testsupport::Spot kNorth = {0, -1};
const testsupport::Spot kNorthEast = {1, -1};
const testsupport::Spot kSouthEast = {1, 1};

Candidates Refine(DrawnSkeleton& drawing, const Candidates& candidates) {
    qorfp::CandidateList list = ListOf(candidates);
    qorfp::RefineCandidates(drawing.View(), &list);
    return CandidatesOf(list);
}

int32_t DirectionOf(DrawnSkeleton& drawing, const Candidate& candidate) {
    const model::Grid before = drawing.pixels;
    const Candidates after = Refine(drawing, {candidate});
    EXPECT_EQ(drawing.pixels.cells, before.cells) << "the traces must take their marks back";
    return after.at(0).direction;
}

// --- Border -------------------------------------------------------------------------------------

TEST(BorderFilter, KeepsEightPixelsToEverySide) {
    struct Case {
        int32_t x;
        int32_t y;
        bool isKept;
    };
    for (const Case& c :
         {Case{8, 30, true}, Case{7, 30, false}, Case{55, 30, true}, Case{56, 30, false},
          Case{30, 8, true}, Case{30, 7, false}, Case{30, 47, true}, Case{30, 48, false}}) {
        SCOPED_TRACE(testing::Message() << c.x << ", " << c.y);
        DrawnSkeleton drawing(64, 56);
        // A ridge of 20 pixels towards the middle.
        const bool isAcross = c.y == 30;
        const int32_t towards = (isAcross ? c.x : c.y) < 28 ? 1 : -1;
        drawing.Line({c.x, c.y},
                     isAcross ? testsupport::Spot{towards, 0} : testsupport::Spot{0, towards}, 20);
        const int32_t direction = isAcross ? (towards > 0 ? 0 : 120) : (towards > 0 ? 60 : 180);
        EXPECT_EQ(DirectionOf(drawing, {c.x, c.y, kEnding, 33}), c.isKept ? direction : kDeleted);
    }
}

// --- Background ---------------------------------------------------------------------------------

/// Whether an ending at (x, y) with a long ridge stays when these blocks are background.
bool StaysWith(int32_t x, int32_t y, const std::vector<testsupport::Spot>& unreliable) {
    DrawnSkeleton drawing(64, 64);
    drawing.Line({x, y}, {x < 32 ? 1 : -1, 0}, 25);
    for (const testsupport::Spot& block : unreliable) {
        drawing.directions.At(block.x, block.y) |= 128;
    }
    return DirectionOf(drawing, {x, y, kEnding, 0}) != kDeleted;
}

TEST(BackgroundFilter, DeletesWhereMoreThanAFifthIsUnreliable) {
    // (32, 32): blocks 6..9 both ways, 16 blocks.
    EXPECT_TRUE(StaysWith(32, 32, {{6, 6}, {9, 9}, {6, 9}}));
    EXPECT_FALSE(StaysWith(32, 32, {{6, 6}, {9, 9}, {6, 9}, {9, 6}}));
    // Blocks just outside do not count.
    EXPECT_TRUE(StaysWith(32, 32, {{5, 6}, {10, 9}, {6, 5}, {9, 10}, {5, 5}, {10, 10}}));
    // (34, 32): blocks 6..10 by 6..9, 20 blocks: 4 of them are exactly a fifth.
    EXPECT_TRUE(StaysWith(34, 32, {{6, 6}, {10, 9}, {6, 9}, {10, 6}}));
    EXPECT_FALSE(StaysWith(34, 32, {{6, 6}, {10, 9}, {6, 9}, {10, 6}, {8, 8}}));
    // (34, 34): 25 blocks, of which 5.
    EXPECT_TRUE(StaysWith(34, 34, {{6, 6}, {10, 10}, {6, 10}, {10, 6}, {8, 8}}));
    EXPECT_FALSE(StaysWith(34, 34, {{6, 6}, {10, 10}, {6, 10}, {10, 6}, {8, 8}, {7, 7}}));
}

TEST(BackgroundFilter, IsClippedAtTheLastBlock) {
    // (55, 55): blocks 11..15, of which 15 does not exist: 16 blocks.
    EXPECT_TRUE(StaysWith(55, 55, {{14, 14}, {11, 11}, {14, 11}}));
    EXPECT_FALSE(StaysWith(55, 55, {{14, 14}, {11, 11}, {14, 11}, {11, 14}}));
    // (8, 8): blocks 0..3.
    EXPECT_TRUE(StaysWith(8, 8, {{0, 0}, {3, 3}, {0, 3}}));
    EXPECT_FALSE(StaysWith(8, 8, {{0, 0}, {3, 3}, {0, 3}, {3, 0}}));
}

// --- Endings ------------------------------------------------------------------------------------

TEST(EndingRefinement, NeedsMoreThanTenSteps) {
    // A line of n pixels gives n - 1 steps.
    for (const int32_t length : {1, 2, 5, 11, 12, 30}) {
        DrawnSkeleton drawing(64, 64);
        drawing.Line({20, 30}, kEast, length);
        EXPECT_EQ(DirectionOf(drawing, {20, 30, kEnding, 77}), length >= 12 ? 0 : kDeleted)
            << length;
    }
}

TEST(EndingRefinement, PointsToThePixelAfterTwentyMoves) {
    // Ten moves east, ten south-east: (20, 10) away, 26.6 degrees, 18 steps. What follows is of no
    // account.
    DrawnSkeleton drawing(64, 64);
    drawing.Line({20, 20}, kEast, 11);
    drawing.Line({31, 21}, kSouthEast, 10);
    drawing.Line({40, 31}, kSouth, 20);
    EXPECT_EQ(DirectionOf(drawing, {20, 20, kEnding, 0}), 18);

    // Nineteen moves east and one south-east: (20, 1), 2.9 degrees, 2 steps. The pixel before the
    // last move would give 0.
    DrawnSkeleton late(64, 64);
    late.Line({20, 20}, kEast, 20);
    late.Line({40, 21}, kSouth, 20);
    EXPECT_EQ(DirectionOf(late, {20, 20, kEnding, 0}), 2);
}

TEST(EndingRefinement, StopsAtAJunction) {
    // Twelve moves to the junction: kept, with the direction to it. Ten: deleted.
    for (const int32_t length : {10, 12}) {
        DrawnSkeleton drawing(64, 64);
        drawing.Line({20, 30}, kEast, length);
        drawing.Line({20 + length, 18}, kSouth, 25);
        EXPECT_EQ(DirectionOf(drawing, {20, 30, kEnding, 9}), length == 12 ? 0 : kDeleted);
    }
}

TEST(EndingRefinement, StopsAtTheFrame) {
    // The trace stands on column 0 after 15 moves (13 would do as well).
    DrawnSkeleton drawing(64, 64);
    drawing.Line({15, 30}, kWest, 16);
    EXPECT_EQ(DirectionOf(drawing, {15, 30, kEnding, 9}), 120);
    DrawnSkeleton near(64, 64);
    near.Line({10, 30}, kWest, 11);
    EXPECT_EQ(DirectionOf(near, {10, 30, kEnding, 9}), kDeleted);
}

TEST(EndingRefinement, DeletesWhatIsNoEndingAnyMore) {
    DrawnSkeleton drawing(64, 64);
    drawing.Line({10, 30}, kEast, 45);
    EXPECT_EQ(DirectionOf(drawing, {30, 30, kEnding, 9}), kDeleted);  // in the middle of a ridge
    EXPECT_EQ(DirectionOf(drawing, {30, 40, kEnding, 9}), kDeleted);  // alone
}

TEST(EndingRefinement, SkipsDeletedCandidates) {
    DrawnSkeleton drawing(64, 64);
    drawing.Line({20, 30}, kEast, 30);
    EXPECT_EQ(DirectionOf(drawing, {20, 30, kEnding, kDeleted}), kDeleted);
}

TEST(EndingRefinement, FollowsPaintedRidgesAndLeavesThemRidge) {
    DrawnSkeleton drawing(64, 64);
    drawing.Text(20, 30, {"#####ppp####p######"});
    EXPECT_EQ(Refine(drawing, {{20, 30, kEnding, 9}}), (Candidates{{20, 30, kEnding, 0}}));
    EXPECT_EQ(drawing.TextOf(20, 30, 19, 1), (Rows{"###################"}));
}

// --- Bifurcations -------------------------------------------------------------------------------

void DrawFork(DrawnSkeleton& drawing) {
    drawing.Line({32, 32}, kWest, 24);
    drawing.Line({33, 31}, kNorthEast, 22);
    drawing.Line({33, 33}, kSouthEast, 22);
}

TEST(BifurcationRefinement, PointsIntoTheFork) {
    DrawnSkeleton drawing(64, 64);
    DrawFork(drawing);
    // 120, 30, 210: the closest two are 60 apart, across 0.
    EXPECT_EQ(DirectionOf(drawing, {32, 32, kBifurcation, 120}), 0);

    DrawnSkeleton down(64, 64);
    down.Line({32, 32}, kNorth, 24);
    down.Line({31, 33}, {-1, 1}, 22);
    down.Line({33, 33}, kSouthEast, 22);
    EXPECT_EQ(DirectionOf(down, {32, 32, kBifurcation, 0}), 60);  // (90 + 30) / 2
}

TEST(BifurcationRefinement, TakesTheFirstPairOfEquals) {
    // Left 120, below 60, right 0: 60 apart twice; left and below come first.
    DrawnSkeleton drawing(64, 64);
    drawing.Line({10, 32}, kEast, 45);
    drawing.Line({32, 33}, kSouth, 22);
    EXPECT_EQ(DirectionOf(drawing, {32, 32, kBifurcation, 9}), 90);
}

TEST(BifurcationRefinement, HalvesAcrossTheTurnWithTruncation) {
    // Two branches run east side by side, twenty moves each.
    DrawnSkeleton drawing(64, 64);
    drawing.Line({20, 32}, kWest, 17);
    // Upper branch: two up, then straight east: ends at (41, 30), 21 by -2: 5.4 degrees, 4 steps.
    drawing.Line({21, 31}, kNorthEast, 2);
    drawing.Line({23, 30}, kEast, 30);
    // Lower branch: three down, then straight: ends at (41, 35), 21 by 3: 8.1 degrees, 5 steps.
    drawing.Line({21, 33}, kSouthEast, 3);
    drawing.Line({24, 35}, kEast, 30);
    // 236 and 5, 9 apart: 236 + 9 / 2 = 240, which is 0.
    EXPECT_EQ(DirectionOf(drawing, {20, 32, kBifurcation, 9}), 0);

    // Mirrored top to bottom: 235 and 4: 235 + 9 / 2 = 239.
    DrawnSkeleton mirrored(64, 64);
    mirrored.Line({20, 32}, kWest, 17);
    mirrored.Line({21, 33}, kSouthEast, 2);
    mirrored.Line({23, 34}, kEast, 30);
    mirrored.Line({21, 31}, kNorthEast, 3);
    mirrored.Line({24, 29}, kEast, 30);
    EXPECT_EQ(DirectionOf(mirrored, {20, 32, kBifurcation, 9}), 239);
}

TEST(BifurcationRefinement, NeedsTenStepsInEveryBranch) {
    // A branch of n pixels gives n - 1 steps.
    for (const int32_t length : {10, 11}) {
        DrawnSkeleton drawing(64, 64);
        drawing.Line({32, 32}, kWest, 24);
        drawing.Line({33, 31}, kNorthEast, length);
        drawing.Line({33, 33}, kSouthEast, 22);
        EXPECT_EQ(DirectionOf(drawing, {32, 32, kBifurcation, 9}), length == 11 ? 0 : kDeleted);
    }
}

TEST(BifurcationRefinement, AppliesNoSpurRule) {
    // Two short branches and a long one: deleted, nothing erased.
    DrawnSkeleton drawing(64, 64);
    drawing.Line({32, 32}, kWest, 24);
    drawing.Line({33, 31}, kNorthEast, 2);
    drawing.Line({33, 33}, kSouthEast, 2);
    EXPECT_EQ(DirectionOf(drawing, {32, 32, kBifurcation, 9}), kDeleted);
}

/// A fork of three branches that all end up in the east. After twenty moves the upper one stands
/// at (20, -rise) from the fork, the lower one at (20, 21).
int32_t DirectionOfNarrowFork(int32_t rise) {
    DrawnSkeleton drawing(64, 64);
    drawing.Line({20, 32}, kEast, 30);
    drawing.Line({20, 33}, kSouthEast, 21);
    drawing.Line({41, 53}, kEast, 5);
    drawing.Line({20, 31}, kNorthEast, rise);
    drawing.Line({20 + rise, 32 - rise}, kEast, 10);
    return DirectionOf(drawing, {20, 32, kBifurcation, 9});
}

TEST(BifurcationRefinement, NeedsBranchesSixtyApart) {
    // Below: atan(21 / 20) = 46.4 degrees, 31 steps. East: 0. Above 209, 62 from below: the pair
    // of below and east is met first, 31 / 2.
    EXPECT_EQ(DirectionOfNarrowFork(21), 15);
    // (20, -20): 210, 61 from below. East and above are now the closest: 210 + 30 / 2.
    EXPECT_EQ(DirectionOfNarrowFork(20), 225);
    // (20, -19): 43.5 degrees, 29 steps: 211, 60 from below: still a fork, 211 + 29 / 2.
    EXPECT_EQ(DirectionOfNarrowFork(19), 225);
    // (20, -18): 42.0 degrees, 28 steps: 212, 59 from below: no fork.
    EXPECT_EQ(DirectionOfNarrowFork(18), kDeleted);
}

TEST(BifurcationRefinement, NeedsDifferentBranches) {
    // Two branches end at (20, 10) and (16, 8): both 26.6 degrees, 18 steps. The third is far.
    DrawnSkeleton drawing(64, 64);
    drawing.Line({20, 32}, kWest, 17);
    drawing.Line({21, 31}, kEast, 10);       // to (30, 31)
    drawing.Line({31, 32}, kSouthEast, 10);  // to (40, 41): 19 moves from (21, 31)
    drawing.Line({40, 42}, kSouth, 8);       // the 20th move: (20, 10)
    drawing.Line({21, 33}, kSouthEast, 9);   // to (29, 41)
    drawing.Line({29, 42}, kSouth, 2);       // to (29, 43): 10 moves
    drawing.Line({30, 44}, kEast, 6);        // to (35, 44): 16 moves
    drawing.Line({36, 43}, kNorth, 4);       // to (36, 40): 20 moves, (16, 8)
    EXPECT_EQ(DirectionOf(drawing, {20, 32, kBifurcation, 9}), kDeleted);
    // One pixel less in the last line: the trace ends at (36, 41), (16, 9), 29.4 degrees, 20 steps.
    drawing.pixels.At(36, 40) = 255;
    EXPECT_EQ(DirectionOf(drawing, {20, 32, kBifurcation, 9}), 19);
}

TEST(BifurcationRefinement, DeletesWhatIsNoForkAnyMore) {
    DrawnSkeleton drawing(64, 64);
    drawing.Line({10, 30}, kEast, 45);
    EXPECT_EQ(DirectionOf(drawing, {30, 30, kBifurcation, 9}), kDeleted);
    EXPECT_EQ(DirectionOf(drawing, {10, 30, kBifurcation, 9}), kDeleted);
    EXPECT_EQ(DirectionOf(drawing, {30, 40, kBifurcation, 9}), kDeleted);
}

TEST(BifurcationRefinement, TakesTheFirstThreeBranchesOfACrossing) {
    // Upper left 150, lower left 90, lower right 30; the upper right one is left out.
    DrawnSkeleton drawing(64, 64);
    drawing.Line({10, 10}, kSouthEast, 45);
    drawing.Line({10, 54}, kNorthEast, 45);
    EXPECT_EQ(DirectionOf(drawing, {32, 32, kBifurcation, 9}), 120);  // (150 + 90) / 2
    // A short fourth branch does no harm.
    DrawnSkeleton cut(64, 64);
    cut.Line({10, 10}, kSouthEast, 45);
    cut.Line({10, 54}, kNorthEast, 24);
    EXPECT_EQ(DirectionOf(cut, {32, 32, kBifurcation, 9}), 120);
}

TEST(Refinement, TreatsEachCandidateByItself) {
    DrawnSkeleton drawing(64, 64);
    DrawFork(drawing);
    EXPECT_EQ(Refine(drawing, {{9, 32, kEnding, 1},
                               {3, 32, kEnding, 2},
                               {32, 32, kBifurcation, 3},
                               {54, 10, kEnding, kDeleted},
                               {32, 32, kEnding, 5}}),
              (Candidates{{9, 32, kEnding, 0},
                          {3, 32, kEnding, kDeleted},
                          {32, 32, kBifurcation, 0},
                          {54, 10, kEnding, kDeleted},
                          {32, 32, kEnding, kDeleted}}));
}

}  // namespace
