// SPDX-License-Identifier: Apache-2.0
//
// Fusion geometry: the reconciled match list of a pair of templates, the convex hull of minutia
// positions and the test whether a position lies outside it. Expectations are worked out by hand;
// random lists and points are compared with the naive model.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "match/FPMatch.h"
#include "tests/model/ModelFusionGeometry.h"
#include "tests/support/TestImages.h"

namespace {

using model::IndexPairs;
using model::Point;
using testsupport::Random;

// ---------------------------------------------------------------------------- The records' fields

MatchResult RecordOf(const IndexPairs& pairs) {
    MatchResult record = {};
    record.pairCount = static_cast<int32_t>(pairs.size());
    for (size_t k = 0; k < pairs.size(); ++k) {
        record.referenceIndices[k] = static_cast<int16_t>(pairs[k].first);
        record.probeIndices[k] = static_cast<int16_t>(pairs[k].second);
    }
    return record;
}

IndexPairs PairsOf(const MatchResult& record) {
    IndexPairs pairs;
    for (int32_t k = 0; k < record.pairCount; ++k) {
        pairs.emplace_back(record.referenceIndices[k], record.probeIndices[k]);
    }
    return pairs;
}

IndexPairs PairsOf(const ConflictList& list) {
    IndexPairs pairs;
    for (int32_t k = 0; k < list.count; ++k) {
        pairs.emplace_back(list.b[k], list.a[k]);
    }
    return pairs;
}

HullContext HullOf(const std::vector<Point>& points) {
    HullContext hull = {};
    hull.count = static_cast<int32_t>(points.size());
    for (size_t i = 0; i < points.size(); ++i) {
        hull.x[i] = points[i].x;
        hull.y[i] = points[i].y;
    }
    return hull;
}

std::vector<Point> PointsOf(const HullContext& hull) {
    std::vector<Point> points;
    for (int32_t i = 0; i < hull.count; ++i) {
        points.push_back({hull.x[i], hull.y[i]});
    }
    return points;
}

std::string Describe(const std::vector<Point>& points) {
    std::ostringstream text;
    for (const Point& point : points) {
        text << point.x << ',' << point.y << ' ';
    }
    return text.str();
}

// ------------------------------------------------------------------------------- Reconciled lists

/// A record between two guards.
template <class Record>
struct Guarded {
    bool IsIntact() const { return before == 0x1234567 && after == 0x7654321; }

    int32_t before = 0x1234567;
    Record record = {};
    int32_t after = 0x7654321;
};

class ReconcileTest : public testing::Test {
  protected:
    /// (B, A) pairs and (A, B) pairs.
    void Reconcile(const IndexPairs& reverse, const IndexPairs& forward) {
        Guarded<ArrangeScratch> scratch;
        std::memset(&scratch.record, scratchFill_, sizeof(scratch.record));
        Guarded<MatchResult> reverseRecord;
        reverseRecord.record = RecordOf(reverse);
        Guarded<MatchResult> forwardRecord;
        forwardRecord.record = RecordOf(forward);
        Guarded<ConflictList> conflicts;
        conflicts.record.count = 99;  // of an earlier run
        Guarded<ConflictList> copy;
        ArrangeMinutiaIndex(&scratch.record, &reverseRecord.record, &forwardRecord.record,
                            &conflicts.record, &copy.record);
        EXPECT_TRUE(scratch.IsIntact() && reverseRecord.IsIntact() && forwardRecord.IsIntact() &&
                    conflicts.IsIntact() && copy.IsIntact())
            << "written outside a record";
        ASSERT_GE(reverseRecord.record.pairCount, 0);
        ASSERT_LE(reverseRecord.record.pairCount, 120);
        ASSERT_LE(conflicts.record.count, 240);
        reverse_ = PairsOf(reverseRecord.record);
        forward_ = PairsOf(forwardRecord.record);
        conflicts_ = PairsOf(conflicts.record);
        EXPECT_EQ(PairsOf(copy.record), conflicts_);
    }

