// SPDX-License-Identifier: Apache-2.0
//
// Template fusion: which template becomes the base, how minutiae are averaged, and which minutiae
// of one capture only widen the result. Hand-made captures share one well-spread set, so that they
// align in place and each rule shows in one minutia; random captures are compared with the model.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "api/Fpm.h"
#include "engine/FPEngine.h"
#include "match/FPMatch.h"
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

/// Twenty minutiae at least 30 pixels apart within (20, 20) .. (200, 260); number 0 is the lone
/// rightmost one at (200, 140).
std::vector<Minutia> SharedMinutiae() {
    return {
        MakeMinutia(200, 140, 50, 1, 1290),  MakeMinutia(20, 20, 10, 1, 1290),
        MakeMinutia(90, 25, 133, 2, 1290),   MakeMinutia(150, 20, 77, 1, 1290),
        MakeMinutia(45, 60, 201, 1, 1290),   MakeMinutia(115, 58, 29, 2, 1290),
        MakeMinutia(166, 66, 160, 1, 1290),  MakeMinutia(20, 105, 95, 2, 1290),
        MakeMinutia(78, 98, 220, 1, 1290),   MakeMinutia(130, 110, 5, 1, 1290),
        MakeMinutia(40, 150, 180, 1, 1290),  MakeMinutia(95, 146, 66, 2, 1290),
        MakeMinutia(152, 150, 120, 1, 1290), MakeMinutia(24, 200, 44, 1, 1290),
        MakeMinutia(70, 190, 150, 2, 1290),  MakeMinutia(122, 196, 231, 1, 1290),
        MakeMinutia(176, 205, 18, 1, 1290),  MakeMinutia(50, 240, 101, 2, 1290),
        MakeMinutia(105, 245, 190, 1, 1290), MakeMinutia(160, 260, 84, 1, 1290),
    };
}

std::vector<Minutia> Without(std::vector<Minutia> minutiae, size_t first, size_t count) {
    const auto begin = minutiae.begin() + static_cast<std::ptrdiff_t>(first);
    minutiae.erase(begin, begin + static_cast<std::ptrdiff_t>(count));
    return minutiae;
}

/// The shared set, with four minutiae missing in the second capture and four others in the third,
/// so that the first becomes the base.
std::array<std::vector<Minutia>, 3> CapturesWithFirstAsBase() {
    return {SharedMinutiae(), Without(SharedMinutiae(), 8, 4), Without(SharedMinutiae(), 13, 4)};
}

std::string Text(const Minutia& minutia) {
    return Describe(MakeSet({minutia}));
}

class FusionTest : public testing::Test {
  protected:
    /// Runs the fusion; the fused minutiae are in fused_ when it returns 0.
    int32_t Fuse(const std::array<TemplateBytes, 3>& templates) {
        std::vector<uint8_t> block;
        for (const TemplateBytes& bytes : templates) {
            block.insert(block.end(), bytes.begin(), bytes.begin() + kHeadBytes);
        }
        const std::vector<uint8_t> before = block;
        const int32_t result = GeneralizeTemplate(buffer_.Bytes(), block.data());
        EXPECT_TRUE(
            std::equal(block.begin() + kHeadBytes, block.end(), before.begin() + kHeadBytes))
            << "the second and third template are not written";
        head_.assign(block.begin(), block.begin() + kHeadBytes);
        fused_ = {};
        if (result == 0) {
            EXPECT_EQ(model::DecodeTemplate(head_, fused_), 0);
        } else {
            EXPECT_EQ(block, before) << "a failing fusion writes nothing";
        }
        return result;
    }

    int32_t FuseSets(const std::array<std::vector<Minutia>, 3>& sets) {
        return Fuse({testsupport::FinishedTemplate(MakeSet(sets[0])),
                     testsupport::FinishedTemplate(MakeSet(sets[1])),
                     testsupport::FinishedTemplate(MakeSet(sets[2]))});
    }

    /// The fused minutiae at a position, as text.
    std::string FusedAt(int32_t x, int32_t y) const {
        std::string text;
        for (const Minutia& minutia : fused_.minutiae) {
            text += minutia.x == x && minutia.y == y ? Text(minutia) : "";
        }
        return text;
    }

