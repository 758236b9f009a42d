// SPDX-License-Identifier: Apache-2.0
//
// The fast index score: the score of a pair of keys in each way in which their slots can
// correspond, the choice of partners, and the rotation clusters. Keys are written by hand into the
// probe's workspace and into index areas; random ones are compared with the naive model.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <vector>

#include "engine/FPEngine.h"
#include "engine/Work.h"
#include "match/FPMatch.h"
#include "tests/model/ModelIndexKeys.h"
#include "tests/model/ModelIndexScore.h"
#include "tests/model/ModelSearch.h"
#include "tests/support/TestMinutiae.h"
#include "tests/support/WorkBuffer.h"

namespace {

using model::IndexKey;
using testsupport::Layout;
using testsupport::Random;
using testsupport::TemplateBytes;
using testsupport::WorkBuffer;

using Slots = std::array<uint8_t, 3>;

IndexKey MakeKey(const Slots& a, const Slots& b, const Slots& c, int32_t direction = 0) {
    IndexKey key;
    key.a = a;
    key.b = b;
    key.c = c;
    key.direction = static_cast<uint8_t>(direction);
    return key;
}

/// One of five keys that agree with each other in no pair of slots.
IndexKey Distinct(int32_t number, int32_t direction = 0) {
    const uint8_t c = static_cast<uint8_t>(3 * number);
    return MakeKey({5, 15, 25}, {3, 7, 11}, {c, c, c}, direction);
}

class IndexScoreTest : public testing::Test {
  protected:
    void SetProbe(const std::vector<IndexKey>& keys) {
        qorfp::IndexWorkspace& workspace = *qorfp::WorkAt<qorfp::IndexWorkspace>(buffer_.Bytes());
        workspace.keyCount = static_cast<int32_t>(keys.size());
        for (size_t k = 0; k < keys.size(); ++k) {
            std::copy(keys[k].a.begin(), keys[k].a.end(), workspace.keys[k].a);
            std::copy(keys[k].b.begin(), keys[k].b.end(), workspace.keys[k].b);
            std::copy(keys[k].c.begin(), keys[k].c.end(), workspace.keys[k].c);
            workspace.keys[k].index = keys[k].index;
            workspace.keys[k].direction = keys[k].direction;
        }
        CreateTri(buffer_.Bytes());
    }

    int32_t ScoreOfArea(const std::vector<uint8_t>& area) {
        int32_t score = -1;
        EXPECT_EQ(GetIndexScore(buffer_.Bytes(), area.data(), 1, &score), 0);
        return score;
    }

    int32_t ScoreOf(const std::vector<IndexKey>& stored) {
        return ScoreOfArea(model::PackIndexKeys(stored));
    }

    int32_t ScoreOf(const std::vector<IndexKey>& probe, const std::vector<IndexKey>& stored) {
        SetProbe(probe);
        return ScoreOf(stored);
    }

