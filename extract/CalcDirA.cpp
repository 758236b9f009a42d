// SPDX-License-Identifier: Apache-2.0
//
// Orientation field of the grey image: ridge direction, foreground and quality.

#include <stddef.h>
#include <string.h>

#include "extract/BlockGradients.h"
#include "extract/FPExtract.h"
#include "extract/FixedMath.h"
#include "extract/GradientWindow.h"
#include "extract/GreyStretch.h"

namespace {

using namespace qorfp;

constexpr int32_t kReach = 4;               // windows of 9 x 9 blocks
constexpr int32_t kStrongGradient = 200;    // squared
constexpr uint8_t kMinStrongBlocks = 40;    // of 81 for a foreground block
constexpr uint8_t kMinReliableBlocks = 41;  // of 81 around a block that stays foreground
constexpr int32_t kMinCoherence = 900;      // 16384 x coherence squared
constexpr int32_t kHighestBlockQuality = 100;

// Products of the gradients of a row of blocks, and whether they are strong (1).
struct ProductRows {
    ProductRow xx;
    ProductRow yy;
    ProductRow xy;
    CountRow strong;
};

struct CalcDirAScratch {
    int32_t histogram[kGreyLevels];
    EvenColumns edge;
    GradientRow gradients;
    ProductRows products;
    WindowSum<int32_t> xxWindow;
    WindowSum<int32_t> yyWindow;
    WindowSum<int32_t> xyWindow;
    WindowSum<uint8_t> strongWindow;
    WindowSum<uint8_t> reliableWindow;
    WindowRow xxSums;
    WindowRow yySums;
    WindowRow xySums;
    CountRow strongCounts;
    WindowRow differenceSums;  // xxSums - yySums
    CountRow reliableCounts;
    OrientationRow orientations[kReach + 1];  // ring: block row y in row y % (kReach + 1)
    CountRow reliable;                        // 1 for a reliable block
    OrientationRow directions;
};
static_assert(FitsEveryImage(sizeof(CalcDirAScratch)), "fits behind every accepted image");
static_assert(alignof(CalcDirAScratch) == 4, "the maps end at a multiple of 4");

// Of coherent blocks. Those of whole rows are counted in vectors, of at most 2^12 a lane.
struct QualitySum {
    int32_t total;   // but for the blocks of the highest quality
    int32_t blocks;  // but for those in `coherent`
    I16x8 coherent;
    I16x8 highest;  // of them

