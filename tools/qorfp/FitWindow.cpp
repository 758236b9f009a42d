// SPDX-License-Identifier: Apache-2.0
//
// The image is divided into small cells; a cell belongs to the finger when its grey values spread
// widely, compared with the best cells of the same image. Cells count once each, so a hard dark
// frame or a scratch weighs no more than its area. The window with most finger cells wins; of
// equals, the one centred best on the finger.
#include "tools/qorfp/FitWindow.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace qorfp::cli {
namespace {

constexpr int32_t kCellSide = 8;
constexpr int64_t kCellPixels = kCellSide * kCellSide;
constexpr int64_t kMinVariance = 36;      // a spread of 6 grey levels: less is a sensor's noise
constexpr int64_t kContrastShare = 9;     // variance a ninth, so spread a third, of the best cells
constexpr size_t kBestCellsPercent = 90;  // "best" is this percentile

/// 1 for finger cells, row-major.
struct CellMap {
    int32_t width = 0;
    int32_t height = 0;
    std::vector<int64_t> values;

    int64_t& At(int32_t x, int32_t y) {
        return values[static_cast<size_t>(y) * static_cast<size_t>(width) + static_cast<size_t>(x)];
    }
};

int64_t CellVariance(const GreyImage& image, int32_t cellX, int32_t cellY) {
    int64_t sum = 0;
    int64_t squares = 0;
    for (int32_t y = 0; y < kCellSide; ++y) {
        const uint8_t* row = image.Row(cellY * kCellSide + y) + cellX * kCellSide;
        for (int32_t x = 0; x < kCellSide; ++x) {
            sum += row[x];
            squares += int64_t{row[x]} * row[x];
        }
    }
    return (squares - sum * sum / kCellPixels) / kCellPixels;
}

CellMap FindFingerCells(const GreyImage& image) {
    CellMap cells;
    cells.width = image.width / kCellSide;
    cells.height = image.height / kCellSide;
    for (int32_t y = 0; y < cells.height; ++y) {
        for (int32_t x = 0; x < cells.width; ++x) {
            cells.values.push_back(CellVariance(image, x, y));
        }
    }
    if (cells.values.empty()) {
        return cells;
    }
    std::vector<int64_t> sorted = cells.values;
    const size_t rank = (sorted.size() - 1) * kBestCellsPercent / 100;
    std::nth_element(sorted.begin(), sorted.begin() + static_cast<std::ptrdiff_t>(rank),
                     sorted.end());
    const int64_t threshold = std::max(kMinVariance, sorted[rank] / kContrastShare);
    for (int64_t& value : cells.values) {
        value = value >= threshold ? 1 : 0;
    }
    return cells;
}

/// Sums over all cells above and to the left, one row and column larger than the map.
CellMap Integrate(CellMap cells) {
    CellMap sums;
    sums.width = cells.width + 1;
    sums.height = cells.height + 1;
    sums.values.resize(static_cast<size_t>(sums.width) * static_cast<size_t>(sums.height));
    for (int32_t y = 1; y < sums.height; ++y) {
        for (int32_t x = 1; x < sums.width; ++x) {
            sums.At(x, y) = cells.At(x - 1, y - 1) + sums.At(x - 1, y) + sums.At(x, y - 1) -
                            sums.At(x - 1, y - 1);
        }
    }
    return sums;
}

/// Twice the mean position of the finger cells, in cells; the middle of the map without any.
void FindCentre(CellMap& cells, int64_t& twiceX, int64_t& twiceY) {
    int64_t count = 0;
    int64_t sumX = 0;
    int64_t sumY = 0;
    for (int32_t y = 0; y < cells.height; ++y) {
        for (int32_t x = 0; x < cells.width; ++x) {
            count += cells.At(x, y);
            sumX += cells.At(x, y) * (2 * x + 1);
            sumY += cells.At(x, y) * (2 * y + 1);
        }
    }
    twiceX = count == 0 ? cells.width : sumX / count;
    twiceY = count == 0 ? cells.height : sumY / count;
}

int32_t LegalSide(int32_t side, int32_t limit) {
    return std::min(side / kSizeStep * kSizeStep, limit);
}

}  // namespace

bool IsEngineSize(int32_t width, int32_t height) {
    return width <= kMaxEngineWidth && height <= kMaxEngineHeight && width % kSizeStep == 0 &&
           height % kSizeStep == 0;
}

bool IsSensorSize(int32_t width, int32_t height) {
    return width == kSensorWidth && height == kSensorHeight;
}

Window FindFingerWindow(const GreyImage& image) {
    Window window;
    window.width = LegalSide(image.width, kMaxEngineWidth);
    window.height = LegalSide(image.height, kMaxEngineHeight);
    if (IsSensorSize(window.width, window.height)) {
        window.width -= kSizeStep;
    }
    CellMap cells = FindFingerCells(image);
    int64_t centreX = 0;
    int64_t centreY = 0;
    FindCentre(cells, centreX, centreY);
    CellMap sums = Integrate(cells);
    const int32_t windowCellsX = window.width / kCellSide;
    const int32_t windowCellsY = window.height / kCellSide;
    int64_t bestCount = -1;
    int64_t bestDistance = 0;
    for (int32_t y = 0; y + windowCellsY <= cells.height; ++y) {
        for (int32_t x = 0; x + windowCellsX <= cells.width; ++x) {
            const int64_t count = sums.At(x + windowCellsX, y + windowCellsY) -
                                  sums.At(x, y + windowCellsY) - sums.At(x + windowCellsX, y) +
                                  sums.At(x, y);
            const int64_t offX = 2 * x + windowCellsX - centreX;
            const int64_t offY = 2 * y + windowCellsY - centreY;
            const int64_t distance = offX * offX + offY * offY;
            if (count > bestCount || (count == bestCount && distance < bestDistance)) {
                bestCount = count;
                bestDistance = distance;
                window.left = std::min(x * kCellSide, image.width - window.width);
                window.top = std::min(y * kCellSide, image.height - window.height);
            }
        }
    }
    return window;
}

GreyImage Crop(const GreyImage& image, const Window& window) {
    GreyImage target(window.width, window.height);
    for (int32_t y = 0; y < window.height; ++y) {
        std::memcpy(target.Row(y), image.Row(window.top + y) + window.left,
                    static_cast<size_t>(window.width));
    }
    return target;
}

}  // namespace qorfp::cli
