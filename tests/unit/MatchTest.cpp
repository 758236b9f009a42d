// SPDX-License-Identifier: Apache-2.0
//
// The match of two templates and the state it leaves for further probes: Match, MatchNext and the
// clamped score of IMatch, against hand-worked cases and the naive model.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <vector>

#include "engine/FPEngine.h"
#include "engine/Work.h"
#include "match/FPMatch.h"
#include "tests/model/ModelAlignment.h"
#include "tests/support/TestMinutiae.h"
#include "tests/support/WorkBuffer.h"

namespace {

using model::MinutiaSet;
using testsupport::Fill;
using testsupport::Impression;
using testsupport::Layout;
using testsupport::MakeMinutia;
using testsupport::MakeSet;
using testsupport::Random;
using testsupport::TemplateBytes;
using testsupport::WorkBuffer;

class MatchTest : public testing::Test {
  protected:
    int32_t MatchOf(const TemplateBytes& reference, const TemplateBytes& probe) {
        return Match(buffer_.Bytes(), reference.data(), probe.data());
    }
    int32_t NextOf(const TemplateBytes& probe) { return MatchNext(buffer_.Bytes(), probe.data()); }
    MatchWork& Work() { return *qorfp::WorkAt<MatchWork>(buffer_.Bytes()); }