    int32_t scratchFill_ = 0xA5;
    IndexPairs reverse_;
    IndexPairs forward_;
    IndexPairs conflicts_;
};

TEST_F(ReconcileTest, AgreeingListsStay) {
    Reconcile({{7, 1}, {9, 2}}, {{2, 9}, {1, 7}});
    EXPECT_EQ(reverse_, (IndexPairs{{7, 1}, {9, 2}}));
    EXPECT_EQ(forward_, (IndexPairs{{1, 7}, {2, 9}})) << "in the order of the reverse list";
    EXPECT_TRUE(conflicts_.empty());
}

TEST_F(ReconcileTest, PairsOfOneDirectionOnlyAreKeptWhereTheyAreFree) {
    Reconcile({{7, 1}}, {{2, 9}});
    EXPECT_EQ(reverse_, (IndexPairs{{7, 1}, {9, 2}}));
    EXPECT_EQ(forward_, (IndexPairs{{1, 7}, {2, 9}}));
    EXPECT_TRUE(conflicts_.empty());
}

TEST_F(ReconcileTest, EmptyListsStayEmpty) {
    Reconcile({}, {});
    EXPECT_TRUE(reverse_.empty());
    EXPECT_TRUE(forward_.empty());
    Reconcile({{7, 1}}, {});
    EXPECT_EQ(forward_, (IndexPairs{{1, 7}}));
    Reconcile({}, {{1, 7}});
    EXPECT_EQ(reverse_, (IndexPairs{{7, 1}}));
}

TEST_F(ReconcileTest, TheSecondMinutiaHasAnotherPartner) {
    // Forward 1-7, but 7 goes with 2: both go.
    Reconcile({{7, 2}, {8, 3}}, {{1, 7}});
    EXPECT_EQ(reverse_, (IndexPairs{{8, 3}}));
    EXPECT_EQ(forward_, (IndexPairs{{3, 8}}));
    EXPECT_EQ(conflicts_, (IndexPairs{{7, 1}, {7, 2}}));
}

TEST_F(ReconcileTest, OnlyTheOtherPartnerIsFlagged) {
    // 7 goes with 2 and 1 with 9: the pair 9-1 has no part in the conflict about 7.
    Reconcile({{7, 2}, {9, 1}}, {{1, 7}});
    EXPECT_EQ(reverse_, (IndexPairs{{9, 1}}));
    EXPECT_EQ(conflicts_, (IndexPairs{{7, 1}, {7, 2}}));
}

TEST_F(ReconcileTest, TheFirstMinutiaHasAnotherPartner) {
    // Forward 1-7; 7 is free, but 1 goes with 9.
    Reconcile({{9, 1}, {8, 3}}, {{1, 7}});
    EXPECT_EQ(reverse_, (IndexPairs{{8, 3}}));
    EXPECT_EQ(conflicts_, (IndexPairs{{7, 1}, {9, 1}}));
}

TEST_F(ReconcileTest, ALaterReversePairOverwritesAnEarlierOne) {
    // 7 counts as the partner of 2, the last written: 1-7 is a conflict, and 2 is flagged.
    Reconcile({{7, 1}, {7, 2}}, {{1, 7}});
    EXPECT_EQ(reverse_, (IndexPairs{{7, 1}}));
    EXPECT_EQ(conflicts_, (IndexPairs{{7, 1}, {7, 2}}));
    // The other way round 7 counts as the partner of 1, and nothing is in conflict.
    Reconcile({{7, 2}, {7, 1}}, {{1, 7}});
    EXPECT_EQ(reverse_, (IndexPairs{{7, 2}, {7, 1}}));
    EXPECT_TRUE(conflicts_.empty());
    // 8 is free and 1 counts as the partner of 9: every pair of 1 goes.
    Reconcile({{7, 1}, {9, 1}}, {{1, 8}});
    EXPECT_TRUE(reverse_.empty());
    EXPECT_EQ(conflicts_, (IndexPairs{{8, 1}, {9, 1}}));
}

TEST_F(ReconcileTest, AnAppendedPairCountsAtOnce) {
    Reconcile({}, {{1, 7}, {1, 8}});
    EXPECT_TRUE(reverse_.empty()) << "1 goes with 7 and 8";
    EXPECT_EQ(conflicts_, (IndexPairs{{8, 1}, {7, 1}}));
    Reconcile({}, {{1, 7}, {2, 7}});
    EXPECT_TRUE(reverse_.empty()) << "7 goes with 1 and 2";
    EXPECT_EQ(conflicts_, (IndexPairs{{7, 2}, {7, 1}}));
    Reconcile({}, {{1, 7}, {1, 7}});
    EXPECT_EQ(reverse_, (IndexPairs{{7, 1}})) << "the same pair twice is no conflict";
}

TEST_F(ReconcileTest, FlaggingChangesTheListOnlyAfterTheWalk) {
    // 1-7 flags 2; 2-7 then still agrees with the reverse list, and goes all the same.
    Reconcile({{7, 2}}, {{1, 7}, {2, 7}});
    EXPECT_TRUE(reverse_.empty());
    EXPECT_EQ(conflicts_, (IndexPairs{{7, 1}, {7, 2}}));
    // A flagged minutia does not take new pairs either: 2 still counts as the partner of 7.
    Reconcile({{7, 2}}, {{1, 7}, {2, 8}});
    EXPECT_TRUE(reverse_.empty());
    EXPECT_EQ(conflicts_, (IndexPairs{{7, 1}, {7, 2}, {8, 2}, {7, 2}}));
}

TEST_F(ReconcileTest, AppendingStopsAt120Pairs) {
    IndexPairs reverse;
    for (int32_t k = 0; k < 119; ++k) {
        reverse.emplace_back(k % 40, k % 50);
    }
    // 55-55 is the last to enter; 56-56 is refused and leaves no trace, so 56-57 meets no partner.
    Reconcile(reverse, {{55, 55}, {56, 56}, {56, 57}});
    ASSERT_EQ(reverse_.size(), 120U);
    EXPECT_EQ(reverse_.back(), std::make_pair(55, 55));
    EXPECT_EQ(forward_.back(), std::make_pair(55, 55));
    EXPECT_TRUE(conflicts_.empty());
}

TEST_F(ReconcileTest, EveryForwardPairMayBeAConflict) {
    IndexPairs reverse;
    IndexPairs forward;
    for (int32_t k = 0; k < 120; ++k) {
        reverse.emplace_back(k % 60, k % 60);
        forward.emplace_back((k + 1 + k / 60) % 60, k % 60);
    }
    Reconcile(reverse, forward);
    EXPECT_TRUE(reverse_.empty());
    EXPECT_TRUE(forward_.empty());
    EXPECT_EQ(conflicts_.size(), 240U);
}

TEST_F(ReconcileTest, AgreesWithTheModelOnRandomLists) {
    const uint64_t seed = testsupport::Seed();
    SCOPED_TRACE(testsupport::SeedNote(seed));
    Random random(seed);
    for (int32_t round = 0; round < 500; ++round) {
        SCOPED_TRACE(testing::Message() << "round " << round);
        const int32_t minutiae = random.Between(1, 60);
        const auto randomPairs = [&](int32_t count) {
            IndexPairs pairs;
            for (int32_t k = 0; k < count; ++k) {
                pairs.emplace_back(random.Below(minutiae), random.Below(minutiae));
            }
            return pairs;
        };
        IndexPairs reverse = randomPairs(random.OneIn(8) ? 120 : random.Below(60));
        IndexPairs forward = randomPairs(random.Below(20));
        for (const auto& [b, a] : reverse) {  // most pairs were found both ways
            if (!random.OneIn(4) && forward.size() < 120) {
                forward.emplace_back(a, b);
            }
        }
        scratchFill_ = random.Below(256);
        Reconcile(reverse, forward);
        const IndexPairs conflicts = model::ReconcilePairs(reverse, forward);
        EXPECT_EQ(reverse_, reverse);
        EXPECT_EQ(forward_, forward);
        EXPECT_EQ(conflicts_, conflicts);
    }
}

// ------------------------------------------------------------------------------------ Convex hull

std::string LibraryHull(const std::vector<Point>& points) {
    HullContext hull = HullOf(points);
    const int32_t count = GetConvexHull(&hull);
    EXPECT_EQ(count, hull.count);
    EXPECT_LE(count, static_cast<int32_t>(points.size()));
    return Describe(PointsOf(hull));
}

TEST(ConvexHullTest, FewerThanThreePointsStay) {
    EXPECT_EQ(LibraryHull({}), "");
    EXPECT_EQ(LibraryHull({{5, 6}}), "5,6 ");
    EXPECT_EQ(LibraryHull({{5, 6}, {1, 2}}), "5,6 1,2 ");
}

TEST(ConvexHullTest, StartsAtTheSmallestXThenYAndTurnsFromXTowardsY) {
    EXPECT_EQ(LibraryHull({{5, 5}, {0, 10}, {10, 10}, {10, 0}, {0, 0}}), "0,0 10,0 10,10 0,10 ");
    EXPECT_EQ(LibraryHull({{3, 3}, {-4, 7}, {9, 8}, {0, -5}, {2, 2}}), "-4,7 0,-5 9,8 ");
}

TEST(ConvexHullTest, PointsOnAnEdgeStayNearestFirst) {
    EXPECT_EQ(LibraryHull({{10, 10},
                           {8, 0},
                           {0, 0},
                           {10, 0},
                           {2, 0},
                           {10, 5},
                           {0, 10},
                           {0, 4},
                           {0, 6},
                           {5, 0},
                           {4, 4},
                           {3, 10}}),
              "0,0 2,0 5,0 8,0 10,0 10,5 10,10 3,10 0,10 0,6 0,4 ");
    // On slanted edges too.
    EXPECT_EQ(LibraryHull({{0, 0}, {9, 9}, {3, 3}, {6, 6}, {0, 9}, {0, 3}}),
              "0,0 3,3 6,6 9,9 0,9 0,3 ");
}

TEST(ConvexHullTest, CoincidentPointsCountOnce) {
    EXPECT_EQ(LibraryHull({{0, 0}, {0, 0}, {10, 0}, {0, 10}, {10, 0}, {0, 10}, {2, 2}, {2, 2}}),
              "0,0 10,0 0,10 ");
}

TEST(ConvexHullTest, PointsOnOneLineAllStay) {
    EXPECT_EQ(LibraryHull({{20, 20}, {0, 0}, {10, 10}, {15, 15}}), "0,0 10,10 15,15 20,20 ");
    EXPECT_EQ(LibraryHull({{3, 9}, {3, 1}, {3, 5}}), "3,1 3,5 3,9 ");
}

TEST(ConvexHullTest, CoincidentPointsOnOneLineStayWithinBounds) {
    Random random(testsupport::Seed() + 1);
    SCOPED_TRACE(testsupport::SeedNote(testsupport::Seed() + 1));
    for (int32_t round = 0; round < 200; ++round) {
        std::vector<Point> points;
        const int32_t dx = random.Between(-2, 2);
        const int32_t dy = random.Between(-2, 2);
        for (int32_t i = random.Between(3, 62); i > 0; --i) {
            const int32_t at = random.Between(-5, 5);
            points.push_back({at * dx, at * dy});
        }
        HullContext hull = HullOf(points);
        const int32_t count = GetConvexHull(&hull);
        EXPECT_GE(count, 1);
        EXPECT_LE(count, static_cast<int32_t>(points.size()));
    }
}

TEST(ConvexHullTest, AllOf62PointsOnAParabola) {
    std::vector<Point> points;
    for (int32_t x = 0; x < 62; ++x) {
        points.push_back({x - 31, x * x});
    }
    EXPECT_EQ(LibraryHull(points), Describe(points));
    const std::vector<Point> backwards(points.rbegin(), points.rend());
    EXPECT_EQ(LibraryHull(backwards), Describe(points));
}

std::vector<Point> RandomPoints(Random& random, int32_t round) {
    std::vector<Point> points;
    const int32_t reach = round % 3 == 0 ? 4 : round % 3 == 1 ? 20 : 700;
    for (int32_t i = random.Between(3, 60); i > 0; --i) {
        points.push_back({random.Between(-reach, reach), random.Between(-reach, reach)});
    }
    return points;
}

bool LieOnOneLine(const std::vector<Point>& points) {
    for (const Point& p : points) {
        for (const Point& q : points) {
            if ((p.x - points[0].x) * (q.y - points[0].y) !=
                (p.y - points[0].y) * (q.x - points[0].x)) {
                return false;
            }
        }
    }
    return true;
}

TEST(ConvexHullTest, AgreesWithTheModelOnRandomPoints) {
    const uint64_t seed = testsupport::Seed() + 2;
    SCOPED_TRACE(testsupport::SeedNote(seed));
    Random random(seed);
    for (int32_t round = 0; round < 300; ++round) {
        const std::vector<Point> points = RandomPoints(random, round);
        if (LieOnOneLine(points)) {
            continue;
        }
        ASSERT_EQ(LibraryHull(points), Describe(model::ConvexHull(points)))
            << "round " << round << ": " << Describe(points);
    }
}

// ------------------------------------------------------------------------------------ Outside test

bool LibraryOutside(const std::vector<Point>& polygon, int32_t x, int32_t y) {
    HullContext hull = HullOf(polygon);
    const int32_t outside = GetDistFromPolygon(&hull, x, y);
    EXPECT_TRUE(outside == 0 || outside == 1);
    EXPECT_EQ(Describe(PointsOf(hull)), Describe(polygon)) << "the corners must stay";
    return outside == 1;
}

TEST(OutsideTest, EverythingIsOutsideOfFewerThanThreeCorners) {
    EXPECT_TRUE(LibraryOutside({}, 0, 0));
    EXPECT_TRUE(LibraryOutside({{5, 5}}, 5, 5));
    EXPECT_TRUE(LibraryOutside({{0, 0}, {10, 0}}, 5, 0));
}

TEST(OutsideTest, EdgesAndCornersAreInside) {
    const std::vector<Point> square = {{0, 0}, {10, 0}, {10, 10}, {0, 10}};
    const struct {
        int32_t x, y;
        bool isOutside;
    } cases[] = {{5, 5, false},
                 {0, 0, false},
                 {10, 10, false},
                 {5, 0, false},
                 {10, 5, false},
                 {5, 10, false},
                 {0, 5, false},
                 {1, 1, false},
                 {-1, 5, true},
                 {11, 5, true},
                 {5, -1, true},
                 {5, 11, true},
                 // On the line of an edge, but beyond its end.
                 {11, 0, true},
                 {-1, 0, true},
                 {0, 11, true},
                 {10, -1, true}};
    for (const auto& row : cases) {
        EXPECT_EQ(LibraryOutside(square, row.x, row.y), row.isOutside) << row.x << ',' << row.y;
    }
    const std::vector<Point> triangle = {{0, 0}, {9, 3}, {3, 9}};
    EXPECT_FALSE(LibraryOutside(triangle, 6, 2));
    EXPECT_TRUE(LibraryOutside(triangle, 6, 1));
    EXPECT_FALSE(LibraryOutside(triangle, 6, 6));
    EXPECT_TRUE(LibraryOutside(triangle, 7, 6));
}

TEST(OutsideTest, TheLastEdgeRunsBackToTheFirstCorner) {
    const std::vector<Point> triangle = {{0, 0}, {10, 0}, {10, 10}};
    EXPECT_FALSE(LibraryOutside(triangle, 5, 5));
    EXPECT_TRUE(LibraryOutside(triangle, 5, 6));
}

TEST(OutsideTest, NoPointIsOutsideItsOwnHull) {
    const uint64_t seed = testsupport::Seed() + 3;
    SCOPED_TRACE(testsupport::SeedNote(seed));
    Random random(seed);
    for (int32_t round = 0; round < 100; ++round) {
        const std::vector<Point> points = RandomPoints(random, round);
        if (LieOnOneLine(points)) {
            continue;
        }
        HullContext hull = HullOf(points);
        GetConvexHull(&hull);
        for (const Point& point : points) {
            ASSERT_EQ(GetDistFromPolygon(&hull, point.x, point.y), 0) << "round " << round;
        }
        const std::vector<Point> corners = PointsOf(hull);
        for (int32_t i = 0; i < 100; ++i) {
            const int32_t x = random.Between(-800, 800);
            const int32_t y = random.Between(-800, 800);
            ASSERT_EQ(LibraryOutside(corners, x, y), model::IsOutsidePolygon(corners, x, y))
                << "round " << round << ": " << x << ',' << y;
        }
    }
}

}  // namespace