    int32_t Mean() const {
        int32_t sum = total;
        int32_t count = blocks;
        for (int32_t lane = 0; lane < kVectorBytes / 2; ++lane) {
            sum += kHighestBlockQuality * highest[lane];
            count += coherent[lane];
        }
        return count > 0 ? sum / count : 0;
    }
};

void FindProducts(const uint8_t* image, int32_t width, int32_t blockRow, int32_t blockColumns,
                  const GreyStretcher& stretcher, CalcDirAScratch* scratch) {
    const uint8_t* first = image + kBlockSide * blockRow * width;
    if (blockRow == 0) {
        BeginGradients(first, blockColumns, stretcher, &scratch->edge);
    }
    FindGradients(first, width, blockColumns, stretcher, &scratch->edge, &scratch->gradients);
    ProductRows* products = &scratch->products;
    for (int32_t column = 0; column < blockColumns; column += 8) {
        const I16x8 x = LoadVector<I16x8>(scratch->gradients.x + column);
        const I16x8 y = LoadVector<I16x8>(scratch->gradients.y + column);
        const I16x8 xx = x * x;
        const I16x8 yy = y * y;
        StoreVector(xx, products->xx + column);
        StoreVector(yy, products->yy + column);
        StoreVector(x * y, products->xy + column);
        const I16x8 isStrong = xx + yy > kStrongGradient;
        StoreVector(NarrowMask(isStrong, I16x8{}) & uint8_t{1}, products->strong + column);
    }
}

// Squared coherence of the gradients in a window, as a fraction: its 16384-fold is
// dividend / divisor, or unknown where the divisor is 0.
// Deliberate: squares of strong windows wrap, and the quotient is taken of the wrapped values.
struct Coherence {
    int32_t dividend;
    int32_t divisor;  // -2^17 .. 2^17 - 1
};

Coherence CoherenceOf(int32_t xxSum, int32_t yySum, int32_t xySum) {
    const int32_t xx = ShiftRight(xxSum + 8, 4);
    const int32_t yy = ShiftRight(yySum + 8, 4);
    const int32_t xy = ShiftRight(Absolute(xySum) + 4, 3);
    const int32_t energy = xx + yy;
    return {WrapAdd32(WrapMul32(xx - yy, xx - yy), WrapMul32(xy, xy)),
            ShiftRight(WrapMul32(energy, energy), 14)};
}

// The root of the quotient, of one from 900 to 9,999 whose divisor is below 2^17.
int32_t RootOf(Coherence coherence) {
#if defined(__x86_64__)
    // Divided in hardware, which takes less than the steps below.
    return sqrtA(static_cast<int32_t>(static_cast<uint32_t>(coherence.dividend) /
                                      static_cast<uint32_t>(coherence.divisor)));
#else
    // Nothing need be divided: the root reaches r when the dividend reaches r x r x divisor.
    int32_t root = 0;
    for (int32_t bit = 64; bit > 0; bit /= 2) {
        root += coherence.dividend >= Square(root + bit) * coherence.divisor ? bit : 0;
    }
    return root;
#endif
}

// What a window of coherent gradients gives to the quality: the root of the quotient, at most 100.
// 0 where they are not coherent.
int32_t QualityOf(Coherence coherence) {
    const int32_t quotient = coherence.divisor == -1 ? WrapSub32(0, coherence.dividend)
                                                     : coherence.dividend / coherence.divisor;
    return quotient < kMinCoherence ? 0 : Min(sqrtA(quotient), kHighestBlockQuality);
}

// The sums of eight windows, of the columns from `column` on: what of their coherence needs neither
// a division nor a root.
struct EightCoherences {
    I32x4 dividends[2];
    I32x4 divisors[2];
    bool isSafe;  // no square wraps; otherwise the rest means nothing
    I16x8 isUnknown;
    I16x8 isCoherent;
    I16x8 isHighest;  // of the highest quality

