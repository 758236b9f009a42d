// SPDX-License-Identifier: Apache-2.0
//
// The neighbour code's tables and the candidate scan on drawn skeletons: endings, bifurcations,
// spurs, which blocks and pixels are looked at, and the limit of the list.
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "extract/FPTable.h"
#include "extract/Minutiae.h"
#include "tests/model/ModelSkeleton.h"
#include "tests/support/DrawnSkeleton.h"

namespace {

using model::Candidates;
using testsupport::Describe;
using testsupport::DrawnSkeleton;
using testsupport::Scan;
using Rows = std::vector<std::string>;

const testsupport::Spot kEast = {1, 0};
const testsupport::Spot kWest = {-1, 0};
const testsupport::Spot kSouth = {0, 1};
const testsupport::Spot kNorth = {0, -1};
const testsupport::Spot kNorthEast = {1, -1};
const testsupport::Spot kSouthEast = {1, 1};

constexpr int32_t kEnding = 1;
constexpr int32_t kBifurcation = 2;

Candidates OfType(const Candidates& candidates, int32_t type) {
    Candidates chosen;
    for (const model::Candidate& candidate : candidates) {
        if (candidate.type == type) {
            chosen.push_back(candidate);
        }
    }
    return chosen;
}

/// The code of the drawing's middle, 3 x 3: '#' ridge, '.' background.
size_t CodeOf(const char* above, const char* middle, const char* below) {
    const std::array<bool, 8> isBackground = {above[0] == '.', middle[0] == '.', below[0] == '.',
                                              below[1] == '.', below[2] == '.',  middle[2] == '.',
                                              above[2] == '.', above[1] == '.'};
    size_t code = 0;
    for (const bool bit : isBackground) {
        code = code * 2 + (bit ? 1 : 0);
    }
    return code;
}

struct StepXY {
    int32_t x;
    int32_t y;
};

StepXY StepOf(const char* above, const char* middle, const char* below) {
    const size_t code = CodeOf(above, middle, below);
    return {gnTX[code], gnTY[code]};
}

bool operator==(StepXY a, StepXY b) {
    return a.x == b.x && a.y == b.y;
}

TEST(NeighbourTables, CountTheRunsOfRidgeNeighbours) {
    EXPECT_EQ(gnBC[CodeOf("...", ".#.", "...")], 0);
    EXPECT_EQ(gnBC[CodeOf("###", "###", "###")], 0);
    EXPECT_EQ(gnBC[CodeOf("...", "##.", "...")], 1);
    EXPECT_EQ(gnBC[CodeOf("##.", "##.", "##.")], 1);
    EXPECT_EQ(gnBC[CodeOf("###", "##.", "###")], 1);
    EXPECT_EQ(gnBC[CodeOf("...", "###", "...")], 2);
    EXPECT_EQ(gnBC[CodeOf("##.", ".#.", ".##")], 2);
    EXPECT_EQ(gnBC[CodeOf("#.#", ".#.", ".#.")], 3);
    EXPECT_EQ(gnBC[CodeOf("...", "###", ".#.")], 3);
    EXPECT_EQ(gnBC[CodeOf("#.#", ".#.", "#.#")], 4);
    EXPECT_EQ(gnBC[CodeOf(".#.", "###", ".#.")], 4);
    std::array<int32_t, 5> number = {0, 0, 0, 0, 0};
    for (size_t code = 0; code < 256; ++code) {
        ASSERT_GE(gnBC[code], 0);
        ASSERT_LE(gnBC[code], 4);
        ++number[static_cast<size_t>(gnBC[code])];
    }
    EXPECT_EQ(number, (std::array<int32_t, 5>{2, 56, 140, 56, 2}));
    EXPECT_EQ(gnBC[0] + gnBC[255], 0);
    EXPECT_EQ(gnBC[85], 4);
    EXPECT_EQ(gnBC[170], 4);
}

TEST(NeighbourTables, StepToTheOneRidgeNeighbour) {
    EXPECT_TRUE(StepOf("...", "##.", "...") == (StepXY{-1, 0}));
    EXPECT_TRUE(StepOf("...", ".##", "...") == (StepXY{1, 0}));
    EXPECT_TRUE(StepOf(".#.", ".#.", "...") == (StepXY{0, -1}));
    EXPECT_TRUE(StepOf("...", ".#.", ".#.") == (StepXY{0, 1}));
    EXPECT_TRUE(StepOf("#..", ".#.", "...") == (StepXY{-1, -1}));
    EXPECT_TRUE(StepOf("..#", ".#.", "...") == (StepXY{1, -1}));
    EXPECT_TRUE(StepOf("...", ".#.", "#..") == (StepXY{-1, 1}));
    EXPECT_TRUE(StepOf("...", ".#.", "..#") == (StepXY{1, 1}));
}

TEST(NeighbourTables, StepStraightRatherThanDiagonally) {
    EXPECT_TRUE(StepOf("##.", ".#.", "...") == (StepXY{0, -1}));
    EXPECT_TRUE(StepOf("#..", "##.", "...") == (StepXY{-1, 0}));
    EXPECT_TRUE(StepOf("...", ".#.", "##.") == (StepXY{0, 1}));
    EXPECT_TRUE(StepOf("...", ".##", "..#") == (StepXY{1, 0}));
}

TEST(NeighbourTables, StepToTheFirstStraightNeighbourFromTheRunsBegin) {
    // The circle goes upper left, left, lower left, below, lower right, right, upper right, above.
    EXPECT_TRUE(StepOf("#..", "##.", "##.") == (StepXY{-1, 0}));  // left before below
    EXPECT_TRUE(StepOf("...", ".##", "###") == (StepXY{0, 1}));   // below before right
    EXPECT_TRUE(StepOf(".##", ".##", "..#") == (StepXY{1, 0}));   // right before above
    EXPECT_TRUE(StepOf("###", "##.", "...") == (StepXY{0, -1}));  // the run begins upper right
    EXPECT_TRUE(StepOf("##.", "##.", "##.") == (StepXY{0, -1}));  // ... or above
    EXPECT_TRUE(StepOf("###", "##.", "###") == (StepXY{0, -1}));  // ... or upper right
    EXPECT_TRUE(StepOf("###", ".##", "###") == (StepXY{0, 1}));   // ... or lower left
}

TEST(NeighbourTables, AgreeWithTheModelOnEveryCode) {
    for (int32_t code = 0; code < 256; ++code) {
        const std::vector<std::vector<model::Point>> runs = model::RidgeRuns(code);
        ASSERT_EQ(gnBC[code], static_cast<int32_t>(runs.size())) << code;
        if (runs.size() == 1) {
            const model::Point step = model::StepInto(runs[0]);
            ASSERT_EQ(gnTX[code], step.x) << code;
            ASSERT_EQ(gnTY[code], step.y) << code;
        }
    }
}

TEST(NeighbourTables, HoldTheToleranceOfEveryGap) {
    const std::array<int32_t, 16> expected = {92, 92,  93,  93,  93,  94,  95,  96,
                                              98, 100, 102, 103, 104, 105, 105, 105};
    for (size_t k = 0; k < expected.size(); ++k) {
        EXPECT_EQ(gnJA[k], expected[k]) << k;
    }
}

// --- Endings ------------------------------------------------------------------------------------

TEST(EndingScan, NeedsFourSteps) {
    for (int32_t length = 1; length <= 4; ++length) {
        DrawnSkeleton drawing(64, 64);
        drawing.Line({20, 30}, kEast, length);
        EXPECT_EQ(Describe(Scan(drawing)), "") << length << " pixels";
    }
    DrawnSkeleton drawing(64, 64);
    drawing.Line({20, 30}, kEast, 5);
    EXPECT_EQ(Scan(drawing), (Candidates{{20, 30, kEnding, 0}, {24, 30, kEnding, 120}}));
}

TEST(EndingScan, LeavesTheSkeletonAsItWas) {
    DrawnSkeleton drawing(64, 64);
    drawing.Line({20, 30}, kSouthEast, 25);
    drawing.Line({50, 10}, kSouth, 3);
    const model::Grid before = drawing.pixels;
    EXPECT_EQ(Scan(drawing).size(), 2u);
    EXPECT_EQ(drawing.pixels.cells, before.cells);
}

TEST(EndingScan, TakesTheDirectionOverTenMovesAtMost) {
    // Ten moves east, then straight down.
    DrawnSkeleton drawing(64, 64);
    drawing.Line({20, 20}, kEast, 11);
    drawing.Line({30, 21}, kSouth, 20);
    // From the south end: ten moves north. From the west end: to (30, 20), direction 0.
    EXPECT_EQ(Scan(drawing), (Candidates{{20, 20, kEnding, 0}, {30, 40, kEnding, 180}}));

    // Nine moves east, the tenth south-east: atan(1 / 10) = 5.7 degrees, 4 steps.
    DrawnSkeleton bent(64, 64);
    bent.Line({20, 20}, kEast, 10);
    bent.Line({30, 21}, kSouth, 20);
    EXPECT_EQ(Scan(bent), (Candidates{{20, 20, kEnding, 4}, {30, 40, kEnding, 180}}));
}

TEST(EndingScan, StopsAtAJunctionAndCountsTheMovesToIt) {
    // Four moves from the west end reach the junction, three from the short one: too few.
    for (const int32_t length : {3, 4}) {
        DrawnSkeleton drawing(64, 64);
        drawing.Line({30, 30}, {0, -1}, 12);
        drawing.Line({30, 31}, kSouth, 12);
        drawing.Line({29, 30}, kWest, length);
        const Candidates found = Scan(drawing);
        int32_t atTheWest = 0;
        for (const model::Candidate& candidate : found) {
            atTheWest += candidate.x == 30 - length ? 1 : 0;
        }
        EXPECT_EQ(atTheWest, length == 4 ? 1 : 0) << Describe(found);
    }
}

TEST(EndingScan, LooksAtInnerBlocksOnly) {
    // 64 x 64: blocks 1..13, pixels 5..56.
    DrawnSkeleton drawing(64, 64);
    drawing.Line({4, 20}, kEast, 8);   // the west end lies in block 0
    drawing.Line({5, 30}, kEast, 8);   // the west end lies in block 1
    drawing.Line({56, 40}, kWest, 8);  // the east end lies in block 13
    drawing.Line({57, 50}, kWest, 8);  // the east end lies in block 14
    EXPECT_EQ(Scan(drawing), (Candidates{{11, 20, kEnding, 120},
                                         {5, 30, kEnding, 0},
                                         {12, 30, kEnding, 120},
                                         {49, 40, kEnding, 0},
                                         {56, 40, kEnding, 120},
                                         {50, 50, kEnding, 0}}));
}

TEST(EndingScan, NeedsAllNineBlocksReliable) {
    for (int32_t dy = -2; dy <= 2; ++dy) {
        for (int32_t dx = -2; dx <= 2; ++dx) {
            DrawnSkeleton drawing(64, 64);
            drawing.Line({30, 30}, kEast, 20);  // the west end lies in block (7, 7)
            drawing.directions.At(7 + dx, 7 + dy) = 128 + 5;
            const bool isNear = dx >= -1 && dx <= 1 && dy >= -1 && dy <= 1;
            const Candidates found = Scan(drawing);
            const bool isFound = !found.empty() && found[0].x == 30;
            EXPECT_EQ(isFound, !isNear) << dx << ", " << dy;
        }
    }
}

TEST(EndingScan, GoesBlockByBlock) {
    // Block row by block row, in a block row by row, in a row from left to right: the pixel at
    // (29, 29) comes after (24, 32), whose block lies before.
    DrawnSkeleton drawing(64, 64);
    drawing.Line({29, 29}, kNorth, 6);
    drawing.Line({24, 32}, kSouth, 6);
    const Candidates found = Scan(drawing);
    ASSERT_EQ(found.size(), 4u) << Describe(found);
    EXPECT_EQ(found[0], (model::Candidate{29, 24, kEnding, 60}));
    EXPECT_EQ(found[1], (model::Candidate{24, 32, kEnding, 60}));
    EXPECT_EQ(found[2], (model::Candidate{29, 29, kEnding, 180}));
    EXPECT_EQ(found[3], (model::Candidate{24, 37, kEnding, 180}));
}

TEST(EndingScan, TakesRidgePixelsOnlyAsSeeds) {
    // Painted and visited pixels are no seeds; the painted one still counts as ridge.
    DrawnSkeleton drawing(64, 64);
    drawing.Text(20, 30, {"p#########v"});
    EXPECT_EQ(Scan(drawing), (Candidates{{29, 30, kEnding, 120}}));
    // The trace went over the painted pixel's neighbour only; but a trace over a painted pixel
    // would leave it ridge: 254 AND 1 is 0.
    DrawnSkeleton crossed(64, 64);
    crossed.Text(20, 30, {"####p######"});
    Scan(crossed);
    EXPECT_EQ(crossed.TextOf(20, 30, 11, 1), (Rows{"###########"}));
}

TEST(EndingScan, StopsAtTheFrameOfTheImage) {
    // The ridge runs off the image: the trace stands on column 0 after seven moves.
    DrawnSkeleton drawing(64, 64);
    drawing.Line({7, 30}, kWest, 8);
    EXPECT_EQ(Scan(drawing), (Candidates{{7, 30, kEnding, 120}}));
}

TEST(EndingScan, StopsAtTwoHundred) {
    DrawnSkeleton drawing(256, 256);
    for (int32_t y = 10; y < 240; y += 2) {
        for (int32_t x = 10; x < 240; x += 10) {
            drawing.Line({x, y}, kEast, 6);
        }
    }
    const Candidates found = Scan(drawing);
    ASSERT_EQ(found.size(), 200u);
    // Two lines in each block row of four rows from row 9 on, 23 segments a row, two ends each:
    // 92 a block row. The 200th is the 16th of the third block row (rows 17..20, lines 18 and 20).
    EXPECT_EQ(found[0].y, 10);
    EXPECT_EQ(found[91].y, 12);
    EXPECT_EQ(found[92].y, 14);
    EXPECT_TRUE(found[199].y == 18 || found[199].y == 20);
    for (const model::Candidate& candidate : found) {
        EXPECT_LE(candidate.y, 20);
        EXPECT_TRUE(candidate.direction == 0 || candidate.direction == 120);
    }
}

// --- Bifurcations -------------------------------------------------------------------------------

TEST(BifurcationScan, FindsAFork) {
    DrawnSkeleton drawing(64, 64);
    drawing.Line({32, 32}, kWest, 20);
    drawing.Line({33, 31}, kNorthEast, 20);
    drawing.Line({33, 33}, kSouthEast, 20);
    const model::Grid before = drawing.pixels;
    // The branch first met from bit 7 down is the western one.
    EXPECT_EQ(OfType(Scan(drawing), kBifurcation), (Candidates{{32, 32, kBifurcation, 120}}));
    EXPECT_EQ(drawing.pixels.cells, before.cells);
}

TEST(BifurcationScan, FindsATee) {
    // The first pixels of the branches touch each other; they are marked before the first trace.
    DrawnSkeleton drawing(64, 64);
    drawing.Line({12, 32}, kEast, 41);
    drawing.Line({32, 33}, kSouth, 20);
    const model::Grid before = drawing.pixels;
    EXPECT_EQ(OfType(Scan(drawing), kBifurcation), (Candidates{{32, 32, kBifurcation, 120}}));
    EXPECT_EQ(drawing.pixels.cells, before.cells);
}

TEST(BifurcationScan, TakesARunOfNeighboursAsOneBranch) {
    // The western branch is two pixels thick at its root: upper left and left.
    DrawnSkeleton drawing(64, 64);
    drawing.Text(20, 31,
                 {"############...",  //
                  "...........##..",  //
                  "............#.."});
    drawing.Line({33, 31}, kNorthEast, 12);
    drawing.Line({32, 34}, kSouth, 12);
    const Candidates forks = OfType(Scan(drawing), kBifurcation);
    ASSERT_EQ(forks.size(), 1u) << Describe(forks);
    EXPECT_EQ(forks[0].x, 32);
    EXPECT_EQ(forks[0].y, 32);
    // The first branch steps left to (31, 32) and then goes on in the row above: over ten moves to
    // (22, 31): atan(1 / 10) = 5.7 degrees, 4 steps, above the west.
    EXPECT_EQ(forks[0].direction, 124);
}

TEST(BifurcationScan, NeedsFourStepsInEveryBranch) {
    // A branch of n pixels gives n - 1 steps.
    for (const int32_t length : {4, 5}) {
        DrawnSkeleton drawing(64, 64);
        drawing.Line({32, 32}, kWest, 20);
        drawing.Line({33, 31}, kNorthEast, length);
        drawing.Line({33, 33}, kSouthEast, 20);
        const model::Grid before = drawing.pixels;
        EXPECT_EQ(OfType(Scan(drawing), kBifurcation).size(), length == 5 ? 1u : 0u) << length;
        EXPECT_EQ(drawing.pixels.cells, before.cells);
    }
}

TEST(BifurcationScan, IgnoresCrossings) {
    DrawnSkeleton drawing(64, 64);
    drawing.Line({12, 12}, kSouthEast, 41);
    drawing.Line({12, 52}, kNorthEast, 41);
    EXPECT_EQ(Describe(OfType(Scan(drawing), kBifurcation)), "");
}

// --- Spurs --------------------------------------------------------------------------------------

TEST(SpurScan, ErasesTwoShortBranchesAndLeavesAnEnding) {
    DrawnSkeleton drawing(64, 64);
    drawing.Text(18, 29,
                 {".................#.",  //
                  "................#..",  //
                  "...............#...",  //
                  "###############....",  //
                  "...............#...",  //
                  "................#.."});
    // What the traces recorded goes, with the first pixels; the pixel on which a trace stopped
    // stays, alone.
    EXPECT_EQ(Scan(drawing), (Candidates{{18, 32, kEnding, 0}, {32, 32, kEnding, 120}}));
    EXPECT_EQ(drawing.TextOf(18, 29, 19, 6), (Rows{".................#.",  //
                                                   "................v..",  //
                                                   "...............v...",  //
                                                   "###############....",  //
                                                   "...............v...",  //
                                                   "................#.."}));
}

TEST(SpurScan, ErasesBranchesOfOnePixel) {
    DrawnSkeleton drawing(64, 64);
    drawing.Text(18, 31,
                 {"...............#...",  //
                  "###############....",  //
                  "...............#..."});
    EXPECT_EQ(Scan(drawing), (Candidates{{18, 32, kEnding, 0}, {32, 32, kEnding, 120}}));
    EXPECT_EQ(drawing.TextOf(18, 31, 18, 3), (Rows{"...............v..",  //
                                                   "###############...",  //
                                                   "...............v.."}));
}

TEST(SpurScan, NeedsTenStepsInTheLongBranch) {
    for (const int32_t length : {10, 11}) {
        DrawnSkeleton drawing(64, 64);
        drawing.Line({31, 32}, kWest, length);
        drawing.Text(32, 31, {".#", "#.", ".#"});
        const model::Grid before = drawing.pixels;
        Candidates atTheFork;
        for (const model::Candidate& candidate : Scan(drawing)) {
            if (candidate.x == 32) {
                atTheFork.push_back(candidate);
            }
        }
        if (length == 11) {
            EXPECT_EQ(atTheFork, (Candidates{{32, 32, kEnding, 120}}));
            EXPECT_EQ(drawing.TextOf(32, 31, 2, 3), (Rows{".v", "#.", ".v"}));
        } else {
            EXPECT_EQ(Describe(atTheFork), "");
            EXPECT_EQ(drawing.pixels.cells, before.cells);
        }
    }
}

TEST(SpurScan, NeedsBothShortBranchesFree) {
    // The lower branch is as short, but runs into another fork: it does not count as short.
    DrawnSkeleton drawing(64, 64);
    drawing.Line({32, 32}, kWest, 16);
    drawing.Line({33, 31}, kNorthEast, 1);
    drawing.Line({33, 33}, kSouthEast, 2);
    drawing.Line({35, 33}, kNorthEast, 14);
    drawing.Line({35, 35}, kSouthEast, 14);
    const model::Grid before = drawing.pixels;
    for (const model::Candidate& candidate : Scan(drawing)) {
        EXPECT_FALSE(candidate.x >= 31 && candidate.x <= 35) << Describe({candidate});
    }
    EXPECT_EQ(drawing.pixels.cells, before.cells);
}

TEST(SpurScan, CountsABranchThatLeavesTheImageAsShort) {
    // 65 pixels wide: the eastern branch has three steps to the frame. It evaluates no code there,
    // so it is short, like the southern one.
    DrawnSkeleton drawing(65, 64);
    drawing.Line({40, 32}, kEast, 25);
    drawing.Line({60, 33}, kSouth, 2);
    EXPECT_EQ(Scan(drawing), (Candidates{{40, 32, kEnding, 0}, {60, 32, kEnding, 120}}));
    EXPECT_EQ(drawing.TextOf(56, 32, 9, 3), (Rows{"#####vvv#",  //
                                                  "....v....",  //
                                                  "....#...."}));
}

}  // namespace
