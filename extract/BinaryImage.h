// SPDX-License-Identifier: Apache-2.0
//
// Binary images: every pixel 0 or 255. The stages that usually get one have faster forms for it, and
// find out by themselves unless they are told.
#pragma once

#include <stdint.h>

#include "extract/Vector.h"

namespace qorfp {

/// Whether all of the rows' pixels are 0 or 255. Never true of rows shorter than a vector.
inline bool IsBinary(const uint8_t* pixels, int32_t width, int32_t height) {
    if (width < kVectorBytes) {
        return false;
    }
    U8x16 others = {};  // 0 or 1 as long as there is none but 0 and 255
    for (int32_t y = 0; y < height && IsZero(others & uint8_t{0xFE}); ++y) {
        const uint8_t* row = pixels + y * width;
        ForEachVector(0, width,
                      [&](ptrdiff_t x) { others |= LoadVector<U8x16>(row + x) + uint8_t{1}; });
    }
    return IsZero(others & uint8_t{0xFE});
}

// The stages that are faster on binary images, by a caller who may know that the image is one.
void SmoothRidgeOf(uint8_t* buffer, int32_t width, int32_t height, bool isKnownBinary);
void CalcDirBOf(uint8_t* buffer, int32_t width, int32_t height, bool isKnownBinary);

// The stages from binarisation to the skeleton, for images of a size for which FitsBeforeBitImages
// speaks, and of three rows or more: what one finds goes to the next as bit rows.

/// BinImageB to bit image 0; the image is left as it is.
void BinImageBToBits(uint8_t* buffer, int32_t width, int32_t height);

/// RemoveNoise of bit image 0, to bit image 1 and to the image.
void RemoveNoiseFromBits(uint8_t* buffer, int32_t width, int32_t height);

/// Thinning of bit image 1, also to the image.
void ThinBits(uint8_t* buffer, int32_t width, int32_t height);

}  // namespace qorfp
