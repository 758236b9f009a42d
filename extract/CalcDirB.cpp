// SPDX-License-Identifier: Apache-2.0
//
// Orientation field of the binarised image: new ridge directions under the old mask.

#include "extract/FPExtract.h"
#include "extract/FixedMath.h"
#include "extract/GradientWindow.h"

namespace {

using namespace qorfp;

constexpr int32_t kReach = 3;  // windows of 7 x 7 blocks
constexpr int32_t kWindowRows = 2 * kReach + 1;

struct CalcDirBScratch {
    GradientWindow<kReach> window;
};
static_assert(FitsEveryImage(sizeof(CalcDirBScratch)), "fits behind every accepted image");

// Which sides of the map a block touches. There the outermost sample is taken unsmoothed, because
// the smoothing would look beyond the image.
struct BlockEdges {
    bool left;
    bool right;
    bool top;
    bool bottom;
};

// Binomial 3 x 3 smoothing at a pixel.
int32_t SmoothAt(const uint8_t* pixel, int32_t width) {
    const uint8_t* above = pixel - width;
    const uint8_t* below = pixel + width;
    const int32_t corners = above[-1] + above[1] + below[-1] + below[1];
    const int32_t edges = above[0] + pixel[-1] + pixel[1] + below[0];
    return ShiftRight(corners + 2 * edges + 4 * pixel[0] + 8, 4);
}

// Gradient of the smoothed image at the block's centre; `corner` is the block's upper left pixel.
Gradient SmoothedGradient(const uint8_t* corner, int32_t width, BlockEdges edges) {
    const auto smooth = [=](int32_t column, int32_t row) {
        return SmoothAt(corner + row * width + column, width);
    };
    const auto sample = [=](int32_t column, int32_t row, bool isRaw) {
        return isRaw ? static_cast<int32_t>(corner[row * width + column]) : smooth(column, row);
    };
    const int32_t upperLeft = smooth(1, 1);
    const int32_t upperRight = smooth(3, 1);
    const int32_t lowerLeft = smooth(1, 3);
    const int32_t lowerRight = smooth(3, 3);
    const int32_t x = 3 * smooth(3, 2) + upperRight + lowerRight + sample(4, 2, edges.right) -
                      (3 * smooth(1, 2) + upperLeft + lowerLeft + sample(0, 2, edges.left));
    const int32_t y = 3 * smooth(2, 3) + lowerLeft + lowerRight + sample(2, 4, edges.bottom) -
                      (3 * smooth(2, 1) + upperLeft + upperRight + sample(2, 0, edges.top));
    return {RoundSixteenth(x), RoundSixteenth(y)};
}

void EnterRow(const uint8_t* image, int32_t width, int32_t blockRow, const ExtractLayout& layout,
              CalcDirBScratch* scratch) {
    BlockEdges edges = {};
    edges.top = blockRow == 0;
    edges.bottom = blockRow == layout.blockRows - 1;
    const uint8_t* corner = image + kBlockSide * blockRow * width;
    for (int32_t column = 0; column < layout.blockColumns; ++column) {
        edges.left = column == 0;
        edges.right = column == layout.blockColumns - 1;
        scratch->window.Enter(blockRow, column, SmoothedGradient(corner, width, edges), false);
        corner += kBlockSide;
    }
}

}  // namespace

void CalcDirB(uint8_t* buffer, int32_t width, int32_t height) {
    const ExtractLayout layout = LayOutExtract(width, height);
    if (!layout.isUsable || !HasRoom(layout.periodMap, sizeof(CalcDirBScratch))) {
        return;
    }
    uint8_t* map = buffer + layout.directionMap;
    CalcDirBScratch* scratch = WorkAt<CalcDirBScratch>(buffer + layout.periodMap);
    scratch->window.Clear();
    for (int32_t entering = 0; entering < layout.blockRows + kReach; ++entering) {
        if (entering >= kWindowRows) {
            scratch->window.Leave(entering - kWindowRows, layout.blockColumns);
        }
        if (entering < layout.blockRows) {
            EnterRow(buffer, width, entering, layout, scratch);
        }
        if (entering >= kReach) {
            uint8_t* mapRow = map + (entering - kReach) * layout.blockColumns;
            scratch->window.ForEachBlock(layout.blockColumns, [&](int32_t column,
                                                                  const ProductSums& sums) {
                mapRow[column] =
                    static_cast<uint8_t>((mapRow[column] & kBackgroundFlag) | OrientationOf(sums));
            });
        }
    }
}
