// SPDX-License-Identifier: Apache-2.0
//
// Repair of broken ridges: which pairs of endings count as the two sides of a gap, which pixels
// the segment between them takes, and what keeps a pair.
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
using testsupport::Scan;
using Rows = std::vector<std::string>;

constexpr int32_t kEnding = 1;
constexpr int32_t kBifurcation = 2;

Candidates Repair(DrawnSkeleton& drawing, const Candidates& candidates) {
    qorfp::CandidateList list = ListOf(candidates);
    qorfp::RepairBrokenRidges(drawing.View(), &list);
    return CandidatesOf(list);
}

/// The directions after the repair of an empty 64 x 64 skeleton.
std::vector<int32_t> DirectionsAfter(const Candidates& candidates) {
    DrawnSkeleton drawing(64, 64);
    std::vector<int32_t> directions;
    for (const Candidate& candidate : Repair(drawing, candidates)) {
        directions.push_back(candidate.direction);
    }
    return directions;
}

bool AreJoined(const Candidate& first, const Candidate& second) {
    const std::vector<int32_t> directions = DirectionsAfter({first, second});
    EXPECT_EQ(directions[0] == 255, directions[1] == 255);
    return directions[0] == 255 && directions[1] == 255;
}

/// What the repair paints between two endings that look away from each other along the line.
Rows Painted(testsupport::Spot from, testsupport::Spot to, int32_t directionFrom,
             int32_t height = 5) {
    DrawnSkeleton drawing(64, 64);
    const Candidates after = Repair(drawing, {{from.x, from.y, kEnding, directionFrom},
                                              {to.x, to.y, kEnding, (directionFrom + 120) % 240}});
    EXPECT_EQ(after[0].direction, 255);
    EXPECT_EQ(after[1].direction, 255);
    for (const uint8_t pixel : drawing.pixels.cells) {
        EXPECT_TRUE(pixel == 255 || pixel == 1);
    }
    return drawing.TextOf(19, 19, 9, height);
}

TEST(BrokenRidge, IsRepairedAcrossAnEmptyGap) {
    DrawnSkeleton drawing(64, 64);
    drawing.Line({10, 32}, {1, 0}, 16);  // 10..25
    drawing.Line({35, 32}, {1, 0}, 16);  // 35..50
    const Candidates scanned = Scan(drawing);
    ASSERT_EQ(scanned, (Candidates{{10, 32, kEnding, 0},
                                   {25, 32, kEnding, 120},
                                   {35, 32, kEnding, 0},
                                   {50, 32, kEnding, 120}}));
    EXPECT_EQ(Repair(drawing, scanned), (Candidates{{10, 32, kEnding, 0},
                                                    {25, 32, kEnding, 255},
                                                    {35, 32, kEnding, 255},
                                                    {50, 32, kEnding, 120}}));
    EXPECT_EQ(drawing.TextOf(24, 32, 13, 1), (Rows{"##ppppppppp##"}));
}

TEST(BrokenRidge, StaysWhereARidgePixelLiesBetween) {
    for (int32_t x = 26; x <= 34; ++x) {
        DrawnSkeleton drawing(64, 64);
        drawing.pixels.At(x, 32) = 0;
        const Candidates pair = {{25, 32, kEnding, 120}, {35, 32, kEnding, 0}};
        const model::Grid before = drawing.pixels;
        EXPECT_EQ(Repair(drawing, pair), pair) << x;
        EXPECT_EQ(drawing.pixels.cells, before.cells);
    }
    // The endings themselves do not lie between.
    DrawnSkeleton drawing(64, 64);
    drawing.pixels.At(25, 32) = 0;
    drawing.pixels.At(35, 32) = 0;
    EXPECT_EQ(Repair(drawing, {{25, 32, kEnding, 120}, {35, 32, kEnding, 0}})[0].direction, 255);
    EXPECT_EQ(drawing.TextOf(24, 32, 13, 1), (Rows{".#ppppppppp#."}));
}

TEST(BrokenRidge, IsPaintedOverPaintedAndErasedPixels) {
    DrawnSkeleton drawing(64, 64);
    drawing.Text(26, 32, {"ppp.v.v.p"});
    const Candidates after = Repair(drawing, {{25, 32, kEnding, 120}, {35, 32, kEnding, 0}});
    EXPECT_EQ(after[0].direction, 255);
    EXPECT_EQ(after[1].direction, 255);
    EXPECT_EQ(drawing.TextOf(25, 32, 11, 1), (Rows{".ppppppppp."}));
}

TEST(BrokenRidge, IsNoWiderThan15Pixels) {
    EXPECT_TRUE(AreJoined({20, 20, kEnding, 120}, {35, 20, kEnding, 0}));   // 225
    EXPECT_FALSE(AreJoined({20, 20, kEnding, 120}, {35, 21, kEnding, 0}));  // 226
    EXPECT_FALSE(AreJoined({20, 20, kEnding, 120}, {36, 20, kEnding, 0}));
    EXPECT_TRUE(AreJoined({20, 20, kEnding, 180}, {20, 35, kEnding, 60}));
}

