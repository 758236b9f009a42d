// SPDX-License-Identifier: Apache-2.0
//
// The work buffer: what callers provide and what the library's own one has.
#include "engine/Work.h"

#include <gtest/gtest.h>

#include <cstdint>

#include "api/State.h"

namespace {

TEST(Work, TheBufferHas204800BytesAndIsAlignedTo8) {
    EXPECT_EQ(qorfp::kWorkBytes, 204800);
    EXPECT_EQ(qorfp::kWorkAlignment, 8u);
    EXPECT_EQ(sizeof(g_bFPEngineBuffer), 204800u);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(g_bFPEngineBuffer) % 8, 0u);
}

TEST(Work, ArraysOfWordsStartAtMultiplesOf4) {
    EXPECT_EQ(qorfp::AlignUp4(0), 0);
    EXPECT_EQ(qorfp::AlignUp4(1), 4);
    EXPECT_EQ(qorfp::AlignUp4(3), 4);
    EXPECT_EQ(qorfp::AlignUp4(4), 4);
    EXPECT_EQ(qorfp::AlignUp4(97767), 97768);
}

}  // namespace