    WorkBuffer buffer_;
};

// --------------------------------------------------------------------------------- One key of each

const Slots kA = {5, 15, 25};
const Slots kB = {3, 7, 11};
const Slots kC = {2, 6, 10};

TEST_F(IndexScoreTest, EqualKeysScore144) {
    testsupport::WithEachFill(buffer_, [&](WorkBuffer&) {
        EXPECT_EQ(ScoreOf({MakeKey(kA, kB, kC)}, {MakeKey(kA, kB, kC)}), 144);
    });
}

TEST_F(IndexScoreTest, TwoExactSlotsScore96) {
    for (size_t odd = 0; odd < 3; ++odd) {
        SCOPED_TRACE(testing::Message() << "slot " << odd);
        Slots a = kA;
        a[odd] = static_cast<uint8_t>(a[odd] + 4);
        EXPECT_EQ(ScoreOf({MakeKey(kA, kB, kC)}, {MakeKey(a, kB, kC)}), 96);
        Slots b = kB;
        b[odd] = static_cast<uint8_t>(b[odd] - 3);
        EXPECT_EQ(ScoreOf({MakeKey(kA, kB, kC)}, {MakeKey(kA, b, kC)}), 96);
        Slots c = kC;
        c[odd] = static_cast<uint8_t>(c[odd] + 2);
        EXPECT_EQ(ScoreOf({MakeKey(kA, kB, kC)}, {MakeKey(kA, kB, c)}), 96);
    }
}

TEST_F(IndexScoreTest, OneSlotAloneScoresNothing) {
    EXPECT_EQ(ScoreOf({MakeKey(kA, kB, kC)}, {MakeKey({5, 18, 22}, kB, kC)}), 0);
    EXPECT_EQ(ScoreOf({MakeKey(kA, kB, kC)}, {MakeKey({9, 15, 21}, kB, kC)}), 0);
    EXPECT_EQ(ScoreOf({MakeKey(kA, kB, kC)}, {MakeKey(kA, kB, {2, 8, 12})}), 0);
}

TEST_F(IndexScoreTest, DifferencesOfThreeAgreeingSlotsCost) {
    const IndexKey probe = MakeKey(kA, kB, kC);
    EXPECT_EQ(ScoreOf({probe}, {MakeKey(kA, kB, {3, 6, 10})}), 136);  // C by 1
    EXPECT_EQ(ScoreOf({probe}, {MakeKey(kA, kB, {2, 6, 9})}), 136);
    EXPECT_EQ(ScoreOf({probe}, {MakeKey({5, 13, 25}, kB, kC)}), 136);  // A by 2
    EXPECT_EQ(ScoreOf({probe}, {MakeKey({5, 15, 26}, kB, kC)}), 140);
    EXPECT_EQ(ScoreOf({probe}, {MakeKey(kA, {5, 7, 11}, kC)}), 136);  // B by 2
    EXPECT_EQ(ScoreOf({probe}, {MakeKey(kA, {3, 6, 11}, kC)}), 140);
    // Every difference at its limit: 4 x (2 x (18 - 3) - (6 + 6)).
    EXPECT_EQ(ScoreOf({probe}, {MakeKey({7, 13, 27}, {5, 5, 13}, {3, 5, 11})}), 72);
}

TEST_F(IndexScoreTest, DifferencesOfTwoAgreeingSlotsCost) {
    const IndexKey probe = MakeKey(kA, kB, kC);
    // Slot 0 far off; the others at their limits: 4 x (2 x (12 - 2) - (4 + 4)).
    EXPECT_EQ(ScoreOf({probe}, {MakeKey({9, 13, 27}, {3, 5, 13}, {2, 5, 11})}), 48);
    EXPECT_EQ(ScoreOf({probe}, {MakeKey({7, 19, 27}, {5, 7, 13}, {3, 6, 11})}), 48);
    EXPECT_EQ(ScoreOf({probe}, {MakeKey({7, 13, 21}, {5, 5, 11}, {3, 5, 10})}), 48);
}

TEST_F(IndexScoreTest, DirectionsOfNeighboursAreComparedRoundTheCircle) {
    const IndexKey probe = MakeKey({0, 29, 1}, kB, kC);
    EXPECT_EQ(ScoreOf({probe}, {MakeKey({29, 0, 2}, kB, kC)}), 4 * (36 - 3));
    EXPECT_EQ(ScoreOf({probe}, {MakeKey({28, 1, 29}, kB, kC)}), 4 * (36 - 6));
    EXPECT_EQ(ScoreOf({probe}, {MakeKey({27, 29, 1}, kB, kC)}), 96);
    EXPECT_EQ(ScoreOf({probe}, {MakeKey({0, 2, 1}, kB, kC)}), 96);
}

/// The ways in which neighbours may have fallen into other slots on the two sides.
struct Crossing {
    size_t stored[2];
    size_t probe[2];
    int32_t shift[2];  // added to the probe's B
};

const Crossing kCrossings[] = {
    {{0, 1}, {0, 2}, {0, 7}}, {{0, 1}, {1, 2}, {7, 7}},   {{0, 2}, {0, 1}, {0, -7}},
    {{0, 2}, {1, 2}, {7, 0}}, {{1, 2}, {0, 1}, {-7, -7}}, {{1, 2}, {0, 2}, {-7, 0}},
};

/// A probe key that agrees with (kA, {7, 7, 7}, kC) in the crossing's slots only.
IndexKey CrossedKey(const Crossing& crossing) {
    IndexKey key = MakeKey({10, 10, 10}, {7, 7, 7}, {14, 14, 14});
    for (size_t i = 0; i < 2; ++i) {
        key.a[crossing.probe[i]] = kA[crossing.stored[i]];
        key.b[crossing.probe[i]] = static_cast<uint8_t>(7 - crossing.shift[i]);
        key.c[crossing.probe[i]] = kC[crossing.stored[i]];
    }
    return key;
}

TEST_F(IndexScoreTest, NeighboursInOtherSlotsMatchWithTheirAnglesShifted) {
    for (const Crossing& crossing : kCrossings) {
        SCOPED_TRACE(testing::Message()
                     << "stored slots " << crossing.stored[0] << ',' << crossing.stored[1]
                     << " probe slots " << crossing.probe[0] << ',' << crossing.probe[1]);
        const IndexKey probe = CrossedKey(crossing);
        EXPECT_EQ(ScoreOf({probe}, {MakeKey(kA, {7, 7, 7}, kC)}), 96);
        for (size_t i = 0; i < 2; ++i) {
            const size_t slot = crossing.stored[i];
            for (const int32_t off : {-2, -1, 1, 2}) {
                Slots b = {7, 7, 7};
                b[slot] = static_cast<uint8_t>(7 + off);
                EXPECT_EQ(ScoreOf({probe}, {MakeKey(kA, b, kC)}), 96 - 4 * std::abs(off));
            }
            for (const int32_t off : {-7, -3, 3, 7}) {
                Slots b = {7, 7, 7};
                b[slot] = static_cast<uint8_t>(7 + off);
                EXPECT_EQ(ScoreOf({probe}, {MakeKey(kA, b, kC)}), 0);
            }
            Slots c = kC;
            c[slot] = static_cast<uint8_t>(c[slot] + 1);
            EXPECT_EQ(ScoreOf({probe}, {MakeKey(kA, {7, 7, 7}, c)}), 88);
            c[slot] = static_cast<uint8_t>(c[slot] + 1);
            EXPECT_EQ(ScoreOf({probe}, {MakeKey(kA, {7, 7, 7}, c)}), 0);
            Slots a = kA;
            a[slot] = static_cast<uint8_t>(a[slot] + 2);
            EXPECT_EQ(ScoreOf({probe}, {MakeKey(a, {7, 7, 7}, kC)}), 88);
            a[slot] = static_cast<uint8_t>(a[slot] + 1);
            EXPECT_EQ(ScoreOf({probe}, {MakeKey(a, {7, 7, 7}, kC)}), 0);
        }
    }
}

TEST_F(IndexScoreTest, ShiftedAnglesFarOutsideTheRangeFailTheTest) {
    // Stored 15 against 0 - 7, and stored 0 against 14 + 7: the differences leave the table.
    EXPECT_EQ(
        ScoreOf({MakeKey({15, 25, 10}, {0, 0, 0}, {6, 10, 0})}, {MakeKey(kA, {0, 15, 15}, kC)}), 0);
    EXPECT_EQ(
        ScoreOf({MakeKey({10, 5, 15}, {14, 14, 14}, {0, 2, 6})}, {MakeKey(kA, {0, 0, 0}, kC)}), 0);
}

// ---------------------------------------------------------------------------------- Choice of partners

TEST_F(IndexScoreTest, SeveralPairsAddUp) {
    EXPECT_EQ(
        ScoreOf({Distinct(0), Distinct(1), Distinct(2)}, {Distinct(2), Distinct(0), Distinct(1)}),
        3 * 144);
    EXPECT_EQ(ScoreOf({Distinct(0), Distinct(1)}, {Distinct(1), Distinct(4)}), 144);
}

TEST_F(IndexScoreTest, AKeyThatIsNotItsPartnersFirstChoiceAddsNothing) {
    const IndexKey exact = MakeKey(kA, kB, kC);
    const IndexKey near = MakeKey(kA, kB, {3, 6, 10});
    EXPECT_EQ(ScoreOf({exact, near}, {exact}), 144);
    EXPECT_EQ(ScoreOf({near, exact}, {exact}), 144);
    EXPECT_EQ(ScoreOf({exact}, {near, exact}), 144);
    EXPECT_EQ(ScoreOf({exact}, {exact, near}), 144);
    // Each has its own partner.
    EXPECT_EQ(ScoreOf({exact, near}, {near, exact}), 288);
}

TEST_F(IndexScoreTest, TiesKeepTheEarlierPartner) {
    // All four pairs score 144. Every key prefers the first of the other side, so only one counts.
    const IndexKey key = MakeKey(kA, kB, kC);
    EXPECT_EQ(ScoreOf({key, key}, {key, key}), 144);
    // Which probe key it is shows in the rotation: the first one's, 50 - 0, not the second's.
    const IndexKey turned50 = MakeKey(kA, kB, kC, 50);
    const IndexKey turned90 = MakeKey(kA, kB, kC, 90);
    EXPECT_EQ(ScoreOf({turned50, turned90, Distinct(4, 50)}, {key, Distinct(4, 0)}), 288);
    EXPECT_EQ(ScoreOf({turned90, turned50, Distinct(4, 50)}, {key, Distinct(4, 0)}), 144);
    // The stored side likewise.
    EXPECT_EQ(ScoreOf({turned50, Distinct(4, 50)}, {key, MakeKey(kA, kB, kC, 40), Distinct(4, 0)}),
              288);
    EXPECT_EQ(ScoreOf({turned50, Distinct(4, 50)}, {MakeKey(kA, kB, kC, 40), key, Distinct(4, 0)}),
              144);
}

TEST_F(IndexScoreTest, TiesKeepTheEarlierWayOfMatching) {
    // A stored key meets two probe keys with 96 each, by two of the crossings. The one that stands
    // first among the crossings is its partner, whichever key comes first; the rotation shows it.
    for (size_t first = 0; first < std::size(kCrossings); ++first) {
        for (size_t second = first + 1; second < std::size(kCrossings); ++second) {
            SCOPED_TRACE(testing::Message() << "crossings " << first << " and " << second);
            IndexKey earlier = CrossedKey(kCrossings[first]);
            IndexKey later = CrossedKey(kCrossings[second]);
            earlier.direction = 50;
            later.direction = 90;
            const std::vector<IndexKey> stored = {MakeKey(kA, {7, 7, 7}, kC), Distinct(4, 0)};
            EXPECT_EQ(ScoreOf({later, earlier, Distinct(4, 50)}, stored), 96 + 144);
            EXPECT_EQ(ScoreOf({earlier, later, Distinct(4, 50)}, stored), 96 + 144);
            EXPECT_EQ(ScoreOf({later, earlier, Distinct(4, 90)}, stored), 144);
        }
    }
}

// ----------------------------------------------------------------------------------------- Rotations

TEST_F(IndexScoreTest, RotationsSixApartShareAClusterSevenDoNot) {
    for (const int32_t base : {0, 100, 237}) {
        SCOPED_TRACE(testing::Message() << "base " << base);
        const auto scoreAt = [&](int32_t apart) {
            return ScoreOf({Distinct(0, base), Distinct(1, (base + apart) % 240)},
                           {Distinct(0, 0), Distinct(1, 0)});
        };
        EXPECT_EQ(scoreAt(0), 288);
        EXPECT_EQ(scoreAt(6), 288);
        EXPECT_EQ(scoreAt(7), 144);
        EXPECT_EQ(scoreAt(234), 288);  // six the other way
        EXPECT_EQ(scoreAt(233), 144);
        EXPECT_EQ(scoreAt(120), 144);
    }
}

TEST_F(IndexScoreTest, TheRotationIsTheDifferenceOfTheCentralDirections) {
    EXPECT_EQ(ScoreOf({Distinct(0, 10), Distinct(1, 200)}, {Distinct(0, 230), Distinct(1, 180)}),
              288);  // both 20
    EXPECT_EQ(ScoreOf({Distinct(0, 10), Distinct(1, 180)}, {Distinct(0, 230), Distinct(1, 200)}),
              144);  // 20 and 220
    // Bytes above 239, of a damaged template, count by their remainder.
    EXPECT_EQ(ScoreOf({Distinct(0, 10), Distinct(1, 0)}, {Distinct(0, 250), Distinct(1, 0)}), 288);
    EXPECT_EQ(ScoreOf({Distinct(0, 255), Distinct(1, 15)}, {Distinct(0, 0), Distinct(1, 0)}), 288);
}

TEST_F(IndexScoreTest, ClusterCentresDoNotMove) {
    const std::vector<IndexKey> stored = {Distinct(0), Distinct(1), Distinct(2)};
    EXPECT_EQ(ScoreOf({Distinct(0, 0), Distinct(1, 6), Distinct(2, 12)}, stored), 288);
    EXPECT_EQ(ScoreOf({Distinct(0, 6), Distinct(1, 0), Distinct(2, 12)}, stored), 432);
}

TEST_F(IndexScoreTest, AnyTwoOfManyPairsShareACluster) {
    // Of keys that agree in one slot at the most. All rotations are twelve apart but for two.
    const auto keyAt = [](int32_t number, int32_t direction) {
        const auto level = [](int32_t value) { return static_cast<uint8_t>(5 * (value % 6)); };
        const int32_t i = number % 6;
        const int32_t j = number / 6;
        return MakeKey({level(i), level(j), level(i + j)}, kB, kC, direction);
    };
    std::vector<IndexKey> stored;
    std::vector<IndexKey> apart;
    for (int32_t k = 0; k < 19; ++k) {
        stored.push_back(keyAt(k, 0));
        apart.push_back(keyAt(k, 12 * k));
    }
    EXPECT_EQ(ScoreOf(apart, stored), 144);
    for (size_t second = 1; second < apart.size(); ++second) {
        for (size_t first = 0; first < second; ++first) {
            std::vector<IndexKey> probe = apart;
            probe[second].direction = static_cast<uint8_t>(probe[first].direction + 5);
            EXPECT_EQ(ScoreOf(probe, stored), 288) << first << " and " << second;
        }
    }
}

TEST_F(IndexScoreTest, TheFirstClusterNearEnoughTakesThePair) {
    // Clusters at 0 (with 96) and at 10 (with 144); the pair at 5 goes to the first.
    IndexKey poor = Distinct(0, 0);
    poor.a[2] = 29;
    EXPECT_EQ(
        ScoreOf({poor, Distinct(1, 10), Distinct(2, 5)}, {Distinct(0), Distinct(1), Distinct(2)}),
        240);
    // Probe keys, not stored ones, give the order.
    EXPECT_EQ(
        ScoreOf({Distinct(1, 10), poor, Distinct(2, 5)}, {Distinct(0), Distinct(1), Distinct(2)}),
        288);
}

// ----------------------------------------------------------------------------------- Stored areas

TEST_F(IndexScoreTest, NoKeysOrTwentyAndMoreScoreZero) {
    std::vector<IndexKey> keys(19, Distinct(1));
    keys[18] = Distinct(0);
    SetProbe({Distinct(0)});
    std::vector<uint8_t> area = model::PackIndexKeys(keys);
    EXPECT_EQ(ScoreOfArea(area), 144);
    for (const int32_t count : {0, 20, 21, 200, 255}) {
        area[0] = static_cast<uint8_t>(count);
        EXPECT_EQ(ScoreOfArea(area), 0) << count;
    }
    area[0] = 18;
    EXPECT_EQ(ScoreOfArea(area), 0) << "the matching key is the nineteenth";
}

TEST_F(IndexScoreTest, AMalformedKeyIsSkipped) {
    SetProbe({Distinct(0), Distinct(1)});
    for (size_t slot = 0; slot < 3; ++slot) {
        for (const uint8_t level : {uint8_t{30}, uint8_t{31}}) {
            IndexKey malformed = Distinct(0);
            malformed.a[slot] = level;
            EXPECT_EQ(ScoreOf({malformed}), 0) << "slot " << slot;
            EXPECT_EQ(ScoreOf({malformed, Distinct(1)}), 144) << "slot " << slot;
        }
    }
}

TEST_F(IndexScoreTest, ReservedBitsAreNotLookedAt) {
    SetProbe({Distinct(0)});
    std::vector<uint8_t> area = model::PackIndexKeys({Distinct(0)});
    area[1] = 0xFF;
    area[3] = static_cast<uint8_t>(area[3] | 0x80);
    for (size_t i = 9; i < 140; ++i) {
        area[i] = 0xFF;
    }
    EXPECT_EQ(ScoreOfArea(area), 144);
}

TEST_F(IndexScoreTest, AProbeWithoutKeysScoresZero) {
    testsupport::WithEachFill(buffer_, [&](WorkBuffer&) {
        EXPECT_EQ(ScoreOf({}, {Distinct(0), Distinct(1)}), 0);
    });
}

// -------------------------------------------------------------------------------------- The calls

class IndexCallTest : public IndexScoreTest {
  protected:
    static TemplateBytes RandomTemplate(Random& random, int32_t count) {
        return testsupport::FinishedTemplate(
            testsupport::RandomSet(random, Layout::kSpread, count));
    }
};

TEST_F(IndexCallTest, AllFormsOfAListGiveTheSameScores) {
    const uint64_t seed = testsupport::Seed();
    SCOPED_TRACE(testsupport::SeedNote(seed));
    Random random(seed);
    const TemplateBytes probe = RandomTemplate(random, 40);
    std::vector<TemplateBytes> list;
    for (int32_t i = 0; i < 20; ++i) {
        list.push_back(i % 4 == 0 ? probe : RandomTemplate(random, 30));
    }
    std::vector<uint8_t> areas;
    std::vector<uint8_t> contiguous;
    std::vector<const uint8_t*> pointers;
    for (const TemplateBytes& bytes : list) {
        areas.insert(areas.end(), bytes.begin() + 370, bytes.begin() + 510);
        contiguous.insert(contiguous.end(), bytes.begin(), bytes.end());
        pointers.push_back(bytes.data());
    }
    const std::vector<uint32_t> expected = model::IndexScores(probe, list);
    ASSERT_GT(expected[0], 0U);
    const std::vector<int32_t> wanted(expected.begin(), expected.end());
    const int32_t n = 20;
    testsupport::WithEachFill(buffer_, [&](WorkBuffer&) {
        ASSERT_EQ(ISetIndex(buffer_.Bytes(), probe.data()), 0);
        std::vector<int32_t> scores(20, -1);
        EXPECT_EQ(GetIndexScore(buffer_.Bytes(), areas.data(), n, scores.data()), 0);
        EXPECT_EQ(scores, wanted);
        scores.assign(20, -1);
        EXPECT_EQ(GetIndexScoreA(buffer_.Bytes(), contiguous.data(), n, scores.data()), 0);
        EXPECT_EQ(scores, wanted);
        scores.assign(20, -1);
        EXPECT_EQ(GetIndexScoreB(buffer_.Bytes(), pointers.data(), n, scores.data()), 0);
        EXPECT_EQ(scores, wanted);
        scores.assign(20, -1);
        EXPECT_EQ(IGetScore(buffer_.Bytes(), areas.data(), n, scores.data()), 0);
        EXPECT_EQ(scores, wanted);
        scores.assign(20, -1);
        EXPECT_EQ(IGetScoreA(buffer_.Bytes(), contiguous.data(), n, scores.data()), 0);
        EXPECT_EQ(scores, wanted);
        scores.assign(20, -1);
        EXPECT_EQ(IGetScoreB(buffer_.Bytes(), pointers.data(), n, scores.data()), 0);
        EXPECT_EQ(scores, wanted);
    });
}

TEST_F(IndexCallTest, WithoutCandidatesNothingIsWritten) {
    SetProbe({Distinct(0)});
    const std::vector<uint8_t> area = model::PackIndexKeys({Distinct(0)});
    const TemplateBytes bytes(512, 0);
    const uint8_t* pointer = bytes.data();
    int32_t score = -77;
    for (const int32_t n : {0, -1, -1000}) {
        EXPECT_EQ(GetIndexScore(buffer_.Bytes(), area.data(), n, &score), 0);
        EXPECT_EQ(GetIndexScoreA(buffer_.Bytes(), bytes.data(), n, &score), 0);
        EXPECT_EQ(GetIndexScoreB(buffer_.Bytes(), &pointer, n, &score), 0);
        EXPECT_EQ(score, -77);
    }
}

TEST_F(IndexCallTest, AProbeThatDoesNotDecodeLeavesNoKeys) {
    const uint64_t seed = testsupport::Seed() + 1;
    SCOPED_TRACE(testsupport::SeedNote(seed));
    Random random(seed);
    const TemplateBytes good = RandomTemplate(random, 40);
    TemplateBytes bad = good;
    bad[3] = 5;
    testsupport::WithEachFill(buffer_, [&](WorkBuffer&) {
        int32_t score = -1;
        ASSERT_EQ(ISetIndex(buffer_.Bytes(), good.data()), 0);
        IGetScoreA(buffer_.Bytes(), good.data(), 1, &score);
        EXPECT_GT(score, 0);
        EXPECT_NE(ISetIndex(buffer_.Bytes(), bad.data()), 0);
        IGetScoreA(buffer_.Bytes(), good.data(), 1, &score);
        EXPECT_EQ(score, 0);
    });
}

// --------------------------------------------------------------------------------- Against the model

uint8_t Near(uint8_t value, int32_t reach, int32_t levels, bool isCircular, Random& random) {
    int32_t moved = value + random.Between(-reach, reach);
    moved = isCircular ? (moved + levels) % levels : std::clamp(moved, 0, levels - 1);
    return static_cast<uint8_t>(moved);
}

/// A stored key near a probe key: the same slots, or others as in a crossing.
IndexKey NearKey(const IndexKey& probe, Random& random) {
    IndexKey key = probe;
    if (random.OneIn(2)) {
        const Crossing& crossing = kCrossings[random.Below(6)];
        for (size_t i = 0; i < 2; ++i) {
            const int32_t b = probe.b[crossing.probe[i]] + crossing.shift[i];
            key.a[crossing.stored[i]] = probe.a[crossing.probe[i]];
            key.b[crossing.stored[i]] = static_cast<uint8_t>(std::clamp(b, 0, 15));
            key.c[crossing.stored[i]] = probe.c[crossing.probe[i]];
        }
    }
    for (size_t s = 0; s < 3; ++s) {
        key.a[s] = Near(key.a[s], 2, 30, true, random);
        key.b[s] = Near(key.b[s], 2, 16, false, random);
        key.c[s] = Near(key.c[s], 1, 16, false, random);
        if (random.OneIn(8)) {
            key.a[s] = static_cast<uint8_t>(random.Below(32));
        }
    }
    key.direction = static_cast<uint8_t>(probe.direction + random.Between(-8, 8));
    return key;
}

TEST_F(IndexScoreTest, AgreesWithTheModelOnRandomKeys) {
    const uint64_t seed = testsupport::Seed() + 2;
    SCOPED_TRACE(testsupport::SeedNote(seed));
    Random random(seed);
    int32_t scored = 0;
    for (int32_t round = 0; round < 400; ++round) {
        SCOPED_TRACE(testing::Message() << "round " << round);
        // Few different values, so that keys compete for each other.
        const int32_t variety = round % 2 == 0 ? 30 : 5;
        std::vector<IndexKey> probe;
        for (int32_t k = random.Between(0, 30); k > 0; --k) {
            IndexKey key;
            for (size_t s = 0; s < 3; ++s) {
                key.a[s] = static_cast<uint8_t>(random.Below(variety));
                key.b[s] = static_cast<uint8_t>(random.Below(std::min(variety, 15)));
                key.c[s] = static_cast<uint8_t>(random.Below(std::min(variety, 16)));
            }
            key.direction = static_cast<uint8_t>(random.Below(variety == 30 ? 240 : 30));
            probe.push_back(key);
        }
        std::vector<IndexKey> stored;
        for (int32_t k = random.Between(1, 19); k > 0; --k) {
            stored.push_back(probe.empty() || random.OneIn(6)
                                 ? Distinct(random.Below(5), random.Below(256))
                                 : NearKey(probe[static_cast<size_t>(
                                               random.Below(static_cast<int32_t>(probe.size())))],
                                           random));
        }
        const std::vector<uint8_t> area = model::PackIndexKeys(stored);
        const int32_t expected = static_cast<int32_t>(model::IndexScore(probe, area));
        scored += expected > 0 ? 1 : 0;
        buffer_.Reset(round % 2 == 0 ? testsupport::Fill::kRandom : testsupport::Fill::kPattern);
        SetProbe(probe);
        EXPECT_EQ(ScoreOfArea(area), expected);
        EXPECT_TRUE(buffer_.GuardsIntact());
    }
    EXPECT_GE(scored, 250);
}

/// A key of few values, between which most pairs of slots agree in several ways.
IndexKey CommonKey(Random& random) {
    constexpr uint8_t kTurns[] = {29, 0, 1, 2, 3};
    IndexKey key;
    for (size_t s = 0; s < 3; ++s) {
        key.a[s] = kTurns[random.Below(5)];
        key.b[s] = static_cast<uint8_t>(7 * random.Below(3) + random.Below(2));
        key.c[s] = static_cast<uint8_t>(random.Between(3, 5));
    }
    key.direction = static_cast<uint8_t>(random.Below(20));
    return key;
}

TEST_F(IndexScoreTest, AgreesWithTheModelWhereKeysCompete) {
    const uint64_t seed = testsupport::Seed() + 4;
    SCOPED_TRACE(testsupport::SeedNote(seed));
    Random random(seed);
    for (int32_t round = 0; round < 400; ++round) {
        std::vector<IndexKey> probe(static_cast<size_t>(random.Between(1, 30)));
        std::vector<IndexKey> stored(static_cast<size_t>(random.Between(1, 19)));
        std::generate(probe.begin(), probe.end(), [&] { return CommonKey(random); });
        std::generate(stored.begin(), stored.end(), [&] { return CommonKey(random); });
        const std::vector<uint8_t> area = model::PackIndexKeys(stored);
        ASSERT_EQ(ScoreOf(probe, stored), static_cast<int32_t>(model::IndexScore(probe, area)))
            << "round " << round;
    }
}

TEST_F(IndexScoreTest, AgreesWithTheModelOnTemplates) {
    const uint64_t seed = testsupport::Seed() + 3;
    SCOPED_TRACE(testsupport::SeedNote(seed));
    Random random(seed);
    for (const Layout layout : testsupport::kAllLayouts) {
        for (const int32_t count : {6, 14, 28, 40, 60}) {
            SCOPED_TRACE(testing::Message() << NameOf(layout) << ", " << count << " minutiae");
            const model::MinutiaSet finger = testsupport::RandomSet(random, layout, count);
            const TemplateBytes probe = testsupport::FinishedTemplate(finger);
            std::vector<TemplateBytes> list = {probe};
            for (int32_t i = 0; i < 6; ++i) {
                list.push_back(testsupport::FinishedTemplate(testsupport::TakeImpression(
                    finger, testsupport::RandomImpression(random), random)));
                list.push_back(testsupport::Damaged(list.back(), random));
                TemplateBytes noise = probe;
                for (size_t place = 370; place < 512; ++place) {
                    noise[place] = static_cast<uint8_t>(random.Below(256));
                }
                noise[370] = static_cast<uint8_t>(random.Below(22));
                list.push_back(noise);
            }
            std::vector<const uint8_t*> pointers;
            for (const TemplateBytes& bytes : list) {
                pointers.push_back(bytes.data());
            }
            const std::vector<uint32_t> expected = model::IndexScores(probe, list);
            testsupport::WithEachFill(buffer_, [&](WorkBuffer&) {
                ASSERT_EQ(ISetIndex(buffer_.Bytes(), probe.data()), 0);
                std::vector<int32_t> scores(list.size(), -1);
                GetIndexScoreB(buffer_.Bytes(), pointers.data(), static_cast<int32_t>(list.size()),
                               scores.data());
                EXPECT_EQ(scores, std::vector<int32_t>(expected.begin(), expected.end()));
            });
        }
    }
}

}  // namespace
