// SPDX-License-Identifier: Apache-2.0
//
// The vector helpers, lane by lane, on lanes that are all different.
#include "extract/Vector.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>

namespace {

using qorfp::I16x8;
using qorfp::U16x8;
using qorfp::U8x16;

template <class Lane>
using Lanes = std::array<Lane, 16 / sizeof(Lane)>;

template <class Lane, class Vector>
Lanes<Lane> LanesOf(Vector vector) {
    Lanes<Lane> lanes;
    for (size_t lane = 0; lane < lanes.size(); ++lane) {
        lanes[lane] = static_cast<Lane>(vector[lane]);
    }
    return lanes;
}

U8x16 Counting(uint8_t first, uint8_t step) {
    U8x16 vector = {};
    for (size_t lane = 0; lane < 16; ++lane) {
        vector[lane] = static_cast<uint8_t>(first + step * lane);
    }
    return vector;
}

TEST(Vector, LoadsAndStoresAnywhereInMemoryOrder) {
    std::array<uint8_t, 19> bytes;
    for (size_t at = 0; at < bytes.size(); ++at) {
        bytes[at] = static_cast<uint8_t>(100 + at);
    }
    const U8x16 vector = qorfp::LoadVector<U8x16>(bytes.data() + 3);
    EXPECT_EQ(LanesOf<uint8_t>(vector), LanesOf<uint8_t>(Counting(103, 1)));
    qorfp::StoreVector(vector, bytes.data() + 1);
    for (size_t at = 0; at < bytes.size(); ++at) {
        EXPECT_EQ(bytes[at], at == 0 ? 100 : at < 17 ? 102 + at : 100 + at) << at;
    }
}

TEST(Vector, Interleaves) {
    const U8x16 even = Counting(0, 2);
    const U8x16 odd = Counting(1, 2);
    EXPECT_EQ(LanesOf<uint8_t>(qorfp::InterleaveLow(even, odd)), LanesOf<uint8_t>(Counting(0, 1)));
    EXPECT_EQ(LanesOf<uint8_t>(qorfp::InterleaveHigh(even, odd)),
              LanesOf<uint8_t>(Counting(16, 1)));
}

TEST(Vector, WidensAndNarrows) {
    const U8x16 bytes = Counting(7, 16);  // 7, 23, ... 247
    const U16x8 low = qorfp::WidenLow(bytes);
    const U16x8 high = qorfp::WidenHigh(bytes);
    EXPECT_EQ(LanesOf<uint16_t>(low), (Lanes<uint16_t>{7, 23, 39, 55, 71, 87, 103, 119}));
    EXPECT_EQ(LanesOf<uint16_t>(high), (Lanes<uint16_t>{135, 151, 167, 183, 199, 215, 231, 247}));
    EXPECT_EQ(LanesOf<uint8_t>(qorfp::Narrow(low, high)), LanesOf<uint8_t>(bytes));
    const U16x8 extremes = {0, 255, 254, 1, 128, 127, 255, 0};
    EXPECT_EQ(LanesOf<uint8_t>(qorfp::Narrow(extremes, low)),
              (Lanes<uint8_t>{0, 255, 254, 1, 128, 127, 255, 0, 7, 23, 39, 55, 71, 87, 103, 119}));
}

TEST(Vector, SplitsEvenAndOddBytes) {
    const U8x16 bytes = Counting(7, 16);  // 7, 23, ... 247
    EXPECT_EQ(LanesOf<uint16_t>(qorfp::EvenBytes(bytes)),
              (Lanes<uint16_t>{7, 39, 71, 103, 135, 167, 199, 231}));
    EXPECT_EQ(LanesOf<uint16_t>(qorfp::OddBytes(bytes)),
              (Lanes<uint16_t>{23, 55, 87, 119, 151, 183, 215, 247}));
}

TEST(Vector, JoinsMasks) {
    const I16x8 even = {0, -1, -1, 0, 0, 0, -1, 0};
    const I16x8 odd = {-1, -1, 0, 0, 0, -1, 0, -1};
    EXPECT_EQ(LanesOf<uint8_t>(qorfp::JoinMasks(even, odd)),
              (Lanes<uint8_t>{0, 255, 255, 255, 255, 0, 0, 0, 0, 0, 0, 255, 255, 0, 0, 255}));
}

TEST(Vector, PicksBytesWithTheirSigns) {
    const U8x16 bytes = {1, 255, 3, 128, 127, 129, 7, 0, 200, 10, 254, 12, 13, 14, 100, 250};
    EXPECT_EQ(LanesOf<int16_t>(qorfp::SignedOddBytes(bytes)),
              (Lanes<int16_t>{-1, -128, -127, 0, 10, 12, 14, -6}));
    EXPECT_EQ(LanesOf<int32_t>(qorfp::SignedFourths<0>(bytes)), (Lanes<int32_t>{1, 127, -56, 13}));
    EXPECT_EQ(LanesOf<int32_t>(qorfp::SignedFourths<1>(bytes)), (Lanes<int32_t>{-1, -127, 10, 14}));
    EXPECT_EQ(LanesOf<int32_t>(qorfp::SignedFourths<2>(bytes)), (Lanes<int32_t>{3, 7, -2, 100}));
    EXPECT_EQ(LanesOf<int32_t>(qorfp::SignedFourths<3>(bytes)), (Lanes<int32_t>{-128, 0, 12, -6}));
}

TEST(Vector, KnowsZero) {
    EXPECT_TRUE(qorfp::IsZero(U8x16{}));
    for (size_t lane = 0; lane < 16; ++lane) {
        U8x16 vector = {};
        vector[lane] = static_cast<uint8_t>(1 << lane % 8);
        EXPECT_FALSE(qorfp::IsZero(vector)) << lane;
    }
}

TEST(Vector, NarrowsMasks) {
    const I16x8 low = {0, -1, -1, 0, 0, 0, -1, 0};
    const I16x8 high = {-1, -1, 0, 0, 0, -1, 0, -1};
    EXPECT_EQ(LanesOf<uint8_t>(qorfp::NarrowMask(low, high)),
              (Lanes<uint8_t>{0, 255, 255, 0, 0, 0, 255, 0, 255, 255, 0, 0, 0, 255, 0, 255}));
}

TEST(Vector, FillsEveryLane) {
    EXPECT_EQ(LanesOf<uint16_t>(qorfp::EveryLane(40000)),
              (Lanes<uint16_t>{40000, 40000, 40000, 40000, 40000, 40000, 40000, 40000}));
}

TEST(Vector, ComparesBytesWithoutSign) {
    const U8x16 a = {0, 255, 127, 128, 1, 200, 9, 10, 0, 255, 127, 128, 1, 200, 9, 10};
    const U8x16 b = {255, 0, 128, 127, 1, 100, 10, 9, 255, 0, 128, 127, 1, 100, 10, 9};
    EXPECT_EQ(LanesOf<uint8_t>(qorfp::Least(a, b)),
              (Lanes<uint8_t>{0, 0, 127, 127, 1, 100, 9, 9, 0, 0, 127, 127, 1, 100, 9, 9}));
    EXPECT_EQ(LanesOf<uint8_t>(qorfp::Greatest(a, b)),
              (Lanes<uint8_t>{255, 255, 128, 128, 1, 200, 10, 10,  //
                              255, 255, 128, 128, 1, 200, 10, 10}));
}

TEST(Vector, StopsAtTheEndsOfABytesRange) {
    const U8x16 a = {0, 255, 127, 128, 1, 200, 9, 0, 0, 255, 127, 254, 1, 200, 9, 10};
    const U8x16 b = {255, 0, 128, 127, 1, 100, 10, 0, 1, 255, 129, 1, 255, 55, 3, 246};
    EXPECT_EQ(LanesOf<uint8_t>(qorfp::SubtractToZero(a, b)),
              (Lanes<uint8_t>{0, 255, 0, 1, 0, 100, 0, 0, 0, 0, 0, 253, 0, 145, 6, 0}));
    EXPECT_EQ(LanesOf<uint8_t>(qorfp::AddTo255(a, b)),
              (Lanes<uint8_t>{255, 255, 255, 255, 2, 255, 19, 0,  //
                              1, 255, 255, 255, 255, 255, 12, 255}));
}

TEST(Vector, KnowsWhetherAllLanesAreTrue) {
    EXPECT_TRUE(qorfp::HasAll(~U8x16{}));
    for (size_t lane = 0; lane < 16; ++lane) {
        U8x16 mask = ~U8x16{};
        mask[lane] = 0;
        EXPECT_FALSE(qorfp::HasAll(mask)) << lane;
    }
}

TEST(Vector, KnowsWhetherAnyLaneIsSet) {
    EXPECT_FALSE(qorfp::HasAny(U8x16{}));
    for (size_t lane = 0; lane < 16; ++lane) {
        U8x16 bytes = {};
        bytes[lane] = 1;
        EXPECT_TRUE(qorfp::HasAny(bytes)) << lane;
    }
}

TEST(Vector, MultipliesToTheUpperHalf) {
    const U16x8 a = {0, 1, 65535, 65535, 256, 257, 32768, 40000};
    const U16x8 b = {65535, 65535, 1, 65535, 256, 255, 2, 50000};
    // 65535 x 65535 = 0xFFFE0001; 257 x 255 = 0xFFFF; 40000 x 50000 = 0x77359400.
    EXPECT_EQ(LanesOf<uint16_t>(qorfp::MultiplyHigh(a, b)),
              (Lanes<uint16_t>{0, 0, 0, 65534, 1, 0, 1, 30517}));
}

TEST(Vector, InterleavesNumbers) {
    const U16x8 even = {0, 2, 4, 6, 800, 1000, 1200, 1400};
    const U16x8 odd = {1, 3, 5, 7, 900, 1100, 1300, 1500};
    EXPECT_EQ(LanesOf<uint16_t>(qorfp::InterleaveLow(even, odd)),
              (Lanes<uint16_t>{0, 1, 2, 3, 4, 5, 6, 7}));
    EXPECT_EQ(LanesOf<uint16_t>(qorfp::InterleaveHigh(even, odd)),
              (Lanes<uint16_t>{800, 900, 1000, 1100, 1200, 1300, 1400, 1500}));
}

TEST(Vector, JoinsHalves) {
    const U16x8 a = {0, 1, 2, 3, 10, 11, 12, 13};
    const U16x8 b = {4, 5, 6, 7, 14, 15, 16, 1700};
    EXPECT_EQ(LanesOf<uint16_t>(qorfp::JoinLow(a, b)), (Lanes<uint16_t>{0, 1, 2, 3, 4, 5, 6, 7}));
    EXPECT_EQ(LanesOf<uint16_t>(qorfp::JoinHigh(a, b)),
              (Lanes<uint16_t>{10, 11, 12, 13, 14, 15, 16, 1700}));
}

TEST(Vector, LoadsPairsOfBytes) {
    std::array<uint8_t, 256> bytes;
    for (size_t index = 0; index < bytes.size(); ++index) {
        bytes[index] = static_cast<uint8_t>(255 - index);
    }
    const std::array<uint8_t, 8> at = {0, 254, 1, 7, 7, 8, 128, 3};
    EXPECT_EQ(LanesOf<uint8_t>(qorfp::LoadPairs(bytes.data(), at.data())),
              (Lanes<uint8_t>{255, 254, 1, 0, 254, 253, 248, 247,  //
                              248, 247, 247, 246, 127, 126, 252, 251}));
}

TEST(Vector, WidensAndNarrowsSignedNumbers) {
    const I16x8 lanes = {-32768, 32767, -1, 0, 1, -300, 300, 7};
    const qorfp::I32x4 low = qorfp::WidenLow(lanes);
    const qorfp::I32x4 high = qorfp::WidenHigh(lanes);
    EXPECT_EQ(LanesOf<int32_t>(low), (Lanes<int32_t>{-32768, 32767, -1, 0}));
    EXPECT_EQ(LanesOf<int32_t>(high), (Lanes<int32_t>{1, -300, 300, 7}));
    EXPECT_EQ(LanesOf<int16_t>(qorfp::Narrow(low, high)), LanesOf<int16_t>(lanes));
}

TEST(Vector, MultipliesPairs) {
    const I16x8 a = {1, 2, -3, 4, 32767, 32767, -32768, 100};
    const I16x8 b = {10, 100, 1000, -1, 32767, 32767, 32767, -100};
    EXPECT_EQ(LanesOf<int32_t>(qorfp::MultiplyPairs(a, b)),
              (Lanes<int32_t>{210, -3004, 2147352578, -1073719056}));
}

TEST(Vector, CalculatesInSixteenLanes) {
    const U8x16 bytes = Counting(7, 16);
    const qorfp::U16x16 wide = qorfp::Widen(bytes);
    EXPECT_EQ(LanesOf<uint8_t>(qorfp::Narrow(wide)), LanesOf<uint8_t>(bytes));
    std::array<uint16_t, 17> stored = {};
    qorfp::StoreLanes(wide * 250 + wide + 9 - wide * wide, stored.data() + 1);
    EXPECT_EQ(stored[0], 0);
    for (size_t lane = 0; lane < 16; ++lane) {
        const int32_t value = 7 + 16 * static_cast<int32_t>(lane);
        EXPECT_EQ(stored[lane + 1], static_cast<uint16_t>(251 * value + 9 - value * value)) << lane;
    }
    const qorfp::U16x16 loaded = qorfp::LoadLanes(stored.data() + 1) >> 3;
    const qorfp::U16x16 byFactor = qorfp::MultiplyHigh(loaded, 60000);
    const qorfp::U16x16 byLanes = qorfp::MultiplyHigh(loaded, loaded);
    for (size_t lane = 0; lane < 16; ++lane) {
        const uint32_t value = stored[lane + 1] >> 3;
        const bool isLow = lane < 8;
        EXPECT_EQ(isLow ? byFactor.low[lane] : byFactor.high[lane - 8], value * 60000 >> 16);
        EXPECT_EQ(isLow ? byLanes.low[lane] : byLanes.high[lane - 8], value * value >> 16);
    }
}

TEST(Vector, LooksUpSixteenEntries) {
    std::array<uint16_t, 256> table;
    for (size_t index = 0; index < table.size(); ++index) {
        table[index] = static_cast<uint16_t>(65535 - 200 * index);
    }
    const std::array<uint8_t, 16> at = {255, 0, 1, 254, 7, 7, 128, 127, 3, 99, 0, 255, 64, 2, 5, 6};
    const qorfp::U16x16 entries = qorfp::LookUp(table.data(), at.data());
    for (size_t lane = 0; lane < 16; ++lane) {
        EXPECT_EQ(lane < 8 ? entries.low[lane] : entries.high[lane - 8], table[at[lane]]) << lane;
    }
}

TEST(Vector, NumbersTheSetLanes) {
    for (uint32_t bits = 0; bits < 65536; bits += 7) {
        U8x16 mask = {};
        for (size_t lane = 0; lane < 16; ++lane) {
            mask[lane] = (bits >> lane & 1) != 0 ? 255 : 0;
        }
        ASSERT_EQ(qorfp::SetLanes(mask), bits);
    }
}

TEST(Vector, VectorsCoverEveryLengthInOrder) {
    for (ptrdiff_t begin = 0; begin < 3; ++begin) {
        for (ptrdiff_t length = 16; length <= 70; ++length) {
            ptrdiff_t covered = begin;
            ptrdiff_t last = -1;
            qorfp::ForEachVector(begin, begin + length, [&](ptrdiff_t x) {
                EXPECT_LE(x, covered) << "a gap";
                EXPECT_GT(x, last) << "the same again";
                last = x;
                covered = x + 16;
            });
            EXPECT_EQ(covered, begin + length);
        }
    }
}

}  // namespace
