// SPDX-License-Identifier: Apache-2.0
//
// Ridge density: the local ridge period, measured on every fourth block along a ray across the
// ridges, then spread over the whole foreground.

#include <stddef.h>
#include <string.h>

#include "extract/BitRows.h"
#include "extract/ExtractLayout.h"
#include "extract/FPExtract.h"
#include "extract/FixedMath.h"
#include "extract/Vector.h"

namespace {

using namespace qorfp;

constexpr int32_t kRayClasses = 16;
constexpr int32_t kPointsPerRay = 10;
constexpr int32_t kProfileSamples = 2 * kPointsPerRay + 1;

constexpr int32_t kShortestPeriod = 5;  // pixels
constexpr int32_t kLongestPeriod = 13;
constexpr int32_t kPeriodBase = 4;  // a block's value is its period less this
constexpr uint8_t kUnknownPeriod = kLongestPeriod - kPeriodBase;

// Smoothing takes the 7 x 7 blocks around each. Only blocks of even column and row are measured, at
// most 4 x 4 of them, so sums of values, like their counts, are bytes.
constexpr int32_t kMeasuredStep = 2;
constexpr int32_t kReach = 3;
constexpr int32_t kMeasuredRows = 4;
constexpr int32_t kMostMeasured = kMeasuredRows * kMeasuredRows;
static_assert((2 * kReach + 1 + kMeasuredStep - 1) / kMeasuredStep == kMeasuredRows, "of 7 rows");
static_assert(kMostMeasured * kUnknownPeriod < 256, "sums are bytes");

constexpr uint8_t kHole = 128;  // foreground without a measured block around it
constexpr int32_t kHoleSearchDistance = 5;
constexpr uint8_t kHoleDefault = 4 * kUnknownPeriod;

constexpr int32_t kMapColumns = kMaxStageWidth / kBlockSide;
static_assert(kMapColumns >= kMaxBlockColumns && kMapColumns % kVectorBytes == 0, "whole vectors");

// The measured values of a row that lie in reach of each block.
struct Measured {
    uint8_t sums[kMapColumns];
    uint8_t counts[kMapColumns];
};

struct RidgeDensityScratch {
    int32_t offsets[kRayClasses][kProfileSamples];  // of a profile's samples from its middle
    uint8_t row[kVectorBytes + kMapColumns + kVectorBytes];
    Measured rows[kMeasuredRows];  // a ring
    uint8_t direction[kMapColumns];
    uint8_t smoothed[kMapColumns];
};
// The stages around this one hand bit images on.
static_assert(FitsBeforeBitImages(sizeof(RidgeDensityScratch)), "fits behind every accepted image");

// ceil(2^15 / divisor), in place of divisions.
struct Reciprocals {
    static constexpr int32_t kLargestDivisor = 20;
    static constexpr int32_t kLargestDividend = 1024;
    uint16_t of[kLargestDivisor + 1];  // of[0] is 0

    constexpr Reciprocals() : of() {
        for (uint32_t divisor = 1; divisor <= kLargestDivisor; ++divisor) {
            of[divisor] = static_cast<uint16_t>(((1u << 15) + divisor - 1) / divisor);
        }
    }

    constexpr int32_t Quotient(int32_t dividend, int32_t divisor) const {
        return ShiftRight(dividend * of[divisor], 15);
    }

