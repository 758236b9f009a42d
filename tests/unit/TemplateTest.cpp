// SPDX-License-Identifier: Apache-2.0
//
// The template codec: byte layout, limits, coordinate shift, failure, checksum and version text,
// with expectations written out by hand; and codec == naive model on random and hostile input.
#include "engine/Template.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "engine/FPEngine.h"
#include "tests/model/ModelTemplate.h"
#include "tests/support/TestImages.h"

namespace {

using testsupport::Random;
using Bytes = std::vector<uint8_t>;

constexpr uint8_t kUntouched = 0xEE;

MinutiaSet EmptySet() {
    MinutiaSet set;
    std::memset(&set, 0, sizeof(set));
    return set;
}

void Add(MinutiaSet& set, int32_t x, int32_t y, uint8_t type = 1, uint8_t direction = 0,
         uint32_t attributes = 0) {
    Minutia& minutia = set.minutiae[set.count++];
    minutia.x = x;
    minutia.y = y;
    minutia.type = type;
    minutia.direction = direction;
    minutia.attributes = attributes;
}

/// Six minutiae; the first two as given, the others between them.
MinutiaSet SetSpanning(int32_t x0, int32_t y0, int32_t x1, int32_t y1) {
    MinutiaSet set = EmptySet();
    Add(set, x0, y0);
    Add(set, x1, y1);
    for (int32_t k = 0; k < 4; ++k) {
        Add(set, x0 / 2 + x1 / 2, y0 / 2 + y1 / 2);
    }
    return set;
}

int32_t Encode(MinutiaSet& set, Bytes& bytes) {
    bytes.assign(512, kUntouched);
    return EncodeTemplate(&set, nullptr, bytes.data());
}

bool AllUntouched(const Bytes& bytes) {
    return bytes == Bytes(bytes.size(), kUntouched);
}

bool IsZeroRecord(const Minutia& minutia) {
    return minutia.attributes == 0 && minutia.x == 0 && minutia.y == 0 && minutia.type == 0 &&
           minutia.direction == 0;
}

/// A template with `count` minutiae at (k, 2k), alternating types, attributes 16 k, direction 3 k.
Bytes PlainTemplate(size_t count) {
    Bytes bytes(512, 0);
    bytes[0] = '3';
    bytes[1] = '0';
    bytes[2] = '1';
    bytes[3] = static_cast<uint8_t>(count);
    for (size_t k = 0; k < count && k < 60; ++k) {
        const size_t place = (2 * k + 256) | (k + 256) << 10 | (1 + k % 2) << 20;
        const size_t rest = (16 * k) << 4 | 8;
        bytes[4 + 6 * k] = static_cast<uint8_t>(place & 255);
        bytes[5 + 6 * k] = static_cast<uint8_t>(place >> 8 & 255);
        bytes[6 + 6 * k] = static_cast<uint8_t>(place >> 16);
        bytes[7 + 6 * k] = static_cast<uint8_t>(rest & 255);
        bytes[8 + 6 * k] = static_cast<uint8_t>(rest >> 8 & 255);
        bytes[9 + 6 * k] = static_cast<uint8_t>(3 * k);
    }
    return bytes;
}

TEST(EncodeTemplate, RefusesCountsOutsideSixToSixtyAndWritesNothing) {
    for (const int32_t count : {-1, 0, 5, 61, 1000}) {
        MinutiaSet set = EmptySet();
        set.count = count;
        Bytes bytes;
        EXPECT_EQ(Encode(set, bytes), 1) << count;
        EXPECT_TRUE(AllUntouched(bytes)) << count;
    }
    for (const int32_t count : {6, 60}) {
        MinutiaSet set = EmptySet();
        set.count = count;
        Bytes bytes;
        EXPECT_EQ(Encode(set, bytes), 0) << count;
        EXPECT_EQ(bytes[3], count);
    }
}

TEST(EncodeTemplate, WritesTheHeadByteForByte) {
    MinutiaSet set = EmptySet();
    Add(set, 10, 20, 2, 200, 0xABC);
    Add(set, -256, 767, 1, 239, 0xFFF);
    Add(set, 767, -256, 2, 0, 0);
    for (int32_t k = 0; k < 3; ++k) {
        Add(set, 0, 0, 1, 60, 0x001);
    }
    Bytes bytes;
    ASSERT_EQ(Encode(set, bytes), 0);
    Bytes expected(512, kUntouched);
    std::fill(expected.begin(), expected.begin() + 370, uint8_t{0});
    const Bytes head = {
        0x33, 0x30, 0x31, 6,                // "301", count
        0x14, 0x29, 0x24, 0xC8, 0xAB, 200,  // 276 | 266 << 10 | 2 << 20; 0xABC << 4 | 8
        0xFF, 0x03, 0x10, 0xF8, 0xFF, 239,  // 1023 | 0 << 10 | 1 << 20
        0x00, 0xFC, 0x2F, 0x08, 0x00, 0,    // 0 | 1023 << 10 | 2 << 20
        0x00, 0x01, 0x14, 0x18, 0x00, 60,   // 256 | 256 << 10 | 1 << 20
        0x00, 0x01, 0x14, 0x18, 0x00, 60,   //
        0x00, 0x01, 0x14, 0x18, 0x00, 60,
    };
    std::copy(head.begin(), head.end(), expected.begin());
    EXPECT_EQ(bytes, expected);
}

TEST(EncodeTemplate, ClearsQualityAndTheBytesBehindTheEntriesOnly) {
    MinutiaSet set = EmptySet();
    set.count = 60;
    for (Minutia& minutia : set.minutiae) {
        minutia.type = 1;
        minutia.direction = 77;
    }
    Bytes bytes;
    ASSERT_EQ(Encode(set, bytes), 0);
    EXPECT_EQ(bytes[363], 77);  // the 60th entry ends here
    EXPECT_EQ(Bytes(bytes.begin() + 364, bytes.begin() + 370), Bytes(6, 0));
    EXPECT_EQ(Bytes(bytes.begin() + 370, bytes.end()), Bytes(142, kUntouched));
}

TEST(EncodeTemplate, TakesTheLowFourBitsOfEachConfidence) {
    MinutiaSet set = EmptySet();
    for (int32_t k = 0; k < 6; ++k) {
        Add(set, 0, 0, 1, 0, 0x5A5);
    }
    const std::array<uint8_t, 6> confidence = {0, 1, 8, 15, 0x1F, 0xF0};
    Bytes bytes(512, kUntouched);
    ASSERT_EQ(EncodeTemplate(&set, confidence.data(), bytes.data()), 0);
    const std::array<uint8_t, 6> low = {0x50, 0x51, 0x58, 0x5F, 0x5F, 0x50};
    for (size_t k = 0; k < 6; ++k) {
        EXPECT_EQ(bytes[7 + 6 * k], low[k]) << k;
        EXPECT_EQ(bytes[8 + 6 * k], 0x5A) << k;
    }
}

TEST(EncodeTemplate, WritesTheLowBitsOfFieldsThatAreTooLarge) {
    MinutiaSet set = EmptySet();
    Add(set, -256, -256, 255, 255, 0xFFFFFFFFu);
    Add(set, -256, -256, 4, 240, 0x12345u);
    for (int32_t k = 0; k < 4; ++k) {
        Add(set, 0, 0);
    }
    Bytes bytes;
    ASSERT_EQ(Encode(set, bytes), 0);
    EXPECT_EQ(Bytes(bytes.begin() + 4, bytes.begin() + 10), (Bytes{0, 0, 0xF0, 0xF8, 0xFF, 255}));
    EXPECT_EQ(Bytes(bytes.begin() + 10, bytes.begin() + 16), (Bytes{0, 0, 0x40, 0x58, 0x34, 240}));
}

struct ShiftCase {
    int32_t low;
    int32_t high;
    int32_t shift;
    bool isRefused;
};

class EncodeShift : public testing::TestWithParam<ShiftCase> {};

TEST_P(EncodeShift, AlongX) {
    const ShiftCase c = GetParam();
    MinutiaSet set = SetSpanning(c.low, 5, c.high, 9);
    const MinutiaSet before = set;
    Bytes bytes;
    ASSERT_EQ(Encode(set, bytes), c.isRefused ? 1 : 0);
    EXPECT_EQ(AllUntouched(bytes), c.isRefused);
    for (int32_t k = 0; k < 6; ++k) {
        EXPECT_EQ(set.minutiae[k].x, before.minutiae[k].x + c.shift);
        EXPECT_EQ(set.minutiae[k].y, before.minutiae[k].y);
    }
}

TEST_P(EncodeShift, AlongY) {
    const ShiftCase c = GetParam();
    MinutiaSet set = SetSpanning(5, c.low, 9, c.high);
    const MinutiaSet before = set;
    Bytes bytes;
    ASSERT_EQ(Encode(set, bytes), c.isRefused ? 1 : 0);
    EXPECT_EQ(AllUntouched(bytes), c.isRefused);
    for (int32_t k = 0; k < 6; ++k) {
        EXPECT_EQ(set.minutiae[k].x, before.minutiae[k].x);
        EXPECT_EQ(set.minutiae[k].y, before.minutiae[k].y + c.shift);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Spans, EncodeShift,
    testing::Values(ShiftCase{-300, 700, 44, false}, ShiftCase{0, 800, -33, false},
                    ShiftCase{-300, 800, 0, true}, ShiftCase{-256, 767, 0, false},
                    ShiftCase{-257, 766, 1, false}, ShiftCase{-255, 768, -1, false},
                    ShiftCase{-256, 768, 0, true}, ShiftCase{-100000, -99000, 99744, false},
                    ShiftCase{5000, 5000, -4233, false}));

TEST(EncodeTemplate, ShiftsBothWaysAtOnce) {
    MinutiaSet set = SetSpanning(-300, 768, 0, 700);
    Bytes bytes;
    ASSERT_EQ(Encode(set, bytes), 0);
    EXPECT_EQ(set.minutiae[0].x, -256);
    EXPECT_EQ(set.minutiae[0].y, 767);
    EXPECT_EQ(set.minutiae[1].x, 44);
    EXPECT_EQ(set.minutiae[1].y, 699);
    // The entry holds the shifted place: y + 256 = 1023, x + 256 = 0, type 1.
    EXPECT_EQ(Bytes(bytes.begin() + 4, bytes.begin() + 7), (Bytes{0xFF, 0x03, 0x10}));
}

TEST(EncodeTemplate, StopsAtAMinutiaThatTheWrappedShiftLeavesOutside) {
    // The span wraps to -1, so the set passes the test of the span; after the shift that brings
    // the low side to -256 the sixth minutia stands at -257. Five entries have been written.
    MinutiaSet set = EmptySet();
    for (int32_t k = 0; k < 5; ++k) {
        Add(set, std::numeric_limits<int32_t>::min(), 0);
    }
    Add(set, std::numeric_limits<int32_t>::max(), 0);
    Bytes bytes;
    EXPECT_EQ(Encode(set, bytes), 1);
    EXPECT_EQ(set.minutiae[0].x, -256);
    EXPECT_EQ(set.minutiae[5].x, -257);
    EXPECT_EQ(Bytes(bytes.begin(), bytes.begin() + 4), (Bytes{'3', '0', '1', 6}));
    EXPECT_EQ(Bytes(bytes.begin() + 28, bytes.begin() + 34), (Bytes{0x00, 0x01, 0x10, 8, 0, 0}));
    EXPECT_EQ(Bytes(bytes.begin() + 34, bytes.begin() + 40), Bytes(6, 0));
}

TEST(DecodeTemplate, RefusesCountsOutsideSixToSixtyAndKeepsTheCount) {
    for (const size_t count : {0u, 5u, 61u, 255u}) {
        Bytes bytes = PlainTemplate(count);
        MinutiaSet set;
        std::memset(&set, 0x5A, sizeof(set));
        EXPECT_EQ(DecodeTemplate(bytes.data(), &set, nullptr), 1) << count;
        EXPECT_EQ(set.count, static_cast<int32_t>(count));
        for (const Minutia& minutia : set.minutiae) {
            EXPECT_TRUE(IsZeroRecord(minutia));
        }
    }
}

TEST(DecodeTemplate, ReadsEveryFieldAndClearsTheRest) {
    Bytes bytes = PlainTemplate(6);
    const Bytes entry = {0x14, 0x29, 0x24, 0xC3, 0xAB, 250};  // the direction byte is not checked
    std::copy(entry.begin(), entry.end(), bytes.begin() + 4 + 6 * 5);
    MinutiaSet set;
    std::memset(&set, 0x5A, sizeof(set));
    std::array<uint8_t, 60> confidence;
    confidence.fill(kUntouched);
    ASSERT_EQ(DecodeTemplate(bytes.data(), &set, confidence.data()), 0);
    EXPECT_EQ(set.count, 6);
    EXPECT_EQ(set.minutiae[3].x, 3);
    EXPECT_EQ(set.minutiae[3].y, 6);
    EXPECT_EQ(set.minutiae[3].type, 2);
    EXPECT_EQ(set.minutiae[3].attributes, 48u);
    EXPECT_EQ(set.minutiae[3].direction, 9);
    EXPECT_EQ(confidence[3], 8);
    EXPECT_EQ(set.minutiae[5].x, 10);
    EXPECT_EQ(set.minutiae[5].y, 20);
    EXPECT_EQ(set.minutiae[5].type, 2);
    EXPECT_EQ(set.minutiae[5].attributes, 0xABCu);
    EXPECT_EQ(set.minutiae[5].direction, 250);
    EXPECT_EQ(confidence[5], 3);
    for (int32_t k = 6; k < 60; ++k) {
        EXPECT_TRUE(IsZeroRecord(set.minutiae[k])) << k;
    }
}

TEST(DecodeTemplate, StopsAtABadTypeAndLeavesItsPlaceAndTypeOnly) {
    for (const uint8_t type : {uint8_t{0}, uint8_t{3}}) {
        Bytes bytes = PlainTemplate(8);
        bytes[4 + 6 * 4 + 2] = static_cast<uint8_t>((bytes[4 + 6 * 4 + 2] & 0xCF) | type << 4);
        MinutiaSet set;
        std::memset(&set, 0x5A, sizeof(set));
        EXPECT_EQ(DecodeTemplate(bytes.data(), &set, nullptr), 1);
        EXPECT_EQ(set.count, 8);
        EXPECT_EQ(set.minutiae[3].direction, 9);
        EXPECT_EQ(set.minutiae[3].attributes, 48u);
        EXPECT_EQ(set.minutiae[4].type, type);
        EXPECT_EQ(set.minutiae[4].x, 4);
        EXPECT_EQ(set.minutiae[4].y, 8);
        EXPECT_EQ(set.minutiae[4].direction, 0);
        EXPECT_EQ(set.minutiae[4].attributes, 0u);
        for (int32_t k = 5; k < 60; ++k) {
            EXPECT_TRUE(IsZeroRecord(set.minutiae[k])) << k;
        }
    }
}

TEST(DecodeTemplate, LooksNeitherAtTheTextNorBehindTheEntries) {
    const Bytes good = PlainTemplate(7);
    Bytes other = good;
    std::memcpy(other.data(), "xyz", 3);
    std::fill(other.begin() + 4 + 6 * 7, other.end(), uint8_t{0xDB});
    MinutiaSet fromGood;
    MinutiaSet fromOther;
    ASSERT_EQ(DecodeTemplate(good.data(), &fromGood, nullptr), 0);
    ASSERT_EQ(DecodeTemplate(other.data(), &fromOther, nullptr), 0);
    EXPECT_EQ(fromGood.count, fromOther.count);
    for (int32_t k = 0; k < 60; ++k) {
        EXPECT_EQ(fromGood.minutiae[k].x, fromOther.minutiae[k].x);
        EXPECT_EQ(fromGood.minutiae[k].direction, fromOther.minutiae[k].direction);
    }
}

TEST(DecodeTemplate, ReadsNoByteBehindTheEntries) {
    // Exactly as many bytes as may be read: an address checker sees any more.
    for (const size_t count : {6u, 60u}) {
        const Bytes whole = PlainTemplate(count);
        const Bytes bytes(whole.begin(), whole.begin() + 4 + 6 * static_cast<int32_t>(count));
        MinutiaSet set;
        EXPECT_EQ(DecodeTemplate(bytes.data(), &set, nullptr), 0);
    }
}

TEST(TemplateCodec, EncodingWhatWasDecodedSetsEveryConfidenceToEight) {
    Bytes bytes = PlainTemplate(60);
    for (size_t k = 0; k < 60; ++k) {
        bytes[7 + 6 * k] = static_cast<uint8_t>((bytes[7 + 6 * k] & 0xF0) | k % 16);
    }
    MinutiaSet set;
    std::array<uint8_t, 60> confidence;
    ASSERT_EQ(DecodeTemplate(bytes.data(), &set, confidence.data()), 0);

    Bytes again(512, kUntouched);
    ASSERT_EQ(EncodeTemplate(&set, confidence.data(), again.data()), 0);
    EXPECT_EQ(Bytes(again.begin(), again.begin() + 370), Bytes(bytes.begin(), bytes.begin() + 370));

    ASSERT_EQ(EncodeTemplate(&set, nullptr, again.data()), 0);
    for (size_t k = 0; k < 60; ++k) {
        bytes[7 + 6 * k] = static_cast<uint8_t>((bytes[7 + 6 * k] & 0xF0) | 8);
    }
    EXPECT_EQ(Bytes(again.begin(), again.begin() + 370), Bytes(bytes.begin(), bytes.begin() + 370));
}

TEST(TemplateChecksum, IsTheSumOfTheBytesBeforeIt) {
    Bytes bytes(512, 255);
    qorfp::WriteChecksum(bytes.data());  // 510 x 255 = 130050 = 65536 + 0xFC02
    EXPECT_EQ(bytes[510], 0x02);
    EXPECT_EQ(bytes[511], 0xFC);
    EXPECT_EQ(Bytes(bytes.begin(), bytes.begin() + 510), Bytes(510, 255));

    bytes.assign(512, 0);
    bytes[510] = 9;
    bytes[511] = 9;
    qorfp::WriteChecksum(bytes.data());
    EXPECT_EQ(bytes, Bytes(512, 0));

    bytes[0] = 1;
    bytes[509] = 255;
    qorfp::WriteChecksum(bytes.data());
    EXPECT_EQ(bytes[510], 0x00);
    EXPECT_EQ(bytes[511], 0x01);
}

TEST(TemplateVersion, TellsTheTwoTexts) {
    const auto is301 = [](const char* text) {
        return qorfp::IsVersion301(reinterpret_cast<const uint8_t*>(text));
    };
    const auto is300 = [](const char* text) {
        return qorfp::IsVersion300(reinterpret_cast<const uint8_t*>(text));
    };
    EXPECT_TRUE(is301("301"));
    EXPECT_FALSE(is300("301"));
    EXPECT_TRUE(is300("300"));
    EXPECT_FALSE(is301("300"));
    for (const char* text : {"302", "401", "311", "310", "00301", "\x33\x30\xB1"}) {
        EXPECT_FALSE(is301(text)) << text;
        EXPECT_FALSE(is300(text)) << text;
    }
}

TEST(SetBuffer, DoesNothing) {
    std::array<uint8_t, 8> few;
    few.fill(kUntouched);
    EXPECT_EQ(ISetBuffer(few.data()), 0);
    for (const uint8_t byte : few) {
        EXPECT_EQ(byte, kUntouched);
    }
}

// --- Library == model ---------------------------------------------------------------------------

void ExpectSameSet(const model::MinutiaSet& expected, const MinutiaSet& actual) {
    ASSERT_EQ(actual.count, expected.count);
    for (size_t k = 0; k < 60; ++k) {
        const model::Minutia want =
            k < expected.minutiae.size() ? expected.minutiae[k] : model::Minutia();
        const Minutia& got = actual.minutiae[k];
        ASSERT_EQ(got.attributes, want.attributes) << k;
        ASSERT_EQ(got.x, want.x) << k;
        ASSERT_EQ(got.y, want.y) << k;
        ASSERT_EQ(got.type, want.type) << k;
        ASSERT_EQ(got.direction, want.direction) << k;
    }
}

TEST(TemplateCodecAgainstModel, DecodesAnyBytesAlike) {
    const uint64_t seed = testsupport::Seed();
    SCOPED_TRACE(testsupport::SeedNote(seed));
    Random random(seed);
    for (int32_t round = 0; round < 3000; ++round) {
        SCOPED_TRACE(round);
        Bytes bytes(512);
        for (uint8_t& byte : bytes) {
            byte = static_cast<uint8_t>(random.Below(256));
        }
        if (!random.OneIn(4)) {
            bytes[3] = static_cast<uint8_t>(random.Between(4, 62));
        }
        if (!random.OneIn(4)) {
            for (size_t k = 0; k < 60; ++k) {  // good types, but for a rare one
                uint8_t& high = bytes[6 + 6 * k];
                const int32_t type = random.OneIn(80) ? 3 : random.Between(1, 2);
                high = static_cast<uint8_t>((high & 0xCF) | type << 4);
            }
        }
        model::MinutiaSet expected;
        const int32_t wanted = model::DecodeTemplate(bytes, expected);
        MinutiaSet set;
        std::memset(&set, 0x5A, sizeof(set));
        std::array<uint8_t, 60> confidence;
        confidence.fill(kUntouched);
        const Bytes before = bytes;
        ASSERT_EQ(DecodeTemplate(bytes.data(), &set, confidence.data()), wanted);
        ASSERT_EQ(bytes, before);
        ExpectSameSet(expected, set);
        for (size_t k = 0; k < expected.confidence.size(); ++k) {
            ASSERT_EQ(confidence[k], expected.confidence[k]);
        }
        for (size_t k = expected.confidence.size(); k < 60; ++k) {
            ASSERT_EQ(confidence[k], kUntouched);
        }
    }
}

TEST(TemplateCodecAgainstModel, EncodesAnySetAlike) {
    const uint64_t seed = testsupport::Seed();
    SCOPED_TRACE(testsupport::SeedNote(seed));
    Random random(seed);
    int32_t refused = 0;
    int32_t accepted = 0;
    for (int32_t round = 0; round < 3000; ++round) {
        SCOPED_TRACE(round);
        const bool isHostile = random.OneIn(5);
        const int32_t originX = random.Between(-2000, 2000);
        const int32_t originY = random.Between(-2000, 2000);
        const int32_t span = random.Between(1, 1060);
        MinutiaSet set = EmptySet();
        model::MinutiaSet expected;
        set.count = random.OneIn(10) ? random.Between(-3, 70) : random.Between(6, 60);
        expected.count = set.count;
        std::array<uint8_t, 60> confidence;
        for (size_t k = 0; k < 60; ++k) {
            model::Minutia minutia;
            minutia.x =
                isHostile ? static_cast<int32_t>(random.Next()) : originX + random.Below(span);
            minutia.y =
                isHostile ? static_cast<int32_t>(random.Next()) : originY + random.Below(span);
            minutia.type = static_cast<uint8_t>(random.Below(256));
            minutia.direction = static_cast<uint8_t>(random.Below(256));
            minutia.attributes = random.Next() >> random.Below(32);
            confidence[k] = static_cast<uint8_t>(random.Below(256));
            set.minutiae[k] = {minutia.attributes, minutia.x, minutia.y, minutia.type,
                               minutia.direction};
            expected.minutiae.push_back(minutia);
            expected.confidence.push_back(confidence[k]);
        }
        const bool withConfidence = random.OneIn(2);
        Bytes wantedBytes(512, kUntouched);
        Bytes bytes(512, kUntouched);
        const int32_t wanted = model::EncodeTemplate(expected, withConfidence, wantedBytes);
        ASSERT_EQ(EncodeTemplate(&set, withConfidence ? confidence.data() : nullptr, bytes.data()),
                  wanted);
        ASSERT_EQ(bytes, wantedBytes);
        ExpectSameSet(expected, set);
        (wanted == 0 ? accepted : refused) += 1;
    }
    EXPECT_GT(accepted, 500);
    EXPECT_GT(refused, 100);
}

TEST(TemplateCodecAgainstModel, SumsAlike) {
    const uint64_t seed = testsupport::Seed();
    SCOPED_TRACE(testsupport::SeedNote(seed));
    Random random(seed);
    for (int32_t round = 0; round < 200; ++round) {
        Bytes bytes(512);
        for (uint8_t& byte : bytes) {
            byte = static_cast<uint8_t>(random.Below(256));
        }
        Bytes expected = bytes;
        model::WriteChecksum(expected);
        qorfp::WriteChecksum(bytes.data());
        ASSERT_EQ(bytes, expected);
    }
}

}  // namespace
