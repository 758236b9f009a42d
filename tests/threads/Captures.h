// SPDX-License-Identifier: Apache-2.0
//
// Templates and images of one made-up finger, and of others, for threads.
#pragma once

#include <cstdint>
#include <vector>

#include "tests/support/TestImages.h"
#include "tests/support/TestMinutiae.h"

namespace threadtest {

/// Everything is made by `seed` and without the library.
struct Captures {
    explicit Captures(uint64_t seed);

    testsupport::TemplateBytes genuine[3];  ///< captures that fuse
    testsupport::TemplateBytes poorer;      ///< what genuine[1] improves
    testsupport::TemplateBytes undecodable;
    std::vector<testsupport::TemplateBytes> strangers;
    testsupport::Grid finger;        ///< 160 x 160
    testsupport::Grid sensorFinger;  ///< 152 x 200
};

}  // namespace threadtest