    bool Holds(const Minutia& minutia) const {
        const std::string text = Text(minutia);
        return FusedAt(minutia.x, minutia.y) == text;
    }

    WorkBuffer buffer_;
    TemplateBytes head_;
    MinutiaSet fused_;
};

// ----------------------------------------------------------------------------------- Whole fusion

TEST_F(FusionTest, ThreeEqualCapturesGiveTheirMinutiaeOnce) {
    testsupport::WithEachFill(buffer_, [&](WorkBuffer&) {
        ASSERT_EQ(FuseSets({SharedMinutiae(), SharedMinutiae(), SharedMinutiae()}), 0);
        EXPECT_EQ(fused_.count, 20);
        for (const Minutia& minutia : SharedMinutiae()) {
            EXPECT_TRUE(Holds(minutia)) << Text(minutia);
        }
    });
}

TEST_F(FusionTest, TheResultIsA301HeadWithConfidence8AndNoQuality) {
    std::array<TemplateBytes, 3> templates;
    for (TemplateBytes& bytes : templates) {
        MinutiaSet set = MakeSet(SharedMinutiae());
        set.confidence.assign(set.minutiae.size(), 15);
        bytes = testsupport::FinishedTemplate(set);
        bytes[2] = '0';
    }
    ASSERT_EQ(Fuse(templates), 0);
    EXPECT_EQ(std::string(head_.begin(), head_.begin() + 3), "301");
    EXPECT_EQ(head_[369], 0);
    for (const uint8_t confidence : fused_.confidence) {
        EXPECT_EQ(confidence, 8);
    }
}

TEST_F(FusionTest, ATemplateThatDoesNotDecodeFails) {
    const TemplateBytes good = testsupport::FinishedTemplate(MakeSet(SharedMinutiae()));
    TemplateBytes bad = good;
    bad[3] = 5;
    EXPECT_NE(Fuse({bad, good, good}), 0);
    EXPECT_NE(Fuse({good, bad, good}), 0);
    EXPECT_NE(Fuse({good, good, bad}), 0);
    bad = good;
    bad[4 + 6 * 19 + 2] = static_cast<uint8_t>(bad[4 + 6 * 19 + 2] | 0x30);
    EXPECT_NE(Fuse({good, good, bad}), 0);
    EXPECT_EQ(Fuse({good, good, good}), 0);
}

TEST_F(FusionTest, DifferentFingersDoNotFuse) {
    const uint64_t seed = testsupport::Seed();
    SCOPED_TRACE(testsupport::SeedNote(seed));
    Random random(seed);
    const auto other = [&random] {
        return testsupport::RandomSet(random, Layout::kSpread, 25).minutiae;
    };
    EXPECT_EQ(FuseSets({other(), other(), other()}), 1);
    // Two captures that agree are not enough: no base matches both others.
    EXPECT_EQ(FuseSets({SharedMinutiae(), SharedMinutiae(), other()}), 1);
    EXPECT_EQ(FuseSets({other(), SharedMinutiae(), SharedMinutiae()}), 1);
}

TEST_F(FusionTest, ACaptureWithoutBarsDoesNotFuse) {
    const std::vector<Minutia> apart = {MakeMinutia(-200, -200, 0), MakeMinutia(10, -200, 0),
                                        MakeMinutia(220, -200, 0),  MakeMinutia(-200, 10, 0),
                                        MakeMinutia(-200, 220, 0),  MakeMinutia(700, 700, 0)};
    EXPECT_EQ(FuseSets({SharedMinutiae(), apart, SharedMinutiae()}), 1);
    EXPECT_EQ(FuseSets({apart, SharedMinutiae(), SharedMinutiae()}), 1);
}

