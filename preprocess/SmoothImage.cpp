// SPDX-License-Identifier: Apache-2.0
//
// The clipped box mean, of a whole image in place and a row at a time.

#include <stddef.h>
#include <string.h>

#include "engine/StageMemory.h"
#include "engine/Work.h"
#include "extract/RowBands.h"
#include "preprocess/BoxMean.h"
#include "preprocess/FPPreprocess.h"
#include "preprocess/Mean3x3.h"

using namespace qorfp;

void qorfp::MeanRow(int32_t width, int32_t radius, const int32_t* columnSums, int32_t rowCount,
                    uint8_t* outRow) {
    int32_t sum = 0;
    int32_t columnCount = 0;
    for (int32_t x = 0; x < radius && x < width; ++x) {
        sum += columnSums[x];
        ++columnCount;
    }
    for (int32_t x = 0; x < width; ++x) {
        if (radius < width - x) {
            sum += columnSums[x + radius];
            ++columnCount;
        }
        const int32_t pixelCount = rowCount * columnCount;
        outRow[x] = static_cast<uint8_t>(pixelCount > 0 ? sum / pixelCount : 0);
        if (x >= radius) {
            sum -= columnSums[x - radius];
            --columnCount;
        }
    }
}

void SmoothOneLine(int32_t width, int32_t height, const uint8_t* source, int32_t targetRow,
                   int32_t radius, uint8_t* outRow, int32_t* columnSums, int32_t* nextRow,
                   int32_t* rowCount) {
    for (int32_t entering = *nextRow; entering - radius < targetRow; ++entering) {
        const int32_t leaving = entering - 2 * radius - 1;
        if (leaving >= 0 && leaving < height) {
            SubtractRow(width, source + leaving * width, columnSums);
            --*rowCount;
        }
        if (entering < height) {
            AddRow(width, source + entering * width, columnSums);
            ++*rowCount;
        }
        if (entering >= radius) {
            MeanRow(width, radius, columnSums, *rowCount, outRow);
        }
        *nextRow = entering + 1;
    }
}

void SmoothImage(int32_t width, int32_t height, uint8_t* image, int32_t radius) {
    // Sides beyond the buffer are refused first, so that no product of them is ever formed.
    if (width < 1 || height < 1 || radius < 0 || width > kWorkBytes || height > kWorkBytes) {
        return;
    }
    // Every radius beyond the image gives the same windows.
    const int32_t longestSide = width > height ? width : height;
    if (radius > longestSide) {
        radius = longestSide;
    }
    // The source is moved down by radius + 1 rows: then an output row lands at the earliest on the
    // source row that left the window before it.
    const int64_t movedAt = static_cast<int64_t>(radius + 1) * width;
    const int64_t imageBytes = static_cast<int64_t>(width) * height;
    const int64_t sumsAt = (movedAt + imageBytes + 3) / 4 * 4;
    const int64_t sumsBytes = static_cast<int64_t>(width) * 4;
    if (sumsAt + sumsBytes > kWorkBytes) {
        return;
    }
    if (radius == 1 && width >= kMinWidthOfMean3x3) {
        // The rows by which the source is not moved, and what the sums would take, make room.
        static_assert(kLeastBandCopies <= 1 + 1 + 4, "bytes a column");
        const int32_t copyRows = BandCopiesIn(kWorkBytes - imageBytes, width);
        const StageMemory memory(
            image, {Held(0, imageBytes), Scratch(imageBytes, copyRows * int64_t{width})});
        Mean3x3(width, height, image, image + imageBytes, copyRows);
        return;
    }
    const StageMemory memory(
        image, {Held(0, imageBytes), Scratch(imageBytes, sumsAt + sumsBytes - imageBytes)});
    uint8_t* source = image + movedAt;
    memmove(source, image, static_cast<size_t>(imageBytes));
    int32_t* columnSums = WorkAt<int32_t>(image + sumsAt);
    memset(columnSums, 0, static_cast<size_t>(sumsBytes));

    int32_t nextRow = 0;
    int32_t rowCount = 0;
    for (int32_t y = 0; y < height; ++y) {
        SmoothOneLine(width, height, source, y + 1, radius, image + y * width, columnSums, &nextRow,
                      &rowCount);
    }
}
