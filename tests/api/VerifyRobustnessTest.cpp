// SPDX-License-Identifier: Apache-2.0
//
// QORFP_Verify with damaged and hostile templates: what does not decode scores 0 and is refused
// (result 1); anything else gives some score in range, and the decision that belongs to it.
#include <gtest/gtest.h>

#include <string>

#include "include/QORFPApi.h"
#include "tests/api/FencedBytes.h"
#include "tests/api/GuardedBytes.h"
#include "tests/api/HandTemplate.h"
#include "tests/api/TestFingers.h"
#include "tests/support/TestImages.h"

namespace {

using apitest::Bytes;
using apitest::FencedBytes;
using apitest::GuardedNumber;

// Score at level 1 of two templates with known versions.
int32_t Score(const Bytes& first, const Bytes& second) {
    const FencedBytes one(first);
    const FencedBytes other(second);
    GuardedNumber score;
    const uint32_t result = QORFP_Verify(one.Data(), other.Data(), 1, &score.value);
    EXPECT_TRUE(score.GuardsIntact());
    EXPECT_GE(score.value, 0);
    EXPECT_LE(score.value, 2047);
    EXPECT_EQ(result, score.value >= 150 ? QORFP_OK : QORFP_FAILED);
    return score.value;
}

// Expects 0 in either order, and with itself.
void ExpectUndecodable(const Bytes& bytes, const Bytes& good) {
    EXPECT_EQ(Score(good, bytes), 0);
    EXPECT_EQ(Score(bytes, good), 0);
    EXPECT_EQ(Score(bytes, bytes), 0);
}

Bytes RandomBytes(testsupport::Random& random) {
    Bytes bytes(apitest::kTemplateBytes);
    for (uint8_t& byte : bytes) {
        byte = static_cast<uint8_t>(random.Below(256));
    }
    return bytes;
}

TEST(VerifyRobustness, EveryCountByte) {
    const Bytes full = apitest::WriteTemplate(apitest::Scatter(1, 60, 180));
    ASSERT_EQ(full[apitest::kCountByte], 60);
    for (int32_t count = 0; count < 256; ++count) {
        SCOPED_TRACE("count " + std::to_string(count));
        Bytes bytes = full;
        bytes[apitest::kCountByte] = static_cast<uint8_t>(count);
        if (count < 6 || count > 60) {
            ExpectUndecodable(bytes, full);
        } else {
            EXPECT_GT(Score(bytes, bytes), 0);
            EXPECT_GT(Score(bytes, full), 0);
            EXPECT_GT(Score(full, bytes), 0);
        }
    }
}

TEST(VerifyRobustness, CountBeyondTheMinutiae) {
    const Bytes good = apitest::WriteTemplate(apitest::Scatter(1, 20, 200));
    Bytes bytes = good;
    bytes[apitest::kCountByte] = 21;  // the 21st has type 0
    ExpectUndecodable(bytes, good);
}

TEST(VerifyRobustness, TypesOtherThanOneAndTwo) {
    const apitest::Minutiae minutiae = apitest::Scatter(1, 20, 200);
    const Bytes good = apitest::WriteTemplate(minutiae);
    for (const size_t place : {size_t{0}, size_t{7}, size_t{19}}) {
        for (const int32_t type : {0, 3}) {
            SCOPED_TRACE("minutia " + std::to_string(place) + " of type " + std::to_string(type));
            apitest::Minutiae changed = minutiae;
            changed[place].type = type;
            ExpectUndecodable(apitest::WriteTemplate(changed), good);
        }
    }
}

TEST(VerifyRobustness, TheTwoBitsAboveTheTypeAreNotLookedAt) {
    const Bytes good = apitest::WriteTemplate(apitest::Scatter(1, 20, 200));
    Bytes bytes = good;
    for (size_t k = 0; k < 20; ++k) {
        bytes[apitest::kFirstMinutia + apitest::kMinutiaBytes * k + 2] |= 0xC0;
    }
    EXPECT_EQ(Score(good, bytes), 2047);
    EXPECT_EQ(Score(bytes, good), 2047);
}

TEST(VerifyRobustness, AllBytesEqual) {
    const Bytes good = apitest::WriteTemplate(apitest::Scatter(1, 20, 200));
    for (int32_t value = 0; value < 256; ++value) {
        Bytes bytes(apitest::kTemplateBytes, static_cast<uint8_t>(value));
        bytes[0] = '3';
        bytes[1] = '0';
        bytes[2] = '1';
        EXPECT_LT(Score(good, bytes), 150);  // coincident minutiae or none
        EXPECT_LT(Score(bytes, good), 150);
    }
}

TEST(VerifyRobustness, RandomBytesWithoutAVersion) {
    testsupport::Random random(21);
    const Bytes good = apitest::WriteTemplate(apitest::Scatter(1, 20, 200));
    for (int32_t round = 0; round < 200; ++round) {
        Bytes bytes = RandomBytes(random);
        bytes[0] = static_cast<uint8_t>(bytes[0] | 0x80);
        GuardedNumber score;
        EXPECT_EQ(QORFP_Verify(bytes.data(), good.data(), 1, &score.value), QORFP_BAD_TEMPLATE);
        EXPECT_EQ(QORFP_Verify(good.data(), bytes.data(), 1, &score.value), QORFP_BAD_TEMPLATE);
        EXPECT_TRUE(score.Untouched());
    }
}

TEST(VerifyRobustness, RandomBytesBehindAVersion) {
    testsupport::Random random(22);
    const Bytes good = apitest::WriteTemplate(apitest::Scatter(1, 30, 200));
    for (int32_t round = 0; round < 300; ++round) {
        Bytes bytes = RandomBytes(random);
        bytes[0] = '3';
        bytes[1] = '0';
        bytes[2] = static_cast<uint8_t>('0' + random.Below(2));
        Score(good, bytes);
        Score(bytes, good);
    }
}

// Random minutiae that all decode: any place, direction and attributes.
TEST(VerifyRobustness, RandomMinutiae) {
    testsupport::Random random(23);
    const Bytes good = apitest::WriteTemplate(apitest::Scatter(1, 30, 200));
    for (int32_t round = 0; round < 150; ++round) {
        apitest::Minutiae minutiae(static_cast<size_t>(random.Between(6, 60)));
        const int32_t extent = random.OneIn(2) ? 1024 : 100;
        for (apitest::HandMinutia& minutia : minutiae) {
            minutia.x = random.Below(extent) - 256;
            minutia.y = random.Below(extent) - 256;
            minutia.type = random.Between(1, 2);
            minutia.direction = random.Below(256);
            minutia.density = random.Below(64);
            minutia.disorder = random.Below(64);
        }
        const Bytes bytes = apitest::WriteTemplate(minutiae);
        Score(good, bytes);
        Score(bytes, good);
        Score(bytes, bytes);
    }
}

TEST(VerifyRobustness, DamagedTemplates) {
    testsupport::Random random(24);
    const Bytes good = apitest::TemplateOf(1);
    for (int32_t round = 0; round < 300; ++round) {
        Bytes bytes = good;
        for (int32_t k = random.Between(1, 8); k > 0; --k) {
            const int32_t place = random.Between(3, 511);
            bytes[static_cast<size_t>(place)] = static_cast<uint8_t>(random.Below(256));
        }
        Score(good, bytes);
        Score(bytes, good);
    }
}

// The farthest corners that a template can name.
TEST(VerifyRobustness, ExtremePositions) {
    const Bytes good = apitest::WriteTemplate(apitest::Scatter(1, 20, 200));
    for (int32_t spread = 0; spread < 16; ++spread) {
        apitest::Minutiae minutiae(60);
        for (size_t k = 0; k < minutiae.size(); ++k) {
            const int32_t corner = static_cast<int32_t>(k) % 4;
            const int32_t inward = static_cast<int32_t>(k) / 4 * spread;
            minutiae[k].x = corner % 2 == 0 ? -256 + inward : 767 - inward;
            minutiae[k].y = corner / 2 == 0 ? -256 : 767;
            minutiae[k].direction = static_cast<int32_t>(k * 37 % 256);
        }
        const Bytes bytes = apitest::WriteTemplate(minutiae);
        Score(bytes, bytes);
        Score(bytes, good);
        Score(good, bytes);
    }
}

}  // namespace
