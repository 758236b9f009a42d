// SPDX-License-Identifier: Apache-2.0
//
// Alignment: the weight of corresponding bars, the vote for rotation and shift, and the movement
// of the probe. Expectations are worked out by hand; random impressions are compared with the
// naive model.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "engine/Work.h"
#include "match/FPMatch.h"
#include "tests/model/ModelAlignment.h"
#include "tests/support/TestMinutiae.h"
#include "tests/support/WorkBuffer.h"

namespace {

using model::MinutiaSet;
using testsupport::Describe;
using testsupport::Fill;
using testsupport::Layout;
using testsupport::MakeMinutia;
using testsupport::MakeSet;
using testsupport::Random;
using testsupport::WorkBuffer;

class AlignmentTest : public testing::Test {
  protected:
    MatchContext& Context() { return *qorfp::WorkAt<MatchContext>(buffer_.Bytes()); }

    /// Prepares the reference and aligns the probe with it; the outcome is in result_.
    int32_t Align(const MinutiaSet& reference, const MinutiaSet& probe, int32_t wantPairs = 1) {
        Context().reference = testsupport::ToLibrary(reference);
        EXPECT_EQ(MakeFirstInfo(&Context()), 1);
        Context().probe = testsupport::ToLibrary(probe);
        result_ = {};
        return Alignment(&Context(), &result_, wantPairs);
    }

    WorkBuffer buffer_;
    MatchResult result_ = {};
};

// ------------------------------------------------------------------------------ Rotation's peak

class RotationPeakTest : public AlignmentTest {
  protected:
    int32_t PeakOf(const std::vector<std::pair<int32_t, int32_t>>& votes) {
        std::memset(Context().angleHistogram, 0, sizeof(Context().angleHistogram));
        for (const auto& [bin, weight] : votes) {
            Context().angleHistogram[bin] += weight;
        }
        int32_t angle = -1;
        GetRotationAngle(&Context(), &angle);
        return angle;
    }
};

TEST_F(RotationPeakTest, AnEmptyHistogramGivesZero) {
    EXPECT_EQ(PeakOf({}), 0);
}

TEST_F(RotationPeakTest, ASingleVoteIsItsOwnPeak) {
    for (int32_t bin = 0; bin < 240; ++bin) {
        EXPECT_EQ(PeakOf({{bin, 7}}), bin);
    }
}

TEST_F(RotationPeakTest, SmoothedValuesReplaceTheHistogramRoundTheCircle) {
    PeakOf({{1, 3}});
    const std::vector<std::pair<int32_t, int32_t>> expected = {
        {236, 0}, {237, 3}, {238, 6}, {239, 12}, {0, 24}, {1, 48},
        {2, 24},  {3, 12},  {4, 6},   {5, 3},    {6, 0}};
    for (const auto& [bin, value] : expected) {
        EXPECT_EQ(Context().angleHistogram[bin], value) << "bin " << bin;
    }
}

TEST_F(RotationPeakTest, TheFirstOfEqualPeaksWins) {
    EXPECT_EQ(PeakOf({{100, 5}, {50, 5}}), 50);
    // Two votes four apart, 16 + 1 at either and less between them.
    EXPECT_EQ(PeakOf({{80, 5}, {84, 5}}), 80);
    // Across the turn the lower bin is the first one, not the earlier on the circle.
    EXPECT_EQ(PeakOf({{238, 5}, {2, 5}}), 2);
}

TEST_F(RotationPeakTest, NeighbouringVotesAddUp) {
    // Three votes of 4 around 120 give 4 x (16 + 8 + 8) = 128 there; the lone one 16 x 7 = 112.
    EXPECT_EQ(PeakOf({{30, 7}, {119, 4}, {120, 4}, {121, 4}}), 120);
}

TEST_F(RotationPeakTest, AgreesWithTheModel) {
    const uint64_t seed = testsupport::Seed();
    SCOPED_TRACE(testsupport::SeedNote(seed));
    Random random(seed);
    for (int32_t round = 0; round < 200; ++round) {
        std::vector<int64_t> histogram(240, 0);
        const int32_t votes = random.Below(60);
        for (int32_t i = 0; i < votes; ++i) {
            histogram[static_cast<size_t>(random.Below(240))] += random.Below(4) * 100;
        }
        for (size_t i = 0; i < 240; ++i) {
            Context().angleHistogram[i] = static_cast<int32_t>(histogram[i]);
        }
        int32_t angle = -1;
        GetRotationAngle(&Context(), &angle);
        ASSERT_EQ(angle, model::RotationPeak(histogram)) << "round " << round;
        for (size_t i = 0; i < 240; ++i) {
            ASSERT_EQ(Context().angleHistogram[i], histogram[i]) << "round " << round;
        }
    }
}

// -------------------------------------------------------------------------------- Shift's peak

class ShiftPeakTest : public testing::Test {
  protected:
    /// The histogram with its working room, and a guard behind.
    int32_t PeakOf(const std::vector<std::pair<int32_t, int32_t>>& votes, int32_t low,
                   int32_t high) {
        bins_.assign(1024 + 1, 0);
        bins_.back() = 4711;
        for (size_t i = 512; i < 1024; ++i) {
            bins_[i] = -99999;  // the working room's old contents
        }
        for (const auto& [bin, weight] : votes) {
            bins_[static_cast<size_t>(bin)] += weight;
        }
        const int32_t shift = EstimateMoveVector(bins_.data(), low, high);
        EXPECT_EQ(bins_.back(), 4711) << "written behind the working room";
        return shift;
    }

