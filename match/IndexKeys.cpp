// SPDX-License-Identifier: Apache-2.0
//
// Index keys: each minutia with enough neighbours described by three of them, so that the fast
// index scores can compare templates without aligning them.

#include <stddef.h>
#include <string.h>

#include "engine/Template.h"
#include "extract/FPTable.h"
#include "extract/FixedMath.h"
#include "match/FPMatch.h"
#include "match/MinutiaBox.h"

namespace {

using namespace qorfp;

constexpr int32_t kNearestNeighbour = 20;  // pixels
constexpr int32_t kFarthestNeighbour = 140;
constexpr int32_t kNearestSquared = kNearestNeighbour * kNearestNeighbour;
constexpr int32_t kFarthestSquared = kFarthestNeighbour * kFarthestNeighbour;
constexpr int32_t kQuadrants = 4;  // around the minutia's direction
constexpr int32_t kNobody = -1;
constexpr int32_t kStep = 8;  // levels of the key values are 8 units wide
constexpr int32_t kHighestPosition = 119;
constexpr int32_t kThinningLimit = 20;  // keys from which on they are thinned
constexpr int32_t kSlotAgreement = 2;   // levels
constexpr int32_t kUnlike = 36;         // dissimilarity of keys that do not agree

void FindNeighbours(IndexWorkspace* work) {
    const MinutiaSet& set = work->set;
    const int32_t n = set.count;
    const size_t bytes = static_cast<size_t>(n) * static_cast<size_t>(n) * sizeof(int32_t);
    memset(work->distance, 0, bytes);
    memset(work->angle, 0, bytes);
    for (int32_t i = 0; i < n; ++i) {
        for (int32_t j = i + 1; j < n; ++j) {
            const int32_t dx = set.minutiae[j].x - set.minutiae[i].x;
            const int32_t dy = set.minutiae[j].y - set.minutiae[i].y;
            const int32_t distSquared = Square(dx) + Square(dy);
            if (distSquared < kNearestSquared || distSquared > kFarthestSquared) {
                continue;
            }
            const int32_t distance = sqrtA(distSquared);
            const int32_t angle = atanA(dx, dy);
            work->distance[i * n + j] = distance;
            work->distance[j * n + i] = distance;
            work->angle[i * n + j] = angle;
            work->angle[j * n + i] = WrapAngle240(angle + kHalfTurn);
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

// The quadrant around a minutia in which a neighbour at a relative angle lies: 0 ahead, then
// clockwise on screen.
int32_t QuadrantOf(int32_t relativeAngle) {
    if (relativeAngle <= 30 || relativeAngle >= 211) {
        return 0;
    }
    return (relativeAngle + 29) / 60;
}
static_assert((31 + 29) / 60 == 1 && (90 + 29) / 60 == 1 && (91 + 29) / 60 == 2 &&
                  (150 + 29) / 60 == 2 && (151 + 29) / 60 == 3 && (210 + 29) / 60 == 3,
              "quadrants of 60 steps");

int32_t RelativeAngle(const IndexWorkspace& work, int32_t i, int32_t j) {
    return WrapAngle240(work.angle[i * work.set.count + j] - work.set.minutiae[i].direction);
}

// Nearest neighbour of minutia i in each quadrant, the lowest-numbered among equals.
void FindNearest(const IndexWorkspace& work, int32_t i, int32_t nearest[kQuadrants]) {
    const int32_t* distance = work.distance + i * work.set.count;
    for (int32_t quadrant = 0; quadrant < kQuadrants; ++quadrant) {
        nearest[quadrant] = kNobody;
    }
    for (int32_t j = 0; j < work.set.count; ++j) {
        if (distance[j] == 0) {
            continue;
        }
        int32_t* best = &nearest[QuadrantOf(RelativeAngle(work, i, j))];
        if (*best == kNobody || distance[j] < distance[*best]) {
            *best = j;
        }
    }
}

// Leaves the neighbours of three quadrants, in quadrant order: of four, the farthest is dropped,
// the earliest quadrant among equals. False when fewer than three have one.
bool ChooseThree(const IndexWorkspace& work, int32_t i, const int32_t nearest[kQuadrants],
                 int32_t chosen[kKeySlots]) {
    const int32_t* distance = work.distance + i * work.set.count;
    int32_t occupied = 0;
    int32_t dropped = kNobody;
    for (int32_t quadrant = 0; quadrant < kQuadrants; ++quadrant) {
        if (nearest[quadrant] == kNobody) {
            continue;
        }
        ++occupied;
        if (dropped == kNobody || distance[nearest[quadrant]] > distance[nearest[dropped]]) {
            dropped = quadrant;
        }
    }
    if (occupied < kKeySlots) {
        return false;
    }
    int32_t slot = 0;
    for (int32_t quadrant = 0; quadrant < kQuadrants; ++quadrant) {
        const bool isDropped = occupied == kQuadrants && quadrant == dropped;
        if (nearest[quadrant] != kNobody && !isDropped) {
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
    const MinutiaSet& set = work.set;
    WorkKey key;
    for (int32_t slot = 0; slot < kKeySlots; ++slot) {
        const int32_t j = neighbours[slot];
        const int32_t entry = i * set.count + j;
        const int32_t turned = WrapAngle240(set.minutiae[j].direction - work.angle[entry]);
        key.a[slot] = static_cast<uint8_t>(turned / kStep);
        key.b[slot] = static_cast<uint8_t>(PositionLevel(RelativeAngle(work, i, j), slot));
        key.c[slot] = static_cast<uint8_t>((work.distance[entry] - kNearestNeighbour) / kStep);
    }
    key.index = static_cast<uint8_t>(i);
    key.direction = set.minutiae[i].direction;
    return key;
}

void MakeKeys(IndexWorkspace* work) {
    work->keyCount = 0;
    for (int32_t k = 0; k < work->set.count && work->keyCount < kMaxWorkKeys; ++k) {
        const int32_t i = work->order[k];
        int32_t nearest[kQuadrants];
        int32_t chosen[kKeySlots];
        FindNearest(*work, i, nearest);
        if (ChooseThree(*work, i, nearest, chosen)) {
            work->keys[work->keyCount] = KeyOf(*work, i, chosen);
            ++work->keyCount;
        }
    }
}

// 0 for equal keys up to 36 for keys of which fewer than two slots agree.
int32_t Dissimilarity(const WorkKey& p, const WorkKey& q) {
    int32_t agreeing = 0;
    int32_t sum = 0;
    for (int32_t slot = 0; slot < kKeySlots; ++slot) {
        const int32_t fa = gbFA[p.a[slot] - q.a[slot] + 30];
        const int32_t fb = gbFD[p.b[slot] - q.b[slot] + 16];
        const int32_t fc = gbFD[p.c[slot] - q.c[slot] + 16];
        if (fa <= kSlotAgreement && fb <= kSlotAgreement && fc <= kSlotAgreement) {
            ++agreeing;
            sum += fa + fb + 2 * fc;
        }
    }
    return agreeing < 2 ? kUnlike : kUnlike - (12 * agreeing - sum);
}

void CompareKeys(IndexWorkspace* work) {
    const int32_t count = work->keyCount;
    for (int32_t i = 0; i < count; ++i) {
        for (int32_t j = i + 1; j < count; ++j) {
            const int32_t dissimilarity = Dissimilarity(work->keys[i], work->keys[j]);
            work->dissimilarity[i * count + j] = dissimilarity;
            work->dissimilarity[j * count + i] = dissimilarity;
        }
    }
}

// The key most like key i, removed ones included, the highest-numbered among equals.
int32_t MostAlike(const IndexWorkspace& work, int32_t i) {
    const int32_t* row = work.dissimilarity + i * work.keyCount;
    int32_t best = kNobody;
    for (int32_t j = work.keyCount - 1; j >= 0; --j) {
        if (j != i && (best == kNobody || row[j] < row[best])) {
            best = j;
        }
    }
    return best;
}

// Removes keys that resemble another one, from the outside inwards, until 19 are left. Deliberate:
// a key whose nearest one has been removed already stays, even if another close one exists.
void MarkRedundantKeys(IndexWorkspace* work) {
    memset(work->isRemoved, 0, sizeof(work->isRemoved));
    int32_t remaining = work->keyCount;
    for (int32_t i = work->keyCount - 1; i >= 0 && remaining > kMaxStoredKeys; --i) {
        if (work->isRemoved[i] != 0) {
            continue;
        }
        const int32_t j = MostAlike(*work, i);
        if (work->dissimilarity[i * work->keyCount + j] < kUnlike && work->isRemoved[j] == 0) {
            work->isRemoved[Max(i, j)] = 1;
            --remaining;
        }
    }
}

void CompactKeys(IndexWorkspace* work) {
    int32_t kept = 0;
    for (int32_t i = 0; i < work->keyCount && kept < kMaxStoredKeys; ++i) {
        if (work->isRemoved[i] == 0) {
            work->keys[kept] = work->keys[i];
            ++kept;
        }
    }
    work->keyCount = kept;
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
    IndexWorkspace* index = WorkAt<IndexWorkspace>(work);
    memset(index, 0, offsetof(IndexWorkspace, score));
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
    if (index->keyCount >= kThinningLimit) {
        CompareKeys(index);
        MarkRedundantKeys(index);
        CompactKeys(index);
    }
    PackKeys(*index, out);
    return 0;
}
