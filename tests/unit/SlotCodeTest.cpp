// SPDX-License-Identifier: Apache-2.0
//
// Codes of index key slots: over all values that slots that agree can have, two codes differ in as
// many bits as the differences cost.
#include <gtest/gtest.h>

#include <bitset>
#include <cstdint>
#include <cstdlib>

#include "match/SlotCode.h"
#include "tests/support/TestImages.h"

namespace {

constexpr uint32_t kOnes = ~uint32_t{0};

int32_t Bits(uint32_t word) {
    return static_cast<int32_t>(std::bitset<32>(word).count());
}

TEST(SlotCode, NeighbouringAValuesDifferByTheirDistanceRoundTheCircle) {
    for (int32_t slot = 0; slot < 3; ++slot) {
        for (int32_t a = 0; a < 30; ++a) {
            for (int32_t step = -2; step <= 2; ++step) {
                const int32_t near = (a + step + 30) % 30;
                EXPECT_EQ(Bits(qorfp::CodeOfA(a, slot) ^ qorfp::CodeOfA(near, slot)),
                          std::abs(step));
            }
        }
    }
}

TEST(SlotCode, NeighbouringBValuesDifferByTheirDistance) {
    for (int32_t slot = 0; slot < 3; ++slot) {
        for (int32_t b = 2; b < 300; ++b) {
            for (int32_t step = -2; step <= 2; ++step) {
                EXPECT_EQ(Bits(qorfp::CodeOfB(b, slot) ^ qorfp::CodeOfB(b + step, slot)),
                          std::abs(step));
            }
        }
    }
}

TEST(SlotCode, NeighbouringCValuesDifferByTwiceTheirDistance) {
    for (int32_t slot = 0; slot < 3; ++slot) {
        for (int32_t c = 1; c < 300; ++c) {
            for (int32_t step = -1; step <= 1; ++step) {
                EXPECT_EQ(Bits(qorfp::CodeOfC(c, slot) ^ qorfp::CodeOfC(c + step, slot)),
                          2 * std::abs(step));
            }
        }
    }
}

TEST(SlotCode, FieldsShareNoBits) {
    uint32_t used = 0;
    for (int32_t slot = 0; slot < 3; ++slot) {
        uint32_t fields[3] = {kOnes, kOnes, kOnes};
        for (int32_t value = 0; value < 12; ++value) {
            fields[0] &= qorfp::CodeOfA(value, slot);
            fields[1] &= qorfp::CodeOfB(value, slot);
            fields[2] &= qorfp::CodeOfC(value, slot);
        }
        for (const uint32_t field : fields) {
            EXPECT_EQ(used & ~field, 0U);
            used |= ~field;
        }
    }
    EXPECT_EQ(used, (uint32_t{1} << 30) - 1);
}

TEST(SlotCode, CountsEveryBitThatDiffers) {
    testsupport::Random random(testsupport::Seed());
    EXPECT_EQ(qorfp::DifferingBits(0, kOnes), 32);
    for (int32_t bit = 0; bit < 32; ++bit) {
        EXPECT_EQ(qorfp::DifferingBits(kOnes, kOnes ^ uint32_t{1} << bit), 1);
    }
    for (int32_t round = 0; round < 10000; ++round) {
        const uint32_t code = random.Next();
        const uint32_t other = random.Next();
        ASSERT_EQ(qorfp::DifferingBits(code, other), Bits(code ^ other));
    }
}

TEST(SlotCode, CountsFewBitsThatDiffer) {
    testsupport::Random random(testsupport::Seed());
    EXPECT_EQ(qorfp::FewDifferingBits(kOnes, kOnes), 0);
    EXPECT_EQ(qorfp::FewDifferingBits(0, 0x7FFF), 15);
    EXPECT_EQ(qorfp::FewDifferingBits(0xFFFE0000, 0), 15);
    for (int32_t round = 0; round < 10000; ++round) {
        const uint32_t code = random.Next();
        uint32_t other = code;
        for (int32_t bits = random.Between(0, 15); bits > 0; --bits) {
            other ^= uint32_t{1} << random.Below(32);
        }
        ASSERT_EQ(qorfp::FewDifferingBits(code, other), Bits(code ^ other));
    }
}

}  // namespace