    EightCoherences(const WindowRow& xxSums, const WindowRow& yySums, const WindowRow& xySums,
                    ptrdiff_t column) {
        I32x4 energies[2];
        I32x4 differences[2];
        I32x4 mixed[2];
        I32x4 all = {};
        for (int32_t half = 0; half < 2; ++half) {
            const ptrdiff_t at = column + 4 * half;
            const I32x4 xx = (LoadVector<I32x4>(xxSums + at) + 8) >> 4;
            const I32x4 yy = (LoadVector<I32x4>(yySums + at) + 8) >> 4;
            const I32x4 xy = LoadVector<I32x4>(xySums + at);
            const I32x4 sign = xy >> 31;
            mixed[half] = (((xy ^ sign) - sign) + 4) >> 3;
            energies[half] = xx + yy;
            differences[half] = xx - yy;
            all |= energies[half] | mixed[half];
        }
        MayBeUnwritten(&all);  // behind the last block; both ways give the same
        isSafe = !HasAny(all >> 15);
        // As 16-bit numbers, two squares to a product of pairs.
        const auto narrow = [](const I32x4(&lanes)[2]) {
            return AsLanes<U16x8>(Narrow(lanes[0], lanes[1]));
        };
        const auto squares = [](U16x8 lanes) {
            return MultiplyPairs(AsLanes<I16x8>(lanes), AsLanes<I16x8>(lanes));
        };
        const U16x8 d = narrow(differences);
        const U16x8 m = narrow(mixed);
        const U16x8 e = narrow(energies);
        dividends[0] = squares(InterleaveLow(d, m));
        dividends[1] = squares(InterleaveHigh(d, m));
        divisors[0] = squares(InterleaveLow(e, U16x8{})) >> 14;
        divisors[1] = squares(InterleaveHigh(e, U16x8{})) >> 14;
        const auto reach = [this](int32_t quotient) {
            return Narrow(dividends[0] >= quotient * divisors[0],
                          dividends[1] >= quotient * divisors[1]);
        };
        isUnknown = Narrow(divisors[0] == 0, divisors[1] == 0);
        isCoherent = reach(kMinCoherence) & ~isUnknown;
        isHighest = reach(Square(kHighestBlockQuality)) & ~isUnknown;
    }
};

// Adds the windows of eight blocks, of which `isBlock` says which there are, to the quality. Gives
// those that may be reliable by their coherence.
I16x8 RateEight(const CalcDirAScratch& scratch, ptrdiff_t column, I16x8 isBlock,
                QualitySum* quality) {
    EightCoherences eight(scratch.xxSums, scratch.yySums, scratch.xySums, column);
    constexpr int32_t kLanes = kVectorBytes / 2;
    if (eight.isSafe) {
        quality->coherent -= eight.isCoherent & isBlock;
        quality->highest -= eight.isHighest & isBlock;
        int32_t dividends[kLanes];
        int32_t divisors[kLanes];
        memcpy(dividends, eight.dividends, sizeof(dividends));
        memcpy(divisors, eight.divisors, sizeof(divisors));
        uint32_t others =
            SetLanes(NarrowMask(eight.isCoherent & ~eight.isHighest & isBlock, I16x8{}));
        for (; others != 0; others &= others - 1) {
            const int32_t at = __builtin_ctz(others);
            quality->total += RootOf({dividends[at], divisors[at]});
        }
        return (eight.isUnknown | eight.isCoherent) & isBlock;
    }
    int16_t isReliable[kLanes];
    StoreVector(isBlock, isReliable);
    for (int32_t lane = 0; lane < kLanes; ++lane) {
        if (isReliable[lane] == 0) {
            continue;  // behind the last block, with sums of anything
        }
        const ptrdiff_t at = column + lane;
        const Coherence coherence =
            CoherenceOf(scratch.xxSums[at], scratch.yySums[at], scratch.xySums[at]);
        if (coherence.divisor != 0) {
            const int32_t blockQuality = QualityOf(coherence);
            quality->total += blockQuality;
            quality->blocks += blockQuality > 0 ? 1 : 0;
            isReliable[lane] = blockQuality > 0 ? -1 : 0;
        }
    }
    return LoadVector<I16x8>(isReliable);
}

// Which of sixteen counts reach a bound.
U8x16 ReachesOf(const uint8_t* counts, uint8_t bound) {
    const U8x16 lanes = LoadVector<U8x16>(counts);
    return AsLanes<U8x16>(Greatest(lanes, bound + U8x16{}) == lanes);
}

// The first pass over a row of blocks, the one on which the windows are centred: orientations, and
// which blocks are reliable.
void FindDirections(int32_t blockRow, int32_t blockColumns, CalcDirAScratch* scratch,
                    QualitySum* quality) {
    scratch->xxWindow.SumAcross(blockColumns, &scratch->xxSums);
    scratch->yyWindow.SumAcross(blockColumns, &scratch->yySums);
    scratch->xyWindow.SumAcross(blockColumns, &scratch->xySums);
    scratch->strongWindow.SumAcross(blockColumns, &scratch->strongCounts);
    for (ptrdiff_t column = 0; column < blockColumns; column += 4) {
        StoreVector(LoadVector<I32x4>(scratch->xxSums + column) -
                        LoadVector<I32x4>(scratch->yySums + column),
                    scratch->differenceSums + column);
    }
    FindOrientations(scratch->differenceSums, scratch->xySums, blockColumns,
                     &scratch->orientations[blockRow % (kReach + 1)]);
    constexpr I16x8 kPlaces = {0, 1, 2, 3, 4, 5, 6, 7};
    for (ptrdiff_t column = 0; column < blockColumns; column += 8) {
        const I16x8 isBlock = kPlaces < static_cast<int16_t>(blockColumns - column);
        const U8x16 isCoherent = NarrowMask(RateEight(*scratch, column, isBlock, quality), I16x8{});
        StoreVector(
            isCoherent & ReachesOf(scratch->strongCounts + column, kMinStrongBlocks) & uint8_t{1},
            scratch->reliable + column);
    }
}

// The second pass: majority vote over the reliable blocks around each block.
void WriteDirections(int32_t blockRow, int32_t blockColumns, CalcDirAScratch* scratch,
                     uint8_t* mapRow) {
    const uint8_t* orientations = scratch->orientations[blockRow % (kReach + 1)];
    scratch->reliableWindow.SumAcross(blockColumns, &scratch->reliableCounts);
    for (ptrdiff_t column = 0; column < blockColumns; column += kVectorBytes) {
        const U8x16 flags =
            ~ReachesOf(scratch->reliableCounts + column, kMinReliableBlocks) & kBackgroundFlag;
        StoreVector(LoadVector<U8x16>(orientations + column) | flags, scratch->directions + column);
    }
    memcpy(mapRow, scratch->directions, static_cast<size_t>(blockColumns));
}

}  // namespace

