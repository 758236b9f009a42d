// SPDX-License-Identifier: Apache-2.0
//
// QORFP_Version and QORFP_BuildTime, and the numbers of the result codes and sizes that hosts have
// compiled in.
#include <gtest/gtest.h>

#include "include/QORFPApi.h"
#include "tests/api/GuardedBytes.h"

namespace {

using apitest::GuardedBytes;

static_assert(QORFP_OK == 0 && QORFP_FAILED == 1 && QORFP_NO_MEMORY == 2 &&
                  QORFP_NOT_INITIALISED == 3 && QORFP_NULL_OUTPUT == 4 && QORFP_BAD_ARGUMENT == 5 &&
                  QORFP_NO_FINGER == 6 && QORFP_BAD_TEMPLATE == 8,
              "the numbers of the result codes");
static_assert(QORFP_TEMPLATE_BYTES == 512 && QORFP_MAX_WIDTH == 256 && QORFP_MAX_HEIGHT == 360 &&
                  QORFP_VERSION_BYTES == 19 && QORFP_BUILD_TIME_BYTES == 20,
              "sizes");

TEST(Version, WritesExactlyNineteenBytes) {
    GuardedBytes text(19);
    EXPECT_EQ(QORFP_Version(text.Text()), QORFP_OK);
    EXPECT_STREQ(text.Text(), "MEL_FPR_AI3_V1.1.3");
    EXPECT_EQ(text.Text()[18], '\0');
    EXPECT_TRUE(text.GuardsIntact());
}

TEST(Version, RefusesNull) {
    EXPECT_EQ(QORFP_Version(nullptr), QORFP_NULL_OUTPUT);
}

TEST(BuildTime, WritesExactlyTwentyBytes) {
    GuardedBytes text(20);
    EXPECT_EQ(QORFP_BuildTime(text.Text()), QORFP_OK);
    EXPECT_STREQ(text.Text(), "2020-08-20 15:23:14");
    EXPECT_EQ(text.Text()[19], '\0');
    EXPECT_TRUE(text.GuardsIntact());
}

TEST(BuildTime, RefusesNull) {
    EXPECT_EQ(QORFP_BuildTime(nullptr), QORFP_NULL_OUTPUT);
}

}  // namespace