TEST(BrokenRidge, HasDirectionsMoreThan97Apart) {
    EXPECT_TRUE(AreJoined({20, 20, kEnding, 120}, {22, 20, kEnding, 22}));  // 98
    EXPECT_FALSE(AreJoined({20, 20, kEnding, 120}, {22, 20, kEnding, 23}));
    EXPECT_TRUE(AreJoined({20, 20, kEnding, 120}, {22, 20, kEnding, 218}));  // 98
    EXPECT_FALSE(AreJoined({20, 20, kEnding, 120}, {22, 20, kEnding, 217}));
    // Across the turn: 5 and 147 are 142 and so 98 apart; 5 and 148: 97.
    EXPECT_TRUE(AreJoined({22, 20, kEnding, 5}, {20, 20, kEnding, 147}));
    EXPECT_FALSE(AreJoined({22, 20, kEnding, 5}, {20, 20, kEnding, 148}));
}

TEST(BrokenRidge, RunsAwayFromTheGapOnBothSides) {
    // Tolerance by the gap; one side exactly opposite, the other just within or just outside.
    struct Case {
        int32_t gap;
        int32_t tolerance;
    };
    // Gaps of 9 pixels and less are first limited by the 97 between the two directions.
    for (const Case& c : {Case{9, 98}, Case{10, 100}, Case{11, 102}, Case{12, 103}, Case{13, 104},
                          Case{14, 105}, Case{15, 105}}) {
        SCOPED_TRACE(c.gap);
        const int32_t right = 20 + c.gap;
        // Left ending first: the line from it runs east (0), so it must point to 120 +- (120 - t).
        EXPECT_TRUE(AreJoined({20, 20, kEnding, c.tolerance}, {right, 20, kEnding, 0}));
        EXPECT_FALSE(AreJoined({20, 20, kEnding, c.tolerance - 1}, {right, 20, kEnding, 0}));
        EXPECT_TRUE(AreJoined({20, 20, kEnding, 240 - c.tolerance}, {right, 20, kEnding, 0}));
        EXPECT_FALSE(AreJoined({20, 20, kEnding, 241 - c.tolerance}, {right, 20, kEnding, 0}));
        EXPECT_TRUE(AreJoined({20, 20, kEnding, 120}, {right, 20, kEnding, 120 - c.tolerance}));
        EXPECT_FALSE(AreJoined({20, 20, kEnding, 120}, {right, 20, kEnding, 121 - c.tolerance}));
    }
    // Both off by the same angle keep their difference; then the smaller tolerances tell.
    for (const Case& c : {Case{1, 92}, Case{2, 92}, Case{3, 93}, Case{5, 93}, Case{6, 94},
                          Case{7, 95}, Case{8, 96}}) {
        SCOPED_TRACE(c.gap);
        const Candidate right = {20 + c.gap, 20, kEnding, 240 - 120 + c.tolerance};
        EXPECT_TRUE(AreJoined({20, 20, kEnding, c.tolerance}, right));
        EXPECT_FALSE(AreJoined({20, 20, kEnding, c.tolerance - 1},
                               {right.x, 20, kEnding, right.direction - 1}));
    }
    // Pointing into the gap: far from it.
    EXPECT_FALSE(AreJoined({20, 20, kEnding, 0}, {30, 20, kEnding, 120}));
}

TEST(BrokenRidge, OfOneStepIsRemovedWithoutPaint) {
    DrawnSkeleton drawing(64, 64);
    drawing.Text(20, 20, {"##"});
    const Candidates after = Repair(drawing, {{20, 20, kEnding, 120}, {21, 20, kEnding, 0}});
    EXPECT_EQ(after[0].direction, 255);
    EXPECT_EQ(after[1].direction, 255);
    EXPECT_EQ(drawing.TextOf(19, 19, 4, 3), (Rows{"....", ".##.", "...."}));
    EXPECT_TRUE(AreJoined({20, 20, kEnding, 150}, {21, 21, kEnding, 30}));
}

TEST(BrokenRidge, OnOnePixelIsTestedLikeAnyOther) {
    // The direction between equal points is 180; the two must point to 60 and to 180 or nearly so.
    EXPECT_TRUE(AreJoined({20, 20, kEnding, 60}, {20, 20, kEnding, 180}));
    EXPECT_TRUE(AreJoined({20, 20, kEnding, 88}, {20, 20, kEnding, 208}));
    EXPECT_FALSE(AreJoined({20, 20, kEnding, 89}, {20, 20, kEnding, 209}));
    EXPECT_FALSE(AreJoined({20, 20, kEnding, 0}, {20, 20, kEnding, 120}));
    EXPECT_FALSE(AreJoined({20, 20, kEnding, 180}, {20, 20, kEnding, 60}));
}

