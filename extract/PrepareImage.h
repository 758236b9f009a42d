// SPDX-License-Identifier: Apache-2.0
//
// All that happens to a grey image before its orientation field.
#pragma once

#include <stdint.h>

namespace qorfp {

/// Preprocess, with both radii 4, and then BoxSmooth. The result lies at the start of `buffer`.
/// @param image at the start of `buffer` too, or outside of it and then left as it is
/// @return false, and nothing happens, for sizes beyond those of images of the public calls, for very
///         small ones and where there is not enough room
bool PrepareImage(const uint8_t* image, int32_t width, int32_t height, uint8_t* buffer);

}  // namespace qorfp
