// SPDX-License-Identifier: Apache-2.0
//
// The probe's keys as sets: the planes' buckets, and the keys that agree with a stored slot's b or c
// value.

#include "match/ProbeSets.h"

#include <string.h>

#include "extract/FixedMath.h"
#include "match/NearTurns.h"

namespace {

using namespace qorfp;

constexpr int32_t kPositionTolerance = 2;  // of b values
constexpr int32_t kDistanceTolerance = 1;  // of c values

// Adds a key to the sets of every value near enough to the key's own.
void AddNear(int32_t value, int32_t tolerance, int32_t plane, KeySet key,
             PlaneSets sets[kPackedValues]) {
    const int32_t last = Min(value + tolerance, kPackedValues - 1);
    for (int32_t near = Max(value - tolerance, 0); near <= last; ++near) {
        sets[near].plane[plane] |= key;
    }
}

bool HasPossibleTurns(const WorkKey& key) {
    return key.a[0] < kTurnLevels && key.a[1] < kTurnLevels && key.a[2] < kTurnLevels;
}

// The keys in a bucket. False when it leaves the plane's entries or holds a key that does not exist.
bool ReadBucket(const Plane& plane, int32_t bucket, int32_t keyCount, KeySet* keys) {
    const int32_t end = plane.start[bucket] + plane.size[bucket];
    if (end > kPlaneEntries) {
        return false;
    }
    *keys = 0;
    for (int32_t entry = plane.start[bucket]; entry < end; ++entry) {
        if (plane.entries[entry] >= keyCount) {
            return false;
        }
        *keys |= KeySet{1} << plane.entries[entry];
    }
    return true;
}

// False when a bucket does not hold the keys near both of its values.
bool AddBuckets(const IndexWorkspace& index, const NearTurns& near, int32_t plane,
                ProbeSets* sets) {
    const KeySet* nearFirst = near.slot[kPlaneSlots[plane][0]];
    const KeySet* nearSecond = near.slot[kPlaneSlots[plane][1]];
    for (int32_t first = 0; first < kTurnLevels; ++first) {
        for (int32_t second = 0; second < kTurnLevels; ++second) {
            KeySet keys = 0;
            if (!ReadBucket(index.planes[plane], first * kTurnLevels + second, index.keyCount,
                            &keys) ||
                keys != (nearFirst[first] & nearSecond[second])) {
                return false;
            }
            sets->bucket[first + kPackedTurns * second].plane[plane] = keys;
        }
    }
    return true;
}

void AddKeys(const IndexWorkspace& index, int32_t plane, ProbeSets* sets) {
    for (int32_t k = 0; k < index.keyCount; ++k) {
        const WorkKey& key = index.keys[k];
        const KeySet bit = KeySet{1} << k;
        for (int32_t i = 0; i < kPairSlots; ++i) {
            const int32_t slot = kPlaneSlots[plane][i];
            AddNear(key.c[slot], kDistanceTolerance, plane, bit, sets->distant[i]);
            for (int32_t storedSlot = 0; storedSlot < kKeySlots; ++storedSlot) {
                const int32_t shifted = key.b[slot] + kSlotShift * (slot - storedSlot);
                AddNear(shifted, kPositionTolerance, plane, bit, sets->placed[i][storedSlot]);
            }
        }
    }
}

}  // namespace

bool qorfp::MakeProbeSets(const IndexWorkspace& index, ProbeSets* sets) {
    if (index.keyCount < 0 || index.keyCount > kMaxWorkKeys) {
        return false;
    }
    for (int32_t k = 0; k < index.keyCount; ++k) {
        if (!HasPossibleTurns(index.keys[k])) {
            return false;
        }
    }
    const NearTurns near = FindNearTurns(index.keys, index.keyCount);
    memset(sets, 0, sizeof(*sets));
    for (int32_t plane = 0; plane < kPlanes; ++plane) {
        if (!AddBuckets(index, near, plane, sets)) {
            return false;
        }
        AddKeys(index, plane, sets);
    }
    return true;
}
