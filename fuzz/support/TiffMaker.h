// SPDX-License-Identifier: Apache-2.0
//
// TIFF files from an input's bytes, with a directory in order, so that what it says gets through to
// the reader of pixels.
#pragma once

#include <cstdint>
#include <vector>

#include "fuzz/support/ByteReader.h"

namespace fuzz {

/// A grey 8-bit picture in one strip.
std::vector<uint8_t> TiffOf(uint32_t width, uint32_t height, const std::vector<uint8_t>& pixels);

/// Any values of the usual tags, some others, and any bytes as pixels.
std::vector<uint8_t> ReadTiff(ByteReader& reader);

}  // namespace fuzz
