// SPDX-License-Identifier: Apache-2.0
//
// The oriented line filter of ridge smoothing. The first eighth of a turn is stored, the rest
// follows by mirroring.

#include "extract/FPTable.h"
#include "extract/Repeat.h"

namespace {

constexpr int kOrientations = 120;
constexpr int kMostSamples = 7;
constexpr int kStoredRows = 31;

struct Sample {
    int16_t dx;
    int16_t dy;
    uint8_t weight;
};

struct FilterRow {
    uint8_t count;
    uint8_t centreWeight;
    Sample samples[kMostSamples];
};

// clang-format off
constexpr FilterRow kStored[kStoredRows] = {
    {5, 26, {{1, 0, 23}, {2, 0, 23}, {3, 0, 23}, {4, 0, 23}, {5, 0, 23}}},  // 0
    {7, 26, {{1, 0, 23}, {2, 0, 23}, {3, 0, 23}, {4, 0, 21}, {5, 0, 20}, {4, 1, 2}, {5, 1, 3}}},  // 1
    {7, 26, {{1, 0, 23}, {2, 0, 23}, {3, 0, 23}, {4, 0, 18}, {5, 0, 17}, {4, 1, 5}, {5, 1, 6}}},  // 2
    {7, 26, {{1, 0, 23}, {2, 0, 23}, {3, 0, 23}, {4, 0, 16}, {5, 0, 14}, {4, 1, 7}, {5, 1, 9}}},  // 3
    {7, 26, {{1, 0, 23}, {2, 0, 23}, {3, 0, 23}, {4, 0, 13}, {5, 0, 11}, {4, 1, 10}, {5, 1, 12}}},  // 4
    {7, 26, {{1, 0, 23}, {2, 0, 23}, {3, 0, 14}, {4, 0, 11}, {3, 1, 9}, {4, 1, 12}, {5, 1, 23}}},  // 5
    {7, 24, {{1, 0, 23}, {2, 0, 23}, {3, 0, 12}, {4, 0, 9}, {3, 1, 11}, {4, 1, 15}, {5, 1, 23}}},  // 6
    {7, 26, {{1, 0, 23}, {2, 0, 15}, {3, 0, 10}, {2, 1, 9}, {3, 1, 13}, {4, 1, 23}, {5, 1, 22}}},  // 7
    {7, 22, {{1, 0, 24}, {2, 0, 14}, {3, 0, 9}, {2, 1, 10}, {3, 1, 15}, {4, 1, 24}, {5, 1, 21}}},  // 8
    {7, 22, {{1, 0, 24}, {2, 0, 12}, {3, 0, 7}, {2, 1, 11}, {3, 1, 17}, {4, 1, 24}, {5, 1, 22}}},  // 9
    {7, 22, {{1, 0, 17}, {2, 0, 11}, {1, 1, 7}, {2, 1, 13}, {3, 1, 24}, {4, 1, 24}, {5, 1, 21}}},  // 10
    {7, 22, {{1, 0, 24}, {2, 0, 10}, {2, 1, 14}, {3, 1, 24}, {4, 1, 24}, {5, 1, 12}, {5, 2, 9}}},  // 11
    {7, 24, {{1, 0, 24}, {2, 0, 9}, {2, 1, 15}, {3, 1, 24}, {4, 1, 24}, {5, 1, 9}, {5, 2, 11}}},  // 12
    {7, 26, {{1, 0, 15}, {1, 1, 9}, {2, 1, 24}, {3, 1, 24}, {4, 1, 14}, {4, 2, 10}, {5, 2, 19}}},  // 13
    {7, 22, {{1, 0, 15}, {1, 1, 10}, {2, 1, 25}, {3, 1, 25}, {4, 1, 12}, {4, 2, 13}, {5, 2, 17}}},  // 14
    {7, 26, {{1, 0, 14}, {1, 1, 11}, {2, 1, 25}, {3, 1, 25}, {4, 1, 9}, {4, 2, 16}, {5, 2, 15}}},  // 15
    {7, 28, {{1, 0, 14}, {1, 1, 12}, {2, 1, 25}, {3, 1, 16}, {3, 2, 9}, {4, 2, 25}, {5, 2, 13}}},  // 16
    {7, 26, {{1, 0, 13}, {1, 1, 12}, {2, 1, 27}, {3, 1, 14}, {3, 2, 11}, {4, 2, 26}, {5, 2, 12}}},  // 17
    {7, 26, {{1, 0, 12}, {1, 1, 13}, {2, 1, 27}, {3, 1, 12}, {3, 2, 13}, {4, 2, 27}, {5, 2, 11}}},  // 18
    {7, 26, {{1, 0, 12}, {1, 1, 14}, {2, 1, 27}, {3, 1, 10}, {3, 2, 16}, {4, 2, 26}, {5, 2, 10}}},  // 19
    {7, 30, {{1, 0, 13}, {1, 1, 16}, {2, 1, 28}, {3, 1, 9}, {3, 2, 19}, {4, 2, 18}, {4, 3, 10}}},  // 20
    {7, 28, {{1, 0, 12}, {1, 1, 17}, {2, 1, 20}, {2, 2, 8}, {3, 2, 29}, {4, 2, 15}, {4, 3, 13}}},  // 21
    {7, 26, {{1, 0, 11}, {1, 1, 17}, {2, 1, 18}, {2, 2, 10}, {3, 2, 31}, {4, 2, 12}, {4, 3, 16}}},  // 22
    {7, 28, {{1, 0, 10}, {1, 1, 18}, {2, 1, 16}, {2, 2, 11}, {3, 2, 31}, {4, 2, 9}, {4, 3, 19}}},  // 23
    {7, 30, {{1, 0, 10}, {1, 1, 18}, {2, 1, 15}, {2, 2, 13}, {3, 2, 21}, {3, 3, 8}, {4, 3, 28}}},  // 24
    {7, 28, {{1, 0, 9}, {1, 1, 20}, {2, 1, 14}, {2, 2, 15}, {3, 2, 18}, {3, 3, 11}, {4, 3, 27}}},  // 25
    {7, 30, {{1, 0, 9}, {1, 1, 22}, {2, 1, 12}, {2, 2, 17}, {3, 2, 16}, {3, 3, 13}, {4, 3, 24}}},  // 26
    {7, 30, {{1, 0, 8}, {1, 1, 24}, {2, 1, 11}, {2, 2, 19}, {3, 2, 14}, {3, 3, 16}, {4, 3, 21}}},  // 27
    {7, 28, {{1, 0, 8}, {1, 1, 26}, {2, 1, 9}, {2, 2, 22}, {3, 2, 11}, {3, 3, 19}, {4, 3, 19}}},  // 28
    {7, 30, {{1, 1, 33}, {2, 1, 8}, {2, 2, 25}, {3, 2, 8}, {3, 3, 23}, {4, 3, 9}, {4, 4, 7}}},  // 29
    {6, 28, {{1, 1, 34}, {2, 2, 34}, {3, 3, 27}, {4, 3, 6}, {3, 4, 6}, {4, 4, 7}}},  // 30
};
// clang-format on

// Orientation 0..120 mirrored at the diagonal and at the y axis onto a stored row.
constexpr FilterRow RowOf(int orientation) {
    const bool isMirrored = orientation > 60;
    const int upright = isMirrored ? 120 - orientation : orientation;  // 0..60
    const bool isExchanged = upright > 30;
    FilterRow row = kStored[isExchanged ? 60 - upright : upright];
    for (int k = 0; k < row.count; ++k) {
        Sample& sample = row.samples[k];
        const int16_t dx = isExchanged ? sample.dy : sample.dx;
        const int16_t dy = isExchanged ? sample.dx : sample.dy;
        sample.dx = static_cast<int16_t>(isMirrored ? -dx : dx);
        sample.dy = dy;
    }
    return row;
}

struct LineFilter {
    FilterRow rows[kOrientations];

