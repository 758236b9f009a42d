// SPDX-License-Identifier: Apache-2.0
//
// Weighted 3 x 3 smoothing that closes small gaps.

#include <stddef.h>
#include <string.h>

#include "engine/StageMemory.h"
#include "engine/Work.h"
#include "extract/RowBands.h"
#include "preprocess/FPPreprocess.h"
#include "preprocess/PuttyImage.h"

namespace {

using namespace qorfp;

constexpr int32_t kCentreWeight = 72;
constexpr int32_t kEdgeWeight = 7;
constexpr int32_t kCornerWeight = 5;
constexpr int32_t kWeightSum = kCentreWeight + 4 * kEdgeWeight + 4 * kCornerWeight;
static_assert(kWeightSum == 120, "a uniform image stays as it is");

// --- By vectors -----------------------------------------------------------------------------

// sum / 120 = (sum / 8) / 15 = ((sum >> 3) x reciprocal) >> 16.
constexpr uint16_t kReciprocalOf15 = 65536 / 15 + 1;

constexpr bool DividesExactly() {
    for (uint32_t sum = 0; sum <= 255 * kWeightSum; ++sum) {
        if ((sum >> 3) * kReciprocalOf15 >> 16 != sum / kWeightSum) {
            return false;
        }
    }
    return true;
}
static_assert(DividesExactly(), "every weighted sum, which also fits 16 bits");

struct PuttyFilter {
    U16x8 centreWeight = Factor(kCentreWeight);
    U16x8 edgeWeight = Factor(kEdgeWeight);
    U16x8 cornerWeight = Factor(kCornerWeight);

    QORFP_INLINE RowShares<U16x16> Share(const uint8_t* pixels) const {
        const U16x16 centre = Split(LoadVector<U8x16>(pixels));
        const U16x16 sides = {centre.high + EvenBytes(LoadVector<U8x16>(pixels - 1)),
                              centre.low + OddBytes(LoadVector<U8x16>(pixels + 1))};
        return {centre * centreWeight + sides * edgeWeight,
                centre * edgeWeight + sides * cornerWeight};
    }
    QORFP_INLINE static U8x16 Finish(U16x16 sums) {
        return Join(MultiplyHigh(sums >> 3, kReciprocalOf15));
    }
};

// The inner columns of `rows` rows. Inlined at both calls it would be there twice.
__attribute__((noinline)) void FilterInside(const uint8_t* above, int32_t width, int32_t rows,
                                            uint8_t* out) {
    FilterBand(above, width, rows, 1, width - 1, out, width, PuttyFilter{});
}

// --- Pixel by pixel, for narrow images and where there is little room -----------------------

void FilterRow(int32_t width, const uint8_t* row, uint8_t* outRow) {
    const uint8_t* above = row - width;
    const uint8_t* below = row + width;
    for (int32_t x = 1; x < width - 1; ++x) {
        const int32_t edges = above[x] + below[x] + row[x - 1] + row[x + 1];
        const int32_t corners = above[x - 1] + above[x + 1] + below[x - 1] + below[x + 1];
        const int32_t sum = kCentreWeight * row[x] + kEdgeWeight * edges + kCornerWeight * corners;
        outRow[x] = static_cast<uint8_t>(sum / kWeightSum);
    }
}

// A filtered row waits in one of two scratch rows until the row below it has been filtered, which
// still reads it unfiltered.
void FilterByPixels(int32_t width, int32_t height, uint8_t* image, uint8_t* scratch) {
    uint8_t* current = scratch;
    uint8_t* waiting = current + width;
    const size_t interiorBytes = static_cast<size_t>(width) - 2;
    for (int32_t y = 1; y < height - 1; ++y) {
        FilterRow(width, image + y * width, current);
        if (y > 1) {
            memcpy(image + (y - 1) * width + 1, waiting + 1, interiorBytes);
        }
        uint8_t* filtered = current;
        current = waiting;
        waiting = filtered;
    }
    memcpy(image + (height - 2) * width + 1, waiting + 1, interiorBytes);
}

}  // namespace

void PuttyImage(int32_t width, int32_t height, uint8_t* image) {
    if (width < 3 || height < 3) {
        return;
    }
    const int64_t scratchAt = static_cast<int64_t>(width) * height;
    const int64_t rowBytes = width;
    const int32_t copyRows = BandCopiesIn(kWorkBytes - scratchAt, width);
    if (width >= kMinWidthOfPutty && copyRows >= kLeastBandCopies) {
        const StageMemory memory(image,
                                 {Held(0, scratchAt), Scratch(scratchAt, copyRows * rowBytes)});
        ForEachBand<1>(image, width, height, 1, height - 1, image + scratchAt, width, copyRows,
                       [=](const uint8_t* above, int32_t top, int32_t rows) {
                           FilterInside(above, width, rows, image + top * width);
                       });
    } else if (scratchAt + 2 * rowBytes <= kWorkBytes) {
        const StageMemory memory(image, {Held(0, scratchAt), Scratch(scratchAt, 2 * rowBytes)});
        FilterByPixels(width, height, image, image + scratchAt);
    }
}

void qorfp::PuttyImageApart(int32_t width, int32_t height, const uint8_t* source, uint8_t* out) {
    const size_t rowBytes = static_cast<size_t>(width);
    const int32_t lastRow = (height - 1) * width;
    memcpy(out, source, rowBytes);
    memcpy(out + lastRow, source + lastRow, rowBytes);
    ForEachInnerBand(source, width, height, [=](const uint8_t* above, int32_t top, int32_t rows) {
        FilterInside(above, width, rows, out + top * width);
    });
    for (int32_t at = width; at < lastRow; at += width) {
        out[at] = source[at];
        out[at + width - 1] = source[at + width - 1];
    }
}
