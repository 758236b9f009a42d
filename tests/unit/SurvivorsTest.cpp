// SPDX-License-Identifier: Apache-2.0
//
// What survives in the work buffer from one call to the next: the reference of a match and the keys
// of an index. A buffer that something else has written to since must give the score 0 and must
// never be followed outside the record.
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include "engine/FPEngine.h"
#include "match/FPMatch.h"
#include "tests/support/WorkBuffer.h"

namespace {

using testsupport::WorkBuffer;
using Template = std::array<uint8_t, 512>;

// Minutiae 40 pixels apart with some disorder. 25 have plenty of bars and keys.
Template Finger(int32_t count = 25) {
    MinutiaSet set = {};
    set.count = count;
    for (int32_t i = 0; i < set.count; ++i) {
        Minutia& minutia = set.minutiae[i];
        minutia.attributes = 0;
        minutia.x = 40 + 40 * (i % 5) + 7 * (i * i % 5);
        minutia.y = 40 + 40 * (i / 5) + 5 * (i * i % 7);
        minutia.type = static_cast<uint8_t>(1 + i % 2);
        minutia.direction = static_cast<uint8_t>(i * 37 % 240);
    }
    Template bytes = {};
    EXPECT_EQ(EncodeTemplate(&set, nullptr, bytes.data()), 0);
    WorkBuffer work;
    EXPECT_EQ(CreateIndex(work.Bytes(), bytes.data(), bytes.data() + qorfp::kIndexOffset), 0);
    return bytes;
}

struct Damage {
    std::string name;
    std::function<void(MatchContext&)> apply;
};

TEST(Survivors, MatchNextRefusesADamagedReference) {
    const Template finger = Finger();
    const std::vector<Damage> damages = {
        {"more bars than there is room", [](MatchContext& c) { c.referenceBarCount = 401; }},
        {"very many bars", [](MatchContext& c) { c.referenceBarCount = INT32_MAX; }},
        {"negative bar count", [](MatchContext& c) { c.referenceBarCount = -1; }},
        {"more minutiae than there is room", [](MatchContext& c) { c.reference.count = 61; }},
        {"negative minutia count", [](MatchContext& c) { c.reference.count = -1; }},
        {"x too large", [](MatchContext& c) { c.reference.minutiae[3].x = 768; }},
        {"y too small", [](MatchContext& c) { c.reference.minutiae[3].y = -257; }},
        {"bar of no minutia", [](MatchContext& c) { c.referenceBars[5].first = 25; }},
        {"bar of a negative minutia", [](MatchContext& c) { c.referenceBars[5].second = -1; }},
        {"list before the entries", [](MatchContext& c) { c.sectorStart[7] = -1; }},
        {"negative list", [](MatchContext& c) { c.sectorLength[7] = -1; }},
        {"list behind the entries",
         [](MatchContext& c) {
             c.sectorStart[7] = 1599;
             c.sectorLength[7] = 2;
         }},
        {"entry of no bar",
         [](MatchContext& c) { c.sectorEntries[0] = static_cast<int16_t>(c.referenceBarCount); }},
        {"negative entry", [](MatchContext& c) { c.sectorEntries[0] = -1; }},
    };
    WorkBuffer work;
    for (const Damage& damage : damages) {
        SCOPED_TRACE(damage.name);
        ASSERT_GT(Match(work.Bytes(), finger.data(), finger.data()), 0);
        ASSERT_GT(MatchNext(work.Bytes(), finger.data()), 0);
        damage.apply(qorfp::WorkAt<MatchWork>(work.Bytes())->context);
        EXPECT_EQ(MatchNext(work.Bytes(), finger.data()), 0);
        EXPECT_TRUE(work.GuardsIntact());
    }
}

TEST(Survivors, MatchNextRefusesABarOfNoMinutiaWhereverItIs) {
    WorkBuffer work;
    MatchContext& context = qorfp::WorkAt<MatchWork>(work.Bytes())->context;
    std::set<int32_t> rests;  // of fours
    for (int32_t minutiae = 6; minutiae <= 12; ++minutiae) {
        SCOPED_TRACE(testing::Message() << minutiae << " minutiae");
        const Template finger = Finger(minutiae);
        ASSERT_GT(Match(work.Bytes(), finger.data(), finger.data()), 0);
        rests.insert(context.referenceBarCount % 4);
        for (int32_t bar = 0; bar < context.referenceBarCount; ++bar) {
            for (int16_t* end :
                 {&context.referenceBars[bar].first, &context.referenceBars[bar].second}) {
                const int16_t before = *end;
                for (const int32_t number : {INT16_MIN, -1, minutiae, INT16_MAX}) {
                    *end = static_cast<int16_t>(number);
                    EXPECT_EQ(MatchNext(work.Bytes(), finger.data()), 0) << "bar " << bar;
                }
                *end = before;
            }
        }
        EXPECT_GT(MatchNext(work.Bytes(), finger.data()), 0);
    }
    EXPECT_EQ(rests, (std::set<int32_t>{0, 2}));
}

struct IndexDamage {
    std::string name;
    std::function<void(qorfp::IndexWorkspace&)> apply;
};

TEST(Survivors, IndexScoresRefuseADamagedIndex) {
    const Template finger = Finger();
    const std::vector<IndexDamage> damages = {
        {"more keys than there is room", [](qorfp::IndexWorkspace& w) { w.keyCount = 31; }},
        {"negative key count", [](qorfp::IndexWorkspace& w) { w.keyCount = -1; }},
        {"value of no key", [](qorfp::IndexWorkspace& w) { w.keys[0].a[1] = 30; }},
        {"entry of no key", [](qorfp::IndexWorkspace& w) { w.planes[1].entries[0] = 30; }},
        {"bucket behind the entries",
         [](qorfp::IndexWorkspace& w) {
             w.planes[2].start[899] = 750;
             w.planes[2].size[899] = 1;
         }},
    };
    WorkBuffer work;
    for (const IndexDamage& damage : damages) {
        SCOPED_TRACE(damage.name);
        int32_t score = -1;
        ASSERT_EQ(ISetIndex(work.Bytes(), finger.data()), 0);
        ASSERT_EQ(IGetScoreA(work.Bytes(), finger.data(), 1, &score), 0);
        ASSERT_GT(score, 0);
        damage.apply(*qorfp::WorkAt<qorfp::IndexWorkspace>(work.Bytes()));
        EXPECT_EQ(IGetScoreA(work.Bytes(), finger.data(), 1, &score), 0);
        EXPECT_EQ(score, 0);
        EXPECT_TRUE(work.GuardsIntact());
    }
}

}  // namespace