TEST_F(FusionTest, ABaseNeedsAScoreOf210WithBothOthers) {
    // Three bars far from each other, and minutiae out of everyone's reach that fill up the result.
    const std::vector<Minutia> whole = {
        MakeMinutia(-200, -200, 30), MakeMinutia(-100, -200, 170), MakeMinutia(500, -200, 75),
        MakeMinutia(500, -120, 200), MakeMinutia(-200, 500, 11),   MakeMinutia(-110, 560, 133),
        MakeMinutia(150, -200, 0),   MakeMinutia(150, 150, 0),     MakeMinutia(500, 150, 0),
        MakeMinutia(-200, 150, 0),   MakeMinutia(150, 420, 0),     MakeMinutia(500, 420, 0)};
    for (size_t poor = 0; poor < 3; ++poor) {
        SCOPED_TRACE(testing::Message() << "poor capture " << poor);
        std::array<std::vector<Minutia>, 3> sets = {whole, whole, whole};
        // Two bars of 1156, one of 23 x 1156 / 40 = 664: (72 x 2976 + 512) / 1024 = 209.75.
        sets[poor][4].attributes = 17 << 6;
        EXPECT_EQ(FuseSets(sets), 1);
        // The third 1156 x 31 / 32 = 1119, x 24 / 40 = 671: (72 x 2983 + 512) / 1024 = 210.2.
        sets[poor][4].attributes = (16 << 6) | 1;
        EXPECT_EQ(FuseSets(sets), 0);
        EXPECT_EQ(fused_.count, 12);
    }
}

TEST_F(FusionTest, TheTemplateThatMatchesBothOthersIsTheBase) {
    // The two partial captures share too few minutiae with each other; the whole one is found
    // wherever it stands. A loner at the edge shows whose frame is the result's.
    const std::vector<Minutia> shared = SharedMinutiae();
    const std::vector<Minutia> upper(shared.begin(), shared.begin() + 10);
    const std::vector<Minutia> lower(shared.begin() + 10, shared.end());
    for (size_t whole = 0; whole < 3; ++whole) {
        SCOPED_TRACE(testing::Message() << "whole capture " << whole);
        std::array<std::vector<Minutia>, 3> sets;
        sets[whole] = shared;
        sets[whole == 0 ? 1 : 0] = upper;
        sets[whole == 2 ? 1 : 2] = lower;
        for (size_t i = 0; i < 3; ++i) {
            for (Minutia& minutia : sets[i]) {
                minutia.x += 40 * static_cast<int32_t>(i);
            }
        }
        ASSERT_EQ(FuseSets(sets), 0);
        EXPECT_EQ(fused_.count, 20);
        for (Minutia minutia : shared) {
            minutia.x += 40 * static_cast<int32_t>(whole);
            EXPECT_TRUE(Holds(minutia)) << Text(minutia);
        }
    }
}

TEST_F(FusionTest, OnEqualSumsTheLowerNumberedBaseWins) {
    std::array<std::vector<Minutia>, 3> sets = {SharedMinutiae(), SharedMinutiae(),
                                                SharedMinutiae()};
    for (size_t i = 0; i < 3; ++i) {
        for (Minutia& minutia : sets[i]) {
            minutia.y += 30 * static_cast<int32_t>(i);
        }
    }
    ASSERT_EQ(FuseSets(sets), 0);
    for (const Minutia& minutia : SharedMinutiae()) {
        EXPECT_TRUE(Holds(minutia)) << Text(minutia);
    }
    // The first a little poorer: the second and third match each other best.
    sets[0] = Without(sets[0], 9, 3);
    ASSERT_EQ(FuseSets(sets), 0);
    for (Minutia minutia : SharedMinutiae()) {
        minutia.y += 30;
        EXPECT_TRUE(Holds(minutia)) << Text(minutia);
    }
}

// ---------------------------------------------------------------------------------------- Merging

class MergeTest : public FusionTest {
  protected:
    /// Minutia 9, at (130, 110), as the three captures see it; then the fused one there.
    std::string Merged(const std::vector<Minutia>& seen) {
        std::array<std::vector<Minutia>, 3> sets;
        for (size_t i = 0; i < 3; ++i) {
            sets[i] = Without(SharedMinutiae(), 9, 1);
            if (i < seen.size()) {
                sets[i].insert(sets[i].begin() + 9, seen[i]);
            }
        }
        EXPECT_EQ(FuseSets(sets), 0);
        return FusedAt(130, 110);
    }

