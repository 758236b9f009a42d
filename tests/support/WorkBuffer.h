// SPDX-License-Identifier: Apache-2.0
//
// The work buffer in tests of GoogleTest.
#pragma once

#include <gtest/gtest.h>

#include "tests/support/GuardedBuffer.h"

namespace testsupport {

/// Calls run(buffer) once for each fill, and checks the guards after each.
template <class Run>
void WithEachFill(WorkBuffer& buffer, Run run) {
    for (const Fill fill : {Fill::kZeros, Fill::kPattern, Fill::kRandom}) {
        SCOPED_TRACE(fill == Fill::kZeros     ? "buffer filled with zeros"
                     : fill == Fill::kPattern ? "buffer filled with 0xA5"
                                              : "buffer filled at random");
        buffer.Reset(fill);
        run(buffer);
        EXPECT_TRUE(buffer.GuardsIntact()) << "bytes outside the work buffer changed";
    }
}

}  // namespace testsupport
