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

TEST(Vector, NarrowsMasks) {
    const I16x8 low = {0, -1, -1, 0, 0, 0, -1, 0};
    const I16x8 high = {-1, -1, 0, 0, 0, -1, 0, -1};
    EXPECT_EQ(LanesOf<uint8_t>(qorfp::NarrowMask(low, high)),
              (Lanes<uint8_t>{0, 255, 255, 0, 0, 0, 255, 0, 255, 255, 0, 0, 0, 255, 0, 255}));
}

}  // namespace
