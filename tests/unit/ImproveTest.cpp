// SPDX-License-Identifier: Apache-2.0
//
// Improvement of an enrolled template by a fresh sample: when it happens, how matched minutiae
// move and gain confidence, how unmatched ones lose it, what is added and restored, and when the
// engine and the API keep the outcome. Hand-made sets share eight outer and six inner minutiae that
// align in place; random ones are compared with the naive model.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "api/Fpm.h"
#include "engine/FPEngine.h"
#include "match/FPMatch.h"
#include "tests/model/ModelAlignment.h"
#include "tests/model/ModelFusion.h"
#include "tests/model/ModelIndexKeys.h"
#include "tests/support/TestMinutiae.h"
#include "tests/support/WorkBuffer.h"

namespace {

using model::Minutia;
using model::MinutiaSet;
using testsupport::Describe;
using testsupport::Impression;
using testsupport::Layout;
using testsupport::MakeMinutia;
using testsupport::MakeSet;
using testsupport::Random;
using testsupport::TemplateBytes;
using testsupport::WorkBuffer;

constexpr size_t kHeadBytes = 370;
/// Attributes that match nothing in the shared set, so that their bearer stays without a partner.
constexpr uint32_t kLoner = (63U << 6) | 63U;

/// Corners of the octagon x 20..320, y 0..300, x + y 130..510, x - y -170..210. Its inner octagon
/// is x 95..245, y 75..225, x + y 225..415, x - y -75..115.
std::vector<Minutia> OuterMinutiae() {
    return {MakeMinutia(320, 110, 33, 1, 1290),  MakeMinutia(320, 190, 140, 2, 1290),
            MakeMinutia(20, 110, 77, 1, 1290),   MakeMinutia(20, 190, 201, 1, 1290),
            MakeMinutia(130, 0, 10, 2, 1290),    MakeMinutia(210, 0, 95, 1, 1290),
            MakeMinutia(130, 300, 222, 1, 1290), MakeMinutia(210, 300, 160, 1, 1290)};
}

std::vector<Minutia> SharedMinutiae() {
    std::vector<Minutia> minutiae = OuterMinutiae();
    const std::vector<Minutia> inner = {
        MakeMinutia(100, 100, 100, 1, 1290), MakeMinutia(230, 90, 5, 2, 1290),
        MakeMinutia(160, 60, 180, 1, 1290),  MakeMinutia(90, 205, 61, 1, 1290),
        MakeMinutia(225, 215, 235, 1, 1290), MakeMinutia(150, 240, 118, 2, 1290)};
    minutiae.insert(minutiae.end(), inner.begin(), inner.end());
    return minutiae;
}

Minutia Loner(int32_t x, int32_t y, int32_t direction = 50) {
    return MakeMinutia(x, y, direction, 1, kLoner);
}

std::string Text(const Minutia& minutia) {
    return Describe(MakeSet({minutia}));
}

std::string TextWithConfidence(const MinutiaSet& set) {
    std::string text;
    for (size_t i = 0; i < set.minutiae.size(); ++i) {
        text += std::to_string(set.confidence[i]) + ": " + Text(set.minutiae[i]);
    }
    return text;
}

void AppendTo(MinutiaSet& set, const Minutia& minutia, int32_t confidence) {
    set.minutiae.push_back(minutia);
    set.confidence.push_back(static_cast<uint8_t>(confidence));
    set.count = static_cast<int32_t>(set.minutiae.size());
}

class ImproveTest : public testing::Test {
  protected:
    /// MatchWithImprove of two sets; the enrolled set afterwards is in after_.
    int32_t ImproveSets(const MinutiaSet& sample, const MinutiaSet& enrolled) {
        const TemplateBytes fresh = testsupport::FinishedTemplate(sample);
        TemplateBytes head = testsupport::FinishedTemplate(enrolled);
        head.resize(kHeadBytes);
        const TemplateBytes before = head;
        head.push_back(0x77);
        updated_ = -1;
        const int32_t score =
            MatchWithImprove(buffer_.Bytes(), fresh.data(), head.data(), &updated_);
        EXPECT_EQ(head.back(), 0x77) << "written behind the head";
        head.pop_back();
        EXPECT_TRUE(updated_ == 0 || updated_ == 1);
        if (updated_ == 0) {
            EXPECT_EQ(head, before);
        }
        EXPECT_EQ(model::DecodeTemplate(head, after_), 0);
        return score;
    }

    /// Confidence afterwards of the minutia at a place, -1 where there is none.
    int32_t ConfidenceAt(int32_t x, int32_t y) const {
        for (size_t i = 0; i < after_.minutiae.size(); ++i) {
            if (after_.minutiae[i].x == x && after_.minutiae[i].y == y) {
                return after_.confidence[i];
            }
        }
        return -1;
    }