    std::string MergedDirections(const std::vector<int32_t>& directions) {
        std::vector<Minutia> seen;
        for (const int32_t direction : directions) {
            seen.push_back(MakeMinutia(130, 110, direction, 1, 1290));
        }
        return Merged(seen);
    }

    static std::string WithDirection(int32_t direction) {
        return Text(MakeMinutia(130, 110, direction, 1, 1290));
    }
};

TEST_F(MergeTest, TwoDirections) {
    EXPECT_EQ(MergedDirections({5, 235}), WithDirection(0));
    EXPECT_EQ(MergedDirections({235, 5}), WithDirection(0));
    EXPECT_EQ(MergedDirections({10, 13}), WithDirection(11));
    EXPECT_EQ(MergedDirections({3, 238}), WithDirection(0));    // 1 / 2
    EXPECT_EQ(MergedDirections({2, 237}), WithDirection(0));    // -1 / 2
    EXPECT_EQ(MergedDirections({1, 236}), WithDirection(239));  // -3 / 2
    EXPECT_EQ(MergedDirections({118, 123}), WithDirection(120));
}

TEST_F(MergeTest, ThreeDirections) {
    EXPECT_EQ(MergedDirections({10, 11, 11}), WithDirection(11));    // 33 / 3
    EXPECT_EQ(MergedDirections({10, 10, 11}), WithDirection(10));    // 32 / 3
    EXPECT_EQ(MergedDirections({5, 235, 7}), WithDirection(2));      // 8 / 3
    EXPECT_EQ(MergedDirections({1, 239, 238}), WithDirection(239));  // -3 / 3
    EXPECT_EQ(MergedDirections({1, 239, 239}), WithDirection(0));    // -2 / 3
    EXPECT_EQ(MergedDirections({1, 0, 239}), WithDirection(0));      // 1 / 3
}

TEST_F(MergeTest, TheMoreFrequentKindWinsAnEndingOnATie) {
    const auto kind = [](int32_t type) { return MakeMinutia(130, 110, 5, type, 1290); };
    EXPECT_EQ(Merged({kind(1), kind(2)}), Text(kind(1)));
    EXPECT_EQ(Merged({kind(2), kind(1)}), Text(kind(1)));
    EXPECT_EQ(Merged({kind(2), kind(2)}), Text(kind(2)));
    EXPECT_EQ(Merged({kind(1), kind(2), kind(2)}), Text(kind(2)));
    EXPECT_EQ(Merged({kind(2), kind(1), kind(1)}), Text(kind(1)));
}

TEST_F(MergeTest, EachAttributeIsAveragedForItself) {
    const auto seen = [](uint32_t high, uint32_t low) {
        return MakeMinutia(130, 110, 5, 1, high * 64 + low);
    };
    EXPECT_EQ(Merged({seen(20, 5), seen(21, 6)}), Text(seen(20, 5)));
    EXPECT_EQ(Merged({seen(20, 5), seen(20, 5), seen(21, 7)}), Text(seen(20, 6)));  // 18 / 3
    EXPECT_EQ(Merged({seen(20, 5), seen(21, 5), seen(21, 6)}), Text(seen(21, 5)));  // 63, 17
}

TEST_F(MergeTest, AMinutiaOfTwoCapturesIsMergedWhicheverTheyAre) {
    const Minutia low = MakeMinutia(130, 110, 5, 1, 1290);
    const Minutia high = MakeMinutia(130, 110, 9, 1, 1290);
    const Minutia mean = MakeMinutia(130, 110, 7, 1, 1290);
    const std::vector<Minutia> rest = Without(SharedMinutiae(), 9, 1);
    const auto with = [&rest](const Minutia& minutia) {
        std::vector<Minutia> minutiae = rest;
        minutiae.insert(minutiae.begin() + 9, minutia);
        return minutiae;
    };
    ASSERT_EQ(FuseSets({with(low), with(high), rest}), 0);
    EXPECT_EQ(FusedAt(130, 110), Text(mean));
    ASSERT_EQ(FuseSets({with(low), rest, with(high)}), 0);
    EXPECT_EQ(FusedAt(130, 110), Text(mean));
    ASSERT_EQ(FuseSets({rest, with(low), with(high)}), 0);
    EXPECT_EQ(FusedAt(130, 110), Text(mean));
}

