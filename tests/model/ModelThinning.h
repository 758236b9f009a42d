// SPDX-License-Identifier: Apache-2.0
//
// Naive model of the thinning to a skeleton. 0 = ridge, 255 = background.
#pragma once

#include "tests/model/ModelTypes.h"

namespace model {

/// Whether a neighbourhood code 0..255 is deleted in sub-iteration 1 or 2.
bool IsDeleted(int32_t subIteration, int32_t code);

Grid Thinning(const Grid& image);

}  // namespace model
