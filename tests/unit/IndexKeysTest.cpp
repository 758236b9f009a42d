// SPDX-License-Identifier: Apache-2.0
//
// Index keys: hand-worked neighbourhoods (limits of distance and sector, slots, ties, packing),
// thinning, and both modes == naive model on random templates. The central arrangement: a minutia
// in the middle with neighbours to the east, south and west, which get no keys themselves.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "engine/FPEngine.h"
#include "match/FPMatch.h"
#include "tests/model/ModelIndexKeys.h"
#include "tests/model/ModelTemplate.h"
#include "tests/support/TestImages.h"
#include "tests/support/WorkBuffer.h"

namespace {

using testsupport::Random;
using testsupport::WithEachFill;
using testsupport::WorkBuffer;
using Bytes = std::vector<uint8_t>;

struct Place {
    int32_t x;
    int32_t y;
    uint8_t direction;
};

/// A template head with these minutiae, packed here and not by the library.
Bytes TemplateOf(const std::vector<Place>& places) {
    Bytes bytes(512, 0);
    std::memcpy(bytes.data(), "301", 3);
    bytes[3] = static_cast<uint8_t>(places.size());
    for (size_t k = 0; k < places.size(); ++k) {
        const uint32_t word = static_cast<uint32_t>(places[k].y + 256) |
                              static_cast<uint32_t>(places[k].x + 256) << 10 | 1u << 20;
        bytes[4 + 6 * k] = static_cast<uint8_t>(word & 255);
        bytes[5 + 6 * k] = static_cast<uint8_t>(word >> 8 & 255);
        bytes[6 + 6 * k] = static_cast<uint8_t>(word >> 16);
        bytes[7 + 6 * k] = 8;
        bytes[9 + 6 * k] = places[k].direction;
    }
    return bytes;
}

/// `places` and two more, far from all of them, so that the template has enough minutiae. The two
/// are too close to each other to be neighbours.
Bytes WithFarPair(std::vector<Place> places) {
    places.push_back({700, 700, 0});
    places.push_back({701, 700, 0});
    return TemplateOf(places);
}

/// The middle at (200, 200), then neighbours to the east (angle 0), south (60) and west (120) at
/// 20 pixels. The last three see neighbours in two sectors at most.
std::vector<Place> Cross(uint8_t direction) {
    return {{200, 200, direction}, {220, 200, 16}, {200, 220, 100}, {180, 200, 0}};
}

std::vector<qorfp::WorkKey> ProbeKeys(const Bytes& bytes) {
    WorkBuffer buffer;
    buffer.Reset(testsupport::Fill::kPattern);
    EXPECT_EQ(CreateIndex(buffer.Bytes(), bytes.data(), nullptr), 0);
    EXPECT_TRUE(buffer.GuardsIntact());
    const auto* workspace = qorfp::WorkAt<qorfp::IndexWorkspace>(buffer.Bytes());
    return std::vector<qorfp::WorkKey>(workspace->keys, workspace->keys + workspace->keyCount);
}

Bytes StoredArea(const Bytes& bytes) {
    WorkBuffer buffer;
    buffer.Reset(testsupport::Fill::kPattern);
    Bytes area(142, 0xEE);
    EXPECT_EQ(CreateIndex(buffer.Bytes(), bytes.data(), area.data()), 0);
    EXPECT_TRUE(buffer.GuardsIntact());
    EXPECT_EQ(area[140], 0xEE);  // not a byte behind the area
    area.resize(140);
    return area;
}

/// The key of minutia 0; all bytes 0xEE where it has none.
qorfp::WorkKey KeyOfTheMiddle(const Bytes& bytes) {
    const std::vector<qorfp::WorkKey> keys = ProbeKeys(bytes);
    qorfp::WorkKey key;
    std::memset(&key, 0xEE, sizeof(key));
    for (const qorfp::WorkKey& candidate : keys) {
        if (candidate.index == 0) {
            key = candidate;
        }
    }
    return key;
}

std::array<int32_t, 3> Slots(const uint8_t (&values)[3]) {
    return {values[0], values[1], values[2]};
}

using Three = std::array<int32_t, 3>;

TEST(IndexKeys, DescribeThreeNeighboursRelativeToTheMiddle) {
    const std::vector<qorfp::WorkKey> keys = ProbeKeys(WithFarPair(Cross(0)));
    ASSERT_EQ(keys.size(), 1u);
    EXPECT_EQ(Slots(keys[0].a), (Three{2, 5, 15}));  // 16 / 8, (100 - 60) / 8, (0 - 120 + 240) / 8
    EXPECT_EQ(Slots(keys[0].b), (Three{3, 3, 3}));   // 0 + 30, 60 - 30, 120 - 90, each / 8
    EXPECT_EQ(Slots(keys[0].c), (Three{0, 0, 0}));
    EXPECT_EQ(keys[0].index, 0);
    EXPECT_EQ(keys[0].direction, 0);
}

TEST(IndexKeys, ArePackedInSevenBytes) {
    std::vector<Place> places = Cross(0);
    places[1].x = 340;  // 140 pixels: C = 15
    Bytes expected(140, 0);
    // A: 2 | 5 << 5 | 15 << 10 = 0x3CA2. C: 15, 0, 0; B: 3, 3, 3.
    const Bytes head = {1, 0, 0xA2, 0x3C, 0x0F, 0x30, 0x33, 0, 0};
    std::copy(head.begin(), head.end(), expected.begin());
    EXPECT_EQ(StoredArea(WithFarPair(places)), expected);
}

TEST(IndexKeys, CountNeighboursFrom20To140PixelsInclusive) {
    struct Case {
        int32_t dx;
        int32_t dy;
        bool isNeighbour;
        int32_t c;
    };
    for (const Case& c : {Case{20, 0, true, 0}, Case{19, 0, false, 0}, Case{140, 0, true, 15},
                          Case{141, 0, false, 0}, Case{16, -12, true, 0}, Case{16, -11, false, 0},
                          Case{112, -84, true, 15}, Case{112, -85, false, 0}, Case{27, 0, true, 0},
                          Case{28, 0, true, 1}, Case{139, 0, true, 14}}) {
        SCOPED_TRACE(testing::Message() << c.dx << ", " << c.dy);
        std::vector<Place> places = Cross(0);
        places[1].x = 200 + c.dx;
        places[1].y = 200 + c.dy;
        const qorfp::WorkKey key = KeyOfTheMiddle(WithFarPair(places));
        if (c.isNeighbour) {
            EXPECT_EQ(key.index, 0);
            EXPECT_EQ(key.c[0], c.c);
        } else {
            EXPECT_EQ(key.index, 0xEE) << "two sectors must not give a key";
        }
    }
}

TEST(IndexKeys, NeedThreeSectors) {
    // Many neighbours, all to the east or the south.
    const Bytes bytes = TemplateOf({{200, 200, 0},
                                    {230, 200, 0},
                                    {250, 205, 0},
                                    {270, 195, 0},
                                    {200, 230, 0},
                                    {205, 250, 0},
                                    {195, 270, 0}});
    EXPECT_EQ(KeyOfTheMiddle(bytes).index, 0xEE);
}

TEST(IndexKeys, SortNeighboursIntoSectorsAndSlots) {
    // East, south and west stand at 0, 60 and 120; with the middle's direction v they are seen at
    // -v, 60 - v and 120 - v.
    struct Case {
        uint8_t direction;
        Three b;
        Three a;  // tells which neighbour fills the slot: east 2, south 5, west 15
    };
    const Three eastSouthWest = {2, 5, 15};
    const Case cases[] = {
        {210, {7, 7, 7}, eastSouthWest},     // 30, 90, 150: the last of sectors 0, 1, 2
        {29, {0, 0, 0}, eastSouthWest},      // 211, 31, 91: the first of sectors 0, 1, 2
        {209, {7, 7, 7}, eastSouthWest},     // 31, 91, 151 in sectors 1, 2, 3: 61 / 8 each
        {30, {7, 7, 14}, {5, 15, 2}},        // 210, 30, 90: the east is in sector 3, 120 cut to 119
        {150, {14, 14, 14}, eastSouthWest},  // 90, 150, 210 in sectors 1, 2, 3
        {149, {0, 7, 7}, {15, 2, 5}},        // 91, 151, 211: the west is in sector 0
        {250, {2, 2, 2}, eastSouthWest},     // a direction of 250 counts as 10: 230, 50, 110
        {0, {3, 3, 3}, eastSouthWest},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(int{c.direction});
        const qorfp::WorkKey key = KeyOfTheMiddle(WithFarPair(Cross(c.direction)));
        EXPECT_EQ(Slots(key.b), c.b);
        EXPECT_EQ(Slots(key.a), c.a);
        EXPECT_EQ(key.direction, c.direction) << "the byte is kept as it is";
    }
}

TEST(IndexKeys, TakeTheTrueModulusOfAnyDirectionByte) {
    std::vector<Place> places = Cross(0);
    places[1].direction = 255;  // east: 255 mod 240 = 15 -> 1
    places[3].direction = 119;  // west: (119 - 120) mod 240 = 239 -> 29
    const qorfp::WorkKey key = KeyOfTheMiddle(WithFarPair(places));
    EXPECT_EQ(Slots(key.a), (Three{1, 5, 29}));
}

TEST(IndexKeys, DropTheSectorOfTheFarthestNeighbourTheEarlierOnATie) {
    // East, south, west, north of the middle, in sectors 0..3; their directions make A tell them
    // apart: 8 -> 1, (60 + 16) -> 2, (120 + 24) -> 3, (180 + 32) -> 4.
    struct Case {
        std::array<int32_t, 4> distance;
        Three a;
        Three b;
    };
    const Case cases[] = {
        {{30, 40, 40, 20}, {1, 3, 4}, {3, 11, 11}},   // south and west tie: south goes
        {{40, 30, 20, 40}, {2, 3, 4}, {11, 11, 11}},  // east and north tie: east goes
        {{30, 30, 30, 30}, {2, 3, 4}, {11, 11, 11}}, {{30, 20, 41, 41}, {1, 2, 4}, {3, 3, 11}},
        {{30, 20, 40, 41}, {1, 2, 3}, {3, 3, 3}},
    };
    for (const Case& c : cases) {
        const Bytes bytes = WithFarPair({{200, 200, 0},
                                         {200 + c.distance[0], 200, 8},
                                         {200, 200 + c.distance[1], 76},
                                         {200 - c.distance[2], 200, 144},
                                         {200, 200 - c.distance[3], 212}});
        const qorfp::WorkKey key = KeyOfTheMiddle(bytes);
        EXPECT_EQ(Slots(key.a), c.a);
        EXPECT_EQ(Slots(key.b), c.b);
    }
}

TEST(IndexKeys, TakeTheNearestOfASectorTheLowestNumberOnATie) {
    // (16, 12) and (20, 0) from the middle are both 20 pixels off, both in sector 0.
    const auto slot0 = [](const Place& first, const Place& second) {
        std::vector<Place> places = Cross(0);
        places[1] = first;
        places.push_back(second);
        return int32_t{KeyOfTheMiddle(WithFarPair(places)).a[0]};
    };
    EXPECT_EQ(slot0({220, 200, 80}, {216, 212, 200}), 10);  // 80 / 8
    EXPECT_EQ(slot0({216, 212, 200}, {220, 200, 80}), 21);  // (200 - 25) / 8, the angle is 25
    EXPECT_EQ(slot0({222, 200, 80}, {216, 212, 200}), 21);  // the nearer one, whatever its number
    // A fraction of a pixel is no difference: both distances are 20 after the root.
    EXPECT_EQ(slot0({220, 202, 80}, {220, 200, 200}), 9);  // (80 - 4) / 8
}

TEST(IndexKeys, StartFromTheCentreOfTheBoundingBox) {
    // Two crosses; the box 0..600 x 0..20 has its centre nearer to the second one's middle.
    const std::vector<Place> places = {{20, 0, 0},   {40, 0, 0},  {20, 20, 0},
                                       {0, 0, 0},    {200, 0, 0}, {220, 0, 0},
                                       {200, 20, 0}, {180, 0, 0}, {600, 0, 0}};
    const std::vector<qorfp::WorkKey> keys = ProbeKeys(TemplateOf(places));
    ASSERT_GE(keys.size(), 2u);
    size_t first = 99;
    size_t second = 99;
    for (size_t k = 0; k < keys.size(); ++k) {
        first = keys[k].index == 0 ? k : first;
        second = keys[k].index == 4 ? k : second;
    }
    ASSERT_LT(first, keys.size());
    EXPECT_LT(second, first);  // 100 pixels from the centre (300, 10), not 280
}

TEST(IndexKeys, MayBeNoneOneOrTwo) {
    // Six minutiae on one spot: nobody has neighbours.
    EXPECT_EQ(StoredArea(TemplateOf(std::vector<Place>(6, Place{50, 50, 0}))), Bytes(140, 0));
    EXPECT_EQ(StoredArea(WithFarPair(Cross(0)))[0], 1);
    // A second middle on the spot of the first.
    std::vector<Place> places = Cross(0);
    places.push_back({200, 200, 8});
    const Bytes area = StoredArea(WithFarPair(places));
    EXPECT_EQ(area[0], 2);
    EXPECT_EQ(Bytes(area.begin() + 16, area.end()), Bytes(124, 0));
}

/// `count` middles on one spot, then their three neighbours.
Bytes CrossWithMiddles(size_t count) {
    std::vector<Place> places(count, Cross(0)[0]);
    const std::vector<Place> cross = Cross(0);
    places.insert(places.end(), cross.begin() + 1, cross.end());
    return TemplateOf(places);
}

std::vector<int32_t> StoredIndices(const Bytes& area) {
    std::vector<int32_t> indices;
    for (size_t k = 0; k < area[0]; ++k) {
        indices.push_back(area[2 + 7 * k + 5]);
    }
    return indices;
}

std::vector<int32_t> Counting(int32_t count) {
    std::vector<int32_t> numbers;
    for (int32_t k = 0; k < count; ++k) {
        numbers.push_back(k);
    }
    return numbers;
}

TEST(IndexKeys, AreCutToNineteenWhenStoredAndToThirtyInAProbe) {
    // All keys are equal. The last one's nearest is the one before it, so the last is removed; for
    // all others the nearest is then that removed key, which blocks them; the rest is cut at 19.
    for (const int32_t count : {18, 19, 20, 21, 30, 31, 50}) {
        SCOPED_TRACE(count);
        const Bytes bytes = CrossWithMiddles(static_cast<size_t>(count));
        EXPECT_EQ(ProbeKeys(bytes).size(), static_cast<size_t>(std::min(count, 30)));
        const Bytes area = StoredArea(bytes);
        EXPECT_EQ(StoredIndices(area), Counting(std::min(count, 19)));
        EXPECT_EQ(area[1], 0);
        EXPECT_EQ(Bytes(area.begin() + 135, area.end()), Bytes(5, 0));
    }
}

TEST(IndexKeys, OfAProbeLeaveTheUnusedKeysZero) {
    WorkBuffer buffer;
    const Bytes bytes = WithFarPair(Cross(0));
    WithEachFill(buffer, [&](WorkBuffer& work) {
        ASSERT_EQ(CreateIndex(work.Bytes(), bytes.data(), nullptr), 0);
        const auto* workspace = qorfp::WorkAt<qorfp::IndexWorkspace>(work.Bytes());
        ASSERT_EQ(workspace->keyCount, 1);
        for (int32_t k = 1; k < 30; ++k) {
            for (size_t byte = 0; byte < sizeof(qorfp::WorkKey); ++byte) {
                uint8_t value = 1;
                std::memcpy(&value, work.Bytes() + 4 + 11 * static_cast<size_t>(k) + byte, 1);
                ASSERT_EQ(value, 0) << "key " << k << " byte " << byte;
            }
        }
    });
}

TEST(IndexKeys, OfATemplateThatDoesNotDecodeAreNone) {
    Bytes tooFew = WithFarPair(Cross(0));
    tooFew[3] = 5;
    Bytes tooMany = tooFew;
    tooMany[3] = 61;
    Bytes badType = WithFarPair(Cross(0));
    badType[4 + 6 * 5 + 2] |= 0x30;
    for (const Bytes& bytes : {tooFew, tooMany, badType}) {
        WorkBuffer buffer;
        WithEachFill(buffer, [&](WorkBuffer& work) {
            Bytes area(140, 0xEE);
            EXPECT_NE(CreateIndex(work.Bytes(), bytes.data(), area.data()), 0);
            EXPECT_EQ(area, Bytes(140, 0xEE));
            EXPECT_NE(ICreateIndex(work.Bytes(), bytes.data(), area.data()), 0);
            EXPECT_EQ(area, Bytes(140, 0xEE));
            EXPECT_NE(CreateIndex(work.Bytes(), bytes.data(), nullptr), 0);
            EXPECT_EQ(qorfp::WorkAt<qorfp::IndexWorkspace>(work.Bytes())->keyCount, 0);
        });
    }
}

TEST(IndexKeys, OfTheEngineCallAreThoseOfCreateIndex) {
    const Bytes bytes = CrossWithMiddles(25);
    WorkBuffer buffer;
    WithEachFill(buffer, [&](WorkBuffer& work) {
        Bytes area(140, 0xEE);
        EXPECT_EQ(ICreateIndex(work.Bytes(), bytes.data(), area.data()), 0);
        EXPECT_EQ(area, StoredArea(bytes));
    });
}

TEST(IndexKeyTables, HoldTheDifferencesByTheirRules) {
    for (int32_t difference = -30; difference < 30; ++difference) {
        EXPECT_EQ(gbFA[difference + 30], std::min(std::abs(difference), 30 - std::abs(difference)));
    }
    for (int32_t difference = -16; difference < 16; ++difference) {
        EXPECT_EQ(gbFD[difference + 16], std::abs(difference));
    }
    EXPECT_EQ(gbFA[30 + 29], 1);
    EXPECT_EQ(gbFA[30 - 16], 14);
    EXPECT_EQ(gbFA[30 + 15], 15);
    EXPECT_EQ(gbFD[16 - 15], 15);
}

// --- Library == model ---------------------------------------------------------------------------

/// Templates whose minutiae lie scattered, on a grid, or in two patches; plain or hostile bytes.
Bytes RandomTemplate(Random& random) {
    const int32_t count = random.OneIn(3) ? random.Between(6, 60) : random.Between(25, 60);
    const int32_t span = random.OneIn(6) ? 1023 : random.Between(30, 400);
    const int32_t kind = random.Below(3);
    const int32_t spacing = random.Between(10, 60);
    const bool isHostile = random.OneIn(4);
    const bool isAligned = random.OneIn(3);
    std::vector<Place> places;
    for (int32_t k = 0; k < count; ++k) {
        Place place = {0, 0, 0};
        if (kind == 0) {
            place.x = random.Below(span + 1);
            place.y = random.Below(span + 1);
        } else if (kind == 1) {
            place.x = k % 8 * spacing;
            place.y = k / 8 * spacing;
        } else {
            place.x = random.Below(90) + (k % 2) * 150;
            place.y = random.Below(90);
        }
        place.x -= span == 1023 ? 256 : 0;
        place.y -= span == 1023 ? 256 : 0;
        place.direction = static_cast<uint8_t>(isAligned   ? 8 * random.Below(4)
                                               : isHostile ? random.Below(256)
                                                           : random.Below(240));
        places.push_back(place);
    }
    return TemplateOf(places);
}

TEST(IndexKeysAgainstModel, AgreeInBothModes) {
    const uint64_t seed = testsupport::Seed();
    SCOPED_TRACE(testsupport::SeedNote(seed));
    Random random(seed);
    WorkBuffer buffer;
    int32_t thinned = 0;
    for (int32_t round = 0; round < 150; ++round) {
        SCOPED_TRACE(round);
        const Bytes bytes = RandomTemplate(random);
        std::vector<model::IndexKey> keys;
        ASSERT_EQ(model::CreateIndexForProbe(bytes, keys), 0);
        Bytes expectedArea;
        ASSERT_EQ(model::CreateIndexArea(bytes, expectedArea), 0);
        thinned += keys.size() >= 20 ? 1 : 0;
        const testsupport::Fill fills[] = {testsupport::Fill::kZeros, testsupport::Fill::kPattern,
                                           testsupport::Fill::kRandom};
        buffer.Reset(fills[round % 3]);
        Bytes area(140, 0xEE);
        ASSERT_EQ(CreateIndex(buffer.Bytes(), bytes.data(), area.data()), 0);
        ASSERT_EQ(area, expectedArea);
        // On what the storage mode has left: the probe mode must not care.
        ASSERT_EQ(CreateIndex(buffer.Bytes(), bytes.data(), nullptr), 0);
        ASSERT_TRUE(buffer.GuardsIntact());
        const auto* workspace = qorfp::WorkAt<qorfp::IndexWorkspace>(buffer.Bytes());
        ASSERT_EQ(static_cast<size_t>(workspace->keyCount), keys.size());
        for (size_t k = 0; k < keys.size(); ++k) {
            const qorfp::WorkKey& got = workspace->keys[k];
            ASSERT_EQ(got.index, keys[k].index) << k;
            ASSERT_EQ(got.direction, keys[k].direction) << k;
            for (size_t slot = 0; slot < 3; ++slot) {
                ASSERT_EQ(got.a[slot], keys[k].a[slot]) << k << " slot " << slot;
                ASSERT_EQ(got.b[slot], keys[k].b[slot]) << k << " slot " << slot;
                ASSERT_EQ(got.c[slot], keys[k].c[slot]) << k << " slot " << slot;
            }
        }
    }
    EXPECT_GT(thinned, 30);
}

}  // namespace
