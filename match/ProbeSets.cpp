// SPDX-License-Identifier: Apache-2.0
//
// The probe's keys as sets, by every value that a stored slot can have; and the check that the planes
// are whole.

#include "match/ProbeSets.h"

#include <string.h>

#include "extract/FixedMath.h"
#include "match/NearTurns.h"
#include "match/SlotCode.h"

namespace {

using namespace qorfp;

constexpr int32_t kPositionTolerance = 2;  // of b values
constexpr int32_t kDistanceTolerance = 1;  // of c values

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

// True when every bucket of a plane holds the keys near both of its values.
bool IsSound(const IndexWorkspace& index, const NearTurns& near, int32_t plane) {
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
        }
    }
    return true;
}

// What the b value of a probe's slot has more when it is to be that of a stored slot.
int32_t ShiftOf(int32_t slot, int32_t storedSlot) {
    return kSlotShift * (slot - storedSlot);
}

// Rows without keys, with their codes.
void ClearRows(ProbeSets* sets) {
    memset(sets->turned, 0, sizeof(sets->turned));  // some of its rows stand for no value
    for (int32_t slot = 0; slot < kKeySlots; ++slot) {
        for (int32_t a = 0; a < kTurnLevels; ++a) {
            sets->turned[slot][a].code = CodeOfA(a, slot);
        }
        for (int32_t value = 0; value < kPackedValues; ++value) {
            sets->placed[slot][value] = {{0, 0, 0}, CodeOfB(value, slot)};
            sets->distant[slot][value] = {{0, 0, 0}, CodeOfC(value, slot)};
        }
    }
}

// Adds a key to a set in the rows of every value near enough to its own.
void AddNear(int32_t value, int32_t tolerance, int32_t place, KeySet key,
             SlotSets rows[kPackedValues]) {
    const int32_t last = Min(value + tolerance, kPackedValues - 1);
    for (int32_t near = Max(value - tolerance, 0); near <= last; ++near) {
        rows[near].set[place] |= key;
    }
}

void FillRows(const IndexWorkspace& index, const NearTurns& near, ProbeSets* sets) {
    for (int32_t storedSlot = 0; storedSlot < kKeySlots; ++storedSlot) {
        for (int32_t place = 0; place < kPlanes; ++place) {
            const int32_t slot = kRowSlots[storedSlot][place];
            for (int32_t a = 0; a < kTurnLevels; ++a) {
                sets->turned[storedSlot][a].set[place] = near.slot[slot][a];
            }
            for (int32_t k = 0; k < index.keyCount; ++k) {
                const WorkKey& key = index.keys[k];
                const KeySet bit = KeySet{1} << k;
                AddNear(key.b[slot] + ShiftOf(slot, storedSlot), kPositionTolerance, place, bit,
                        sets->placed[storedSlot]);
                AddNear(key.c[slot], kDistanceTolerance, place, bit, sets->distant[storedSlot]);
            }
        }
    }
}

// Code of a probe's slot in the place of a stored slot.
uint32_t CodeOf(const WorkKey& key, int32_t slot, int32_t storedSlot) {
    constexpr int32_t kTurns = 3 * kWideRing;  // keeps what is shifted above 0
    return CodeOfA(key.a[slot], storedSlot) &
           CodeOfB(key.b[slot] + ShiftOf(slot, storedSlot) + kTurns, storedSlot) &
           CodeOfC(key.c[slot], storedSlot);
}

void MakeCodes(const IndexWorkspace& index, ProbeSets* sets) {
    for (int32_t pair = 0; pair < kPlanes; ++pair) {
        for (int32_t plane = 0; plane < kPlanes; ++plane) {
            const int32_t* stored = kPlaneSlots[pair];
            const int32_t* slots = kPlaneSlots[plane];
            for (int32_t k = 0; k < index.keyCount; ++k) {
                sets->code[pair * kPairWords + plane][k] =
                    CodeOf(index.keys[k], slots[0], stored[0]) &
                    CodeOf(index.keys[k], slots[1], stored[1]);
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
    for (int32_t plane = 0; plane < kPlanes; ++plane) {
        if (!IsSound(index, near, plane)) {
            return false;
        }
    }
    ClearRows(sets);
    FillRows(index, near, sets);
    MakeCodes(index, sets);
    return true;
}
