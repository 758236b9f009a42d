// SPDX-License-Identifier: Apache-2.0
//
// Noise removal: a 3 x 3 majority vote on the binary image.

#include <stddef.h>
#include <string.h>

#include "extract/ExtractLayout.h"
#include "extract/FPExtract.h"

namespace {

using namespace qorfp;

constexpr int32_t kMajority = 1152;  // more than 4.5 x 255: at least five of nine pixels are 255
constexpr int32_t kRows = 3;

// Copies of the unchanged rows above, at and below the one that is written.
struct RemoveNoiseScratch {
    uint8_t rows[kRows][kMaxStageWidth];
    int32_t columnSums[kMaxStageWidth];
};
static_assert(FitsEveryImage(sizeof(RemoveNoiseScratch)), "fits behind every accepted image");

void VoteRow(const int32_t* columnSums, int32_t width, uint8_t* row) {
    row[0] = 255;
    row[width - 1] = 255;
    for (int32_t x = 1; x < width - 1; ++x) {
        const int32_t sum = columnSums[x - 1] + columnSums[x] + columnSums[x + 1];
        row[x] = sum >= kMajority ? 255 : 0;
    }
}

}  // namespace

void RemoveNoise(uint8_t* buffer, int32_t width, int32_t height) {
    const ExtractLayout layout = LayOutExtract(width, height);
    if (!layout.isUsable || !HasRoom(layout.periodMap, sizeof(RemoveNoiseScratch))) {
        return;
    }
    RemoveNoiseScratch* scratch = WorkAt<RemoveNoiseScratch>(buffer + layout.periodMap);
    memset(scratch->columnSums, 0, sizeof(scratch->columnSums));
    const size_t rowBytes = static_cast<size_t>(width);
    for (int32_t entering = 0; entering < height; ++entering) {
        uint8_t* ringRow = scratch->rows[entering % kRows];
        if (entering >= kRows) {
            for (int32_t x = 0; x < width; ++x) {
                scratch->columnSums[x] -= ringRow[x];
            }
        }
        memcpy(ringRow, buffer + entering * width, rowBytes);
        for (int32_t x = 0; x < width; ++x) {
            scratch->columnSums[x] += ringRow[x];
        }
        if (entering >= 2) {
            VoteRow(scratch->columnSums, width, buffer + (entering - 1) * width);
        }
    }
    memset(buffer, 255, rowBytes);
    memset(buffer + (height - 1) * width, 255, rowBytes);
}
