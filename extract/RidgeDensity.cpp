// SPDX-License-Identifier: Apache-2.0
//
// Ridge density: the local ridge period, measured on every fourth block along a ray across the
// ridges, then spread over the whole foreground.

#include <stddef.h>
#include <string.h>

#include "extract/ExtractLayout.h"
#include "extract/FPExtract.h"
#include "extract/FixedMath.h"

namespace {

using namespace qorfp;

constexpr int32_t kRayClasses = 16;
constexpr int32_t kPointsPerRay = 10;
constexpr int32_t kProfileSamples = 2 * kPointsPerRay + 1;

constexpr int32_t kShortestPeriod = 5;  // pixels
constexpr int32_t kLongestPeriod = 13;
constexpr int32_t kPeriodBase = 4;  // a block's value is its period less this
constexpr uint8_t kUnknownPeriod = kLongestPeriod - kPeriodBase;

constexpr int32_t kReach = 3;  // smoothing over 7 x 7 blocks
constexpr int32_t kWindowRows = 2 * kReach + 1;
constexpr uint8_t kHole = 128;  // foreground without a measured block around it
constexpr int32_t kHoleSearchDistance = 5;
constexpr uint8_t kHoleDefault = 4 * kUnknownPeriod;

struct RidgeDensityScratch {
    int32_t offsets[kRayClasses * kPointsPerRay];
    uint8_t profile[kProfileSamples];
    uint8_t rows[kWindowRows][kMaxBlockColumns];  // ring of unsmoothed map rows
    int32_t columnSums[kMaxBlockColumns];
    int32_t columnCounts[kMaxBlockColumns];  // of non-zero values
};
static_assert(FitsEveryImage(sizeof(RidgeDensityScratch)), "fits behind every accepted image");

// The maps, side by side.
struct Maps {
    const uint8_t* direction;
    uint8_t* period;
    int32_t columns;
    int32_t rows;

