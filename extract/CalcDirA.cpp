// SPDX-License-Identifier: Apache-2.0
//
// Orientation field of the grey image: ridge direction, foreground and quality.

#include "extract/FPExtract.h"
#include "extract/FixedMath.h"
#include "extract/GradientWindow.h"

namespace {

using namespace qorfp;

constexpr int32_t kReach = 4;  // windows of 9 x 9 blocks
constexpr int32_t kWindowRows = 2 * kReach + 1;
constexpr int32_t kStrongGradient = 200;    // squared
constexpr int32_t kMinStrongBlocks = 40;    // of 81 for a foreground block
constexpr int32_t kMinReliableBlocks = 41;  // of 81 around a block that stays foreground
constexpr int32_t kMinCoherence = 900;      // 16384 x coherence squared
constexpr int32_t kHighestBlockQuality = 100;

struct CalcDirAScratch {
    uint8_t greyTable[256];
    uint8_t histogram[1024];  // of GetHistMap, directly behind the table
    GradientWindow<kReach> window;
    uint8_t reliable[kWindowRows][kMaxBlockColumns];  // ring of first-pass rows, 1 = reliable
    int32_t reliableColumns[kMaxBlockColumns];
};
static_assert(FitsEveryImage(sizeof(CalcDirAScratch)), "fits behind every accepted image");
static_assert(alignof(CalcDirAScratch) == 4, "the maps end at a multiple of 4");

struct QualitySum {
    int32_t total;
    int32_t blocks;
};

// Gradient at a pixel of the stretched grey image, from its neighbours up to two pixels away.
Gradient StretchedGradient(const uint8_t* centre, int32_t width, const uint8_t* table) {
    const auto at = [=](int32_t dx, int32_t dy) -> int32_t {
        return table[centre[dy * width + dx]];
    };
    const int32_t upperLeft = at(-1, -1);
    const int32_t upperRight = at(1, -1);
    const int32_t lowerLeft = at(-1, 1);
    const int32_t lowerRight = at(1, 1);
    const int32_t x = 3 * at(1, 0) + upperRight + lowerRight + at(2, 0) -
                      (3 * at(-1, 0) + upperLeft + lowerLeft + at(-2, 0));
    const int32_t y = 3 * at(0, 1) + lowerLeft + lowerRight + at(0, 2) -
                      (3 * at(0, -1) + upperLeft + upperRight + at(0, -2));
    return {RoundSixteenth(x), RoundSixteenth(y)};
}

void EnterRow(const uint8_t* image, int32_t width, int32_t blockRow, int32_t blockColumns,
              CalcDirAScratch* scratch) {
    const uint8_t* centre = image + (kBlockSide * blockRow + 2) * width + 2;
    for (int32_t column = 0; column < blockColumns; ++column) {
        const Gradient gradient = StretchedGradient(centre, width, scratch->greyTable);
        const bool isStrong = Square(gradient.x) + Square(gradient.y) > kStrongGradient;
        scratch->window.Enter(blockRow, column, gradient, isStrong);
        centre += kBlockSide;
    }
}

// 16384 x squared coherence of the gradients in a window, or -1 where there are none to speak of.
// Deliberate: squares of strong windows wrap, and the quotient is taken of the wrapped values.
int32_t CoherenceOf(const ProductSums& sums) {
    constexpr int32_t kUnknown = -1;
    const int32_t xx = ShiftRight(sums.xx + 8, 4);
    const int32_t yy = ShiftRight(sums.yy + 8, 4);
    const int32_t xy = ShiftRight(Absolute(sums.xy) + 4, 3);
    const int32_t energy = xx + yy;
    const int32_t divisor = ShiftRight(WrapMul32(energy, energy), 14);
    if (divisor == 0) {
        return kUnknown;
    }
    const int32_t dividend = WrapAdd32(WrapMul32(xx - yy, xx - yy), WrapMul32(xy, xy));
    const int32_t quotient = divisor == -1 ? WrapSub32(0, dividend) : dividend / divisor;
    // A negative quotient, like every small one, is an unreliable block.
    return quotient < 0 ? 0 : quotient;
}

uint8_t DirectionByte(const ProductSums& sums, QualitySum* quality) {
    uint8_t direction = OrientationOf(sums);
    if (sums.strong < kMinStrongBlocks) {
        direction |= kBackgroundFlag;
    }
    const int32_t coherence = CoherenceOf(sums);
    if (coherence >= kMinCoherence) {
        quality->total += Min(sqrtA(coherence), kHighestBlockQuality);
        ++quality->blocks;
    } else if (coherence >= 0) {
        direction |= kBackgroundFlag;
    }
    return direction;
}

// Majority vote over the first-pass flags around each block.
void CleanMask(const ExtractLayout& layout, uint8_t* map, CalcDirAScratch* scratch) {
    const int32_t columns = layout.blockColumns;
    int32_t* columnCounts = scratch->reliableColumns;
    memset(columnCounts, 0, sizeof(scratch->reliableColumns));
    for (int32_t entering = 0; entering < layout.blockRows + kReach; ++entering) {
        uint8_t* ringRow = scratch->reliable[entering % kWindowRows];
        if (entering >= kWindowRows) {
            for (int32_t column = 0; column < columns; ++column) {
                columnCounts[column] -= ringRow[column];
            }
        }
        // Below the map, empty rows enter.
        for (int32_t column = 0; column < columns; ++column) {
            const bool isReliable = entering < layout.blockRows &&
                                    (map[entering * columns + column] & kBackgroundFlag) == 0;
            ringRow[column] = isReliable ? 1 : 0;
            columnCounts[column] += ringRow[column];
        }
        if (entering < kReach) {
            continue;
        }
        uint8_t* mapRow = map + (entering - kReach) * columns;
        int32_t count = 0;
        for (int32_t column = 0; column < kReach && column < columns; ++column) {
            count += columnCounts[column];
        }
        for (int32_t column = 0; column < columns; ++column) {
            count += column + kReach < columns ? columnCounts[column + kReach] : 0;
            count -= column > kReach ? columnCounts[column - kReach - 1] : 0;
            const uint8_t orientation = mapRow[column] & kOrientationMask;
            mapRow[column] = count >= kMinReliableBlocks
                                 ? orientation
                                 : static_cast<uint8_t>(orientation | kBackgroundFlag);
        }
    }
}

}  // namespace