// -------------------------------------------------------------------------------- Covering more

class WideningTest : public FusionTest {
  protected:
    /// Whether a minutia that only one capture holds comes into the result.
    bool IsAdded(size_t capture, const Minutia& loner) {
        std::array<std::vector<Minutia>, 3> sets = CapturesWithFirstAsBase();
        sets[capture].push_back(loner);
        EXPECT_EQ(FuseSets(sets), 0);
        EXPECT_GE(fused_.count, 20);
        EXPECT_LE(fused_.count, 21);
        const bool isAdded = Holds(loner);
        EXPECT_EQ(fused_.count, isAdded ? 21 : 20);
        return isAdded;
    }

    /// A loner right of the rightmost minutia (200, 140; direction 50).
    static Minutia Beside(int32_t dx, int32_t dy, int32_t turn) {
        return MakeMinutia(200 + dx, 140 + dy, 50 + turn, 1, kLoner);
    }
};

TEST_F(WideningTest, InsideTheHullNothingIsAdded) {
    for (size_t capture = 0; capture < 3; ++capture) {
        SCOPED_TRACE(testing::Message() << "capture " << capture);
        EXPECT_FALSE(IsAdded(capture, MakeMinutia(100, 80, 30, 1, kLoner)));
        // The left edge runs from (20, 20) down to (20, 105).
        EXPECT_FALSE(IsAdded(capture, MakeMinutia(20, 60, 30, 1, kLoner)));
        EXPECT_TRUE(IsAdded(capture, MakeMinutia(19, 60, 30, 1, kLoner)));
    }
}

TEST_F(WideningTest, BesideAMergedMinutiaTheBaseAddsByDistanceAndDirection) {
    const struct {
        int32_t dx, dy, turn;
        bool isAdded;
    } cases[] = {
        {6, 0, 100, false},                                                              // 36
        {6, 2, 100, false},                                                              // 40
        {5, 4, 13, true},   {5, 4, 12, false},                                           // 41
        {5, 4, -13, true},  {5, 4, -12, false},  {14, 2, 13, true}, {14, 2, 12, false},  // 200
        {15, 0, 13, true},  {15, 0, -12, false},                                         // 225
        {15, 1, 0, true},                                                                // 226
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(testing::Message() << row.dx << ',' << row.dy << " turn " << row.turn);
        EXPECT_EQ(IsAdded(0, Beside(row.dx, row.dy, row.turn)), row.isAdded);
    }
}

TEST_F(WideningTest, DirectionsAreComparedRoundTheCircle) {
    std::array<std::vector<Minutia>, 3> sets = CapturesWithFirstAsBase();
    for (std::vector<Minutia>& set : sets) {
        set[0].direction = 236;
    }
    for (const int32_t turned : {8, 9}) {  // 12 and 13 steps on
        std::array<std::vector<Minutia>, 3> captures = sets;
        const Minutia loner = MakeMinutia(214, 142, turned, 1, kLoner);
        captures[0].push_back(loner);
        ASSERT_EQ(FuseSets(captures), 0);
        EXPECT_EQ(Holds(loner), turned == 9);
    }
}

TEST_F(WideningTest, TheOtherCapturesAddByDistanceAlone) {
    for (size_t capture = 1; capture < 3; ++capture) {
        SCOPED_TRACE(testing::Message() << "capture " << capture);
        EXPECT_FALSE(IsAdded(capture, Beside(6, 0, 100)));
        EXPECT_FALSE(IsAdded(capture, Beside(12, 0, 100)));  // 144
        EXPECT_TRUE(IsAdded(capture, Beside(12, 1, 0)));     // 145
    }
}

