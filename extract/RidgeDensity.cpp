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

// Measured blocks: every second one of a row, from the third to the third from the end.
constexpr int32_t kFirstMeasured = 2;
constexpr int32_t kMostProfiles = kMapColumns / kMeasuredStep;
static_assert(kMostProfiles % kVectorBytes == 0, "whole vectors");

// The measured values of a row that lie in reach of each block.
struct Measured {
    uint8_t sums[kMapColumns];
    uint8_t counts[kMapColumns];
};

// The profiles through the measured blocks of a row, side by side.
struct Profiles {
    uint8_t samples[kProfileSamples][kMostProfiles];
    uint8_t stepLengths[kMostProfiles];   // from sample to sample, 1/32 pixel
    uint8_t isForeground[kMostProfiles];  // all ones or zeros; the others mean nothing
};

struct RidgeDensityScratch {
    int32_t offsets[kRayClasses][kProfileSamples];  // of a profile's samples from its middle
    Profiles profiles;
    uint8_t row[kVectorBytes + kMapColumns + kVectorBytes];  // measured periods, 0 elsewhere
    Measured rows[kMeasuredRows];                            // a ring
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

    // The same of sixteen, each with the divisor at its place.
    U16x16 Quotients(U16x16 dividends, U8x16 divisors) const {
        uint8_t at[kVectorBytes];
        StoreVector(divisors, at);
        return MultiplyHigh(dividends * uint16_t{2}, LookUp(of, at));
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

// Offsets of each ray's samples, from its far end behind the middle to its far end before it. One loop
// for all: compilers unroll two.
void MakeOffsets(int32_t width, int32_t (*offsets)[kProfileSamples]) {
    for (int32_t point = 0; point < kRayClasses * kPointsPerRay; ++point) {
        const int32_t offset = DecodeOffset(gnRP[point], width);
        const int32_t distance = point % kPointsPerRay + 1;
        int32_t* middle = offsets[point / kPointsPerRay] + kPointsPerRay;
        middle[-distance] = -offset;
        middle[0] = 0;
        middle[distance] = offset;
    }
}

// The profiles of the row's foreground blocks. The bounds keep the rays, ten pixels to either side,
// inside the image.
void TakeProfiles(const uint8_t* image, int32_t width, const Maps& maps, int32_t by,
                  RidgeDensityScratch* scratch) {
    Profiles* profiles = &scratch->profiles;
    memset(profiles->isForeground, 0, sizeof(profiles->isForeground));
    for (int32_t bx = kFirstMeasured; bx < maps.columns - kFirstMeasured; bx += kMeasuredStep) {
        const uint8_t orientation = maps.direction[by * maps.columns + bx];
        if (orientation >= kOrientations) {
            continue;  // background (or no orientation at all, in a damaged map)
        }
        const int32_t rayClass = gnDC[orientation];
        const int32_t* offsets = scratch->offsets[rayClass];
        const uint8_t* middle = image + (kBlockSide * by + 3) * width + kBlockSide * bx + 3;
        const int32_t at = bx / kMeasuredStep - kFirstMeasured / kMeasuredStep;
        uint8_t* samples = profiles->samples[0] + at;
        // In two halves, which compilers unroll.
        for (int32_t i = 0; i <= kPointsPerRay; ++i) {
            samples[i * kMostProfiles] = middle[offsets[i]];
        }
        for (int32_t i = kPointsPerRay + 1; i < kProfileSamples; ++i) {
            samples[i * kMostProfiles] = middle[offsets[i]];
        }
        profiles->stepLengths[at] = static_cast<uint8_t>(gnRL[rayClass]);
        profiles->isForeground[at] = 255;
    }
}

// Mean distance between the rises of sixteen profiles, from the one at `at` on, in pixels less
// kPeriodBase, 1..9; 0 for background. A profile rises where a sample is greater than the one before
// it.
U8x16 PeriodsOf(const Profiles& profiles, int32_t at) {
    U8x16 before = LoadVector<U8x16>(profiles.samples[0] + at);
    U8x16 place = {};
    U8x16 rises = (kProfileSamples - 1) + U8x16{};
    U8x16 first = uint8_t{255} + U8x16{};
    U8x16 last = {};
    for (int32_t i = 1; i < kProfileSamples; ++i) {
        const U8x16 sample = LoadVector<U8x16>(profiles.samples[i] + at);
        const U8x16 isNone = AsLanes<U8x16>(SubtractToZero(sample, before) == U8x16{});
        rises += isNone;  // 255 is one less
        first = Least(first, place | isNone);
        last = Greatest(last, place & ~isNone);
        place += uint8_t{1};
        before = sample;
    }
    const U8x16 gaps = SubtractToZero(rises, uint8_t{1} + U8x16{});
    const U16x16 lengths =
        Widen(last - first) * Widen(LoadVector<U8x16>(profiles.stepLengths + at));
    const U16x16 periods32 = kReciprocals.Quotients(lengths + (Widen(gaps) >> 1), gaps);
    const U8x16 periods = Narrow((periods32 + uint16_t{16}) >> 5);
    const U8x16 inRange = Greatest(Least(periods, kLongestPeriod + U8x16{}),  //
                                   kShortestPeriod + U8x16{});
    const U8x16 isUnknown = AsLanes<U8x16>(gaps == U8x16{});  // one rise or none
    const U8x16 values = (isUnknown & kUnknownPeriod) | (~isUnknown & (inRange - kPeriodBase));
    return values & LoadVector<U8x16>(profiles.isForeground + at);
}

// The measured periods of a row, between zeros.
void MeasureRow(const uint8_t* image, int32_t width, const Maps& maps, int32_t by,
                RidgeDensityScratch* scratch) {
    TakeProfiles(image, width, maps, by, scratch);
    uint8_t* to = scratch->row + kVectorBytes + kFirstMeasured;
    for (int32_t at = 0; kMeasuredStep * at < maps.columns; at += kVectorBytes) {
        const U8x16 periods = PeriodsOf(scratch->profiles, at);
        StoreVector(InterleaveLow(periods, U8x16{}), to + kMeasuredStep * at);
        StoreVector(InterleaveHigh(periods, U8x16{}), to + kMeasuredStep * at + kVectorBytes);
    }
}

// Measures a row, and sums and counts the values over the 7 columns around each block.
void SumColumns(const uint8_t* image, int32_t width, const Maps& maps, int32_t by,
                RidgeDensityScratch* scratch) {
    Measured* measured = &scratch->rows[by / kMeasuredStep % kMeasuredRows];
    if (by < kFirstMeasured || by >= maps.rows - kFirstMeasured) {
        memset(measured, 0, sizeof(*measured));
        return;
    }
    MeasureRow(image, width, maps, by, scratch);
    const uint8_t* row = scratch->row + kVectorBytes;
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
        const U16x16 dividends = Widen(sums) * uint16_t{4} + (Widen(counts) >> 1);
        const U8x16 means = Narrow(kReciprocals.Quotients(dividends, counts));
        const U8x16 holes = AsLanes<U8x16>(counts == U8x16{}) & kHole;
        const U8x16 isForeground =
            AsLanes<U8x16>(AsLanes<I8x16>(LoadVector<U8x16>(scratch->direction + bx)) >= I8x16{});
        StoreVector((means | holes) & isForeground, scratch->smoothed + bx);
    }
    memcpy(maps.period + by * maps.columns, scratch->smoothed, rowBytes);
}

void FindPeriods(const uint8_t* image, int32_t width, const Maps& maps,
                 RidgeDensityScratch* scratch) {
    memset(scratch->row, 0, sizeof(scratch->row));
    memset(&scratch->profiles, 0, sizeof(scratch->profiles));
    int32_t nextMeasured = 0;
    for (int32_t by = 0; by < maps.rows; ++by) {
        for (; nextMeasured <= Min(by + kReach, maps.rows - 1); nextMeasured += kMeasuredStep) {
            SumColumns(image, width, maps, nextMeasured, scratch);
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
    MakeOffsets(width, scratch->offsets);
    FindPeriods(buffer, width, maps, scratch);
    FillHoles(maps);
}
