// SPDX-License-Identifier: Apache-2.0
//
// Weighted 3 x 3 smoothing that closes small gaps.

#include <stddef.h>
#include <string.h>

#include "engine/Work.h"
#include "preprocess/FPPreprocess.h"

namespace {

constexpr int32_t kCentreWeight = 72;
constexpr int32_t kEdgeWeight = 7;
constexpr int32_t kCornerWeight = 5;
constexpr int32_t kWeightSum = kCentreWeight + 4 * kEdgeWeight + 4 * kCornerWeight;
static_assert(kWeightSum == 120, "a uniform image stays as it is");

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

}  // namespace

void PuttyImage(int32_t width, int32_t height, uint8_t* image) {
    if (width < 3 || height < 3) {
        return;
    }
    const int64_t scratchAt = static_cast<int64_t>(width) * height;
    if (scratchAt + 2 * static_cast<int64_t>(width) > qorfp::kWorkBytes) {
        return;
    }
    // A filtered row waits in one of two scratch rows until the row below it has been filtered,
    // which still reads it unfiltered.
    uint8_t* current = image + scratchAt;
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
