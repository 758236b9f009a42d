// SPDX-License-Identifier: Apache-2.0
//
// Naive model of the two binarisations. 0 = ridge, 255 = everything else.
#pragma once

#include "tests/model/ModelTypes.h"

namespace model {

/// Ridge where the eight pixels 3 away are brighter on average; a frame of 3 pixels becomes 255.
Grid BinImageA(const Grid& image);

/// Ridge where the clipped 11 x 11 mean is brighter.
Grid BinImageB(const Grid& image);

}  // namespace model