    bool IsForeground(int32_t block) const { return (direction[block] & kBackgroundFlag) == 0; }
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

void TakeProfile(const uint8_t* centre, const int32_t* offsets, uint8_t* profile) {
    profile[kPointsPerRay] = centre[0];
    for (int32_t k = 1; k <= kPointsPerRay; ++k) {
        profile[kPointsPerRay + k] = centre[offsets[k - 1]];
        profile[kPointsPerRay - k] = centre[-offsets[k - 1]];
    }
}

// Mean distance between the rises of a profile, in pixels less kPeriodBase, 1..9.
uint8_t PeriodOf(const uint8_t* profile, int32_t stepLength) {
    int32_t rises = 0;
    int32_t first = 0;
    int32_t last = 0;
    for (int32_t i = 0; i < kProfileSamples - 1; ++i) {
        if (profile[i + 1] > profile[i]) {
            first = rises == 0 ? i : first;
            last = i;
            ++rises;
        }
    }
    if (rises <= 1) {
        return kUnknownPeriod;
    }
    const int32_t gaps = rises - 1;
    const int32_t period32 = (gaps / 2 + stepLength * (last - first)) / gaps;  // 1/32 pixel
    const int32_t period = Clamp(ShiftRight(period32 + 16, 5), kShortestPeriod, kLongestPeriod);
    return static_cast<uint8_t>(period - kPeriodBase);
}

// One block in four. The bounds keep the rays, ten pixels to either side, inside the image.
void MeasurePeriods(const uint8_t* image, int32_t width, const Maps& maps,
                    RidgeDensityScratch* scratch) {
    if (maps.rows - 2 <= 2 || maps.columns <= 4) {
        return;
    }
    const int32_t blocksPerRow = (maps.columns - 5) / 2 + 1;
    for (int32_t by = 2; by < maps.rows - 2; by += 2) {
        for (int32_t bx = 2; bx < 2 + 2 * blocksPerRow; bx += 2) {
            const int32_t block = by * maps.columns + bx;
            const uint8_t orientation = maps.direction[block];
            if (orientation >= kOrientations) {
                continue;  // background (or no orientation at all, in a damaged map)
            }
            const int32_t rayClass = gnDC[orientation];
            const uint8_t* centre = image + (kBlockSide * by + 3) * width + kBlockSide * bx + 3;
            TakeProfile(centre, scratch->offsets + rayClass * kPointsPerRay, scratch->profile);
            maps.period[block] = PeriodOf(scratch->profile, gnRL[rayClass]);
        }
    }
}

void SmoothRow(const Maps& maps, int32_t by, const RidgeDensityScratch& scratch) {
    int32_t sum = 0;
    int32_t count = 0;
    for (int32_t bx = 0; bx < kReach && bx < maps.columns; ++bx) {
        sum += scratch.columnSums[bx];
        count += scratch.columnCounts[bx];
    }
    for (int32_t bx = 0; bx < maps.columns; ++bx) {
        if (bx + kReach < maps.columns) {
            sum += scratch.columnSums[bx + kReach];
            count += scratch.columnCounts[bx + kReach];
        }
        if (bx > kReach) {
            sum -= scratch.columnSums[bx - kReach - 1];
            count -= scratch.columnCounts[bx - kReach - 1];
        }
        const int32_t block = by * maps.columns + bx;
        if (maps.IsForeground(block)) {
            maps.period[block] =
                count > 0 ? static_cast<uint8_t>((count / 2 + 4 * sum) / count) : kHole;
        }
    }
}

void CountRow(const uint8_t* row, int32_t columns, int32_t sign, RidgeDensityScratch* scratch) {
    for (int32_t bx = 0; bx < columns; ++bx) {
        scratch->columnSums[bx] += sign * row[bx];
        scratch->columnCounts[bx] += row[bx] != 0 ? sign : 0;
    }
}

// Mean of the measured values around each foreground block, four times finer.
void SmoothPeriods(const Maps& maps, RidgeDensityScratch* scratch) {
    memset(scratch->columnSums, 0, sizeof(scratch->columnSums));
    memset(scratch->columnCounts, 0, sizeof(scratch->columnCounts));
    for (int32_t entering = 0; entering < maps.rows + kReach; ++entering) {
        uint8_t* ringRow = scratch->rows[entering % kWindowRows];
        if (entering >= kWindowRows) {
            CountRow(ringRow, maps.columns, -1, scratch);
        }
        if (entering < maps.rows) {
            memcpy(ringRow, maps.period + entering * maps.columns,
                   static_cast<size_t>(maps.columns));
            CountRow(ringRow, maps.columns, 1, scratch);
        }
        if (entering >= kReach) {
            SmoothRow(maps, entering - kReach, *scratch);
        }
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
        for (int32_t bx = 0; bx < maps.columns; ++bx) {
            uint8_t* value = &maps.period[by * maps.columns + bx];
            if (*value == kHole) {
                *value = NearestPeriod(maps, bx, by);
            }
        }
    }
}

}  // namespace

void GetRidgeDensity(uint8_t* buffer, int32_t width, int32_t height) {
    const ExtractLayout layout = LayOutExtract(width, height);
    if (!layout.isUsable || !HasRoom(layout.scratch, sizeof(RidgeDensityScratch))) {
        return;
    }
    RidgeDensityScratch* scratch = WorkAt<RidgeDensityScratch>(buffer + layout.scratch);
    const Maps maps = {buffer + layout.directionMap, buffer + layout.periodMap, layout.blockColumns,
                       layout.blockRows};
    for (int32_t entry = 0; entry < kRayClasses * kPointsPerRay; ++entry) {
        scratch->offsets[entry] = DecodeOffset(gnRP[entry], width);
    }
    memset(maps.period, 0, static_cast<size_t>(maps.columns) * static_cast<size_t>(maps.rows));
    MeasurePeriods(buffer, width, maps, scratch);
    SmoothPeriods(maps, scratch);
    FillHoles(maps);
}