    WorkBuffer buffer_;
    MinutiaSet after_;
    int32_t updated_ = -1;
};

// --------------------------------------------------------------------------------- When it happens

/// Three bars far from each other: 0-1, 2-3, 4-5.
MinutiaSet ThreeBars() {
    return MakeSet({MakeMinutia(-200, -200, 30), MakeMinutia(-100, -200, 170),
                    MakeMinutia(500, -200, 75), MakeMinutia(500, -120, 200),
                    MakeMinutia(-200, 500, 11), MakeMinutia(-110, 560, 133)});
}

TEST_F(ImproveTest, Score224LeavesTheEnrolledAndScore225UpdatesIt) {
    MinutiaSet sample = ThreeBars();
    // Two bars of 1156 and one of 1156 x 24 / 32 = 867: (72 x 3179 + 512) / 1024 = 224.02.
    sample.minutiae[4].attributes = 8;
    EXPECT_EQ(ImproveSets(sample, ThreeBars()), 224);
    EXPECT_EQ(updated_, 0);
    // The third 31 x 1156 / 40 = 895: (72 x 3207 + 512) / 1024 = 225.99.
    sample.minutiae[4].attributes = 9 << 6;
    EXPECT_EQ(ImproveSets(sample, ThreeBars()), 225);
    EXPECT_EQ(updated_, 1);
    MinutiaSet expected = ThreeBars();
    expected.minutiae[4].attributes = 2 << 6;  // (0 + 9 + 2) / 4
    expected.confidence.assign(6, 11);
    EXPECT_EQ(TextWithConfidence(after_), TextWithConfidence(expected));
}

TEST_F(ImproveTest, TemplatesThatDoNotDecodeScoreZero) {
    const TemplateBytes good = testsupport::FinishedTemplate(MakeSet(SharedMinutiae()));
    for (const size_t place : {size_t{3}, size_t{4 + 6 * 13 + 2}}) {
        TemplateBytes bad = good;
        bad[place] = static_cast<uint8_t>(bad[place] | 0x30);  // 62 minutiae; type 3
        const TemplateBytes badBefore = bad;
        TemplateBytes enrolled = good;
        int32_t updated = -1;
        EXPECT_EQ(MatchWithImprove(buffer_.Bytes(), bad.data(), enrolled.data(), &updated), 0);
        EXPECT_EQ(updated, 0);
        EXPECT_EQ(enrolled, good);
        updated = -1;
        EXPECT_EQ(MatchWithImprove(buffer_.Bytes(), good.data(), bad.data(), &updated), 0);
        EXPECT_EQ(updated, 0);
        EXPECT_EQ(bad, badBefore);
    }
}

TEST_F(ImproveTest, ASampleOrEnrolledWithoutBarsScoresZero) {
    const MinutiaSet apart =
        MakeSet({MakeMinutia(-200, -200, 0), MakeMinutia(10, -200, 0), MakeMinutia(220, -200, 0),
                 MakeMinutia(-200, 10, 0), MakeMinutia(-200, 220, 0), MakeMinutia(700, 700, 0)});
    EXPECT_EQ(ImproveSets(apart, MakeSet(SharedMinutiae())), 0);
    EXPECT_EQ(updated_, 0);
    EXPECT_EQ(ImproveSets(MakeSet(SharedMinutiae()), apart), 0);
    EXPECT_EQ(updated_, 0);
}

TEST_F(ImproveTest, TheHeadIsWrittenAs301WithoutQuality) {
    const TemplateBytes sample = testsupport::FinishedTemplate(MakeSet(SharedMinutiae()));
    TemplateBytes head = sample;
    head[2] = '0';
    int32_t updated = 0;
    MatchWithImprove(buffer_.Bytes(), sample.data(), head.data(), &updated);
    ASSERT_EQ(updated, 1);
    EXPECT_EQ(std::string(head.begin(), head.begin() + 3), "301");
    EXPECT_EQ(head[369], 0);
}

// -------------------------------------------------------------------------------- Matched minutiae

TEST_F(ImproveTest, AnEqualSampleOnlyRaisesConfidence) {
    testsupport::WithEachFill(buffer_, [&](WorkBuffer&) {
        const MinutiaSet enrolled = MakeSet(SharedMinutiae());
        EXPECT_GT(ImproveSets(enrolled, enrolled), 225);
        EXPECT_EQ(updated_, 1);
        MinutiaSet expected = enrolled;
        expected.confidence.assign(expected.confidence.size(), 11);
        EXPECT_EQ(TextWithConfidence(after_), TextWithConfidence(expected));
    });
}

TEST_F(ImproveTest, ConfidenceIsCappedAt15) {
    MinutiaSet enrolled = MakeSet(SharedMinutiae());
    enrolled.confidence = {0, 1, 2, 3, 10, 11, 12, 13, 14, 15, 8, 8, 8, 8};
    ImproveSets(MakeSet(SharedMinutiae()), enrolled);
    const std::vector<uint8_t> expected = {3, 4, 5, 6, 13, 14, 15, 15, 15, 15, 11, 11, 11, 11};
    EXPECT_EQ(after_.confidence, expected);
}

TEST_F(ImproveTest, ConfidenceClimbsTo15AndStays) {
    MinutiaSet enrolled = MakeSet(SharedMinutiae());
    for (const uint8_t expected : std::vector<uint8_t>{11, 14, 15, 15}) {
        ImproveSets(MakeSet(SharedMinutiae()), enrolled);
        EXPECT_EQ(after_.confidence, std::vector<uint8_t>(14, expected));
        enrolled = after_;
    }
}

/// Minutia 8 of the sample differs from the enrolled one; what becomes of the latter.
class MatchedTest : public ImproveTest {
  protected:
    Minutia After(const Minutia& enrolled, const Minutia& fresh, int32_t sceneX = 0) {
        MinutiaSet enrolledSet = MakeSet(SharedMinutiae());
        MinutiaSet sample = enrolledSet;
        enrolledSet.minutiae[8] = enrolled;
        sample.minutiae[8] = fresh;
        for (MinutiaSet* set : {&enrolledSet, &sample}) {
            for (size_t i = 0; i < set->minutiae.size(); ++i) {
                set->minutiae[i].x += i == 8 ? 0 : sceneX;
            }
        }
        EXPECT_GE(ImproveSets(sample, enrolledSet), 225);
        EXPECT_EQ(after_.confidence.at(8), 11) << "not matched";
        return after_.minutiae.at(8);
    }
};

TEST_F(MatchedTest, PositionsMoveAQuarterOfTheWayHalvesAwayFromZero) {
    const auto at = [](int32_t x, int32_t y) { return MakeMinutia(x, y, 100, 1, 1290); };
    const struct {
        int32_t fresh, expected;
    } cases[] = {{100, 100}, {101, 100}, {102, 101}, {103, 101}, {104, 101}, {106, 102}};
    for (const auto& row : cases) {
        EXPECT_EQ(After(at(100, 100), at(row.fresh, 100)).x, row.expected) << row.fresh;
        EXPECT_EQ(After(at(100, 100), at(100, row.fresh)).y, row.expected) << row.fresh;
    }
    // The whole scene 200 to the left: -398 becomes -400 / 4, -397 becomes -399 / 4.
    EXPECT_EQ(After(at(-100, 100), at(-98, 100), -200).x, -100);
    EXPECT_EQ(After(at(-100, 100), at(-97, 100), -200).x, -99);
    EXPECT_EQ(After(at(-100, 100), at(-96, 100), -200).x, -99);
}

TEST_F(MatchedTest, DirectionsMoveAQuarterOfTheShorterWay) {
    const auto pointing = [](int32_t direction) {
        return MakeMinutia(100, 100, direction, 1, 1290);
    };
    const struct {
        int32_t enrolled, fresh, expected;
    } cases[] = {
        {100, 108, 102}, {100, 101, 100}, {100, 102, 101},
        {108, 100, 106}, {5, 235, 3},  // (15 - 5 + 2) / 4
        {235, 5, 237},                 // (-15 + 5 - 2) / 4 = -3
        {1, 239, 1},                   // (3 - 1 + 2) / 4
        {239, 1, 239},                 // (-3 + 1 - 2) / 4 = -1
        {0, 239, 0},                   // (0 - 1 - 2) / 4
        {0, 238, 239},                 // (0 - 2 - 2) / 4 = -1
        {239, 3, 0},                   // (-3 + 3 + 2) / 4
    };
    for (const auto& row : cases) {
        EXPECT_EQ(After(pointing(row.enrolled), pointing(row.fresh)).direction, row.expected)
            << row.enrolled << ' ' << row.fresh;
    }
}

TEST_F(MatchedTest, AttributesMoveEachForItselfAndTheKindStays) {
    const Minutia enrolled = MakeMinutia(100, 100, 100, 1, 20 * 64 + 10);
    EXPECT_EQ(Text(After(enrolled, MakeMinutia(100, 100, 100, 2, 25 * 64 + 7))),
              Text(MakeMinutia(100, 100, 100, 1, 21 * 64 + 9)));  // 87 / 4, 39 / 4
    EXPECT_EQ(Text(After(enrolled, MakeMinutia(100, 100, 100, 1, 18 * 64 + 12))),
              Text(MakeMinutia(100, 100, 100, 1, 20 * 64 + 11)));  // 80 / 4, 44 / 4
}

TEST_F(ImproveTest, ATurnedAndShiftedSampleIsTakenBackIntoTheEnrolledFrame) {
    // A quarter turn about (170, 150) and a shift: every position is exact.
    MinutiaSet sample = MakeSet(SharedMinutiae());
    AppendTo(sample, Loner(340, 150, 230), 8);
    AppendTo(sample, Loner(30, 20, 10), 8);
    for (Minutia& minutia : sample.minutiae) {
        const int32_t dx = minutia.x - 170;
        const int32_t dy = minutia.y - 150;
        minutia.x = 170 - dy + 21;
        minutia.y = 150 + dx - 34;
        minutia.direction = static_cast<uint8_t>((minutia.direction + 60) % 240);
    }
    ImproveSets(sample, MakeSet(SharedMinutiae()));
    MinutiaSet expected = MakeSet(SharedMinutiae());
    expected.confidence.assign(expected.confidence.size(), 11);
    AppendTo(expected, Loner(340, 150, 230), 4);
    AppendTo(expected, Loner(30, 20, 10), 4);
    EXPECT_EQ(TextWithConfidence(after_), TextWithConfidence(expected));
}

TEST_F(ImproveTest, HalvesAreRoundedAwayFromZeroOnTheWayBack) {
    // Twenty steps, 30 degrees: sine 8192, cosine 14189 of 16384. A minutia straight above or below
    // the turned centre goes back by exactly half its odd distance along x.
    Random random(testsupport::Seed());
    const MinutiaSet enrolled = MakeSet(SharedMinutiae());
    Impression turned;
    turned.turn = 20;
    const MinutiaSet plain = testsupport::TakeImpression(enrolled, turned, random);
    model::Probe probe;
    probe.set = enrolled;
    model::AlignmentResult found;
    model::Align(model::PrepareReference(plain), probe, found, false);
    ASSERT_EQ(found.angle, 20);
    for (const int32_t dy : {-401, 401}) {
        MinutiaSet sample = plain;
        // The octagon's centre is (170, 150).
        AppendTo(sample, Loner(170 + found.xShift, 150 + found.yShift + dy, 120), 8);
        ImproveSets(sample, enrolled);
        ASSERT_EQ(after_.count, 15);
        // 200.5, and 401 x 14189 / 16384 = 347.3.
        EXPECT_EQ(Text(after_.minutiae[14]), Text(dy < 0 ? Loner(170 - 201, 150 - 347, 100)
                                                         : Loner(170 + 201, 150 + 347, 100)));
    }
}

// ------------------------------------------------------------------------------ Unmatched enrolled

TEST_F(ImproveTest, AMissedMinutiaLosesConfidenceByItsPlaceInTheOverlap) {
    const struct {
        int32_t x, y, loss;
    } cases[] = {
        // The inner octagon's bounds are inclusive.
        {170, 150, 2},
        {245, 150, 2},
        {246, 150, 1},
        {95, 150, 2},
        {94, 150, 1},
        {170, 75, 2},
        {170, 74, 1},
        {170, 225, 2},
        {170, 226, 1},
        {225, 190, 2},
        {225, 191, 1},
        {115, 110, 2},
        {115, 109, 1},
        {240, 125, 2},
        {241, 125, 1},
        {110, 185, 2},
        {109, 185, 1},
        // So are the outer one's.
        {320, 150, 1},
        {321, 150, 0},
        {20, 150, 1},
        {19, 150, 0},
        {170, 0, 1},
        {170, -1, 0},
        {170, 300, 1},
        {170, 301, 0},
        {280, 230, 1},
        {280, 231, 0},
        {60, 70, 1},
        {60, 69, 0},
        {250, 40, 1},
        {251, 40, 0},
        {55, 225, 1},
        {54, 225, 0},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(testing::Message() << row.x << ',' << row.y);
        MinutiaSet enrolled = MakeSet(SharedMinutiae());
        AppendTo(enrolled, Loner(row.x, row.y), 8);
        ImproveSets(MakeSet(SharedMinutiae()), enrolled);
        ASSERT_EQ(updated_, 1);
        EXPECT_EQ(ConfidenceAt(row.x, row.y), 8 - row.loss);
    }
}

TEST_F(ImproveTest, TheInnerOctagonsBoundsAreRoundedTowardsZero) {
    // The right side at 322, and all 171 to the left: x runs from -151 to 151, so that its lower
    // inner bound is -302 / 4 = -75.
    MinutiaSet shared = MakeSet(SharedMinutiae());
    shared.minutiae[0].x = 322;
    shared.minutiae[1].x = 322;
    for (Minutia& minutia : shared.minutiae) {
        minutia.x -= 171;
    }
    for (const int32_t x : {-75, -76}) {
        MinutiaSet enrolled = shared;
        AppendTo(enrolled, Loner(x, 150), 8);
        ImproveSets(shared, enrolled);
        EXPECT_EQ(ConfidenceAt(x, 150), x == -75 ? 6 : 7);
    }
}

TEST_F(ImproveTest, ConfidenceOfOneOrZeroIsDropped) {
    const struct {
        int32_t x, y, before, after;  // -1: dropped
    } cases[] = {
        {170, 150, 4, 2},  {170, 150, 3, -1}, {170, 150, 1, -1}, {170, 150, 0, -1},
        {246, 150, 3, 2},  {246, 150, 2, -1}, {246, 150, 0, -1}, {321, 150, 2, 2},
        {321, 150, 1, -1}, {321, 150, 0, -1},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(testing::Message() << row.x << ',' << row.y << " from " << row.before);
        MinutiaSet enrolled = MakeSet(SharedMinutiae());
        AppendTo(enrolled, Loner(row.x, row.y), row.before);
        ImproveSets(MakeSet(SharedMinutiae()), enrolled);
        ASSERT_EQ(updated_, 1);
        EXPECT_EQ(ConfidenceAt(row.x, row.y), row.after);
        EXPECT_EQ(after_.count, row.after < 0 ? 14 : 15);
    }
}

TEST_F(ImproveTest, TheKeptOnesStayInOrder) {
    MinutiaSet enrolled = MakeSet({Loner(170, 150)});
    for (const Minutia& minutia : SharedMinutiae()) {
        AppendTo(enrolled, minutia, 8);
    }
    enrolled.minutiae.insert(enrolled.minutiae.begin() + 5, Loner(150, 150));
    enrolled.confidence.insert(enrolled.confidence.begin() + 5, 2);  // dropped
    AppendTo(enrolled, Loner(190, 150), 8);
    ImproveSets(MakeSet(SharedMinutiae()), enrolled);
    MinutiaSet expected = MakeSet({Loner(170, 150)});
    expected.confidence[0] = 6;
    for (const Minutia& minutia : SharedMinutiae()) {
        AppendTo(expected, minutia, 11);
    }
    AppendTo(expected, Loner(190, 150), 6);
    EXPECT_EQ(TextWithConfidence(after_), TextWithConfidence(expected));
}

// -------------------------------------------------------------------------------------- New ones

class NewMinutiaTest : public ImproveTest {
  protected:
    bool IsAdded(const MinutiaSet& enrolled, const Minutia& fresh) {
        MinutiaSet sample = MakeSet(SharedMinutiae());
        AppendTo(sample, fresh, 8);
        ImproveSets(sample, enrolled);
        EXPECT_EQ(updated_, 1);
        const bool isAdded = Text(after_.minutiae.back()) == Text(fresh);
        if (isAdded) {
            EXPECT_EQ(after_.confidence.back(), 4);
        }
        return isAdded;
    }
};

TEST_F(NewMinutiaTest, OnlyOutsideTheWidenedEnrolledOctagon) {
    const struct {
        int32_t x, y;
        bool isAdded;
    } cases[] = {
        {325, 150, false}, {326, 150, true},  {15, 150, false}, {14, 150, true},   {170, -5, false},
        {170, -6, true},   {170, 305, false}, {170, 306, true}, {283, 230, false}, {283, 231, true},
        {57, 70, false},   {57, 69, true},    {253, 40, false}, {254, 40, true},   {57, 230, false},
        {57, 231, true},   {170, 150, false},
    };
    for (const auto& row : cases) {
        EXPECT_EQ(IsAdded(MakeSet(SharedMinutiae()), Loner(row.x, row.y)), row.isAdded)
            << row.x << ',' << row.y;
    }
}

TEST_F(NewMinutiaTest, NotNearAKeptMinutia) {
    // Beside the corner at (320, 110).
    const MinutiaSet enrolled = MakeSet(SharedMinutiae());
    EXPECT_FALSE(IsAdded(enrolled, Loner(331, 110)));  // 121
    EXPECT_TRUE(IsAdded(enrolled, Loner(331, 111)));   // 122
    EXPECT_FALSE(IsAdded(enrolled, Loner(326, 119)));  // 117
    EXPECT_TRUE(IsAdded(enrolled, Loner(326, 120)));   // 136
}

TEST_F(NewMinutiaTest, ADroppedMinutiaIsNoObstacleButCountsForTheOctagon) {
    MinutiaSet enrolled = MakeSet(SharedMinutiae());
    // Of other attributes than the new one, so that the two are not matched.
    AppendTo(enrolled, MakeMinutia(320, 150, 50, 1, kLoner - 18), 8);
    EXPECT_FALSE(IsAdded(enrolled, Loner(326, 150))) << "six pixels from a kept one";
    enrolled.confidence.back() = 2;
    EXPECT_TRUE(IsAdded(enrolled, Loner(326, 150))) << "the near one is dropped";
    // One outside the overlap stretches the octagon whether it is kept or not.
    enrolled.minutiae.back().x = 330;
    enrolled.confidence.back() = 1;
    EXPECT_FALSE(IsAdded(enrolled, Loner(335, 140)));
    EXPECT_TRUE(IsAdded(enrolled, Loner(336, 140)));
}

TEST_F(NewMinutiaTest, NewOnesAreNotComparedWithEachOther) {
    MinutiaSet sample = MakeSet(SharedMinutiae());
    AppendTo(sample, Loner(340, 150), 8);
    AppendTo(sample, Loner(340, 151), 8);
    ImproveSets(sample, MakeSet(SharedMinutiae()));
    EXPECT_EQ(after_.count, 16);
    EXPECT_EQ(ConfidenceAt(340, 150), 4);
    EXPECT_EQ(ConfidenceAt(340, 151), 4);
}

TEST_F(NewMinutiaTest, SixtyAreTheMost) {
    MinutiaSet enrolled = MakeSet(SharedMinutiae());
    // 44 more, too far off to be anyone's neighbour.
    for (int32_t i = 0; i < 44; ++i) {
        AppendTo(enrolled,
                 MakeMinutia(560 + 16 * (i % 11), 100 + 16 * (i / 11), 50, 1, kLoner - 18), 8);
    }
    MinutiaSet sample = MakeSet(SharedMinutiae());
    for (int32_t i = 0; i < 5; ++i) {
        AppendTo(sample, Loner(100 + 20 * i, -30), 8);
    }
    ImproveSets(sample, enrolled);
    ASSERT_EQ(after_.count, 60);
    EXPECT_EQ(Text(after_.minutiae[58]), Text(Loner(100, -30)));
    EXPECT_EQ(Text(after_.minutiae[59]), Text(Loner(120, -30)));
}

// -------------------------------------------------------------------------------------- Restoring

class RestoreTest : public ImproveTest {
  protected:
    /// Eight matched minutiae and five that fall to a confidence of 1 or 0.
    static MinutiaSet Enrolled() {
        MinutiaSet set = MakeSet(OuterMinutiae());
        AppendTo(set, Loner(170, 150), 1);  // 0
        AppendTo(set, Loner(246, 150), 2);  // 1
        AppendTo(set, Loner(150, 150), 3);  // 1
        AppendTo(set, Loner(190, 150), 2);  // 0
        AppendTo(set, Loner(170, 170), 0);  // 0
        return set;
    }