    std::vector<int32_t> bins_;
};

TEST_F(ShiftPeakTest, InvertedBoundsGiveZero) {
    EXPECT_EQ(PeakOf({}, 511, 0), 0);
    EXPECT_EQ(PeakOf({{300, 9}}, 301, 300), 0);
}

TEST_F(ShiftPeakTest, ASingleVoteIsItsOwnPeak) {
    EXPECT_EQ(PeakOf({{256, 9}}, 256, 256), 0);
    EXPECT_EQ(PeakOf({{5, 9}}, 5, 5), -251);
    EXPECT_EQ(PeakOf({{506, 9}}, 506, 506), 250);
}

TEST_F(ShiftPeakTest, TheBoundsAreDrawnInToBins5To506) {
    EXPECT_EQ(PeakOf({{1, 9}, {20, 8}}, 1, 20), -251);       // bin 5 sees bin 1
    EXPECT_EQ(PeakOf({{511, 9}, {400, 8}}, 400, 511), 250);  // bin 506 is the first to see 511
    // Both ends outside on one side: nothing remains to look at.
    EXPECT_EQ(PeakOf({{2, 9}}, 2, 2), 0);
    EXPECT_EQ(PeakOf({{510, 9}}, 510, 510), 0);
}

TEST_F(ShiftPeakTest, TheFirstOfEqualWindowsWins) {
    // Every window within five bins of 256 holds the vote.
    EXPECT_EQ(PeakOf({{256, 9}}, 240, 270), -5);
    // Votes ten apart share one window only, centred between them; eleven apart share none.
    EXPECT_EQ(PeakOf({{250, 9}, {260, 9}}, 250, 260), -1);
    EXPECT_EQ(PeakOf({{250, 9}, {261, 9}}, 250, 261), -6);
}

TEST_F(ShiftPeakTest, WindowSumsOfTheUnchangedHistogramReplaceItBetweenTheBounds) {
    PeakOf({{250, 1}, {255, 10}, {260, 100}}, 250, 260);
    const std::vector<int32_t> expected = {11, 11, 11, 11, 11, 111, 110, 110, 110, 110, 110};
    for (size_t i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(bins_[250 + i], expected[i]) << "bin " << 250 + i;
    }
    EXPECT_EQ(bins_[249], 0);
    EXPECT_EQ(bins_[261], 0);
}

TEST_F(ShiftPeakTest, AgreesWithTheModel) {
    const uint64_t seed = testsupport::Seed() + 1;
    SCOPED_TRACE(testsupport::SeedNote(seed));
    Random random(seed);
    for (int32_t round = 0; round < 300; ++round) {
        std::vector<std::pair<int32_t, int32_t>> votes;
        int32_t low = 511;
        int32_t high = 0;
        std::vector<int64_t> histogram(512, 0);
        const int32_t middle = random.Between(1, 511);
        for (int32_t i = random.Below(40); i > 0; --i) {
            const int32_t bin = std::min(511, std::max(1, middle + random.Between(-40, 40)));
            votes.emplace_back(bin, random.Between(1, 1156));
            histogram[static_cast<size_t>(bin)] += votes.back().second;
            low = std::min(low, bin);
            high = std::max(high, bin);
        }
        ASSERT_EQ(PeakOf(votes, low, high), model::ShiftPeak(histogram, low, high))
            << "round " << round;
        for (size_t i = 0; i < 512; ++i) {
            ASSERT_EQ(bins_[i], histogram[i]) << "round " << round << " bin " << i;
        }
    }
}

// ------------------------------------------------------------------------------------ Rotation

class RotateTest : public AlignmentTest {
  protected:
    /// One minutia (and one bar of that direction) turned about (100, 200).
    Minutia Turned(int32_t dx, int32_t dy, int32_t direction, int32_t angle) {
        Context().probe =
            testsupport::ToLibrary(MakeSet({MakeMinutia(100 + dx, 200 + dy, direction)}));
        Context().probeCentreX = 100;
        Context().probeCentreY = 200;
        Context().probeBars[0] = {0, 0, 20, static_cast<uint8_t>(direction), 11, 22};
        Context().probeBarCount = 1;
        RotateInfo(&Context(), angle);
        EXPECT_EQ(Context().probeBars[0].angleFirst, 11);
        EXPECT_EQ(Context().probeBars[0].angleSecond, 22);
        return Context().probe.minutiae[0];
    }
};

TEST_F(RotateTest, NoTurnChangesNothing) {
    // Not even a direction byte of a damaged template.
    const Minutia minutia = Turned(30, 40, 250, 0);
    EXPECT_EQ(minutia.x, 130);
    EXPECT_EQ(minutia.y, 240);
    EXPECT_EQ(minutia.direction, 250);
    EXPECT_EQ(Context().probeBars[0].direction, 250);
}

TEST_F(RotateTest, QuarterTurnsLeadFromXTowardsY) {
    const struct {
        int32_t angle, x, y;
    } cases[] = {{60, -40, 30}, {120, -30, -40}, {180, 40, -30}};
    for (const auto& row : cases) {
        const Minutia minutia = Turned(30, 40, 10, row.angle);
        EXPECT_EQ(minutia.x - 100, row.x) << row.angle;
        EXPECT_EQ(minutia.y - 200, row.y) << row.angle;
        EXPECT_EQ(minutia.direction, (10 + row.angle) % 240);
    }
}

TEST_F(RotateTest, DirectionsWrapAt240) {
    EXPECT_EQ(Turned(0, 0, 239, 1).direction, 0);
    EXPECT_EQ(Context().probeBars[0].direction, 0);
    EXPECT_EQ(Turned(0, 0, 0, 239).direction, 239);
    EXPECT_EQ(Turned(0, 0, 255, 239).direction, 14);  // 494 mod 240
}

TEST_F(RotateTest, HalvesAreRoundedAwayFromZero) {
    // 20 steps are 30 degrees: sine 8192, cosine 14189 of 16384.
    EXPECT_EQ(Turned(1, 0, 0, 20).x, 101);   // 0.866
    EXPECT_EQ(Turned(1, 0, 0, 20).y, 201);   // exactly 0.5
    EXPECT_EQ(Turned(-1, 0, 0, 20).x, 99);   // -0.866
    EXPECT_EQ(Turned(-1, 0, 0, 20).y, 199);  // exactly -0.5
    EXPECT_EQ(Turned(0, 1, 0, 20).x, 99);    // exactly -0.5
    EXPECT_EQ(Turned(0, -1, 0, 20).x, 101);  // exactly 0.5
    // 6 steps, 9 degrees: cosine 16182, sine 2563; 3 pixels move by 0.469 and stay in their row.
    EXPECT_EQ(Turned(3, 0, 0, 6).x, 103);
    EXPECT_EQ(Turned(3, 0, 0, 6).y, 200);
}

TEST_F(RotateTest, AgreesWithTheModel) {
    const uint64_t seed = testsupport::Seed() + 2;
    SCOPED_TRACE(testsupport::SeedNote(seed));
    Random random(seed);
    for (int32_t angle = 0; angle < 240; ++angle) {
        SCOPED_TRACE(testing::Message() << "angle " << angle);
        model::Probe probe;
        probe.set = testsupport::RandomSet(
            random, angle % 2 == 0 ? Layout::kFullRange : Layout::kHostile, 20);
        probe.centre = model::CentreOf(probe.set);
        probe.bars = model::MakeProbeBars(probe.set);
        Context().probe = testsupport::ToLibrary(probe.set);
        Context().probeCentreX = probe.centre.x;
        Context().probeCentreY = probe.centre.y;
        Context().probeBarCount = static_cast<int32_t>(probe.bars.size());
        for (size_t i = 0; i < probe.bars.size(); ++i) {
            Context().probeBars[i] = {};
            Context().probeBars[i].direction = static_cast<uint8_t>(probe.bars[i].direction);
        }
        RotateInfo(&Context(), angle);
        model::RotateProbe(probe, angle);
        EXPECT_EQ(Describe(testsupport::ToModel(Context().probe)), Describe(probe.set));
        for (size_t i = 0; i < probe.bars.size(); ++i) {
            ASSERT_EQ(Context().probeBars[i].direction, probe.bars[i].direction);
        }
    }
}

// ----------------------------------------------------------------------------------- Bar weight

/// A bar between (100, 100) and (100 + length, 100), and a third minutia out of reach.
struct BarDraft {
    int32_t length = 100;
    int32_t direction0 = 30;
    int32_t direction1 = 170;
    int32_t type0 = 1;
    int32_t type1 = 1;
    uint32_t attributes0 = 0;
    uint32_t attributes1 = 0;
};

MinutiaSet SetOf(const BarDraft& draft) {
    return MakeSet(
        {MakeMinutia(100, 100, draft.direction0, draft.type0, draft.attributes0),
         MakeMinutia(100 + draft.length, 100, draft.direction1, draft.type1, draft.attributes1),
         MakeMinutia(100, 700, 0)});
}

class BarWeightTest : public AlignmentTest {
  protected:
    /// Weight of the one bar pair; 0 where the bars do not correspond.
    int32_t WeightOf(const BarDraft& reference, const BarDraft& probe) {
        Align(SetOf(reference), SetOf(probe));
        EXPECT_LE(Context().acceptedCount, 1);
        if (Context().acceptedCount == 0) {
            EXPECT_EQ(result_.score, 0);
            return 0;
        }
        const BarPair& pair = Context().pairs[Context().accepted[0]];
        // One reference pair, one probe bar: the sum of weights is not scaled down.
        EXPECT_EQ(result_.score, (36 * 2 * pair.weight + 512) / 1024);
        return pair.weight;
    }
};

TEST_F(BarWeightTest, EqualBars) {
    // 30 x 20 + 44 x 12 - 165 = 963; both kinds agree: (1229 x 963 + 512) / 1024 = 1156.
    EXPECT_EQ(WeightOf({}, {}), 1156);
    EXPECT_EQ(result_.score, 81);
    EXPECT_EQ(result_.angle, 0);
    EXPECT_EQ(result_.xShift, 0);
    EXPECT_EQ(result_.yShift, 0);
    EXPECT_EQ(result_.pairCount, 2);
}

TEST_F(BarWeightTest, LengthsMayDifferByTwelve) {
    BarDraft longer;
    longer.length = 112;
    // 963 - 44 x 12 = 435; (1229 x 435 + 512) / 1024 = 522.
    EXPECT_EQ(WeightOf({}, longer), 522);
    EXPECT_EQ(WeightOf(longer, {}), 522);
    longer.length = 101;
    EXPECT_EQ(WeightOf({}, longer), (1229 * 919 + 512) / 1024);
    longer.length = 113;
    EXPECT_EQ(WeightOf({}, longer), 0);
    EXPECT_EQ(WeightOf(longer, {}), 0);
}

TEST_F(BarWeightTest, EachAngleMayDifferByTen) {
    BarDraft turned;
    turned.direction0 = 40;
    // 963 - 300 = 663; (1229 x 663 + 512) / 1024 = 796.
    EXPECT_EQ(WeightOf({}, turned), 796);
    turned.direction0 = 20;
    EXPECT_EQ(WeightOf({}, turned), 796);
    turned.direction0 = 41;
    EXPECT_EQ(WeightOf({}, turned), 0);
    turned.direction0 = 19;
    EXPECT_EQ(WeightOf({}, turned), 0);
    turned = {};
    turned.direction1 = 180;
    EXPECT_EQ(WeightOf({}, turned), 796);
    turned.direction1 = 181;
    EXPECT_EQ(WeightOf({}, turned), 0);
}

TEST_F(BarWeightTest, AngleDifferencesAreCircular) {
    BarDraft reference;
    reference.direction0 = 236;  // relative angle 4
    BarDraft probe;
    probe.direction0 = 4;  // relative angle 236, 8 steps away
    EXPECT_EQ(WeightOf(reference, probe), (1229 * (963 - 240) + 512) / 1024);
}

TEST_F(BarWeightTest, TheRawValueMustExceed165) {
    // Twelve pixels and 9 steps leave exactly 165, with 8 steps 195.
    BarDraft probe;
    probe.length = 112;
    probe.direction0 = 34;
    probe.direction1 = 165;
    EXPECT_EQ(WeightOf({}, probe), 0);
    probe.direction1 = 166;
    EXPECT_EQ(WeightOf({}, probe), (1229 * 195 + 512) / 1024);  // 234
}

TEST_F(BarWeightTest, KindsRaiseOrLowerTheWeight) {
    BarDraft probe;
    probe.type0 = 2;
    EXPECT_EQ(WeightOf({}, probe), 963);  // one differs
    probe.type1 = 2;
    EXPECT_EQ(WeightOf({}, probe), (853 * 963 + 512) / 1024);  // both differ: 802
    probe.type0 = 1;
    EXPECT_EQ(WeightOf({}, probe), 963);
}

TEST_F(BarWeightTest, LowAttributesDampTheWeight) {
    BarDraft reference;
    reference.attributes0 = 20;
    reference.attributes1 = 40;
    BarDraft probe;
    probe.attributes0 = 5;
    probe.attributes1 = 55;
    EXPECT_EQ(WeightOf(reference, probe), (1156 * (32 - 15 - 15)) / 32);  // 72
    probe.attributes0 = 4;
    EXPECT_EQ(WeightOf(reference, probe), 0);
    probe.attributes0 = 20;
    EXPECT_EQ(WeightOf(reference, probe), 1156 * 17 / 32);
    probe.attributes1 = 56;
    EXPECT_EQ(WeightOf(reference, probe), 0);
}

TEST_F(BarWeightTest, HighAttributesDampTheWeight) {
    BarDraft reference;
    reference.attributes0 = 40 << 6;
    reference.attributes1 = 10 << 6;
    BarDraft probe;
    probe.attributes0 = 9 << 6;
    probe.attributes1 = 18 << 6;
    EXPECT_EQ(WeightOf(reference, probe), 1156 / 40);  // 31 + 8 of 40
    probe.attributes1 = 19 << 6;
    EXPECT_EQ(WeightOf(reference, probe), 0);  // 40 in all
    probe.attributes0 = 8 << 6;
    probe.attributes1 = 10 << 6;
    EXPECT_EQ(WeightOf(reference, probe), 0);  // 32 at one end
    probe.attributes0 = 40 << 6;
    probe.attributes1 = 41 << 6;
    EXPECT_EQ(WeightOf(reference, probe), 9 * 1156 / 40);
    probe.attributes1 = 42 << 6;
    EXPECT_EQ(WeightOf(reference, probe), 0);  // 32 at the other
}

TEST_F(BarWeightTest, BothAttributesTruncateOneAfterTheOther) {
    BarDraft probe;
    probe.attributes0 = (7 << 6) | 5;
    probe.attributes1 = (6 << 6) | 4;
    // 1156 x 23 / 32 = 830 (830.9), then 27 x 830 / 40 = 560 (560.25).
    EXPECT_EQ(WeightOf({}, probe), 560);
}

TEST_F(BarWeightTest, ASymmetricBarIsTakenInItsFirstOrientation) {
    // Both angles are 70, so bar and reverse fit alike; the reverse is suppressed.
    BarDraft symmetric;
    symmetric.direction0 = 170;
    symmetric.direction1 = 50;
    EXPECT_EQ(WeightOf(symmetric, symmetric), 1156);
    EXPECT_EQ(Context().pairs[Context().accepted[0]].reference, 0);
    EXPECT_EQ(result_.angle, 0);
}

// ------------------------------------------------------------------------------------ Alignment

TEST_F(AlignmentTest, AProbeWithoutMinutiaeScoresZeroAndHasItsCentreAtZero) {
    buffer_.Reset(Fill::kPattern);
    const MinutiaSet reference = SetOf({});
    EXPECT_EQ(Align(reference, MakeSet({})), 0);
    EXPECT_EQ(Context().probeCentreX, 0);
    EXPECT_EQ(Context().probeCentreY, 0);
}

TEST_F(AlignmentTest, AProbeWithoutBarsScoresZero) {
    const MinutiaSet apart =
        MakeSet({MakeMinutia(-11, 0, 0), MakeMinutia(300, 0, 0), MakeMinutia(0, 301, 0)});
    EXPECT_EQ(Align(SetOf({}), apart), 0);
    EXPECT_EQ(Context().probeBarCount, 0);
    EXPECT_EQ(Context().probeCentreX, 144);  // 289 / 2
    EXPECT_EQ(Context().probeCentreY, 150);
    EXPECT_EQ(Describe(testsupport::ToModel(Context().probe)), Describe(apart));
}

TEST_F(AlignmentTest, ASingleMinutiaIsTheCentreOfItsProbe) {
    EXPECT_EQ(Align(SetOf({}), MakeSet({MakeMinutia(-17, 230, 0)})), 0);
    EXPECT_EQ(Context().probeCentreX, -17);
    EXPECT_EQ(Context().probeCentreY, 230);
}

TEST_F(AlignmentTest, ProbeCentreIsRoundedTowardsZero) {
    const MinutiaSet probe =
        MakeSet({MakeMinutia(-30, -10, 0), MakeMinutia(7, -11, 0), MakeMinutia(-5, -50, 0)});
    Align(SetOf({}), probe);
    EXPECT_EQ(Context().probeCentreX, -11);  // -23 / 2
    EXPECT_EQ(Context().probeCentreY, -30);  // -60 / 2
}

TEST_F(AlignmentTest, WithoutCorrespondingBarsNothingMoves) {
    BarDraft probeSpec;
    probeSpec.direction0 = 130;
    const MinutiaSet probe = SetOf(probeSpec);
    EXPECT_EQ(Align(SetOf({}), probe), 0);
    EXPECT_EQ(result_.angle, 0);
    EXPECT_EQ(result_.xShift, 0);
    EXPECT_EQ(result_.yShift, 0);
    EXPECT_EQ(result_.pairCount, 0);
    EXPECT_EQ(Describe(testsupport::ToModel(Context().probe)), Describe(probe));
}

TEST_F(AlignmentTest, ASetAlignsWithItselfInPlace) {
    const uint64_t seed = testsupport::Seed() + 3;
    SCOPED_TRACE(testsupport::SeedNote(seed));
    Random random(seed);
    for (int32_t round = 0; round < 10; ++round) {
        const MinutiaSet set = testsupport::RandomSet(random, Layout::kSpread, 30);
        const int32_t score = Align(set, set);
        EXPECT_GT(score, 225);
        EXPECT_EQ(score, result_.score);
        EXPECT_EQ(result_.angle, 0);
        EXPECT_EQ(result_.xShift, 0);
        EXPECT_EQ(result_.yShift, 0);
        EXPECT_EQ(Describe(testsupport::ToModel(Context().probe)), Describe(set));
        for (int32_t k = 0; k < result_.pairCount; ++k) {
            EXPECT_EQ(result_.referenceIndices[k], result_.probeIndices[k]);
        }
    }
}

TEST_F(AlignmentTest, TurnAndShiftAreFound) {
    const uint64_t seed = testsupport::Seed() + 4;
    SCOPED_TRACE(testsupport::SeedNote(seed));
    Random random(seed);
    const MinutiaSet probe = testsupport::RandomSet(random, Layout::kSpread, 30);
    for (const int32_t turn : {30, 1, 90, 200, 239}) {
        SCOPED_TRACE(testing::Message() << "turn " << turn);
        testsupport::Impression impression;
        impression.turn = turn;
        impression.shiftX = 12;
        impression.shiftY = -7;
        const MinutiaSet reference = testsupport::TakeImpression(probe, impression, random);
        EXPECT_GT(Align(reference, probe), 225);
        EXPECT_EQ(result_.angle, turn);
        // The aligned probe lies on the reference, to rounding and the width of the shift's window.
        for (size_t i = 0; i < reference.minutiae.size(); ++i) {
            const Minutia& moved = Context().probe.minutiae[i];
            EXPECT_NEAR(moved.x, reference.minutiae[i].x, 6);
            EXPECT_NEAR(moved.y, reference.minutiae[i].y, 6);
            EXPECT_EQ(moved.direction, reference.minutiae[i].direction);
        }
    }
}

TEST_F(AlignmentTest, ShiftsAreFoundUpTo250Pixels) {
    const MinutiaSet probe =
        MakeSet({MakeMinutia(0, 0, 30), MakeMinutia(100, 0, 170), MakeMinutia(0, 500, 0)});
    const struct {
        int32_t x, y, score, xShift, yShift;
    } cases[] = {
        {250, -251, 81, 250, -251},
        {-251, 250, 81, -251, 250},
        // Bin 507 and above, 4 and below: the bounds close before the search begins.
        {251, 0, 0, 0, 0},
        {0, -252, 0, 0, 0},
        // Beyond 255 there is no vote at all, in neither direction.
        {256, 3, 0, 0, 0},
        {3, -256, 0, 0, 0},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(testing::Message() << "shift " << row.x << ',' << row.y);
        MinutiaSet reference = probe;
        for (model::Minutia& minutia : reference.minutiae) {
            minutia.x += row.x;
            minutia.y += row.y;
        }
        EXPECT_EQ(Align(reference, probe), row.score);
        EXPECT_EQ(result_.xShift, row.xShift);
        EXPECT_EQ(result_.yShift, row.yShift);
    }
}

TEST_F(AlignmentTest, EachMinutiaMayBe255PixelsAway) {
    // Bars of 100 pixels whose ends differ by 12 pixels in displacement: five steps apart, weight
    // (1229 x 663 + 512) / 1024 = 796, shift in the middle.
    const struct {
        int32_t x0, y0, x1, y1, score;
    } cases[] = {
        {255, 0, 243, 0, 56},  {256, 0, 243, 0, 0},  {-255, 0, -243, 0, 56},
        {-256, 0, -243, 0, 0}, {243, 0, 255, 0, 56}, {243, 0, 256, 0, 0},
        {0, 255, 0, 243, 56},  {0, 256, 0, 243, 0},  {0, -243, 0, -255, 56},
        {0, -243, 0, -256, 0},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(testing::Message()
                     << row.x0 << ',' << row.y0 << " and " << row.x1 << ',' << row.y1);
        // Across the displacement, so that the length stays.
        const int32_t endX = row.x0 != 0 ? 0 : 100;
        const int32_t endY = row.x0 != 0 ? 100 : 0;
        const MinutiaSet probe = MakeSet(
            {MakeMinutia(0, 0, 30), MakeMinutia(endX, endY, 170), MakeMinutia(600, 600, 0)});
        const MinutiaSet reference =
            MakeSet({MakeMinutia(row.x0, row.y0, 30),
                     MakeMinutia(endX + row.x1, endY + row.y1, 170), MakeMinutia(600, 600, 0)});
        EXPECT_EQ(Align(reference, probe), row.score);
    }
}

TEST_F(AlignmentTest, TheTwoEndsMayDifferBySixteenPixelsInDisplacement) {
    // Bars of 180 pixels: 16 pixels across, and 17 too, turn the line by three steps only.
    const auto scoreWith = [this](int32_t across) {
        return Align(
            MakeSet(
                {MakeMinutia(0, 0, 30), MakeMinutia(across, 180, 170), MakeMinutia(600, 600, 0)}),
            MakeSet({MakeMinutia(0, 0, 30), MakeMinutia(0, 180, 170), MakeMinutia(600, 600, 0)}));
    };
    // 30 x (20 - 3 - 3) + 44 x 12 - 165 = 783; (1229 x 783 + 512) / 1024 = 940; 66.6.
    EXPECT_EQ(scoreWith(16), 66);
    EXPECT_EQ(scoreWith(-16), 66);
    EXPECT_EQ(scoreWith(17), 0);
    EXPECT_EQ(scoreWith(-17), 0);
}

TEST_F(AlignmentTest, WithoutPairsWantedTheIndicesStay) {
    const MinutiaSet set = SetOf({});
    Context().reference = testsupport::ToLibrary(set);
    ASSERT_EQ(MakeFirstInfo(&Context()), 1);
    Context().probe = testsupport::ToLibrary(set);
    MatchResult result = {};
    result.pairCount = 17;
    result.referenceIndices[3] = 5;
    EXPECT_EQ(Alignment(&Context(), &result, 0), 81);
    EXPECT_EQ(result.score, 81);
    EXPECT_EQ(result.pairCount, 17);
    EXPECT_EQ(result.referenceIndices[3], 5);
}

// ------------------------------------------------------------------------------ Against the model

std::string DescribeOutcome(const model::AlignmentResult& result, const MinutiaSet& probe) {
    std::ostringstream text;
    text << "score " << result.score << " shift " << result.xShift << ' ' << result.yShift
         << " angle " << result.angle << "\npairs";
    for (const auto& [r, p] : result.pairs) {
        text << ' ' << r << '-' << p;
    }
    text << "\nprobe\n" << Describe(probe);
    return text.str();
}

model::AlignmentResult ToModelResult(const MatchResult& result) {
    model::AlignmentResult converted;
    converted.score = result.score;
    converted.xShift = result.xShift;
    converted.yShift = result.yShift;
    converted.angle = result.angle;
    for (int32_t k = 0; k < result.pairCount; ++k) {
        converted.pairs.emplace_back(result.referenceIndices[k], result.probeIndices[k]);
    }
    return converted;
}

TEST_F(AlignmentTest, AgreesWithTheModelOnRandomImpressions) {
    const uint64_t seed = testsupport::Seed() + 5;
    SCOPED_TRACE(testsupport::SeedNote(seed));
    Random random(seed);
    int32_t matches = 0;
    for (const Layout layout : testsupport::kAllLayouts) {
        for (const int32_t count : {3, 6, 10, 12, 20, 35, 60}) {
            for (int32_t round = 0; round < 3; ++round) {
                SCOPED_TRACE(testing::Message()
                             << NameOf(layout) << ", " << count << " minutiae, round " << round);
                const MinutiaSet reference = testsupport::RandomSet(random, layout, count);
                testsupport::Impression impression = testsupport::RandomImpression(random);
                if (round == 2) {
                    impression.turn = random.Below(240);
                }
                const MinutiaSet probe = testsupport::TakeImpression(reference, impression, random);

                const model::Reference prepared = model::PrepareReference(reference);
                if (!prepared.prepared) {
                    continue;
                }
                model::Probe moved;
                moved.set = probe;
                model::AlignmentResult expected;
                model::Align(prepared, moved, expected, true);
                matches += expected.score >= 150 ? 1 : 0;

                testsupport::WithEachFill(buffer_, [&](WorkBuffer&) {
                    EXPECT_EQ(Align(reference, probe), expected.score);
                    EXPECT_EQ(DescribeOutcome(ToModelResult(result_),
                                              testsupport::ToModel(Context().probe)),
                              DescribeOutcome(expected, moved.set));
                });
            }
        }
    }
    EXPECT_GE(matches, 30) << "too few of the impressions match for the comparison to mean much";
}

}  // namespace
