// SPDX-License-Identifier: Apache-2.0
//
// Grey-level stretch by the image's histogram.

#include <string.h>

#include "engine/Work.h"
#include "extract/FPExtract.h"
#include "extract/GreyStretch.h"

namespace {

using namespace qorfp;

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
        int32_t x = margin;
        for (; x < width - margin - 7; x += 8) {
            ++histogram[row[x]];
            ++histogram[row[x + 1]];
            ++histogram[row[x + 2]];
            ++histogram[row[x + 3]];
            ++histogram[row[x + 4]];
            ++histogram[row[x + 5]];
            ++histogram[row[x + 6]];
            ++histogram[row[x + 7]];
        }
        for (; x < width - margin; ++x) {
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

GreyStretch qorfp::FindGreyStretch(const uint8_t* image, int32_t width, int32_t height,
                                   int32_t* histogram) {
    CountGreyLevels(image, width, height, histogram);
    const int32_t low = LowCut(histogram);
    return {low, HighCut(histogram, low) - low};
}

void GetHistMap(const uint8_t* image, int32_t width, int32_t height, uint8_t* table) {
    HistMapScratch* scratch = WorkAt<HistMapScratch>(table);
    const GreyStretch stretch = FindGreyStretch(image, width, height, scratch->histogram);
    for (int32_t level = 0; level < kGreyLevels; ++level) {
        scratch->table[level] = static_cast<uint8_t>(stretch.Of(level));
    }
}