    static MinutiaSet Expected() {
        MinutiaSet set = MakeSet(OuterMinutiae());
        set.confidence.assign(8, 11);
        return set;
    }
};

TEST_F(RestoreTest, UpToTwelveThoseOfOneBeforeThoseOfZero) {
    ImproveSets(MakeSet(OuterMinutiae()), Enrolled());
    MinutiaSet expected = Expected();
    AppendTo(expected, Loner(246, 150), 1);
    AppendTo(expected, Loner(150, 150), 1);
    AppendTo(expected, Loner(170, 150), 0);
    AppendTo(expected, Loner(190, 150), 0);
    EXPECT_EQ(TextWithConfidence(after_), TextWithConfidence(expected));
}

TEST_F(RestoreTest, NineAreStillFilledUpTenAreNot) {
    MinutiaSet sample = MakeSet(OuterMinutiae());
    AppendTo(sample, Loner(340, 150), 8);
    ImproveSets(sample, Enrolled());
    MinutiaSet expected = Expected();
    AppendTo(expected, Loner(340, 150), 4);
    AppendTo(expected, Loner(246, 150), 1);
    AppendTo(expected, Loner(150, 150), 1);
    AppendTo(expected, Loner(170, 150), 0);
    EXPECT_EQ(TextWithConfidence(after_), TextWithConfidence(expected));

    AppendTo(sample, Loner(170, 320), 8);
    ImproveSets(sample, Enrolled());
    expected = Expected();
    AppendTo(expected, Loner(340, 150), 4);
    AppendTo(expected, Loner(170, 320), 4);
    EXPECT_EQ(TextWithConfidence(after_), TextWithConfidence(expected));
}

// -------------------------------------------------------------------------- Keeping the improvement

TemplateBytes WithConfidences(const std::vector<uint8_t>& confidences) {
    TemplateBytes bytes(512, 0);
    bytes[3] = static_cast<uint8_t>(confidences.size());
    for (size_t i = 0; i < confidences.size(); ++i) {
        // The other bits of the byte belong to the attributes and must not count.
        bytes[4 + 6 * i + 3] = static_cast<uint8_t>(0xF0 | confidences[i]);
    }
    return bytes;
}

bool IsBetter(const TemplateBytes& before, const TemplateBytes& after) {
    return CheckEffectImprovement(before.data(), after.data()) != 0;
}

TEST(EffectTest, MoreMinutiaeAreAlwaysBetter) {
    EXPECT_TRUE(IsBetter(WithConfidences(std::vector<uint8_t>(10, 15)),
                         WithConfidences(std::vector<uint8_t>(11, 0))));
}

TEST(EffectTest, OtherwiseTheConfidencesMustRiseByFive) {
    const TemplateBytes before = WithConfidences({8, 8, 8, 8, 8, 8});
    EXPECT_FALSE(IsBetter(before, before));
    EXPECT_FALSE(IsBetter(before, WithConfidences({8, 8, 8, 8, 8, 12})));
    EXPECT_TRUE(IsBetter(before, WithConfidences({8, 8, 8, 8, 8, 13})));
    EXPECT_FALSE(IsBetter(before, WithConfidences({0, 8, 8, 8, 8, 15})));
    // Fewer minutiae too.
    EXPECT_FALSE(IsBetter(before, WithConfidences({15, 15, 15, 7})));  // 52
    EXPECT_TRUE(IsBetter(before, WithConfidences({15, 15, 15, 8})));   // 53
}

TEST(EffectTest, AtMostSixtyEntriesAreSummed) {
    TemplateBytes before = WithConfidences(std::vector<uint8_t>(60, 8));
    TemplateBytes after = WithConfidences(std::vector<uint8_t>(60, 8));
    before[3] = 200;
    after[3] = 200;
    before[4 + 6 * 60 + 3] = 0;  // byte 367
    after[4 + 6 * 60 + 3] = 15;
    EXPECT_FALSE(IsBetter(before, after));
    after[4 + 6 * 59 + 3] = 13;
    EXPECT_TRUE(IsBetter(before, after));
}

class EngineImproveTest : public testing::Test {
  protected:
    /// Confidences 15 but for the first two.
    static TemplateBytes Enrolled(uint8_t first, uint8_t second) {
        MinutiaSet set = MakeSet(SharedMinutiae());
        set.confidence.assign(set.confidence.size(), 15);
        set.confidence[0] = first;
        set.confidence[1] = second;
        return testsupport::FinishedTemplate(set);
    }

