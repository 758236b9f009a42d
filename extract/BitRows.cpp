// SPDX-License-Identifier: Apache-2.0
//
// Rows of a binary image as bits, and back.

#include "extract/BitRows.h"

#include <string.h>

#include "extract/FixedMath.h"

using namespace qorfp;

void qorfp::MarkFrame(int32_t width, int32_t segment, uint8_t* frame) {
    memset(frame, 0, static_cast<size_t>(segment));
    frame[0] = 1;
    int32_t k = 0;
    int32_t j = width - 1;
    for (; j >= segment; j -= segment) {
        ++k;
    }
    for (; k < kSegments; ++k) {
        for (; j < segment; ++j) {
            frame[j] |= static_cast<uint8_t>(1 << k);
        }
        j = 0;
    }
}

bool qorfp::PackBitRow(const uint8_t* pixels, int32_t width, BitRowLine* line, const BitRows& rows,
                       int32_t y) {
    const int32_t whole = kSegments * rows.segment;
    if (width < whole) {
        memcpy(line->pixels, pixels, static_cast<size_t>(width));
        memset(line->pixels + width, 255, static_cast<size_t>(whole - width));
        pixels = line->pixels;
    }
    uint8_t* row = rows.Row(y);
    U8x16 others = {};  // 0 or 1 as long as there is none but 0 and 255
    for (int32_t j = 0; j < rows.segment; j += kVectorBytes) {
        U8x16 bits = {};
        for (int32_t k = 0; k < kSegments; ++k) {
            const U8x16 vector = LoadVector<U8x16>(pixels + k * rows.segment + j);
            bits |= vector & static_cast<uint8_t>(1 << k);
            others |= vector + uint8_t{1};
        }
        StoreVector(bits, row + j);
    }
    CloseBitRow(row, rows.segment);
    return IsZero(others & uint8_t{0xFE});
}

namespace {

// 16 bytes of each of `count` bit rows to the pixels that they are of, `width` bytes a row.
void UnpackStrip(const uint8_t* row, ptrdiff_t segment, ptrdiff_t stride, int32_t count,
                 uint8_t* out, ptrdiff_t width) {
    for (int32_t y = 0; y < count; ++y) {
        const U8x16 bits = LoadVector<U8x16>(row);
        uint8_t* to = out;
        for (int32_t k = 0; k < kSegments; ++k) {
            const U8x16 bit = U8x16{} + static_cast<uint8_t>(1 << k);
            StoreVector((bits & bit) == bit, to);
            to += segment;
        }
        row += stride;
        out += width;
    }
}

}  // namespace

void qorfp::UnpackBitRows(const BitRows& rows, int32_t first, int32_t end, BitRowLine* line,
                          int32_t width, uint8_t* pixels) {
    constexpr int32_t kMostRows = 16;  // at once: the next strip of their pixels is in the cache
    const int32_t whole = kSegments * rows.segment;
    int32_t count = 1;
    for (int32_t y = first; y < end; y += count) {
        count = width == whole ? Min(kMostRows, end - y) : 1;
        uint8_t* out = width == whole ? pixels : line->pixels;
        for (int32_t j = 0; j < rows.segment; j += kVectorBytes) {
            UnpackStrip(rows.Row(y) + j, rows.segment, rows.Stride(), count, out + j, whole);
        }
        if (width != whole) {
            memcpy(pixels, line->pixels, static_cast<size_t>(width));
        }
        pixels += count * width;
    }
}
