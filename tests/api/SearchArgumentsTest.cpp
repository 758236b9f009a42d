// SPDX-License-Identifier: Apache-2.0
//
// QORFP_Identify and QORFP_Search: which arguments and templates are refused, and in which order
// they are tested.
#include <gtest/gtest.h>

#include <string>

#include "include/QORFPApi.h"
#include "tests/api/FencedBytes.h"
#include "tests/api/GuardedBytes.h"
#include "tests/api/SearchCalls.h"

namespace {

using apitest::Bytes;
using apitest::Found;
using apitest::GuardedNumber;

const uint32_t kBadLevels[] = {0, 6, 7, 255, 256 + 3, 0x7FFFFFFFu, 0x80000001u, 0xFFFFFFFFu};

Bytes GoodTemplate() {
    return apitest::Indexed(apitest::Scatter(1, 20, 200));
}

Bytes WithByte(Bytes bytes, size_t place, int32_t value) {
    bytes[place] = static_cast<uint8_t>(value);
    return bytes;
}

TEST(SearchArguments, NullProbesAndListsAreRefused) {
    const Bytes good = GoodTemplate();
    const uint8_t* const pointers[] = {good.data()};
    for (const uint32_t level : {3u, 0u, 6u}) {
        for (const uint32_t count : {1u, 0u}) {
            uint32_t index = 77;
            GuardedNumber score;
            EXPECT_EQ(QORFP_Search(nullptr, good.data(), count, level, &index, &score.value),
                      QORFP_BAD_ARGUMENT);
            EXPECT_EQ(QORFP_Search(good.data(), nullptr, count, level, &index, &score.value),
                      QORFP_BAD_ARGUMENT);
            EXPECT_EQ(QORFP_Search(nullptr, nullptr, count, level, &index, &score.value),
                      QORFP_BAD_ARGUMENT);
            EXPECT_EQ(QORFP_Identify(nullptr, pointers, count, level, &index, &score.value),
                      QORFP_BAD_ARGUMENT);
            EXPECT_EQ(QORFP_Identify(good.data(), nullptr, count, level, &index, &score.value),
                      QORFP_BAD_ARGUMENT);
            EXPECT_EQ(QORFP_Identify(nullptr, nullptr, count, level, &index, &score.value),
                      QORFP_BAD_ARGUMENT);
            EXPECT_EQ(index, 77u);
            EXPECT_TRUE(score.Untouched());
        }
    }
}

TEST(SearchArguments, ANullListIsFoundBeforeABadProbe) {
    const Bytes old = apitest::WriteTemplate(apitest::Scatter(1, 20, 200), "300");
    uint32_t index = 77;
    int32_t score = 78;
    EXPECT_EQ(QORFP_Search(old.data(), nullptr, 1, 3, &index, &score), QORFP_BAD_ARGUMENT);
    EXPECT_EQ(QORFP_Identify(old.data(), nullptr, 1, 3, &index, &score), QORFP_BAD_ARGUMENT);
}

TEST(SearchArguments, NullOutputsAreNotWritten) {
    const Bytes good = GoodTemplate();
    const uint8_t* const pointers[] = {good.data()};
    uint32_t index = 77;
    int32_t score = 78;
    EXPECT_EQ(QORFP_Search(good.data(), good.data(), 1, 3, nullptr, &score), QORFP_OK);
    EXPECT_EQ(score, 2047);
    EXPECT_EQ(QORFP_Search(good.data(), good.data(), 1, 3, &index, nullptr), QORFP_OK);
    EXPECT_EQ(index, 0u);
    EXPECT_EQ(QORFP_Search(good.data(), good.data(), 1, 3, nullptr, nullptr), QORFP_OK);
    index = 77;
    score = 78;
    EXPECT_EQ(QORFP_Identify(good.data(), pointers, 1, 3, nullptr, &score), QORFP_OK);
    EXPECT_EQ(score, 2047);
    EXPECT_EQ(QORFP_Identify(good.data(), pointers, 1, 3, &index, nullptr), QORFP_OK);
    EXPECT_EQ(index, 0u);
    EXPECT_EQ(QORFP_Identify(good.data(), pointers, 1, 3, nullptr, nullptr), QORFP_OK);
}

TEST(SearchArguments, LevelsOneToFiveAreTaken) {
    const Bytes good = GoodTemplate();
    for (uint32_t level = 1; level <= 5; ++level) {
        const Found found = apitest::Find(good, {good}, level);
        EXPECT_EQ(found.result, QORFP_OK);
        EXPECT_EQ(found.index, 0u);
        EXPECT_EQ(found.score, 2047);
    }
}

TEST(SearchArguments, OtherLevelsAreRefused) {
    const Bytes good = GoodTemplate();
    for (const uint32_t level : kBadLevels) {
        EXPECT_EQ(apitest::Find(good, {good}, level).result, QORFP_BAD_ARGUMENT) << level;
        EXPECT_EQ(apitest::Find(good, {}, level).result, QORFP_BAD_ARGUMENT) << level;
    }
}

TEST(SearchArguments, AnEmptyListIsRefused) {
    EXPECT_EQ(apitest::Find(GoodTemplate(), {}, 3).result, QORFP_BAD_ARGUMENT);
}

TEST(SearchArguments, OnlyOneVersionTextIsTaken) {
    const Bytes good = GoodTemplate();
    for (size_t place = 0; place < 3; ++place) {
        for (const int32_t value : {0, 1, int32_t{'/'}, int32_t{'0'}, int32_t{'1'}, int32_t{'2'},
                                    int32_t{'3'}, int32_t{'4'}, 128 + '1', 255}) {
            if (value == good[place]) {
                continue;
            }
            const Bytes other = WithByte(good, place, value);
            EXPECT_EQ(apitest::Find(other, {good}, 3).result, QORFP_BAD_TEMPLATE)
                << "probe's byte " << place << " = " << value;
            EXPECT_EQ(apitest::Find(good, {other}, 3).result, QORFP_BAD_TEMPLATE)
                << "entry's byte " << place << " = " << value;
        }
    }
}

TEST(SearchArguments, MoreThanSixtyMinutiaeAreRefused) {
    const Bytes good = GoodTemplate();
    for (const int32_t count : {61, 62, 128, 255}) {
        const Bytes bad = WithByte(good, apitest::kCountByte, count);
        EXPECT_EQ(apitest::Find(bad, {good}, 3).result, QORFP_BAD_TEMPLATE) << count;
        EXPECT_EQ(apitest::Find(good, {good, bad}, 3).result, QORFP_BAD_TEMPLATE) << count;
    }
}

TEST(SearchArguments, ABadProbeIsFoundBeforeEverythingBehindIt) {
    const Bytes good = GoodTemplate();
    const Bytes bad = WithByte(good, 2, '0');
    EXPECT_EQ(apitest::Find(bad, {}, 3).result, QORFP_BAD_TEMPLATE);
    for (const uint32_t level : kBadLevels) {
        EXPECT_EQ(apitest::Find(bad, {good}, level).result, QORFP_BAD_TEMPLATE);
        EXPECT_EQ(apitest::Find(bad, {}, level).result, QORFP_BAD_TEMPLATE);
    }
    const uint8_t* const pointers[] = {nullptr};
    uint32_t index = 77;
    int32_t score = 78;
    EXPECT_EQ(QORFP_Identify(bad.data(), pointers, 1, 3, &index, &score), QORFP_BAD_TEMPLATE);
}

TEST(SearchArguments, ABadEntryIsFoundBeforeABadLevel) {
    const Bytes good = GoodTemplate();
    const Bytes bad = WithByte(good, 2, '0');
    for (const uint32_t level : kBadLevels) {
        EXPECT_EQ(apitest::Find(good, {good, bad}, level).result, QORFP_BAD_TEMPLATE);
    }
}

TEST(SearchArguments, OneBadEntryAnywhereRefusesTheList) {
    const Bytes good = GoodTemplate();
    const Bytes bad = WithByte(good, apitest::kCountByte, 61);
    for (size_t place = 0; place < 8; ++place) {
        std::vector<Bytes> list(8, good);
        list[place] = bad;
        EXPECT_EQ(apitest::Find(good, list, 3).result, QORFP_BAD_TEMPLATE) << place;
    }
}

// A null entry gives 5 and an invalid one 8: the first in the list decides.
TEST(SearchArguments, NullEntriesAreRefused) {
    const Bytes good = GoodTemplate();
    const Bytes bad = WithByte(good, 2, '0');
    const auto identify = [&good](const std::vector<const uint8_t*>& list, uint32_t level) {
        uint32_t index = 77;
        GuardedNumber score;
        const uint32_t result =
            QORFP_Identify(good.data(), list.data(), static_cast<uint32_t>(list.size()), level,
                           &index, &score.value);
        EXPECT_EQ(index, 77u);
        EXPECT_TRUE(score.Untouched());
        return result;
    };
    EXPECT_EQ(identify({nullptr}, 3), QORFP_BAD_ARGUMENT);
    EXPECT_EQ(identify({good.data(), nullptr}, 3), QORFP_BAD_ARGUMENT);
    EXPECT_EQ(identify({nullptr, good.data()}, 3), QORFP_BAD_ARGUMENT);
    EXPECT_EQ(identify({nullptr, bad.data()}, 3), QORFP_BAD_ARGUMENT);
    EXPECT_EQ(identify({bad.data(), nullptr}, 3), QORFP_BAD_TEMPLATE);
    EXPECT_EQ(identify({good.data(), bad.data(), nullptr}, 9), QORFP_BAD_TEMPLATE);
    EXPECT_EQ(identify({good.data(), nullptr, bad.data()}, 9), QORFP_BAD_ARGUMENT);
}

TEST(SearchArguments, ListsOfPointersNeedNoAlignmentOfTheEntries) {
    const Bytes good = GoodTemplate();
    const Bytes nobody = apitest::Nobody();
    Bytes room(1 + nobody.size() + good.size());
    std::copy(nobody.begin(), nobody.end(), room.begin() + 1);
    std::copy(good.begin(), good.end(), room.begin() + 513);
    uint32_t index = 77;
    int32_t score = 78;
    const uint8_t* const pointers[] = {room.data() + 1, room.data() + 513};
    EXPECT_EQ(QORFP_Identify(good.data(), pointers, 2, 3, &index, &score), QORFP_OK);
    EXPECT_EQ(index, 1u);
    EXPECT_EQ(QORFP_Search(good.data(), room.data() + 1, 2, 3, &index, &score), QORFP_OK);
    EXPECT_EQ(index, 1u);
}

}  // namespace
