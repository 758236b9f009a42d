// SPDX-License-Identifier: Apache-2.0
//
// Grey-level stretch by the image's histogram.

#include <string.h>

#include "engine/Work.h"
#include "extract/FPExtract.h"

namespace {

constexpr int32_t kGreyLevels = 256;
constexpr int32_t kCutPixels = 1403;    // cut at either end of the histogram
constexpr int32_t kIgnoredMargin = 42;  // pixels, on images larger than kWholeImageSide
constexpr int32_t kWholeImageSide = 160;

// The table, and behind it the histogram from which it is made.
struct HistMapScratch {
    uint8_t table[kGreyLevels];
    int32_t histogram[kGreyLevels];
};
static_assert(sizeof(HistMapScratch) == 1280, "as the declaration says");

void CountGreyLevels(const uint8_t* image, int32_t width, int32_t height, int32_t* histogram) {
    memset(histogram, 0, kGreyLevels * sizeof(histogram[0]));
    const int32_t margin = height > kWholeImageSide && width > kWholeImageSide ? kIgnoredMargin : 0;
    for (int32_t y = margin; y < height - margin; ++y) {
        const uint8_t* row = image + y * width;
        for (int32_t x = margin; x < width - margin; ++x) {
            ++histogram[row[x]];
        }
    }
}

// First level from below at which more than the cut has been counted; 254 when that needs level 254
// or 255.
int32_t LowCut(const int32_t* histogram) {
    int32_t sum = 0;
    for (int32_t level = 0; level < kGreyLevels - 2; ++level) {
        sum += histogram[level];
        if (sum > kCutPixels) {
            return level;
        }
    }
    return kGreyLevels - 2;
}

// First level from above at which more than the cut has been counted, above the low cut.
int32_t HighCut(const int32_t* histogram, int32_t lowCut) {
    int32_t sum = 0;
    for (int32_t level = kGreyLevels - 1; level > lowCut; --level) {
        sum += histogram[level];
        if (sum > kCutPixels) {
            return level;
        }
    }
    return lowCut + 1;
}

}  // namespace

void GetHistMap(const uint8_t* image, int32_t width, int32_t height, uint8_t* table) {
    HistMapScratch* scratch = qorfp::WorkAt<HistMapScratch>(table);
    CountGreyLevels(image, width, height, scratch->histogram);
    const int32_t low = LowCut(scratch->histogram);
    const int32_t range = HighCut(scratch->histogram, low) - low;  // >= 1
    for (int32_t level = 0; level < kGreyLevels; ++level) {
        int32_t stretched = 0;
        if (level >= low) {
            stretched = (510 * (level - low) / range + 1) / 2;
        }
        scratch->table[level] = static_cast<uint8_t>(stretched < 255 ? stretched : 255);
    }
}
