// SPDX-License-Identifier: Apache-2.0
//
// QORFP_Verify: which arguments and templates are refused, in which order they are tested, and
// that the score is written exactly when the matching ran.
#include <gtest/gtest.h>

#include <climits>
#include <string>

#include "include/QORFPApi.h"
#include "tests/api/FencedBytes.h"
#include "tests/api/GuardedBytes.h"
#include "tests/api/HandTemplate.h"

namespace {

using apitest::Bytes;
using apitest::FencedBytes;
using apitest::GuardedNumber;

const int32_t kBadLevels[] = {0, -1, 6, 7, 255, 256 + 3, -253, INT_MIN, INT_MIN + 1, INT_MAX};

Bytes GoodTemplate() {
    return apitest::WriteTemplate(apitest::Scatter(1, 20, 200));
}

Bytes WithVersion(const std::string& version) {
    return apitest::WriteTemplate(apitest::Scatter(1, 20, 200), version);
}

TEST(VerifyArguments, NullPointersAreRefusedAloneAndTogether) {
    const Bytes bytes = GoodTemplate();
    for (int32_t given = 0; given < 7; ++given) {  // a bit each; all three given is the good call
        GuardedNumber score;
        EXPECT_EQ(QORFP_Verify((given & 1) != 0 ? bytes.data() : nullptr,
                               (given & 2) != 0 ? bytes.data() : nullptr, 3,
                               (given & 4) != 0 ? &score.value : nullptr),
                  QORFP_BAD_ARGUMENT)
            << "pointers given: " << given;
        EXPECT_TRUE(score.Untouched());
    }
    GuardedNumber score;
    EXPECT_EQ(QORFP_Verify(bytes.data(), bytes.data(), 3, &score.value), QORFP_OK);
    EXPECT_TRUE(score.GuardsIntact());
}

TEST(VerifyArguments, LevelsOneToFiveAreTaken) {
    const Bytes bytes = GoodTemplate();
    for (int32_t level = 1; level <= 5; ++level) {
        GuardedNumber score;
        EXPECT_EQ(QORFP_Verify(bytes.data(), bytes.data(), level, &score.value), QORFP_OK);
        EXPECT_EQ(score.value, 2047);
        EXPECT_TRUE(score.GuardsIntact());
    }
}

TEST(VerifyArguments, OtherLevelsAreRefused) {
    const Bytes bytes = GoodTemplate();
    for (const int32_t level : kBadLevels) {
        GuardedNumber score;
        EXPECT_EQ(QORFP_Verify(bytes.data(), bytes.data(), level, &score.value), QORFP_BAD_ARGUMENT)
            << level;
        EXPECT_TRUE(score.Untouched()) << level;
    }
}

TEST(VerifyArguments, OnlyTwoVersionTextsAreTaken) {
    const Bytes good = GoodTemplate();
    for (size_t place = 0; place < 3; ++place) {
        for (int32_t value = 0; value < 256; ++value) {
            Bytes changed = good;
            changed[place] = static_cast<uint8_t>(value);
            const bool isKnown = place == 0   ? value == '3'
                                 : place == 1 ? value == '0'
                                              : value == '0' || value == '1';
            for (const bool isFirst : {true, false}) {
                GuardedNumber score;
                const uint32_t result =
                    QORFP_Verify(isFirst ? changed.data() : good.data(),
                                 isFirst ? good.data() : changed.data(), 3, &score.value);
                EXPECT_EQ(result, isKnown ? QORFP_OK : QORFP_BAD_TEMPLATE)
                    << "byte " << place << " = " << value;
                EXPECT_EQ(score.Untouched(), !isKnown);
                EXPECT_TRUE(score.GuardsIntact());
            }
        }
    }
}

TEST(VerifyArguments, OldAndNewTemplatesMatchEachOther) {
    for (const char* const first : {"300", "301"}) {
        for (const char* const second : {"300", "301"}) {
            const Bytes one = WithVersion(first);
            const Bytes other = WithVersion(second);
            int32_t score = -1;
            EXPECT_EQ(QORFP_Verify(one.data(), other.data(), 5, &score), QORFP_OK);
            EXPECT_EQ(score, 2047);
        }
    }
}

TEST(VerifyArguments, UnknownVersionsAreRefusedOnEitherSideAndBoth) {
    const Bytes good = GoodTemplate();
    for (const char* const version : {"302", "299", "310", "201", "401", "3 1", "103"}) {
        const Bytes unknown = WithVersion(version);
        GuardedNumber score;
        EXPECT_EQ(QORFP_Verify(unknown.data(), good.data(), 3, &score.value), QORFP_BAD_TEMPLATE);
        EXPECT_EQ(QORFP_Verify(good.data(), unknown.data(), 3, &score.value), QORFP_BAD_TEMPLATE);
        EXPECT_EQ(QORFP_Verify(unknown.data(), unknown.data(), 3, &score.value),
                  QORFP_BAD_TEMPLATE);
        EXPECT_TRUE(score.Untouched()) << version;
    }
}

TEST(VerifyArguments, ArgumentsAreTestedBeforeVersions) {
    const Bytes good = GoodTemplate();
    const Bytes unknown = WithVersion("302");
    GuardedNumber score;
    EXPECT_EQ(QORFP_Verify(unknown.data(), nullptr, 3, &score.value), QORFP_BAD_ARGUMENT);
    EXPECT_EQ(QORFP_Verify(nullptr, unknown.data(), 3, &score.value), QORFP_BAD_ARGUMENT);
    EXPECT_EQ(QORFP_Verify(unknown.data(), good.data(), 3, nullptr), QORFP_BAD_ARGUMENT);
    for (const int32_t level : kBadLevels) {
        EXPECT_EQ(QORFP_Verify(unknown.data(), good.data(), level, &score.value),
                  QORFP_BAD_ARGUMENT);
        EXPECT_EQ(QORFP_Verify(good.data(), unknown.data(), level, &score.value),
                  QORFP_BAD_ARGUMENT);
        // Not even the version texts are looked at.
        EXPECT_EQ(QORFP_Verify(apitest::UnreadableAddress(), apitest::UnreadableAddress(), level,
                               &score.value),
                  QORFP_BAD_ARGUMENT);
    }
    EXPECT_TRUE(score.Untouched());
}

TEST(VerifyArguments, VersionsAreTestedBeforeTheRest) {
    const Bytes good = GoodTemplate();
    Bytes unknown = WithVersion("302");
    for (const uint8_t count : {uint8_t{0}, uint8_t{5}, uint8_t{61}, uint8_t{255}}) {
        unknown[apitest::kCountByte] = count;
        GuardedNumber score;
        EXPECT_EQ(QORFP_Verify(good.data(), unknown.data(), 3, &score.value), QORFP_BAD_TEMPLATE);
        EXPECT_TRUE(score.Untouched());
    }
}

TEST(VerifyArguments, ReadsOnlyTheTemplatesAndChangesNothingOfThem) {
    const Bytes full = apitest::WriteTemplate(apitest::Scatter(1, 60, 200));
    ASSERT_EQ(full[apitest::kCountByte], 60);
    const FencedBytes one(full);
    const FencedBytes other(full);
    GuardedNumber score;
    EXPECT_EQ(QORFP_Verify(one.Data(), other.Data(), 3, &score.value), QORFP_OK);
    EXPECT_EQ(QORFP_Verify(one.Data(), one.Data(), 3, &score.value), QORFP_OK);
    EXPECT_TRUE(score.GuardsIntact());
}

TEST(VerifyArguments, TemplatesNeedNoAlignment) {
    const Bytes bytes = GoodTemplate();
    Bytes room(bytes.size() + 3);
    for (size_t offset = 1; offset <= 3; ++offset) {
        std::copy(bytes.begin(), bytes.end(), room.begin() + static_cast<std::ptrdiff_t>(offset));
        int32_t score = -1;
        EXPECT_EQ(QORFP_Verify(room.data() + offset, bytes.data(), 5, &score), QORFP_OK);
        EXPECT_EQ(score, 2047);
        EXPECT_EQ(QORFP_Verify(bytes.data(), room.data() + offset, 5, &score), QORFP_OK);
        EXPECT_EQ(score, 2047);
    }
}

}  // namespace
