// SPDX-License-Identifier: Apache-2.0
//
// Thinning of index keys: which keys of a template say the least.

#include "match/IndexThinning.h"

#include "extract/FixedMath.h"
#include "match/FPMatch.h"
#include "match/NearTurns.h"

namespace {

using namespace qorfp;

constexpr int32_t kReach = 2;       // levels by which values that agree may differ
constexpr int32_t kSlotWorth = 12;  // of a slot that agrees, before its differences
constexpr int32_t kNobody = -1;

// The keys near each value of each slot.
struct NearKeys {
    NearTurns turns;
    KeySet b[kKeySlots][kPackedValues];
    KeySet c[kKeySlots][kPackedValues];
};

void AddNear(int32_t value, KeySet key, KeySet sets[kPackedValues]) {
    const int32_t last = Min(value + kReach, kPackedValues - 1);
    for (int32_t near = Max(value - kReach, 0); near <= last; ++near) {
        sets[near] |= key;
    }
}

NearKeys FindNearKeys(const IndexWorkspace& work) {
    NearKeys near = {FindNearTurns(work.keys, work.keyCount), {}, {}};
    for (int32_t k = 0; k < work.keyCount; ++k) {
        for (int32_t slot = 0; slot < kKeySlots; ++slot) {
            AddNear(work.keys[k].b[slot], KeySet{1} << k, near.b[slot]);
            AddNear(work.keys[k].c[slot], KeySet{1} << k, near.c[slot]);
        }
    }
    return near;
}

// The keys that agree with key i in two slots at the least.
KeySet AlikeKeys(const IndexWorkspace& work, const NearKeys& near, int32_t i) {
    const WorkKey& key = work.keys[i];
    KeySet agreeing[kKeySlots];
    for (int32_t slot = 0; slot < kKeySlots; ++slot) {
        agreeing[slot] = near.turns.slot[slot][key.a[slot]] & near.b[slot][key.b[slot]] &
                         near.c[slot][key.c[slot]];
    }
    const KeySet all =
        (agreeing[0] & agreeing[1]) | (agreeing[0] & agreeing[2]) | (agreeing[1] & agreeing[2]);
    return all & ~(KeySet{1} << i);
}

// For alike keys: 0 for equal ones up to 28.
int32_t Dissimilarity(const WorkKey& p, const WorkKey& q) {
    int32_t sum = 0;
    for (int32_t slot = 0; slot < kKeySlots; ++slot) {
        const int32_t a = gbFA[p.a[slot] - q.a[slot] + 30];
        const int32_t b = gbFD[p.b[slot] - q.b[slot] + 16];
        const int32_t c = gbFD[p.c[slot] - q.c[slot] + 16];
        const bool agrees = a <= kReach && b <= kReach && c <= kReach;
        sum += agrees ? a + b + 2 * c : kSlotWorth;
    }
    return sum;
}

// The one of the keys alike that is most like key i, the highest-numbered among equals.
int32_t MostAlike(const IndexWorkspace& work, int32_t i, KeySet alike) {
    int32_t best = kNobody;
    int32_t least = 0;
    for (; alike != 0; alike &= alike - 1) {
        const int32_t j = __builtin_ctz(alike);
        const int32_t dissimilarity = Dissimilarity(work.keys[i], work.keys[j]);
        if (best == kNobody || dissimilarity <= least) {
            best = j;
            least = dissimilarity;
        }
    }
    return best;
}

// The keys that resemble another one, from the outside inwards, until 19 others are left.
// Deliberate: a key whose nearest one has been removed already stays, even if another close one
// exists.
KeySet FindRedundantKeys(const IndexWorkspace& work) {
    const NearKeys near = FindNearKeys(work);
    KeySet removed = 0;
    int32_t remaining = work.keyCount;
    for (int32_t i = work.keyCount - 1; i >= 0 && remaining > kMaxStoredKeys; --i) {
        if ((removed >> i & 1) != 0) {
            continue;
        }
        const int32_t j = MostAlike(work, i, AlikeKeys(work, near, i));
        if (j != kNobody && (removed >> j & 1) == 0) {
            removed |= KeySet{1} << Max(i, j);
            --remaining;
        }
    }
    return removed;
}

}  // namespace

void qorfp::ThinKeys(IndexWorkspace* work) {
    if (work->keyCount <= kMaxStoredKeys) {
        return;
    }
    const KeySet removed = FindRedundantKeys(*work);
    int32_t kept = 0;
    for (int32_t i = 0; i < work->keyCount && kept < kMaxStoredKeys; ++i) {
        if ((removed >> i & 1) == 0) {
            work->keys[kept] = work->keys[i];
            ++kept;
        }
    }
    work->keyCount = kept;
}
