// SPDX-License-Identifier: Apache-2.0
//
// Naive model of the finger-presence test on a raw image.
#pragma once

#include "tests/model/ModelTypes.h"

namespace model {

/// 0 = a finger, 6 = none, 5 = a size that is refused.
uint32_t CheckFinger(const Grid& image);

}  // namespace model
