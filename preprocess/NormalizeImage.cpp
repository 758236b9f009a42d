// SPDX-License-Identifier: Apache-2.0
//
// Local contrast stretch: each pixel by the mean and the mean absolute deviation around it.

#include <stddef.h>
#include <string.h>

#include "engine/StageMemory.h"
#include "engine/Work.h"
#include "include/QORFPApi.h"
#include "preprocess/FPPreprocess.h"
#include "preprocess/Normalize9x9.h"

namespace {

using namespace qorfp;

// More scratch than this is refused: it is the half of the work buffer that the image may use.
constexpr int64_t kMostScratchBytes = 102400;
static_assert(QORFP_MAX_WIDTH * (QORFP_MAX_HEIGHT + kRowsBeforeNormalize9x9 + kSideOf9x9 + 8) <=
                  kMostScratchBytes,
              "no image of the public calls is");

// The deviation window and the state that slides with it. Rows y + reach - extent + 1 .. y + reach
// are in the window of output row y, and columns likewise.
struct DeviationWindow {
    int32_t width;
    int32_t height;
    int32_t reach;          // how far the window reaches below and to the right
    int32_t extent;         // rows and columns of the window
    int32_t rowCount;       // rows now in the window
    const uint8_t* source;  // unfiltered image
    uint8_t* means;         // ring of `extent` rows of local means
    int32_t* columnSums;    // of |mean - pixel| over the rows in the window

    const uint8_t* SourceRow(int32_t y) const { return source + y * width; }
    uint8_t* MeanRow(int32_t y) const { return means + y % extent * width; }
};

void AddDeviations(const DeviationWindow& window, int32_t y, int32_t sign) {
    const uint8_t* source = window.SourceRow(y);
    const uint8_t* mean = window.MeanRow(y);
    for (int32_t x = 0; x < window.width; ++x) {
        const int32_t difference = mean[x] - source[x];
        window.columnSums[x] += sign * (difference < 0 ? -difference : difference);
    }
}

uint8_t Stretch(int32_t pixel, int32_t mean, int32_t deviation) {
    const int32_t low = mean - deviation > 0 ? mean - deviation : 0;
    const int32_t high = mean + deviation < 255 ? mean + deviation : 255;
    const int32_t range = high - low;
    if (range == 0) {
        return static_cast<uint8_t>(pixel);  // perfectly flat
    }
    if (pixel <= low) {
        return 0;
    }
    if (pixel >= high) {
        return 255;
    }
    return static_cast<uint8_t>((pixel - low) * 255 / range);
}

void StretchRow(const DeviationWindow& window, int32_t y, uint8_t* outRow) {
    const uint8_t* source = window.SourceRow(y);
    const uint8_t* mean = window.MeanRow(y);
    int32_t sum = 0;
    int32_t columnCount = 0;
    // The window of the column before the first one. On an image no higher than the window's reach
    // the window is so narrow that it begins to the right of its pixel.
    const int32_t first = window.reach > window.extent ? window.reach - window.extent : 0;
    for (int32_t x = first; x < window.reach && x < window.width; ++x) {
        sum += window.columnSums[x];
        ++columnCount;
    }
    for (int32_t x = 0; x < window.width; ++x) {
        const int32_t entering = x + window.reach;
        if (entering < window.width) {
            sum += window.columnSums[entering];
            ++columnCount;
        }
        const int32_t leaving = entering - window.extent;
        if (leaving >= 0 && leaving < window.width) {
            sum -= window.columnSums[leaving];
            --columnCount;
        }
        const int32_t pixelCount = window.rowCount * columnCount;
        const int32_t deviation = pixelCount > 0 ? sum / pixelCount : 0;
        outRow[x] = Stretch(source[x], mean[x], deviation);
    }
}

}  // namespace

void NormalizeImage(int32_t width, int32_t height, uint8_t* image, int32_t meanRadius,
                    int32_t devRadius) {
    // Sides beyond the buffer are refused first, so that no product of them is ever formed.
    if (width < 1 || height < 1 || meanRadius < 0 || devRadius < 0 || width > kWorkBytes ||
        height > kWorkBytes) {
        return;
    }
    const int64_t fullExtent = 2 * static_cast<int64_t>(devRadius) + 1;
    const int32_t extent = fullExtent < height ? static_cast<int32_t>(fullExtent) : height;
    const int64_t imageBytes = static_cast<int64_t>(width) * height;
    // The source is moved down so far that no output row lands on a source row still in a window.
    const int64_t movedRows =
        devRadius < meanRadius ? meanRadius : static_cast<int64_t>(devRadius) + 1;
    const int64_t movedBytes = movedRows * width;
    if (movedBytes + imageBytes + static_cast<int64_t>(width) * (extent + 8) > kMostScratchBytes) {
        return;
    }
    // One row more than counted above: with a deviation radius of 0 the mean still needs it.
    uint8_t* source = image + movedBytes + width;
    const int64_t meansAt = movedBytes + width + imageBytes;
    const int64_t sumsAt = (meansAt + static_cast<int64_t>(extent) * width + 3) / 4 * 4;
    const int64_t sumsBytes = int64_t{width} * 4;
    static_assert(kMostScratchBytes + 4 + kMostScratchBytes / 8 < kWorkBytes, "room for the row");
    const bool isUsual =
        meanRadius == kReachOf9x9 && devRadius == kReachOf9x9 && TakesNormalize9x9(width, height);
    const int64_t scratchAt = (meansAt + 1) / 2 * 2;
    const StageMemory memory(image, {Held(0, imageBytes), Scratch(imageBytes, meansAt - imageBytes),
                                     isUsual ? ScratchOf<Normalize9x9Scratch>(scratchAt)
                                             : Scratch(meansAt, sumsAt - meansAt + 2 * sumsBytes)});
    memmove(source, image, static_cast<size_t>(imageBytes));
    if (isUsual) {
        static_assert(kMostScratchBytes + kMostScratchBytes / 8 + 4 + sizeof(Normalize9x9Scratch) <=
                          kWorkBytes,
                      "fits behind every image that is not refused");
        Normalize9x9(width, height, source, image, WorkAt<Normalize9x9Scratch>(image + scratchAt));
        return;
    }
    int32_t* meanSums = WorkAt<int32_t>(image + sumsAt);
    memset(meanSums, 0, static_cast<size_t>(2 * sumsBytes));

    DeviationWindow window = {width, height, devRadius,       extent,
                              0,     source, image + meansAt, meanSums + width};
    int32_t nextRow = 0;
    int32_t rowsInMean = 0;
    for (int32_t t = 0; t < height + devRadius; ++t) {
        const int32_t leaving = t - extent;
        if (leaving >= 0 && leaving < height) {
            AddDeviations(window, leaving, -1);
            --window.rowCount;
        }
        if (t < height) {
            SmoothOneLine(width, height, source, t + 1, meanRadius, window.MeanRow(t), meanSums,
                          &nextRow, &rowsInMean);
            AddDeviations(window, t, 1);
            ++window.rowCount;
        }
        if (t >= devRadius) {
            StretchRow(window, t - devRadius, image + (t - devRadius) * width);
        }
    }
}
