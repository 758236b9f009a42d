// SPDX-License-Identifier: Apache-2.0
//
// QORFP_CheckFeature: which stored templates are usable, and the upgrade of those of the older
// form.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "include/QORFPApi.h"
#include "tests/api/FencedBytes.h"
#include "tests/api/GuardedBytes.h"
#include "tests/api/HandTemplate.h"
#include "tests/api/TestFingers.h"

namespace {

using apitest::Bytes;
using apitest::Minutiae;

struct Check {
    uint32_t result = 0;
    int32_t converted = 0;
    Bytes bytes;  ///< the template afterwards
};

Check CheckFeature(const Bytes& bytes) {
    apitest::GuardedBytes room(bytes.size());
    std::copy(bytes.begin(), bytes.end(), room.Data());
    apitest::GuardedNumber converted;
    Check check;
    check.result = QORFP_CheckFeature(room.Data(), &converted.value);
    EXPECT_TRUE(room.GuardsIntact());
    EXPECT_TRUE(converted.GuardsIntact());
    check.converted = converted.value;
    check.bytes = room.Copy();
    return check;
}

void ExpectUsable(const Bytes& bytes) {
    const Check check = CheckFeature(bytes);
    EXPECT_EQ(check.result, QORFP_OK);
    EXPECT_EQ(check.converted, 0);
    EXPECT_EQ(check.bytes, bytes);
}

void ExpectRefused(const Bytes& bytes) {
    const Check check = CheckFeature(bytes);
    EXPECT_EQ(check.result, QORFP_BAD_TEMPLATE);
    EXPECT_EQ(check.converted, 0);
    EXPECT_EQ(check.bytes, bytes);
}

// A "301" template with an index area of so many keys, made up.
Bytes WithKeyCount(const Minutiae& minutiae, int32_t keys) {
    Bytes bytes = apitest::WriteTemplate(minutiae);
    bytes[apitest::kKeyCountByte] = static_cast<uint8_t>(keys);
    for (size_t k = apitest::kFirstKey; k < 505; ++k) {
        bytes[k] = static_cast<uint8_t>(k * 7);
    }
    return bytes;
}

TEST(CheckFeature, RefusesNullPointers) {
    Bytes bytes = apitest::WriteTemplate(apitest::Scatter(1, 20, 200), "300");
    const Bytes before = bytes;
    apitest::GuardedNumber converted;
    EXPECT_EQ(QORFP_CheckFeature(nullptr, &converted.value), QORFP_BAD_ARGUMENT);
    EXPECT_EQ(QORFP_CheckFeature(nullptr, nullptr), QORFP_BAD_ARGUMENT);
    EXPECT_EQ(QORFP_CheckFeature(bytes.data(), nullptr), QORFP_BAD_ARGUMENT);
    EXPECT_TRUE(converted.Untouched());
    EXPECT_EQ(bytes, before);
}

TEST(CheckFeature, TakesExtractedTemplatesAsTheyAre) {
    for (uint64_t seed = 1; seed <= 3; ++seed) {
        ExpectUsable(apitest::TemplateOf(seed));
    }
}

TEST(CheckFeature, DoesNotLookAtChecksumOrQuality) {
    Bytes bytes = apitest::TemplateOf(1);
    bytes[510] ^= 0xFF;
    bytes[apitest::kQualityByte] = 255;
    ExpectUsable(bytes);
}

TEST(CheckFeature, OneToNineteenKeysAreUsable) {
    const Minutiae minutiae = apitest::Scatter(1, 20, 200);
    for (int32_t keys = 0; keys < 256; ++keys) {
        SCOPED_TRACE(std::to_string(keys) + " keys");
        if (keys >= 1 && keys <= 19) {
            ExpectUsable(WithKeyCount(minutiae, keys));
        } else {
            ExpectRefused(WithKeyCount(minutiae, keys));
        }
    }
}

TEST(CheckFeature, TheByteBehindTheKeyCountMustBeZero) {
    Bytes bytes = WithKeyCount(apitest::Scatter(1, 20, 200), 5);
    for (const uint8_t value : {uint8_t{1}, uint8_t{128}, uint8_t{255}}) {
        bytes[apitest::kKeyCountByte + 1] = value;
        ExpectRefused(bytes);
    }
}

TEST(CheckFeature, TheCountOfMinutiaeAloneIsLookedAt) {
    const Bytes good = WithKeyCount(apitest::Scatter(1, 20, 200), 5);
    for (int32_t count = 0; count < 256; ++count) {
        SCOPED_TRACE(std::to_string(count) + " minutiae");
        Bytes bytes = good;
        bytes[apitest::kCountByte] = static_cast<uint8_t>(count);
        if (count >= 1 && count <= 60) {
            ExpectUsable(bytes);
        } else {
            ExpectRefused(bytes);  // none: taken for an old one, which cannot be upgraded
        }
    }
}

TEST(CheckFeature, RefusesUnknownVersions) {
    const Bytes good = WithKeyCount(apitest::Scatter(1, 20, 200), 5);
    for (size_t place = 0; place < 3; ++place) {
        for (int32_t value = 0; value < 256; ++value) {
            Bytes bytes = good;
            bytes[place] = static_cast<uint8_t>(value);
            const bool isOld = place == 2 && value == '0';
            if (bytes != good && !isOld) {
                ExpectRefused(bytes);
            }
        }
    }
    ExpectRefused(Bytes(apitest::kTemplateBytes, 0));
}

TEST(CheckFeature, UpgradesTheOlderForm) {
    const Minutiae minutiae = apitest::Scatter(1, 20, 200);
    Bytes old = apitest::WriteTemplate(minutiae, "300");
    // The older form has no index and no checksum: whatever stands there goes.
    std::fill(old.begin() + 370, old.end(), uint8_t{0xEE});
    const Check check = CheckFeature(old);
    EXPECT_EQ(check.result, QORFP_OK);
    EXPECT_EQ(check.converted, 1);
    Bytes expected = old;
    expected[2] = '1';
    EXPECT_TRUE(std::equal(expected.begin(), expected.begin() + 370, check.bytes.begin()));
    const size_t keys = check.bytes[apitest::kKeyCountByte];
    EXPECT_GE(keys, 1u);
    ASSERT_LE(keys, 19u);
    EXPECT_EQ(check.bytes[apitest::kKeyCountByte + 1], 0);
    for (size_t k = apitest::kFirstKey + apitest::kKeyBytes * keys; k < apitest::kChecksumByte;
         ++k) {
        EXPECT_EQ(check.bytes[k], 0) << "byte " << k;
    }
    EXPECT_EQ(check.bytes[510] + 256u * check.bytes[511], apitest::ByteSum(check.bytes));
    ExpectUsable(check.bytes);
}

// An extracted template turned into the older form and back is itself again.
TEST(CheckFeature, RestoresTheIndex) {
    for (uint64_t seed = 1; seed <= 3; ++seed) {
        const Bytes made = apitest::TemplateOf(seed);
        Bytes old = made;
        old[2] = '0';
        std::fill(old.begin() + 370, old.end(), uint8_t{0});
        const Check check = CheckFeature(old);
        EXPECT_EQ(check.converted, 1);
        EXPECT_EQ(check.bytes, made);
    }
}

TEST(CheckFeature, LeavesWhatCannotBeUpgraded) {
    const Minutiae minutiae = apitest::Scatter(1, 20, 200);
    for (const int32_t count : {0, 1, 5, 21, 60, 61, 255}) {  // the 21st minutia has type 0
        Bytes bytes = apitest::WriteTemplate(minutiae, "300");
        bytes[apitest::kCountByte] = static_cast<uint8_t>(count);
        ExpectRefused(bytes);
    }
    Minutiae wrongType = minutiae;
    wrongType[7].type = 3;
    ExpectRefused(apitest::WriteTemplate(wrongType, "300"));
}

// Minutiae too far from each other (more than 140 pixels) give no keys: the upgrade works, and the
// template it leaves is refused from then on.
TEST(CheckFeature, UpgradesToATemplateWithoutKeys) {
    Minutiae minutiae(6);
    for (size_t k = 0; k < minutiae.size(); ++k) {
        minutiae[k].x = -200 + 150 * static_cast<int32_t>(k);
    }
    const Check check = CheckFeature(apitest::WriteTemplate(minutiae, "300"));
    EXPECT_EQ(check.result, QORFP_OK);
    EXPECT_EQ(check.converted, 1);
    EXPECT_EQ(check.bytes[apitest::kKeyCountByte], 0);
    ExpectRefused(check.bytes);
}

TEST(CheckFeature, UpgradedTemplatesMatchAsBefore) {
    const Bytes old = apitest::WriteTemplate(apitest::Scatter(1, 20, 200), "300");
    const Bytes other = apitest::WriteTemplate(apitest::Turned(apitest::Scatter(1, 20, 200), 5));
    int32_t before = -1;
    int32_t after = -1;
    QORFP_Verify(old.data(), other.data(), 1, &before);
    QORFP_Verify(CheckFeature(old).bytes.data(), other.data(), 1, &after);
    EXPECT_EQ(before, after);
    EXPECT_GE(before, 150);
}

TEST(CheckFeature, NeedsNoAlignment) {
    const Bytes old = apitest::WriteTemplate(apitest::Scatter(1, 20, 200), "300");
    const Bytes expected = CheckFeature(old).bytes;
    for (size_t offset = 1; offset <= 3; ++offset) {
        Bytes room(offset, 0);
        room.insert(room.end(), old.begin(), old.end());
        int32_t converted = -1;
        EXPECT_EQ(QORFP_CheckFeature(room.data() + offset, &converted), QORFP_OK);
        EXPECT_EQ(Bytes(room.begin() + static_cast<std::ptrdiff_t>(offset), room.end()), expected);
    }
}

}  // namespace
