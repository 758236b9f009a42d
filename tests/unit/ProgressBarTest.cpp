// SPDX-License-Identifier: Apache-2.0
//
// What the command line's progress bar says of the time that remains.
#include <gtest/gtest.h>

#include "tools/qorfp/ProgressBar.h"

namespace {

using qorfp::cli::RemainingText;

TEST(ProgressBar, RemainingTime) {
    EXPECT_EQ(RemainingText(2, 1, 2), "2 s left");
    EXPECT_EQ(RemainingText(3, 30, 30), "0 s left");
    EXPECT_EQ(RemainingText(10, 100, 1290), "119 s left");
    EXPECT_EQ(RemainingText(10, 100, 1300), "2 min left");
    EXPECT_EQ(RemainingText(60, 1, 120), "119 min left");
    EXPECT_EQ(RemainingText(60, 1, 201), "3 h 20 min left");
}

}  // namespace
