// SPDX-License-Identifier: Apache-2.0
//
// The tables of thinning and of the skeleton's neighbour codes.

#include "extract/FPTable.h"
#include "extract/PixelNeighbours.h"
#include "extract/Repeat.h"
#include "extract/ThinningRule.h"

namespace {

using namespace qorfp;

constexpr int kCodes = 256;

// Neighbourhoods in which thinning deletes the pixel.
constexpr uint8_t kDeletedFirst[] = {4,   5,   20,  21,  64,  65,  66,  67,  69,  71,  74,  75,
                                     79,  85,  87,  106, 107, 148, 149, 150, 151, 168, 169, 170,
                                     171, 180, 181, 182, 184, 185, 186, 188, 213, 234};
constexpr uint8_t kDeletedSecond[] = {8,   10,  40,  42,  69,  71,  74,  75,  79,  85,  87,  90,
                                      91,  101, 103, 106, 107, 117, 122, 128, 144, 148, 149, 160,
                                      168, 170, 176, 180, 181, 184, 186, 188, 213, 234};
static_assert(sizeof(kDeletedFirst) == 34 && sizeof(kDeletedSecond) == 34, "as many as given");

struct ThinningTable {
    uint8_t values[2 * kCodes];

    constexpr ThinningTable() : values() {
        for (const uint8_t code : kDeletedFirst) {
            values[code] = 1;
        }
        for (const uint8_t code : kDeletedSecond) {
            values[kCodes + code] = 1;
        }
    }
};

constexpr ThinningTable kThinning;

constexpr Position StepInto(int code) {
    if (CountRuns(code) != 1) {
        return {0, 0};
    }
    int32_t place = 0;
    while (!IsRidgeAt(code, place)) {
        ++place;
    }
    return StepIntoRun(code, place);
}

// The formulas for many pixels say the same as the tables. Bit 0 stands for a pixel.
constexpr bool FormulasAgree() {
    for (int code = 0; code < kCodes; ++code) {
        const PixelNeighbours<int> inThinning = {code & 1,        // upper left
                                                 code >> 2 & 1,   // above
                                                 code >> 4 & 1,   // upper right
                                                 code >> 6 & 1,   // left
                                                 code >> 7 & 1,   // right
                                                 code >> 1 & 1,   // lower left
                                                 code >> 3 & 1,   // below
                                                 code >> 5 & 1};  // lower right
        const PixelNeighbours<int> onCircle = {code >> 7 & 1,     // upper left
                                               code >> 0 & 1,     // above
                                               code >> 1 & 1,     // upper right
                                               code >> 6 & 1,     // left
                                               code >> 2 & 1,     // right
                                               code >> 5 & 1,     // lower left
                                               code >> 4 & 1,     // below
                                               code >> 3 & 1};    // lower right
        if ((IsDeletedFirst(inThinning) & 1) != kThinning.values[code] ||
            (IsDeletedSecond(inThinning) & 1) != kThinning.values[kCodes + code] ||
            (HasOddRuns(onCircle) & 1) != CountRuns(code) % 2) {
            return false;
        }
    }
    return true;
}
static_assert(FormulasAgree(), "thinning and the candidate scan use the formulas");

constexpr bool RunsAreDistributed() {
    int counts[5] = {};
    for (int code = 0; code < kCodes; ++code) {
        ++counts[CountRuns(code)];
    }
    return counts[0] == 2 && counts[1] == 56 && counts[2] == 140 && counts[3] == 56 &&
           counts[4] == 2;
}
static_assert(RunsAreDistributed(), "56 codes of an ending, 140 of a ridge, 56 of a bifurcation");

}  // namespace

#define QORFP_THINNING(i) kThinning.values[i]
const uint8_t gbThin[512] = {QORFP_REPEAT_512(QORFP_THINNING, 0)};

#define QORFP_RUNS(i) CountRuns(i)
const int32_t gnBC[256] = {QORFP_REPEAT_256(QORFP_RUNS, 0)};

#define QORFP_STEP_X(i) StepInto(i).x
const int32_t gnTX[256] = {QORFP_REPEAT_256(QORFP_STEP_X, 0)};

#define QORFP_STEP_Y(i) StepInto(i).y
const int32_t gnTY[256] = {QORFP_REPEAT_256(QORFP_STEP_Y, 0)};

const uint8_t gnJA[16] = {92, 92, 93, 93, 93, 94, 95, 96, 98, 100, 102, 103, 104, 105, 105, 105};
