// SPDX-License-Identifier: Apache-2.0
//
// Index keys: each minutia with enough neighbours described by three of them, so that the fast
// index scores can compare templates without aligning them.

#include <string.h>

#include "engine/StageMemory.h"
#include "engine/Template.h"
#include "extract/FPTable.h"
#include "extract/FixedMath.h"
#include "match/BarLength.h"
#include "match/FPMatch.h"
#include "match/IndexThinning.h"
#include "match/MinutiaBox.h"

namespace {

using namespace qorfp;

constexpr int32_t kNearestNeighbour = 20;  // pixels
constexpr int32_t kFarthestNeighbour = 140;
constexpr int32_t kNearestSquared = kNearestNeighbour * kNearestNeighbour;
constexpr int32_t kFarthestSquared = kFarthestNeighbour * kFarthestNeighbour;
constexpr int32_t kNobody = INT32_MAX;  // instead of a neighbour
constexpr int32_t kStep = 8;            // levels of the key values are 8 units wide
constexpr int32_t kHighestPosition = 119;

// Leaves no keys, and no bucket of the planes with any.
void ClearKeys(IndexWorkspace* work) {
    work->keyCount = 0;
    memset(work->keys, 0, sizeof(work->keys));
    for (Plane& plane : work->planes) {
        memset(plane.size, 0, sizeof(plane.size));
    }
}

// A neighbour as one number: of two, the smaller is the nearer or, at equal distance, the
// lower-numbered one. `angle` is the direction of the line to it.
constexpr int32_t Neighbour(int32_t distance, int32_t number, int32_t angle) {
    return distance << 16 | number << 8 | angle;
}

constexpr int32_t DistanceOf(int32_t neighbour) {
    return neighbour >> 16;
}

constexpr int32_t NumberOf(int32_t neighbour) {
    return neighbour >> 8 & 255;
}

constexpr int32_t AngleOf(int32_t neighbour) {
    return neighbour & 255;
}

// a - b for directions, all 0..239.
int32_t Turn(int32_t a, int32_t b) {
    return a >= b ? a - b : a - b + kTurn;
}

// The quadrant around a minutia in which a neighbour at a relative angle lies: 0 ahead, from 211
// over 0 to 30, then clockwise on screen.
constexpr uint32_t QuadrantOf(int32_t relativeAngle) {
    return (static_cast<uint32_t>(relativeAngle) + 29) / 60 % kQuadrants;
}
static_assert(QuadrantOf(0) == 0 && QuadrantOf(30) == 0 && QuadrantOf(31) == 1 &&
                  QuadrantOf(90) == 1 && QuadrantOf(91) == 2 && QuadrantOf(150) == 2 &&
                  QuadrantOf(151) == 3 && QuadrantOf(210) == 3 && QuadrantOf(211) == 0 &&
                  QuadrantOf(239) == 0,
              "quadrants of 60 steps");

void Offer(IndexWorkspace* work, int32_t i, int32_t distance, int32_t number, int32_t angle) {
    int32_t* nearest = &work->nearest[i][QuadrantOf(Turn(angle, work->direction[i]))];
    *nearest = Min(*nearest, Neighbour(distance, number, angle));
}

// The nearest neighbour of every minutia in each quadrant, the lowest-numbered among equals.
void FindNeighbours(IndexWorkspace* work) {
    const MinutiaSet& set = work->set;
    for (int32_t i = 0; i < set.count; ++i) {
        work->direction[i] = WrapAngle240(set.minutiae[i].direction);
        for (int32_t& nearest : work->nearest[i]) {
            nearest = kNobody;
        }
    }
    for (int32_t i = 0; i < set.count; ++i) {
        for (int32_t j = i + 1; j < set.count; ++j) {
            const int32_t dx = set.minutiae[j].x - set.minutiae[i].x;
            const int32_t dy = set.minutiae[j].y - set.minutiae[i].y;
            const int32_t distSquared = Square(dx) + Square(dy);
            if (distSquared < kNearestSquared || distSquared > kFarthestSquared) {
                continue;
            }
            const int32_t distance = LengthOf(distSquared);
            const int32_t angle = atanA(dx, dy);
            Offer(work, i, distance, j, angle);
            Offer(work, j, distance, i, Turn(angle, kHalfTurn));
        }
    }
}

// Minutia numbers in the order in which keys are made: from the centre outwards.
void OrderFromCentre(IndexWorkspace* work) {
    const Centre centre = CentreOf(work->set);
    for (int32_t i = 0; i < work->set.count; ++i) {
        const Minutia& minutia = work->set.minutiae[i];
        work->centreDistance[i] = Square(minutia.x - centre.x) + Square(minutia.y - centre.y);
        work->order[i] = i;
    }
    quickSortEx(work->centreDistance, work->order, work->set.count, work->sortScratch);
}

// Leaves the neighbours of three quadrants, in quadrant order: of four, the farthest is dropped,
// the earliest quadrant among equals. False when fewer than three have one.
bool ChooseThree(const int32_t nearest[kQuadrants], int32_t chosen[kKeySlots]) {
    int32_t occupied = 0;
    int32_t farthest = 0;
    for (int32_t quadrant = 0; quadrant < kQuadrants; ++quadrant) {
        occupied += nearest[quadrant] != kNobody ? 1 : 0;
        if (DistanceOf(nearest[quadrant]) > DistanceOf(nearest[farthest])) {
            farthest = quadrant;
        }
    }
    if (occupied < kKeySlots) {
        return false;
    }
    // Nobody counts as the farthest.
    for (int32_t quadrant = 0, slot = 0; quadrant < kQuadrants; ++quadrant) {
        if (quadrant != farthest) {
            chosen[slot] = nearest[quadrant];
            ++slot;
        }
    }
    return true;
}

// Position angle of a neighbour, counted from where its slot begins. Deliberate: the base goes by
// the slot, not by the quadrant, so the level also tells which quadrants were used.
int32_t PositionLevel(int32_t relativeAngle, int32_t slot) {
    int32_t position = 0;
    if (slot == 0) {
        position = relativeAngle <= kHalfTurn ? relativeAngle + 30 : relativeAngle - 210;
    } else {
        position = relativeAngle - (slot == 1 ? 30 : 90);
    }
    return Min(position, kHighestPosition) / kStep;
}

WorkKey KeyOf(const IndexWorkspace& work, int32_t i, const int32_t neighbours[kKeySlots]) {
    WorkKey key;
    for (int32_t slot = 0; slot < kKeySlots; ++slot) {
        const int32_t angle = AngleOf(neighbours[slot]);
        const int32_t turned = Turn(work.direction[NumberOf(neighbours[slot])], angle);
        const int32_t distance = DistanceOf(neighbours[slot]);
        key.a[slot] = static_cast<uint8_t>(turned / kStep);
        key.b[slot] = static_cast<uint8_t>(PositionLevel(Turn(angle, work.direction[i]), slot));
        key.c[slot] = static_cast<uint8_t>((distance - kNearestNeighbour) / kStep);
    }
    key.index = static_cast<uint8_t>(i);
    key.direction = work.set.minutiae[i].direction;
    return key;
}

void MakeKeys(IndexWorkspace* work) {
    for (int32_t k = 0; k < work->set.count && work->keyCount < kMaxWorkKeys; ++k) {
        const int32_t i = work->order[k];
        int32_t chosen[kKeySlots];
        if (ChooseThree(work->nearest[i], chosen)) {
            work->keys[work->keyCount] = KeyOf(*work, i, chosen);
            ++work->keyCount;
        }
    }
}

void PackKey(const WorkKey& key, uint8_t* out) {
    const int32_t turned = (key.a[0] & 31) | (key.a[1] & 31) << 5 | (key.a[2] & 31) << 10;
    const int32_t placed = (key.c[0] & 15) | (key.c[1] & 15) << 4 | (key.c[2] & 15) << 8 |
                           (key.b[0] & 15) << 12 | (key.b[1] & 15) << 16 | (key.b[2] & 15) << 20;
    out[0] = static_cast<uint8_t>(turned & 255);
    out[1] = static_cast<uint8_t>(turned >> 8 & 255);
    out[2] = static_cast<uint8_t>(placed & 255);
    out[3] = static_cast<uint8_t>(placed >> 8 & 255);
    out[4] = static_cast<uint8_t>(placed >> 16 & 255);
    out[5] = key.index;
    out[6] = key.direction;
}

void PackKeys(const IndexWorkspace& work, uint8_t* out) {
    memset(out, 0, kIndexBytes);
    out[0] = static_cast<uint8_t>(work.keyCount);
    for (int32_t i = 0; i < work.keyCount; ++i) {
        PackKey(work.keys[i], out + 2 + i * kPackedKeyBytes);
    }
}

}  // namespace

int32_t CreateIndex(uint8_t* work, const uint8_t* bytes, uint8_t* out) {
    const StageMemory memory(work, {ScratchOf<IndexWorkspace>(0)});
    IndexWorkspace* index = WorkAt<IndexWorkspace>(work);
    ClearKeys(index);
    const int32_t error = DecodeTemplate(bytes, &index->set, nullptr);
    if (error != 0) {
        return error;
    }
    FindNeighbours(index);
    OrderFromCentre(index);
    MakeKeys(index);
    if (out == nullptr) {
        return 0;
    }
    ThinKeys(index);
    PackKeys(*index, out);
    return 0;
}