    WorkBuffer buffer_;
};

TEST_F(EngineImproveTest, AGainOfFourIsRefusedOfFiveKept) {
    const TemplateBytes sample = testsupport::FinishedTemplate(MakeSet(SharedMinutiae()));
    TemplateBytes enrolled = Enrolled(13, 13);
    const TemplateBytes before = enrolled;
    int32_t score = -1;
    int32_t improved = -1;
    EXPECT_EQ(IImprove(buffer_.Bytes(), sample.data(), enrolled.data(), &score, &improved), 0);
    EXPECT_EQ(improved, 0);
    EXPECT_GE(score, 225);
    EXPECT_EQ(enrolled, before);

    enrolled = Enrolled(12, 13);
    const TemplateBytes poorer = enrolled;
    EXPECT_EQ(IImprove(buffer_.Bytes(), sample.data(), enrolled.data(), &score, &improved), 0);
    EXPECT_NE(improved, 0);
    MinutiaSet after;
    ASSERT_EQ(model::DecodeTemplate(enrolled, after), 0);
    EXPECT_EQ(after.confidence, std::vector<uint8_t>(14, 15));
    EXPECT_EQ(enrolled[369], 0);
    EXPECT_TRUE(std::equal(enrolled.begin() + 370, enrolled.end(), poorer.begin() + 370))
        << "index area and checksum are the caller's";
}

TEST_F(EngineImproveTest, OneMinutiaMoreIsKept) {
    MinutiaSet sample = MakeSet(SharedMinutiae());
    AppendTo(sample, Loner(340, 150), 8);
    const TemplateBytes bytes = testsupport::FinishedTemplate(sample);
    TemplateBytes enrolled = Enrolled(15, 15);
    int32_t score = -1;
    int32_t improved = -1;
    EXPECT_EQ(IImprove(buffer_.Bytes(), bytes.data(), enrolled.data(), &score, &improved), 0);
    EXPECT_NE(improved, 0);
    EXPECT_EQ(enrolled[3], 15);
}

TEST_F(EngineImproveTest, WithoutAMatchNothingChanges) {
    const TemplateBytes enrolled = Enrolled(8, 8);
    Random random(testsupport::Seed());
    SCOPED_TRACE(testsupport::SeedNote(testsupport::Seed()));
    const TemplateBytes other =
        testsupport::FinishedTemplate(testsupport::RandomSet(random, Layout::kSpread, 20));
    TemplateBytes after = enrolled;
    int32_t score = -1;
    int32_t improved = -1;
    EXPECT_EQ(IImprove(buffer_.Bytes(), other.data(), after.data(), &score, &improved), 0);
    EXPECT_EQ(improved, 0);
    EXPECT_LT(score, 225);
    EXPECT_EQ(after, enrolled);
    EXPECT_EQ(
        IImprove(buffer_.Bytes(), TemplateBytes(512, 0).data(), after.data(), &score, &improved),
        0);
    EXPECT_EQ(improved, 0);
    EXPECT_EQ(score, 0);
}

TEST_F(EngineImproveTest, TheScoreIsClampedAt2047) {
    Random random(testsupport::Seed() + 1);
    SCOPED_TRACE(testsupport::SeedNote(testsupport::Seed() + 1));
    int32_t clamped = 0;
    for (int32_t round = 0; round < 10; ++round) {
        MinutiaSet set = testsupport::RandomSet(random, Layout::kSpread, 50);
        for (Minutia& minutia : set.minutiae) {
            minutia.type = 1;
            minutia.attributes = 1000;
        }
        const TemplateBytes sample = testsupport::FinishedTemplate(set);
        TemplateBytes head = sample;
        int32_t updated = 0;
        const int32_t raw = MatchWithImprove(buffer_.Bytes(), sample.data(), head.data(), &updated);
        clamped += raw > 2047 ? 1 : 0;
        TemplateBytes enrolled = sample;
        int32_t score = -1;
        int32_t improved = 0;
        IImprove(buffer_.Bytes(), sample.data(), enrolled.data(), &score, &improved);
        EXPECT_EQ(score, std::min(raw, 2047));
    }
    EXPECT_GE(clamped, 1) << "no raw score above 2047 among the sets";
}

// --------------------------------------------------------------------------------- The API's step

TEST(FpmImproveTest, AnIdenticalTemplateTeachesNothing) {
    const TemplateBytes bytes = testsupport::FinishedTemplate(MakeSet(SharedMinutiae()));
    TemplateBytes enrolled = bytes;
    EXPECT_EQ(FPM_Improve(bytes.data(), enrolled.data()), 1);
    EXPECT_EQ(enrolled, bytes);
    // One differing byte anywhere is enough to go on.
    TemplateBytes sample = bytes;
    sample[511] = static_cast<uint8_t>(sample[511] ^ 1);
    EXPECT_EQ(FPM_Improve(sample.data(), enrolled.data()), 0);
}

TEST(FpmImproveTest, TheImprovedTemplateKeepsItsQualityAndChecksumAndGetsANewIndex) {
    MinutiaSet sample = MakeSet(SharedMinutiae());
    AppendTo(sample, Loner(340, 150), 8);
    const TemplateBytes fresh = testsupport::FinishedTemplate(sample);
    for (const uint8_t quality : {uint8_t{77}, uint8_t{0}}) {
        TemplateBytes enrolled = testsupport::FinishedTemplate(MakeSet(SharedMinutiae()));
        enrolled[369] = quality;
        enrolled[510] = 0xAB;
        enrolled[511] = 0xCD;
        ASSERT_EQ(FPM_Improve(fresh.data(), enrolled.data()), 0);
        EXPECT_EQ(enrolled[3], 15);
        EXPECT_EQ(enrolled[369], quality != 0 ? 77 : 29) << "14 minutiae before the update";
        EXPECT_EQ(enrolled[510], 0xAB);
        EXPECT_EQ(enrolled[511], 0xCD);
        std::vector<uint8_t> area(140, 0);
        ASSERT_EQ(model::CreateIndexArea(enrolled, area), 0);
        EXPECT_TRUE(std::equal(area.begin(), area.end(), enrolled.begin() + 370));
    }
}

TEST(FpmImproveTest, ARefusedUpdateLeavesTheTemplate) {
    MinutiaSet set = MakeSet(SharedMinutiae());
    set.confidence.assign(set.confidence.size(), 15);
    const TemplateBytes before = testsupport::FinishedTemplate(set);
    const TemplateBytes sample = testsupport::FinishedTemplate(MakeSet(SharedMinutiae()));
    TemplateBytes enrolled = before;
    EXPECT_NE(FPM_Improve(sample.data(), enrolled.data()), 0);
    EXPECT_EQ(enrolled, before);
}

// -------------------------------------------------------------------------------- Against the model

TEST_F(ImproveTest, AgreesWithTheModelOnRandomSamples) {
    const uint64_t seed = testsupport::Seed() + 2;
    SCOPED_TRACE(testsupport::SeedNote(seed));
    Random random(seed);
    int32_t updates = 0;
    for (const Layout layout : testsupport::kAllLayouts) {
        for (const int32_t count : {6, 9, 12, 20, 35, 60}) {
            for (int32_t round = 0; round < 4; ++round) {
                SCOPED_TRACE(testing::Message()
                             << NameOf(layout) << ", " << count << " minutiae, round " << round);
                const MinutiaSet finger = testsupport::RandomSet(random, layout, count);
                Impression impression = testsupport::RandomImpression(random);
                impression.added = random.Below(15);
                if (round == 1) {
                    impression.turn = random.Below(240);
                }
                TemplateBytes sample = testsupport::FinishedTemplate(
                    testsupport::TakeImpression(finger, impression, random));
                MinutiaSet enrolledSet = testsupport::TakeImpression(
                    finger, testsupport::RandomImpression(random), random);
                for (uint8_t& confidence : enrolledSet.confidence) {
                    confidence = static_cast<uint8_t>(random.Below(round == 2 ? 4 : 16));
                }
                TemplateBytes enrolled = testsupport::FinishedTemplate(enrolledSet);
                if (round == 3) {
                    TemplateBytes& damaged = random.OneIn(2) ? sample : enrolled;
                    damaged = testsupport::Damaged(damaged, random);
                }
                TemplateBytes expected = enrolled;
                bool expectedUpdate = false;
                const int32_t expectedScore =
                    model::MatchAndImprove(sample, expected, expectedUpdate);
                updates += expectedUpdate ? 1 : 0;
                testsupport::WithEachFill(buffer_, [&](WorkBuffer& buffer) {
                    TemplateBytes actual = enrolled;
                    int32_t updated = -1;
                    EXPECT_EQ(
                        MatchWithImprove(buffer.Bytes(), sample.data(), actual.data(), &updated),
                        expectedScore);
                    EXPECT_EQ(updated != 0, expectedUpdate);
                    EXPECT_EQ(actual, expected);
                });
            }
        }
    }
    EXPECT_GE(updates, 40) << "too few updates for the comparison to mean much";
}

}  // namespace
