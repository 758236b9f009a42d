// SPDX-License-Identifier: Apache-2.0
//
// PNG files from an input's bytes, with checksums in order, so that what they hold gets through to
// the reader of rows.
#pragma once

#include <cstdint>
#include <vector>

#include "fuzz/support/ByteReader.h"

namespace fuzz {

/// A grey 8-bit picture without filters.
std::vector<uint8_t> PngOf(uint32_t width, uint32_t height, const std::vector<uint8_t>& pixels);

/// Any header, any chunks.
std::vector<uint8_t> ReadPng(ByteReader& reader);

}  // namespace fuzz
