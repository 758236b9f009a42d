// SPDX-License-Identifier: Apache-2.0
//
// The quality that a template reports: its quality byte, or a value by its minutia count.
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <vector>

#include "api/Fpm.h"
#include "tests/model/ModelTemplate.h"
#include "tests/support/TestImages.h"

namespace {

std::vector<uint8_t> Template(const char* version, uint8_t count, uint8_t quality) {
    std::vector<uint8_t> bytes(512, 0);
    std::memcpy(bytes.data(), version, 3);
    bytes[3] = count;
    bytes[369] = quality;
    return bytes;
}

int32_t QualityOf(const std::vector<uint8_t>& bytes) {
    return FPM_GetQuality(bytes.data());
}

TEST(Quality, ComesFromTheCountWhereTheByteIsZero) {
    const std::array<int32_t, 61> byCount = {0,   0,   0,   0,                            // 0..3
                                             6,   8,   11,  13,  15,  18,  20,  22,       // 4..11
                                             24,  27,  29,  31,  33,  36,  38,  40,       // 12..19
                                             43,  45,  47,  49,  52,  54,  56,  59,       // 20..27
                                             61,  63,  65,  68,  70,  73,  75,  77,       // 28..35
                                             79,  82,  84,  86,  88,  91,  93,  95,  98,  // 36..44
                                             100, 100, 100, 100, 100, 100, 100, 100,      // 45..52
                                             100, 100, 100, 100, 100, 100, 100, 100};     // 53..60
    EXPECT_EQ(byCount[30], 65);
    for (size_t count = 0; count <= 60; ++count) {
        EXPECT_EQ(QualityOf(Template("301", static_cast<uint8_t>(count), 0)), byCount[count]);
        EXPECT_EQ(QualityOf(Template("300", static_cast<uint8_t>(count), 0)), byCount[count]);
    }
}

TEST(Quality, IsTheByteWhereItIsNotZero) {
    EXPECT_EQ(QualityOf(Template("301", 30, 1)), 1);
    EXPECT_EQ(QualityOf(Template("300", 0, 42)), 42);
    EXPECT_EQ(QualityOf(Template("301", 60, 100)), 100);
    EXPECT_EQ(QualityOf(Template("301", 60, 255)), 255);  // not limited
}

TEST(Quality, IsZeroForUnusableTemplates) {
    EXPECT_EQ(FPM_GetQuality(nullptr), 0);
    for (const char* version : {"302", "201", "311", "310", "abc"}) {
        EXPECT_EQ(QualityOf(Template(version, 30, 50)), 0) << version;
    }
    EXPECT_EQ(QualityOf(Template("301", 61, 50)), 0);
    EXPECT_EQ(QualityOf(Template("301", 255, 0)), 0);
}

TEST(Quality, AgreesWithTheModelOnAnyHead) {
    const uint64_t seed = testsupport::Seed();
    SCOPED_TRACE(testsupport::SeedNote(seed));
    testsupport::Random random(seed);
    for (int32_t round = 0; round < 2000; ++round) {
        std::vector<uint8_t> bytes = Template(random.OneIn(2) ? "301" : "300", 0, 0);
        if (random.OneIn(4)) {
            bytes[static_cast<size_t>(random.Below(3))] = static_cast<uint8_t>(random.Below(256));
        }
        bytes[3] = static_cast<uint8_t>(random.OneIn(3) ? random.Below(256) : random.Below(62));
        bytes[369] = static_cast<uint8_t>(random.OneIn(2) ? 0 : random.Below(256));
        ASSERT_EQ(QualityOf(bytes), model::TemplateQuality(bytes))
            << int{bytes[0]} << ' ' << int{bytes[1]} << ' ' << int{bytes[2]} << " count "
            << int{bytes[3]} << " quality " << int{bytes[369]};
    }
}

}  // namespace
