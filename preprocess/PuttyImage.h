// SPDX-License-Identifier: Apache-2.0
//
// PuttyImage from one place to another, as every extraction uses it.
#pragma once

#include <stdint.h>

#include "extract/Vector.h"

namespace qorfp {

/// Smallest width that PuttyImageApart takes.
constexpr int32_t kMinWidthOfPutty = kVectorBytes + 2;

/// PuttyImage of the image at `source`; it does not overlap `out`.
/// @param width at least kMinWidthOfPutty
/// @param height at least 3
void PuttyImageApart(int32_t width, int32_t height, const uint8_t* source, uint8_t* out);

}  // namespace qorfp