TEST_F(WideningTest, MinutiaeAddedInOnePassAreNotComparedWithEachOther) {
    for (size_t capture = 0; capture < 3; ++capture) {
        SCOPED_TRACE(testing::Message() << "capture " << capture);
        std::array<std::vector<Minutia>, 3> sets = CapturesWithFirstAsBase();
        const Minutia one = MakeMinutia(230, 140, 50, 1, kLoner);
        const Minutia two = MakeMinutia(230, 141, 50, 1, kLoner);
        sets[capture].push_back(one);
        sets[capture].push_back(two);
        ASSERT_EQ(FuseSets(sets), 0);
        EXPECT_TRUE(Holds(one));
        EXPECT_TRUE(Holds(two));
        EXPECT_EQ(fused_.count, 22);
    }
}

TEST_F(WideningTest, EachPassSeesWhatTheEarlierOnesAdded) {
    // The base adds (260, 140). The second capture's loner then lies inside the grown hull, another
    // too near; the third capture's lies inside what the second added.
    std::array<std::vector<Minutia>, 3> sets = CapturesWithFirstAsBase();
    const Minutia byBase = MakeMinutia(260, 140, 50, 1, kLoner);
    const Minutia inside = MakeMinutia(230, 140, 50, 1, kLoner);
    const Minutia near = MakeMinutia(270, 145, 150, 1, kLoner);
    const Minutia bySecond = MakeMinutia(262, 300, 50, 1, kLoner);
    const Minutia insideBoth = MakeMinutia(255, 240, 50, 1, kLoner);
    sets[0].push_back(byBase);
    sets[1].push_back(inside);
    sets[1].push_back(near);
    sets[1].push_back(bySecond);
    sets[2].push_back(insideBoth);
    ASSERT_EQ(FuseSets(sets), 0);
    EXPECT_TRUE(Holds(byBase));
    EXPECT_FALSE(Holds(inside));
    EXPECT_FALSE(Holds(near));
    EXPECT_TRUE(Holds(bySecond));
    EXPECT_FALSE(Holds(insideBoth));
    EXPECT_EQ(fused_.count, 22);
    // Without the base's loner all three of the second capture come in, and the third's too.
    sets[0].pop_back();
    sets[1] = Without(sets[1], sets[1].size() - 3, 3);
    sets[1].push_back(inside);
    ASSERT_EQ(FuseSets(sets), 0);
    EXPECT_TRUE(Holds(inside));
    EXPECT_TRUE(Holds(insideBoth));
    EXPECT_EQ(fused_.count, 22);
}

TEST_F(WideningTest, APartnerOfAMergedMinutiaIsNotAddedAgain) {
    // Minutia 0 of the second capture lies where the base has it; the third capture sees it 13
    // pixels farther out. By their attributes the second goes with either, the other two do not.
    std::array<std::vector<Minutia>, 3> sets = CapturesWithFirstAsBase();
    sets[0][0].attributes = 20 * 64 + 10;
    sets[1][0].attributes = 20 * 64 + 22;
    sets[2][0].attributes = 20 * 64 + 34;
    sets[2][0].x = 213;
    ASSERT_EQ(FuseSets(sets), 0);
    EXPECT_EQ(fused_.count, 20);
    EXPECT_EQ(FusedAt(213, 140), "");
    EXPECT_EQ(FusedAt(200, 140), Text(MakeMinutia(200, 140, 50, 1, 20 * 64 + 16)));
    // Were it a stranger to the second capture as well, it would widen the result.
    sets[2][0].attributes = kLoner;
    ASSERT_EQ(FuseSets(sets), 0);
    EXPECT_EQ(fused_.count, 21);
    EXPECT_EQ(FusedAt(213, 140), Text(sets[2][0]));
}

// ------------------------------------------------------------------------------------ Few minutiae

class FewMinutiaeTest : public FusionTest {
  protected:
    /// Eight shared minutiae, one each missing in the second and third capture; every capture has
    /// loners of its own inside the hull.
    static std::array<std::vector<Minutia>, 3> Captures(size_t loners) {
        const std::vector<Minutia> eight = {
            MakeMinutia(20, 20, 10, 1, 1290),   MakeMinutia(180, 22, 133, 2, 1290),
            MakeMinutia(100, 40, 77, 1, 1290),  MakeMinutia(35, 90, 201, 1, 1290),
            MakeMinutia(160, 95, 29, 2, 1290),  MakeMinutia(30, 170, 160, 1, 1290),
            MakeMinutia(110, 160, 95, 2, 1290), MakeMinutia(175, 180, 220, 1, 1290)};
        std::array<std::vector<Minutia>, 3> sets = {eight, Without(eight, 2, 1),
                                                    Without(eight, 6, 1)};
        for (size_t i = 0; i < 3; ++i) {
            for (size_t k = 0; k < loners; ++k) {
                sets[i].push_back(Loner(i, k));
            }
        }
        return sets;
    }