TEST(BrokenRidge, IsNoMatterOfBifurcationsOrDeletedOnes) {
    EXPECT_FALSE(AreJoined({20, 20, kEnding, 120}, {30, 20, kBifurcation, 0}));
    EXPECT_FALSE(AreJoined({20, 20, kBifurcation, 120}, {30, 20, kEnding, 0}));
    EXPECT_EQ(DirectionsAfter({{20, 20, kEnding, 255}, {30, 20, kEnding, 0}}),
              (std::vector<int32_t>{255, 0}));
    // 255 read as an angle would be 15, and 135 its opposite.
    EXPECT_EQ(DirectionsAfter({{20, 20, kEnding, 135}, {30, 20, kEnding, 255}}),
              (std::vector<int32_t>{135, 255}));
}

TEST(BrokenRidge, IsJoinedOnceOnly) {
    // The first ending meets the second; the third finds it gone.
    DrawnSkeleton drawing(64, 64);
    const Candidates after =
        Repair(drawing, {{20, 20, kEnding, 120}, {30, 20, kEnding, 0}, {33, 20, kEnding, 0}});
    EXPECT_EQ(after[0].direction, 255);
    EXPECT_EQ(after[1].direction, 255);
    EXPECT_EQ(after[2].direction, 0);
    EXPECT_EQ(drawing.TextOf(20, 20, 14, 1), (Rows{".ppppppppp...."}));
    // The second is gone when it is its turn, so the third and fourth meet.
    EXPECT_EQ(DirectionsAfter({{20, 20, kEnding, 120},
                               {30, 20, kEnding, 0},
                               {33, 20, kEnding, 0},
                               {23, 20, kEnding, 120}}),
              (std::vector<int32_t>{255, 255, 255, 255}));
}

TEST(BrokenRidge, NeedsTwoCandidates) {
    EXPECT_EQ(DirectionsAfter({}), (std::vector<int32_t>{}));
    EXPECT_EQ(DirectionsAfter({{20, 20, kEnding, 120}}), (std::vector<int32_t>{120}));
}

// The segment starts at the first ending, at column 1, row 1 of the text (or ends there).

TEST(GapSegment, AlternatesAtAHalf) {
    // dx 6, dy 3: 50 a step, so the minor coordinate advances at steps 1, 3 and 5.
    EXPECT_EQ(Painted({20, 20}, {26, 23}, 138),
              (Rows{".........",  //
                    ".........",  //
                    "..pp.....",  //
                    "....pp...",  //
                    "......p.."}));
}

TEST(GapSegment, IsSteppedFromTheFirstEnding) {
    EXPECT_EQ(Painted({26, 23}, {20, 20}, 18),
              (Rows{".........",  //
                    "..p......",  //
                    "...pp....",  //
                    ".....pp..",  //
                    "........."}));
}

TEST(GapSegment, FallsTheOtherWayAlike) {
    // dx 6, dy -3.
    EXPECT_EQ(Painted({20, 23}, {26, 20}, 102),
              (Rows{".........",  //
                    "......p..",  //
                    "....pp...",  //
                    "..pp.....",  //
                    "........."}));
}

TEST(GapSegment, FollowsTheRowsWhereTheyDominate) {
    // dx 2, dy 9: 200 / 9 = 22 a step; 66 at step 3 and 54 at step 7.
    EXPECT_EQ(Painted({20, 20}, {22, 29}, 171, 12),
              (Rows{".........",  //
                    ".........",  //
                    ".p.......",  //
                    ".p.......",  //
                    "..p......",  //
                    "..p......",  //
                    "..p......",  //
                    "..p......",  //
                    "...p.....",  //
                    "...p.....",  //
                    ".........",  //
                    "........."}));
}

TEST(GapSegment, TruncatesTheSlope) {
    // dx 8, dy 1: 12 a step (not 12.5), so 48 at step 4 and 60 at step 5.
    EXPECT_EQ(Painted({19, 20}, {27, 21}, 125),
              (Rows{".........",  //
                    ".pppp....",  //
                    ".....ppp.",  //
                    ".........",  //
                    "........."}));
    // dx 8, dy -1: -12 a step, likewise.
    EXPECT_EQ(Painted({19, 21}, {27, 20}, 115),
              (Rows{".........",  //
                    ".....ppp.",  //
                    ".pppp....",  //
                    ".........",  //
                    "........."}));
}

TEST(GapSegment, OfADiagonalIsTheDiagonal) {
    EXPECT_EQ(Painted({20, 20}, {25, 25}, 150, 7),
              (Rows{".........",  //
                    ".........",  //
                    "..p......",  //
                    "...p.....",  //
                    "....p....",  //
                    ".....p...",  //
                    "........."}));
}

}  // namespace
