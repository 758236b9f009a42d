// SPDX-License-Identifier: Apache-2.0
//
// Ridge orientations from sums of gradient products.
#pragma once

#include <stdint.h>

#include "extract/BlockGradients.h"

namespace qorfp {

/// Rows of numbers of blocks: of products (0 beyond the map's last column), of sums over windows
/// and of orientations (beyond that column they mean nothing).
using ProductRow = int16_t[kPaddedColumns];
using WindowRow = int32_t[kPaddedColumns];
using OrientationRow = uint8_t[kPaddedColumns];

/// Ridge orientations 0..119 of a row of windows, across their mean gradients.
/// @param differences sums of x x x - y x y of the gradients
/// @param mixed sums of x x y
void FindOrientations(const WindowRow& differences, const WindowRow& mixed, int32_t blockColumns,
                      OrientationRow* orientations);

}  // namespace qorfp
