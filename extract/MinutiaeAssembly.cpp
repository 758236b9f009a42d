// SPDX-License-Identifier: Apache-2.0
//
// From candidates to minutiae: the first 60 survivors, with their local attributes.

#include <string.h>

#include "extract/FPTable.h"
#include "extract/FixedMath.h"
#include "extract/Minutiae.h"

namespace {

using namespace qorfp;

constexpr int32_t kHighestHalf = 31;  // mean ridge period code of which the double has room
constexpr int32_t kDensityLimit = 62;
constexpr int32_t kDisorderLimit = 63;
constexpr int32_t kDisorderReach = 3;  // 7 x 7 blocks
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

// Mean difference of the orientations around a block from its own, 0..63 for 0..45 degrees.
uint32_t OrientationDisorder(const Skeleton& skeleton, int32_t bx, int32_t by) {
    const int32_t columns = skeleton.blockColumns;
    const int32_t reference = skeleton.directionMap[by * columns + bx] & kOrientationMask;
    const int32_t top = Max(by - kDisorderReach, 0);
    const int32_t bottom = Min(by + kDisorderReach, skeleton.blockRows - 1);
    const int32_t left = Max(bx - kDisorderReach, 0);
    const int32_t right = Min(bx + kDisorderReach, columns - 1);
    int32_t sum = 0;
    int32_t count = 0;
    for (int32_t y = top; y <= bottom; ++y) {
        for (int32_t x = left; x <= right; ++x) {
            const int32_t orientation = skeleton.directionMap[y * columns + x];
            if (orientation >= kOrientations) {
                continue;  // background
            }
            const int32_t difference = Absolute(orientation - reference);
            sum += difference > kQuarterTurn ? kOrientations - difference : difference;
            ++count;
        }
    }
    if (count == 0) {
        return 0;
    }
    const int32_t disorder = sum * 255 / (count * kQuarterTurn);
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