    WorkBuffer buffer_;
};

/// Bars between 0-1 and 2-3 only, all else out of reach; six minutiae as a template needs.
MinutiaSet TwoBars() {
    return MakeSet({MakeMinutia(-200, -200, 30), MakeMinutia(-100, -200, 170),
                    MakeMinutia(100, 100, 75), MakeMinutia(100, 180, 200, 2),
                    MakeMinutia(500, 500, 0), MakeMinutia(-200, 600, 0)});
}

TEST_F(MatchTest, TwoBarsByHand) {
    const TemplateBytes bytes = testsupport::FinishedTemplate(TwoBars());
    // Two bars of 1156 each: (36 x (2312 + 2312) + 512) / 1024 = 163.06.
    testsupport::WithEachFill(buffer_, [&](WorkBuffer&) {
        EXPECT_EQ(MatchOf(bytes, bytes), 163);
        EXPECT_EQ(Work().result.score, 163);
        EXPECT_EQ(Work().result.angle, 0);
        EXPECT_EQ(Work().result.xShift, 0);
        EXPECT_EQ(Work().result.yShift, 0);
        EXPECT_EQ(Work().result.pairCount, 0) << "a match does not ask for pairs";
        EXPECT_EQ(NextOf(bytes), 163);
    });
}

TEST_F(MatchTest, WrongChecksumIndexAndConfidenceDoNotMatter) {
    TemplateBytes bytes = testsupport::FinishedTemplate(TwoBars());
    for (size_t i = 364; i < 512; ++i) {
        bytes[i] = 0xEE;
    }
    for (size_t i = 0; i < 6; ++i) {
        bytes[4 + 6 * i + 3] = static_cast<uint8_t>(bytes[4 + 6 * i + 3] & 0xF0);
    }
    EXPECT_EQ(MatchOf(bytes, bytes), 163);
    // Nor does the version text.
    bytes[0] = 'x';
    EXPECT_EQ(MatchOf(bytes, bytes), 163);
}

TEST_F(MatchTest, TemplatesThatDoNotDecodeScoreZeroAndLeaveNothingPrepared) {
    const TemplateBytes good = testsupport::FinishedTemplate(TwoBars());
    std::vector<TemplateBytes> bad(4, good);
    bad[0][3] = 5;
    bad[1][3] = 61;
    bad[2][4 + 2] = static_cast<uint8_t>(bad[2][4 + 2] | 0x30);                  // first of type 3
    bad[3][4 + 5 * 6 + 2] = static_cast<uint8_t>(bad[3][4 + 5 * 6 + 2] & 0xCF);  // last of type 0
    for (size_t i = 0; i < bad.size(); ++i) {
        SCOPED_TRACE(testing::Message() << "case " << i);
        testsupport::WithEachFill(buffer_, [&](WorkBuffer&) {
            EXPECT_EQ(MatchOf(bad[i], good), 0);
            EXPECT_EQ(NextOf(good), 0) << "no reference after a failed match";
            EXPECT_EQ(MatchOf(good, bad[i]), 0);
            EXPECT_EQ(NextOf(good), 0) << "no reference where the first probe failed";
            // A later probe that fails costs only its own match.
            EXPECT_EQ(MatchOf(good, good), 163);
            EXPECT_EQ(NextOf(bad[i]), 0);
            EXPECT_EQ(NextOf(good), 163);
        });
    }
}

TEST_F(MatchTest, AReferenceWithoutBarsScoresZero) {
    const MinutiaSet apart =
        MakeSet({MakeMinutia(-200, -200, 0), MakeMinutia(10, -200, 0), MakeMinutia(220, -200, 0),
                 MakeMinutia(-200, 10, 0), MakeMinutia(-200, 220, 0), MakeMinutia(700, 700, 0)});
    const TemplateBytes barless = testsupport::FinishedTemplate(apart);
    const TemplateBytes good = testsupport::FinishedTemplate(TwoBars());
    EXPECT_EQ(MatchOf(barless, good), 0);
    EXPECT_EQ(MatchOf(good, barless), 0);
    EXPECT_EQ(NextOf(good), 163);  // here the reference was prepared
}

TEST_F(MatchTest, FurtherProbesScoreAsInAMatchOfTheirOwn) {
    const uint64_t seed = testsupport::Seed();
    SCOPED_TRACE(testsupport::SeedNote(seed));
    Random random(seed);
    const MinutiaSet finger = testsupport::RandomSet(random, Layout::kSpread, 40);
    const TemplateBytes reference = testsupport::FinishedTemplate(finger);
    std::vector<TemplateBytes> probes;
    std::vector<int32_t> expected;
    for (int32_t i = 0; i < 12; ++i) {
        const MinutiaSet set = i % 3 == 2
                                   ? testsupport::RandomSet(random, Layout::kSpread, 30)
                                   : testsupport::TakeImpression(
                                         finger, testsupport::RandomImpression(random), random);
        probes.push_back(testsupport::FinishedTemplate(set));
        expected.push_back(MatchOf(reference, probes.back()));
    }
    EXPECT_EQ(MatchOf(reference, probes[0]), expected[0]);
    for (size_t i = 0; i < probes.size(); ++i) {
        EXPECT_EQ(NextOf(probes[i]), expected[i]) << "probe " << i;
    }
}

TEST_F(MatchTest, MatchingATemplateWithItselfScoresHighest) {
    const uint64_t seed = testsupport::Seed() + 1;
    SCOPED_TRACE(testsupport::SeedNote(seed));
    Random random(seed);
    for (int32_t round = 0; round < 10; ++round) {
        const MinutiaSet set = testsupport::RandomSet(random, Layout::kSpread, 35);
        const TemplateBytes bytes = testsupport::FinishedTemplate(set);
        const int32_t best = MatchOf(bytes, bytes);
        EXPECT_EQ(Work().result.angle, 0);
        EXPECT_EQ(Work().result.xShift, 0);
        EXPECT_EQ(Work().result.yShift, 0);
        Impression blurred;
        blurred.jitter = 4;
        EXPECT_LT(MatchOf(bytes, testsupport::FinishedTemplate(
                                     testsupport::TakeImpression(set, blurred, random))),
                  best);
    }
}

TEST_F(MatchTest, EngineScoresAreClampedAt2047) {
    const uint64_t seed = testsupport::Seed() + 2;
    SCOPED_TRACE(testsupport::SeedNote(seed));
    Random random(seed);
    int32_t clamped = 0;
    for (int32_t round = 0; round < 10; ++round) {
        // All of one kind and equal attributes: nearly every bar weighs 1156.
        MinutiaSet set = testsupport::RandomSet(random, Layout::kSpread, 50);
        for (model::Minutia& minutia : set.minutiae) {
            minutia.type = 1;
            minutia.attributes = 1000;
        }
        const TemplateBytes bytes = testsupport::FinishedTemplate(set);
        const int32_t raw = MatchOf(bytes, bytes);
        clamped += raw > 2047 ? 1 : 0;
        const int32_t reported = raw > 2047 ? 2047 : raw;
        int32_t score = -1;
        EXPECT_EQ(IMatch(buffer_.Bytes(), bytes.data(), bytes.data(), &score), 0);
        EXPECT_EQ(score, reported);
        score = -1;
        EXPECT_EQ(IMatch(buffer_.Bytes(), nullptr, bytes.data(), &score), 0);
        EXPECT_EQ(score, reported);
    }
    EXPECT_GE(clamped, 1) << "no raw score above 2047 among the sets";
}

TEST_F(MatchTest, EngineReportsZeroForTemplatesThatDoNotDecode) {
    const TemplateBytes good = testsupport::FinishedTemplate(TwoBars());
    const TemplateBytes empty(512, 0);
    int32_t score = -1;
    EXPECT_EQ(IMatch(buffer_.Bytes(), good.data(), empty.data(), &score), 0);
    EXPECT_EQ(score, 0);
    score = -1;
    EXPECT_EQ(IMatch(buffer_.Bytes(), nullptr, good.data(), &score), 0);
    EXPECT_EQ(score, 0);
}

/// Library and model over the same sequence: a match, then further probes.
void CompareSequence(WorkBuffer& buffer, const TemplateBytes& reference,
                     const std::vector<TemplateBytes>& probes) {
    model::Matcher matcher;
    std::vector<int32_t> expected;
    for (size_t i = 0; i < probes.size(); ++i) {
        expected.push_back(i == 0 ? matcher.Match(reference, probes[i])
                                  : matcher.MatchNext(probes[i]));
    }
    testsupport::WithEachFill(buffer, [&](WorkBuffer& filled) {
        for (size_t i = 0; i < probes.size(); ++i) {
            const int32_t score = i == 0 ? Match(filled.Bytes(), reference.data(), probes[i].data())
                                         : MatchNext(filled.Bytes(), probes[i].data());
            EXPECT_EQ(score, expected[i]) << "probe " << i;
        }
        const MatchWork& work = *qorfp::WorkAt<MatchWork>(filled.Bytes());
        EXPECT_EQ(work.context.referenceBarCount,
                  static_cast<int32_t>(matcher.PreparedReference().bars.size()));
    });
}

TEST_F(MatchTest, AgreesWithTheModelOnSequences) {
    const uint64_t seed = testsupport::Seed() + 3;
    SCOPED_TRACE(testsupport::SeedNote(seed));
    Random random(seed);
    for (const Layout layout : testsupport::kAllLayouts) {
        for (const int32_t count : {6, 9, 18, 30, 45, 60}) {
            SCOPED_TRACE(testing::Message() << NameOf(layout) << ", " << count << " minutiae");
            const MinutiaSet finger = testsupport::RandomSet(random, layout, count);
            std::vector<TemplateBytes> probes;
            for (int32_t i = 0; i < 4; ++i) {
                probes.push_back(testsupport::FinishedTemplate(testsupport::TakeImpression(
                    finger, testsupport::RandomImpression(random), random)));
            }
            probes.push_back(
                testsupport::FinishedTemplate(testsupport::RandomSet(random, layout, count)));
            CompareSequence(buffer_, testsupport::FinishedTemplate(finger), probes);
        }
    }
}

TEST_F(MatchTest, AgreesWithTheModelOnDamagedTemplates) {
    const uint64_t seed = testsupport::Seed() + 4;
    SCOPED_TRACE(testsupport::SeedNote(seed));
    Random random(seed);
    for (int32_t round = 0; round < 60; ++round) {
        SCOPED_TRACE(testing::Message() << "round " << round);
        const MinutiaSet finger =
            testsupport::RandomSet(random, Layout::kSpread, random.Between(6, 60));
        const TemplateBytes whole = testsupport::FinishedTemplate(finger);
        std::vector<TemplateBytes> probes;
        for (int32_t i = 0; i < 3; ++i) {
            probes.push_back(testsupport::Damaged(whole, random));
        }
        TemplateBytes noise = whole;
        for (size_t i = 3; i < 512; ++i) {
            noise[i] = static_cast<uint8_t>(random.Below(256));
        }
        noise[3] = static_cast<uint8_t>(random.Between(5, 61));
        for (size_t i = 0; i < 60; ++i) {
            // Legal kinds, so that most of these decode.
            uint8_t& kind = noise[4 + 6 * i + 2];
            kind = static_cast<uint8_t>((kind & 0xCF) | (random.OneIn(2) ? 0x10 : 0x20));
        }
        probes.push_back(noise);
        const TemplateBytes reference =
            random.OneIn(3) ? testsupport::Damaged(whole, random) : whole;
        CompareSequence(buffer_, reference, probes);
    }
}

}  // namespace