void CalcDirA(uint8_t* buffer, int32_t width, int32_t height, int32_t* quality) {
    *quality = 0;
    const ExtractLayout layout = LayOutExtract(width, height);
    const int32_t columns = layout.blockColumns;
    if (!layout.isUsable || !HasRoom(layout.periodMap, sizeof(CalcDirAScratch)) || columns == 0 ||
        layout.blockRows == 0) {
        return;
    }
    const StageMemory memory(buffer, {ImageOf(layout), NewDirectionsOf(layout),
                                      ScratchOf<CalcDirAScratch>(layout.periodMap)});
    uint8_t* map = buffer + layout.directionMap;
    CalcDirAScratch* scratch = WorkAt<CalcDirAScratch>(buffer + layout.periodMap);
    const GreyStretcher stretcher(FindGreyStretch(buffer, width, height, scratch->histogram));
    scratch->xxWindow.Clear(kReach);
    scratch->yyWindow.Clear(kReach);
    scratch->xyWindow.Clear(kReach);
    scratch->strongWindow.Clear(kReach);
    scratch->reliableWindow.Clear(kReach);

    // Row `entering` completes the windows of the first pass around the row kReach above it; this
    // one completes those of the second pass, kReach further up.
    QualitySum sum = {};
    for (int32_t entering = 0; entering < layout.blockRows + 2 * kReach; ++entering) {
        if (entering < layout.blockRows) {
            FindProducts(buffer, width, entering, columns, stretcher, scratch);
        } else {
            memset(&scratch->products, 0, sizeof(scratch->products));
        }
        scratch->xxWindow.Slide(columns, scratch->products.xx);
        scratch->yyWindow.Slide(columns, scratch->products.yy);
        scratch->xyWindow.Slide(columns, scratch->products.xy);
        scratch->strongWindow.Slide(columns, scratch->products.strong);
        const int32_t firstPass = entering - kReach;
        if (firstPass < 0) {
            continue;
        }
        if (firstPass < layout.blockRows) {
            FindDirections(firstPass, columns, scratch, &sum);
        } else {
            memset(scratch->reliable, 0, sizeof(scratch->reliable));
        }
        scratch->reliableWindow.Slide(columns, scratch->reliable);
        const int32_t secondPass = firstPass - kReach;
        if (secondPass >= 0) {
            WriteDirections(secondPass, columns, scratch, map + secondPass * columns);
        }
    }
    *quality = sum.Mean();
}