    /// Without a partner in the other captures, their loners included.
    static Minutia Loner(size_t capture, size_t number) {
        return MakeMinutia(
            60 + 16 * static_cast<int32_t>(number), 100 + 15 * static_cast<int32_t>(capture),
            17 * static_cast<int32_t>(number), 1, kLoner - 18 * static_cast<uint32_t>(capture));
    }
};

TEST_F(FewMinutiaeTest, TheBaseFillsUpToTwelveInItsOrder) {
    ASSERT_EQ(FuseSets(Captures(6)), 0);
    ASSERT_EQ(fused_.count, 12);
    for (size_t k = 0; k < 4; ++k) {
        EXPECT_EQ(Text(fused_.minutiae[8 + k]), Text(Loner(0, k)));
    }
}

TEST_F(FewMinutiaeTest, TenAreEnoughNineAreNot) {
    ASSERT_EQ(FuseSets(Captures(2)), 0);
    EXPECT_EQ(fused_.count, 10);
    EXPECT_EQ(FuseSets(Captures(1)), 1);
}

TEST_F(FewMinutiaeTest, NineThatWereSeenTwiceAreFilledUpTenAreNot) {
    const std::vector<Minutia> more = {MakeMinutia(70, 60, 50, 1, 1290),
                                       MakeMinutia(140, 60, 180, 2, 1290)};
    std::array<std::vector<Minutia>, 3> sets = Captures(6);
    for (std::vector<Minutia>& set : sets) {
        set.insert(set.begin(), more[0]);
    }
    ASSERT_EQ(FuseSets(sets), 0);
    EXPECT_EQ(fused_.count, 12);
    for (std::vector<Minutia>& set : sets) {
        set.insert(set.begin(), more[1]);
    }
    ASSERT_EQ(FuseSets(sets), 0);
    EXPECT_EQ(fused_.count, 10);
}

// -------------------------------------------------------------------------------- Against the model

TEST_F(FusionTest, AgreesWithTheModelOnRandomCaptures) {
    const uint64_t seed = testsupport::Seed() + 1;
    SCOPED_TRACE(testsupport::SeedNote(seed));
    Random random(seed);
    int32_t fusedSets = 0;
    for (const Layout layout : testsupport::kAllLayouts) {
        for (const int32_t count : {6, 9, 12, 20, 35, 60}) {
            for (int32_t round = 0; round < 4; ++round) {
                SCOPED_TRACE(testing::Message()
                             << NameOf(layout) << ", " << count << " minutiae, round " << round);
                const MinutiaSet finger = testsupport::RandomSet(random, layout, count);
                std::array<TemplateBytes, 3> templates;
                for (TemplateBytes& bytes : templates) {
                    Impression impression = testsupport::RandomImpression(random);
                    impression.added = random.Below(12);
                    bytes = testsupport::FinishedTemplate(
                        testsupport::TakeImpression(finger, impression, random));
                }
                if (round == 3) {
                    TemplateBytes& damaged = templates[static_cast<size_t>(random.Below(3))];
                    damaged = testsupport::Damaged(damaged, random);
                }
                TemplateBytes expected;
                const int32_t result = model::FuseTemplates(templates, expected);
                fusedSets += result == 0 ? 1 : 0;
                testsupport::WithEachFill(buffer_, [&](WorkBuffer&) {
                    ASSERT_EQ(Fuse(templates) == 0, result == 0);
                    if (result == 0) {
                        MinutiaSet expectedSet;
                        model::DecodeTemplate(expected, expectedSet);
                        EXPECT_EQ(Describe(fused_), Describe(expectedSet));
                        EXPECT_EQ(head_, expected);
                    }
                });
            }
        }
    }
    EXPECT_GE(fusedSets, 40) << "too few of the captures fuse for the comparison to mean much";
}

