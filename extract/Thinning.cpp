// SPDX-License-Identifier: Apache-2.0
//
// Thinning of the ridges to a skeleton. Each pass deletes contour pixels in two sub-iterations, by
// one table lookup of the eight neighbours.

#include <stddef.h>
#include <string.h>

#include "extract/ExtractLayout.h"
#include "extract/FPExtract.h"

namespace {

using namespace qorfp;

constexpr int32_t kMostPasses = 6;
constexpr int32_t kSubIterations = 2;
constexpr int32_t kCodes = 256;

// Behind both maps: minutiae detection still needs the ridge-period map.
struct ThinningScratch {
    uint8_t rows[3][kMaxStageWidth];  // unchanged copies of the rows above, at and below
    uint8_t isQuiet[kSubIterations][kMaxStageHeight];
};
static_assert(FitsEveryImage(sizeof(ThinningScratch)), "fits behind every accepted image");

// The neighbours' background bits, weighted
//
//      1   4  16
//     64   .  128
//      2   8  32
uint32_t CodeAt(const uint8_t* above, const uint8_t* row, const uint8_t* below, int32_t x) {
    return (above[x - 1] & 1u) | (below[x - 1] & 2u) | (above[x] & 4u) | (below[x] & 8u) |
           (above[x + 1] & 16u) | (below[x + 1] & 32u) | (row[x - 1] & 64u) | (row[x + 1] & 128u);
}

bool ThinRow(const uint8_t* above, const uint8_t* row, const uint8_t* below, int32_t width,
             const uint8_t* table, uint8_t* out) {
    bool hasDeleted = false;
    for (int32_t x = 1; x < width - 1; ++x) {
        if (row[x] == 0 && table[CodeAt(above, row, below, x)] != 0) {
            out[x] = 255;
            hasDeleted = true;
        }
    }
    return hasDeleted;
}

// Deliberate: a row in which this sub-iteration once found nothing to delete is never looked at
// again by it, even if deletions around it would make some of its pixels deletable.
bool RunSubIteration(uint8_t* image, int32_t width, int32_t height, const uint8_t* table,
                     uint8_t* isQuiet, ThinningScratch* scratch) {
    const size_t rowBytes = static_cast<size_t>(width);
    uint8_t* above = scratch->rows[0];
    uint8_t* row = scratch->rows[1];
    uint8_t* below = scratch->rows[2];
    memcpy(above, image, rowBytes);
    memcpy(row, image + width, rowBytes);
    bool hasDeleted = false;
    for (int32_t y = 1; y < height - 1; ++y) {
        memcpy(below, image + (y + 1) * width, rowBytes);
        if (isQuiet[y] == 0) {
            const bool isChanged = ThinRow(above, row, below, width, table, image + y * width);
            isQuiet[y] = isChanged ? 0 : 1;
            hasDeleted = hasDeleted || isChanged;
        }
        uint8_t* leaving = above;
        above = row;
        row = below;
        below = leaving;
    }
    return hasDeleted;
}

}  // namespace

void Thinning(uint8_t* buffer, int32_t width, int32_t height) {
    const ExtractLayout layout = LayOutExtract(width, height);
    if (height < 3 || !layout.isUsable || !HasRoom(layout.scratch, sizeof(ThinningScratch))) {
        return;
    }
    ThinningScratch* scratch = WorkAt<ThinningScratch>(buffer + layout.scratch);
    memset(scratch->isQuiet, 0, sizeof(scratch->isQuiet));
    bool hasDeleted = true;
    for (int32_t pass = 0; pass < kMostPasses && hasDeleted; ++pass) {
        hasDeleted = false;
        for (int32_t sub = 0; sub < kSubIterations; ++sub) {
            const bool isChanged = RunSubIteration(buffer, width, height, gbThin + sub * kCodes,
                                                   scratch->isQuiet[sub], scratch);
            hasDeleted = hasDeleted || isChanged;
        }
    }
}
