// SPDX-License-Identifier: Apache-2.0
//
// Images from an input's bytes: its pixels as they stand, or a pattern with ridges that a few bytes
// describe, with pixels of it overwritten.
#pragma once

#include "fuzz/support/ByteReader.h"
#include "tests/model/ModelTypes.h"

namespace fuzz {

struct Size {
    int32_t width;
    int32_t height;
};

/// A size that the exported calls take, of at most `mostPixels` pixels; now and then that of a
/// sensor whatever its pixels.
Size ReadLegalSize(ByteReader& reader, int32_t mostPixels);

/// Any size up to 512 pixels wide and 1024 high with at most `mostPixels` pixels.
Size ReadStageSize(ByteReader& reader, int32_t mostPixels);

/// An image of this size from all bytes that are left.
model::Grid ReadImage(ByteReader& reader, Size size);

/// The kind of image that takes its pixels from the bytes, again from the first where they end.
constexpr uint8_t kPixelsOfInput = 0;

}  // namespace fuzz