TEST_F(FusionTest, EngineCallForwards) {
    std::vector<uint8_t> block;
    const TemplateBytes bytes = testsupport::FinishedTemplate(MakeSet(SharedMinutiae()));
    for (int32_t i = 0; i < 3; ++i) {
        block.insert(block.end(), bytes.begin(), bytes.begin() + kHeadBytes);
    }
    ASSERT_EQ(IEnroll(buffer_.Bytes(), block.data()), 0);
    ASSERT_EQ(Fuse({bytes, bytes, bytes}), 0);
    EXPECT_TRUE(std::equal(head_.begin(), head_.end(), block.begin()));
    std::fill(block.begin() + 3, block.begin() + 4, uint8_t{61});
    EXPECT_NE(IEnroll(buffer_.Bytes(), block.data()), 0);
}

// --------------------------------------------------------------------------------- The API's step

class GenFeatureTest : public testing::Test {
  protected:
    static TemplateBytes WithQuality(int32_t quality) {
        TemplateBytes bytes = testsupport::FinishedTemplate(MakeSet(SharedMinutiae()));
        bytes[369] = static_cast<uint8_t>(quality);
        return bytes;
    }

    static int32_t Generate(const TemplateBytes& a, const TemplateBytes& b, const TemplateBytes& c,
                            TemplateBytes& out) {
        out.assign(513, 0x77);
        const int32_t result = FPM_GenFeature(a.data(), b.data(), c.data(), out.data());
        EXPECT_EQ(out.back(), 0x77) << "written behind the template";
        out.pop_back();
        return result;
    }
};

TEST_F(GenFeatureTest, NullPointersAreRefused) {
    const TemplateBytes bytes = WithQuality(50);
    TemplateBytes out(512, 0x77);
    const TemplateBytes untouched = out;
    EXPECT_EQ(FPM_GenFeature(nullptr, bytes.data(), bytes.data(), out.data()), 5);
    EXPECT_EQ(FPM_GenFeature(bytes.data(), nullptr, bytes.data(), out.data()), 5);
    EXPECT_EQ(FPM_GenFeature(bytes.data(), bytes.data(), nullptr, out.data()), 5);
    EXPECT_EQ(FPM_GenFeature(bytes.data(), bytes.data(), bytes.data(), nullptr), 5);
    EXPECT_EQ(out, untouched);
}

TEST_F(GenFeatureTest, TheTemplateIsFinishedWithTheMeanQuality) {
    TemplateBytes out;
    ASSERT_EQ(Generate(WithQuality(90), WithQuality(60), WithQuality(32), out), 0);
    EXPECT_EQ(out[369], 60);  // 182 / 3
    std::vector<uint8_t> area(140, 0);
    ASSERT_EQ(model::CreateIndexArea(out, area), 0);
    EXPECT_TRUE(std::equal(area.begin(), area.end(), out.begin() + 370));
    int32_t sum = 0;
    for (size_t i = 0; i < 510; ++i) {
        sum += out[i];
    }
    EXPECT_EQ(out[510] + 256 * out[511], sum % 65536);
    // Twenty minutiae without a quality count 43.
    ASSERT_EQ(Generate(WithQuality(0), WithQuality(60), WithQuality(32), out), 0);
    EXPECT_EQ(out[369], 45);  // 135 / 3
}

TEST_F(GenFeatureTest, AnOutputOverAnInputCountsByItsMinutiae) {
    // The quality is read after the fused head has replaced the first input.
    TemplateBytes first = WithQuality(90);
    const TemplateBytes second = WithQuality(60);
    const TemplateBytes third = WithQuality(32);
    ASSERT_EQ(FPM_GenFeature(first.data(), second.data(), third.data(), first.data()), 0);
    EXPECT_EQ(first[369], 45);
}

TEST_F(GenFeatureTest, WhatDoesNotFuseIsCode1) {
    TemplateBytes bad = WithQuality(50);
    bad[3] = 5;
    TemplateBytes out;
    EXPECT_EQ(Generate(WithQuality(50), bad, WithQuality(50), out), 1);
}

}  // namespace