uint8_t qorfp::OrientationOf(const ProductSums& sums) {
    constexpr int32_t kLongestTableSide = 49;
    const int32_t d = sums.xx - sums.yy;
    const int32_t e = 2 * sums.xy;
    int32_t a = Absolute(d);
    int32_t b = Absolute(e);
    const int32_t longest = Max(a, b);
    if (longest > kLongestTableSide) {
        a = (kLongestTableSide * a + longest / 2) / longest;
        b = (kLongestTableSide * b + longest / 2) / longest;
    }
    const int32_t angle = gnAtanA[b * 50 + a];
    int32_t gradientAngle = 0;  // 0..120
    if (d > 0) {
        gradientAngle = e >= 0 ? angle : 120 - angle;
    } else {
        gradientAngle = e > 0 ? 60 - angle : 60 + angle;
    }
    return static_cast<uint8_t>(gradientAngle < 60 ? gradientAngle + 60 : gradientAngle - 60);
}

void CalcDirA(uint8_t* buffer, int32_t width, int32_t height, int32_t* quality) {
    *quality = 0;
    const ExtractLayout layout = LayOutExtract(width, height);
    if (!layout.isUsable || !HasRoom(layout.periodMap, sizeof(CalcDirAScratch))) {
        return;
    }
    uint8_t* map = buffer + layout.directionMap;
    CalcDirAScratch* scratch = WorkAt<CalcDirAScratch>(buffer + layout.periodMap);
    GetHistMap(buffer, width, height, scratch->greyTable);
    scratch->window.Clear();

    QualitySum sum = {0, 0};
    for (int32_t entering = 0; entering < layout.blockRows + kReach; ++entering) {
        if (entering >= kWindowRows) {
            scratch->window.Leave(entering - kWindowRows, layout.blockColumns);
        }
        if (entering < layout.blockRows) {
            EnterRow(buffer, width, entering, layout.blockColumns, scratch);
        }
        if (entering >= kReach) {
            uint8_t* mapRow = map + (entering - kReach) * layout.blockColumns;
            scratch->window.ForEachBlock(layout.blockColumns,
                                         [&](int32_t column, const ProductSums& sums) {
                                             mapRow[column] = DirectionByte(sums, &sum);
                                         });
        }
    }
    CleanMask(layout, map, scratch);
    if (sum.blocks > 0) {
        *quality = sum.total / sum.blocks;
    }
}
