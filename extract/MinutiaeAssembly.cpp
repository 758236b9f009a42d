// SPDX-License-Identifier: Apache-2.0
//
// From candidates to minutiae: the first 60 survivors, with their local attributes.

#include <string.h>

#include "extract/FPTable.h"
#include "extract/FixedMath.h"
#include "extract/Minutiae.h"
#include "extract/Vector.h"

namespace {

using namespace qorfp;

constexpr int32_t kHighestHalf = 31;  // mean ridge period code of which the double has room
constexpr int32_t kDensityLimit = 62;
constexpr int32_t kDisorderLimit = 63;
constexpr int32_t kDisorderReach = 3;
constexpr int32_t kDisorderSide = 2 * kDisorderReach + 1;
constexpr int32_t kQuarterTurn = 60;

// Twice the mean of the ridge-period codes around a block.
uint32_t RidgeDensity(const Skeleton& skeleton, int32_t bx, int32_t by) {
    int32_t sum = 0;
    for (int32_t y = by - 1; y <= by + 1; ++y) {
        for (int32_t x = bx - 1; x <= bx + 1; ++x) {
            sum += skeleton.periodMap[y * skeleton.blockColumns + x];
        }
    }
    const int32_t mean = gbDiv9[sum + 4];
    return static_cast<uint32_t>(mean <= kHighestHalf ? 2 * mean : kDensityLimit);
}

// Orientations around a block that are not background, by their differences from its own.
struct Differences {
    int32_t sum;
    int32_t count;
};

// Those in the columns left .. right of the rows top .. bottom.
Differences SumDifferences(const Skeleton& skeleton, int32_t reference, int32_t left, int32_t top,
                           int32_t right, int32_t bottom) {
    Differences all = {0, 0};
    for (int32_t y = top; y <= bottom; ++y) {
        for (int32_t x = left; x <= right; ++x) {
            const int32_t orientation = skeleton.directionMap[y * skeleton.blockColumns + x];
            if (orientation >= kOrientations) {
                continue;  // background
            }
            const int32_t difference = Absolute(orientation - reference);
            all.sum += difference > kQuarterTurn ? kOrientations - difference : difference;
            ++all.count;
        }
    }
    return all;
}

// The same, of a reference below 120, for the 7 x 7 blocks from `map` on, two rows at a time. The byte
// before each row is in the map, too.
Differences SumAllDifferences(const uint8_t* map, int32_t columns, uint8_t reference) {
    const U8x16 isInRow = {0, 255, 255, 255, 255, 255, 255, 255,
                           0, 255, 255, 255, 255, 255, 255, 255};
    const U8x16 references = U8x16{} + reference;
    U8x16 sums = {};    // at most 4 x 60
    U8x16 counts = {};  // negative
    for (int32_t y = 0; y < kDisorderSide; y += 2) {
        uint64_t rows[2] = {0, UINT64_MAX};  // below the last one lies background
        memcpy(&rows[0], map + y * columns - 1, sizeof(rows[0]));
        if (y + 1 < kDisorderSide) {
            memcpy(&rows[1], map + (y + 1) * columns - 1, sizeof(rows[1]));
        }
        const U8x16 orientations = LoadVector<U8x16>(rows);
        const U8x16 isCounted = AsLanes<U8x16>(orientations < uint8_t{kOrientations}) & isInRow;
        const U8x16 differences =
            Greatest(orientations, references) - Least(orientations, references);
        sums += Least(differences, uint8_t{kOrientations} - differences) & isCounted;
        counts += isCounted;
    }
    const auto add = [](U8x16 bytes) {
        const U64x2 fours = AsLanes<U64x2>(EvenBytes(bytes) + OddBytes(bytes));
        const uint64_t four = fours[0] + fours[1];
        const uint64_t two = four + (four >> 32);
        return static_cast<int32_t>((two + (two >> 16)) & 0xFFFF);
    };
    return {add(sums), add(U8x16{} - counts)};
}

// Mean difference of the orientations around a block from its own, 0..63 for 0..45 degrees.
uint32_t OrientationDisorder(const Skeleton& skeleton, int32_t bx, int32_t by) {
    const int32_t columns = skeleton.blockColumns;
    const uint8_t* here = skeleton.directionMap + by * columns + bx;
    const int32_t reference = *here & kOrientationMask;
    const int32_t top = by - kDisorderReach;
    const int32_t bottom = by + kDisorderReach;
    const int32_t left = bx - kDisorderReach;
    const int32_t right = bx + kDisorderReach;
    const Differences all =
        reference < kOrientations && top >= 0 && left > 0 && bottom < skeleton.blockRows &&
                right < columns
            ? SumAllDifferences(here - kDisorderReach * (columns + 1), columns,
                                static_cast<uint8_t>(reference))
            : SumDifferences(skeleton, reference, Max(left, 0), Max(top, 0),
                             Min(right, columns - 1), Min(bottom, skeleton.blockRows - 1));
    if (all.count == 0) {
        return 0;
    }
    const int32_t disorder = all.sum * 255 / (all.count * kQuarterTurn);
    return static_cast<uint32_t>(disorder < 128 ? disorder / 2 : kDisorderLimit);
}

uint32_t AttributesAt(const Skeleton& skeleton, int32_t x, int32_t y) {
    const int32_t bx = Clamp((x - 1) / kBlockSide, 0, skeleton.blockColumns - 1);
    const int32_t by = Clamp((y - 1) / kBlockSide, 0, skeleton.blockRows - 1);
    return OrientationDisorder(skeleton, bx, by) + 64 * RidgeDensity(skeleton, bx, by);
}

}  // namespace

void qorfp::AssembleMinutiae(const Skeleton& skeleton, const CandidateList& list, MinutiaSet* set) {
    memset(set, 0, sizeof(*set));
    for (int32_t i = 0; i < list.count && set->count < kMaxMinutiae; ++i) {
        const Candidate& candidate = list.items[i];
        if (candidate.direction == kDeleted) {
            continue;
        }
        Minutia* minutia = &set->minutiae[set->count];
        minutia->attributes = AttributesAt(skeleton, candidate.x, candidate.y);
        minutia->x = candidate.x;
        minutia->y = candidate.y;
        minutia->type = candidate.type;
        minutia->direction = candidate.direction;
        ++set->count;
    }
}
