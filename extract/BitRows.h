// SPDX-License-Identifier: Apache-2.0
//
// Rows of a binary image as bits. A row is cut into eight segments of equal length, a multiple of
// 16 pixels; byte j holds the j-th pixels of all segments, bit k that of segment k:
//
//              byte 0        byte 1         ...   byte segment - 1
//      bit 0   0             1                    segment - 1
//      bit 1   segment       segment + 1          2 x segment - 1
//      ..
//      bit 7   7 x segment   7 x segment + 1      8 x segment - 1
//
// So a vector of 128 pixels is made from eight vectors of the image row, and the neighbours of all
// its pixels on either side are the vectors one byte further. For the ends of the segments a row
// goes on by a byte at either end.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include "extract/ExtractLayout.h"
#include "extract/Vector.h"

namespace qorfp {

constexpr int32_t kSegments = 8;
constexpr int32_t kMaxSegment = kMaxStageWidth / kSegments;
static_assert(kMaxSegment % kVectorBytes == 0, "whole vectors");

/// Bit rows in a work buffer.
struct BitRows {
    uint8_t* bytes;
    int32_t segment;  ///< bytes of a row, a multiple of 16

    /// Byte 0 of a row; bytes -1 and `segment` may be read too.
    uint8_t* Row(int32_t y) const { return bytes + Stride() * y + 1; }

    /// Distance of a row to the next one.
    ptrdiff_t Stride() const { return segment + 2; }
};

/// The segment of rows of `width` pixels.
constexpr int32_t SegmentOf(int32_t width) {
    return (width + kSegments * kVectorBytes - 1) / (kSegments * kVectorBytes) * kVectorBytes;
}

/// Whole images as bit rows, at the work buffer's end: there stages leave them for the next one. There
/// is room for two of every accepted image.
constexpr int32_t kBitImages = 2;
constexpr int32_t kBitImageBytes = 28 * 1024;

constexpr int32_t BitImageAt(int32_t number) {
    return kWorkBytes - (kBitImages - number) * kBitImageBytes;
}

constexpr WorkPart BitImageIn(int32_t number) {
    return Held(BitImageAt(number), kBitImageBytes);
}

constexpr WorkPart NewBitImageIn(int32_t number) {
    return Scratch(BitImageAt(number), kBitImageBytes);
}

inline BitRows BitImage(uint8_t* buffer, int32_t number, int32_t width) {
    return {buffer + BitImageAt(number), SegmentOf(width)};
}

/// Whether bit images of that size have room, behind `bytes` bytes of scratch from `offset` on.
constexpr bool HasBitImages(int32_t width, int32_t height, int32_t offset, size_t bytes) {
    return (SegmentOf(width) + 2) * height <= kBitImageBytes && offset <= BitImageAt(0) &&
           bytes <= static_cast<size_t>(BitImageAt(0) - offset);
}

/// The same for every image whose block maps end where those of the largest image do, or before.
constexpr bool FitsBeforeBitImages(size_t bytes) {
    const int32_t most = LayOutExtract(kMaxImageWidth, kMaxImageHeight).scratch;
    for (int32_t width = 1; width <= kMaxStageWidth; ++width) {
        const int32_t height = most / width < kMaxStageHeight ? most / width : kMaxStageHeight;
        if (!HasBitImages(width, height, most, bytes)) {
            return false;
        }
    }
    return true;
}

/// Scratch for one image row, as long as the segments together.
struct BitRowLine {
    uint8_t pixels[kMaxStageWidth];
};

/// Marks the columns 0 and `width` - 1, and all behind, in the `segment` bytes at `frame`.
void MarkFrame(int32_t width, int32_t segment, uint8_t* frame);

/// Renews the bytes beyond the ends of a row that has changed.
inline void CloseBitRow(uint8_t* row, int32_t segment) {
    row[-1] = static_cast<uint8_t>(row[segment - 1] << 1);
    row[segment] = row[0] >> 1;
}

/// Makes a bit row: 1 where the pixel is 255, and behind the last pixel; 0 where it is 0.
/// @return whether all pixels are 0 or 255; otherwise the bit row means nothing
bool PackBitRow(const uint8_t* pixels, int32_t width, BitRowLine* line, const BitRows& rows,
                int32_t y);

/// The way back, of the rows first .. end - 1, the first of them to `pixels`.
void UnpackBitRows(const BitRows& rows, int32_t first, int32_t end, BitRowLine* line, int32_t width,
                   uint8_t* pixels);

}  // namespace qorfp