    constexpr LineFilter() : rows() {
        for (int orientation = 0; orientation < kOrientations; ++orientation) {
            rows[orientation] = RowOf(orientation);
        }
    }

    constexpr const Sample& At(int entry) const {
        return rows[entry / kMostSamples].samples[entry % kMostSamples];
    }

    constexpr bool WeightsSumTo256() const {
        for (const FilterRow& row : rows) {
            int sum = row.centreWeight;
            for (const Sample& sample : row.samples) {
                sum += 2 * sample.weight;
            }
            if (sum != 256) {
                return false;
            }
        }
        return true;
    }
};

constexpr LineFilter kFilter;
static_assert(kFilter.WeightsSumTo256(), "a uniform image stays as it is");
static_assert(kFilter.rows[60].count == 5 && kFilter.rows[60].samples[4].dx == 0 &&
                  kFilter.rows[60].samples[4].dy == 5 && kFilter.rows[60].centreWeight == 26,
              "orientation 60 runs along the y axis");
static_assert(kFilter.rows[119].samples[5].dx == -4 && kFilter.rows[119].samples[5].dy == 1,
              "orientation 119 mirrors orientation 1");

}  // namespace

#define QORFP_REPEAT_840(entry)                                                            \
    QORFP_REPEAT_512(entry, 0), QORFP_REPEAT_256(entry, 512), QORFP_REPEAT_64(entry, 768), \
        QORFP_REPEAT_8(entry, 832)

#define QORFP_REPEAT_120(entry)                                                        \
    QORFP_REPEAT_64(entry, 0), QORFP_REPEAT_32(entry, 64), QORFP_REPEAT_16(entry, 96), \
        QORFP_REPEAT_8(entry, 112)

#define QORFP_DX(i) kFilter.At(i).dx
const int16_t gnDX[120 * 7] = {QORFP_REPEAT_840(QORFP_DX)};

#define QORFP_DY(i) kFilter.At(i).dy
const int16_t gnDY[120 * 7] = {QORFP_REPEAT_840(QORFP_DY)};

#define QORFP_WEIGHT(i) kFilter.At(i).weight
const uint8_t gnPW[120 * 7] = {QORFP_REPEAT_840(QORFP_WEIGHT)};

#define QORFP_COUNT(i) kFilter.rows[i].count
const uint8_t gnPC[120] = {QORFP_REPEAT_120(QORFP_COUNT)};

#define QORFP_CENTRE(i) kFilter.rows[i].centreWeight
const uint8_t gnCW[120] = {QORFP_REPEAT_120(QORFP_CENTRE)};