    constexpr bool AreExact() const {
        for (int32_t divisor = 1; divisor <= kLargestDivisor; ++divisor) {
            for (int32_t dividend = 0; dividend <= kLargestDividend; ++dividend) {
                if (Quotient(dividend, divisor) != dividend / divisor) {
                    return false;
                }
            }
        }
        return true;
    }
};
constexpr Reciprocals kReciprocals;
static_assert(kReciprocals.AreExact(), "quotients without a division");
static_assert(kMostMeasured <= Reciprocals::kLargestDivisor, "counts of measured values");
static_assert(kProfileSamples - 1 <= Reciprocals::kLargestDivisor, "gaps between rises");

// The maps, side by side.
struct Maps {
    const uint8_t* direction;
    uint8_t* period;
    int32_t columns;
    int32_t rows;
};

// Linear pixel offset of a ray point coded as dy x 256 + dx, dx in -128..128.
int32_t DecodeOffset(int32_t coded, int32_t width) {
    int32_t dy = coded / 256;
    int32_t dx = coded - 256 * dy;
    if (dx < -128) {
        dy -= 1;
        dx += 256;
    } else if (dx > 128) {
        dy += 1;
        dx -= 256;
    }
    return dy * width + dx;
}

// Offsets of a ray's samples, from its far end behind the middle to its far end before it.
void MakeOffsets(int32_t rayClass, int32_t width, int32_t* offsets) {
    offsets[kPointsPerRay] = 0;
    for (int32_t k = 1; k <= kPointsPerRay; ++k) {
        const int32_t offset = DecodeOffset(gnRP[rayClass * kPointsPerRay + k - 1], width);
        offsets[kPointsPerRay + k] = offset;
        offsets[kPointsPerRay - k] = -offset;
    }
}

// The rises of the profile through a pixel, as bits: bit 0 is set when the last sample is greater
// than the one before it, bit 19 when the second is greater than the first.
uint32_t FindRises(const uint8_t* middle, const int32_t* offsets) {
    uint32_t rises = 0;
    int32_t before = middle[offsets[0]];
    const auto add = [&](int32_t sample) {
        rises = 2 * rises + (static_cast<uint32_t>(before - sample) >> 31);
        before = sample;
    };
    // In two halves, which compilers unroll.
    for (int32_t i = 1; i <= kPointsPerRay; ++i) {
        add(middle[offsets[i]]);
    }
    for (int32_t i = kPointsPerRay + 1; i < kProfileSamples; ++i) {
        add(middle[offsets[i]]);
    }
    return rises;
}

// Mean distance between the rises of a profile, in pixels less kPeriodBase, 1..9.
uint8_t PeriodOf(uint32_t rises, int32_t stepLength) {
    if (WithoutLowestBit(rises) == 0) {
        return kUnknownPeriod;  // one or none
    }
    int32_t gaps = 0;
    for (uint32_t rest = rises & (rises - 1); rest != 0; rest &= rest - 1) {
        ++gaps;
    }
    const int32_t distance = 31 - __builtin_clz(rises) - __builtin_ctz(rises);  // first to last
    const int32_t period32 =
        kReciprocals.Quotient(gaps / 2 + stepLength * distance, gaps);  // 1/32 pixel
    const int32_t period = Clamp(ShiftRight(period32 + 16, 5), kShortestPeriod, kLongestPeriod);
    return static_cast<uint8_t>(period - kPeriodBase);
}

// One block in four. The bounds keep the rays, ten pixels to either side, inside the image.
void MeasurePeriods(const uint8_t* image, int32_t width, const Maps& maps,
                    const RidgeDensityScratch& scratch) {
    if (maps.rows - 2 <= 2 || maps.columns <= 4) {
        return;
    }
    const int32_t blocksPerRow = (maps.columns - 5) / 2 + 1;
    for (int32_t by = 2; by < maps.rows - 2; by += kMeasuredStep) {
        for (int32_t bx = 2; bx < 2 + 2 * blocksPerRow; bx += kMeasuredStep) {
            const int32_t block = by * maps.columns + bx;
            const uint8_t orientation = maps.direction[block];
            if (orientation >= kOrientations) {
                continue;  // background (or no orientation at all, in a damaged map)
            }
            const int32_t rayClass = gnDC[orientation];
            const uint8_t* middle = image + (kBlockSide * by + 3) * width + kBlockSide * bx + 3;
            const uint32_t rises = FindRises(middle, scratch.offsets[rayClass]);
            maps.period[block] = PeriodOf(rises, gnRL[rayClass]);
        }
    }
}

// Sums and counts the values of a measured row, over the 7 columns around each block.
void SumColumns(const Maps& maps, int32_t by, RidgeDensityScratch* scratch) {
    uint8_t* row = scratch->row + kVectorBytes;
    memcpy(row, maps.period + by * maps.columns, static_cast<size_t>(maps.columns));
    Measured* measured = &scratch->rows[by / kMeasuredStep % kMeasuredRows];
    for (int32_t bx = 0; bx < maps.columns; bx += kVectorBytes) {
        U8x16 sums = {};
        U8x16 counts = {};
        for (int32_t column = bx - kReach; column <= bx + kReach; ++column) {
            const U8x16 values = LoadVector<U8x16>(row + column);
            sums += values;
            counts -= AsLanes<U8x16>(values != U8x16{});  // 255 for a value
        }
        StoreVector(sums, measured->sums + bx);
        StoreVector(counts, measured->counts + bx);
    }
}

// The mean of the values around each foreground block of a row, four times finer, rounded; kHole
// where there is none.
void SmoothRow(const Maps& maps, int32_t by, RidgeDensityScratch* scratch) {
    const int32_t first = Max(by - kReach, 0) + (Max(by - kReach, 0) % kMeasuredStep);
    const int32_t last = Min(by + kReach, maps.rows - 1);
    const size_t rowBytes = static_cast<size_t>(maps.columns);
    memcpy(scratch->direction, maps.direction + by * maps.columns, rowBytes);
    for (int32_t bx = 0; bx < maps.columns; bx += kVectorBytes) {
        U8x16 sums = {};
        U8x16 counts = {};
        for (int32_t row = first; row <= last; row += kMeasuredStep) {
            const Measured& measured = scratch->rows[row / kMeasuredStep % kMeasuredRows];
            sums += LoadVector<U8x16>(measured.sums + bx);
            counts += LoadVector<U8x16>(measured.counts + bx);
        }
        uint8_t divisors[kVectorBytes];
        StoreVector(counts, divisors);
        // Twice 4 x sum + count / 2: the reciprocals stand for 2^15, not for 2^16.
        const U16x16 dividends = Widen(sums) * uint16_t{8} + Widen(counts & uint8_t{0xFE});
        const U8x16 means = Narrow(MultiplyHigh(dividends, LookUp(kReciprocals.of, divisors)));
        const U8x16 holes = AsLanes<U8x16>(counts == U8x16{}) & kHole;
        const U8x16 isForeground =
            AsLanes<U8x16>(AsLanes<I8x16>(LoadVector<U8x16>(scratch->direction + bx)) >= I8x16{});
        StoreVector((means | holes) & isForeground, scratch->smoothed + bx);
    }
    memcpy(maps.period + by * maps.columns, scratch->smoothed, rowBytes);
}

void SmoothPeriods(const Maps& maps, RidgeDensityScratch* scratch) {
    memset(scratch->row, 0, sizeof(scratch->row));  // values of 0 beyond either end
    int32_t nextMeasured = 0;
    for (int32_t by = 0; by < maps.rows; ++by) {
        for (; nextMeasured <= Min(by + kReach, maps.rows - 1); nextMeasured += kMeasuredStep) {
            SumColumns(maps, nextMeasured, scratch);
        }
        SmoothRow(maps, by, scratch);
    }
}

// Value of the nearest block on the axes through a hole: left, right, up, down at each distance.
uint8_t NearestPeriod(const Maps& maps, int32_t bx, int32_t by) {
    const auto valueAt = [&](int32_t x, int32_t y) -> uint8_t {
        if (x < 0 || x >= maps.columns || y < 0 || y >= maps.rows) {
            return 0;
        }
        return maps.period[y * maps.columns + x] & 0x7F;  // another hole counts as empty
    };
    for (int32_t distance = 1; distance <= kHoleSearchDistance; ++distance) {
        const uint8_t values[] = {valueAt(bx - distance, by), valueAt(bx + distance, by),
                                  valueAt(bx, by - distance), valueAt(bx, by + distance)};
        for (const uint8_t value : values) {
            if (value != 0) {
                return value;
            }
        }
    }
    return kHoleDefault;
}

// In scan order: holes filled earlier serve the later ones.
void FillHoles(const Maps& maps) {
    for (int32_t by = 0; by < maps.rows; ++by) {
        uint8_t* row = maps.period + by * maps.columns;
        for (int32_t bx = 0; bx < maps.columns; ++bx) {
            const void* hole = memchr(row + bx, kHole, static_cast<size_t>(maps.columns - bx));
            if (hole == nullptr) {
                break;
            }
            bx = static_cast<int32_t>(static_cast<const uint8_t*>(hole) - row);
            row[bx] = NearestPeriod(maps, bx, by);
        }
    }
}

}  // namespace

void GetRidgeDensity(uint8_t* buffer, int32_t width, int32_t height) {
    const ExtractLayout layout = LayOutExtract(width, height);
    if (!layout.isUsable || !HasRoom(layout.scratch, sizeof(RidgeDensityScratch))) {
        return;
    }
    const StageMemory memory(buffer, {ImageOf(layout), DirectionsOf(layout), NewPeriodsOf(layout),
                                      ScratchOf<RidgeDensityScratch>(layout.scratch)});
    RidgeDensityScratch* scratch = WorkAt<RidgeDensityScratch>(buffer + layout.scratch);
    const Maps maps = {buffer + layout.directionMap, buffer + layout.periodMap, layout.blockColumns,
                       layout.blockRows};
    for (int32_t rayClass = 0; rayClass < kRayClasses; ++rayClass) {
        MakeOffsets(rayClass, width, scratch->offsets[rayClass]);
    }
    memset(maps.period, 0, static_cast<size_t>(maps.columns) * static_cast<size_t>(maps.rows));
    MeasurePeriods(buffer, width, maps, *scratch);
    SmoothPeriods(maps, scratch);
    FillHoles(maps);
}
