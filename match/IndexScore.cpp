// SPDX-License-Identifier: Apache-2.0
//
// Index scores: the fast comparison of a probe's keys with the keys stored in each template of a
// list, before any full match. A stored key finds the probe keys like it in nine buckets; keys that
// prefer each other vote for a rotation; the best rotation's votes are the score.

#include <string.h>

#include "engine/Template.h"
#include "extract/FixedMath.h"
#include "match/FPMatch.h"

namespace {

using namespace qorfp;

constexpr int32_t kTurnTolerance = 2;      // of a values, circular
constexpr int32_t kPositionTolerance = 2;  // of b values
constexpr int32_t kDistanceTolerance = 1;  // of c values
constexpr int32_t kClusterWidth = 7;       // rotations nearer than this belong together
constexpr int8_t kNobody = -1;

// What a neighbour in the next lower slot has more in its b value: the slots are 60 angle steps, or
// seven and a half levels, apart.
constexpr int32_t kSlotShift = 7;

struct StoredKey {
    int32_t a[kKeySlots];
    int32_t b[kKeySlots];
    int32_t c[kKeySlots];
    uint8_t direction;
};

StoredKey Unpack(const uint8_t* packed) {
    const int32_t turned = packed[0] | packed[1] << 8;
    const int32_t placed = packed[2] | packed[3] << 8 | packed[4] << 16;
    StoredKey key;
    for (int32_t slot = 0; slot < kKeySlots; ++slot) {
        key.a[slot] = turned >> (5 * slot) & 31;
        key.c[slot] = placed >> (4 * slot) & 15;
        key.b[slot] = placed >> (12 + 4 * slot) & 15;
    }
    key.direction = packed[6];
    return key;
}

// Only damaged templates hold other values.
bool IsWellFormed(const StoredKey& key) {
    return key.a[0] < kTurnLevels && key.a[1] < kTurnLevels && key.a[2] < kTurnLevels;
}

// How two slots differ; `agrees` tells whether all three values lie within their tolerances.
struct SlotDifference {
    bool agrees;
    int32_t distance;
    int32_t angles;  // of a and b together
};

SlotDifference Compare(const StoredKey& stored, int32_t storedSlot, const WorkKey& probe,
                       int32_t probeSlot, int32_t shift) {
    const int32_t turn = Absolute(stored.a[storedSlot] - probe.a[probeSlot]);
    const int32_t turned = Min(turn, kTurnLevels - turn);
    const int32_t placed = Absolute(stored.b[storedSlot] - (probe.b[probeSlot] + shift));
    const int32_t distance = Absolute(stored.c[storedSlot] - probe.c[probeSlot]);
    return {
        turned <= kTurnTolerance && placed <= kPositionTolerance && distance <= kDistanceTolerance,
        distance, turned + placed};
}

// One of the nine ways in which two slots of a stored key can be two slots of a probe key. A plane
// is searched in the bucket of the stored key's values; the slots that it relates are compared.
struct Pairing {
    int32_t plane;  // of the probe; its slot pair is compared
    int32_t storedSlots[2];
    int32_t shifts[2];  // added to the probe's b values
};

// In this order; the first three relate like slots, the others make up for a quadrant that is
// missing or dropped on one side.
constexpr Pairing kPairings[] = {
    {0, {0, 1}, {0, 0}},
    {1, {0, 2}, {0, 0}},
    {2, {1, 2}, {0, 0}},
    {1, {0, 1}, {0, kSlotShift}},
    {2, {0, 1}, {kSlotShift, kSlotShift}},
    {0, {0, 2}, {0, -kSlotShift}},
    {2, {0, 2}, {kSlotShift, 0}},
    {0, {1, 2}, {-kSlotShift, -kSlotShift}},
    {1, {1, 2}, {-kSlotShift, 0}},
};
constexpr int32_t kLikePairings = 3;

int32_t TwoSlotScore(const SlotDifference& first, const SlotDifference& second) {
    return 4 * (2 * (12 - first.distance - second.distance) - first.angles - second.angles);
}

// Score of a probe key found by a pairing; 0 when the keys do not agree or the pair has been scored
// by an earlier pairing.
int32_t PairScore(const StoredKey& stored, const WorkKey& probe, int32_t pairing) {
    const Pairing& how = kPairings[pairing];
    const int32_t* probeSlots = kPlaneSlots[how.plane];
    const SlotDifference first =
        Compare(stored, how.storedSlots[0], probe, probeSlots[0], how.shifts[0]);
    const SlotDifference second =
        Compare(stored, how.storedSlots[1], probe, probeSlots[1], how.shifts[1]);
    if (!first.agrees || !second.agrees) {
        return 0;
    }
    if (pairing < kLikePairings) {
        const int32_t thirdSlot = kKeySlots - probeSlots[0] - probeSlots[1];
        const SlotDifference third = Compare(stored, thirdSlot, probe, thirdSlot, 0);
        if (third.agrees) {
            // The first pairing has scored all three slots.
            return pairing > 0 ? 0
                               : 4 * (2 * (18 - first.distance - second.distance - third.distance) -
                                      first.angles - second.angles - third.angles);
        }
    }
    return TwoSlotScore(first, second);
}

void RememberBest(IndexScoreScratch* scratch, int32_t stored, int32_t probe, int32_t score) {
    if (score > scratch->storedScore[stored]) {
        scratch->storedScore[stored] = score;
        scratch->storedPartner[stored] = static_cast<int8_t>(probe);
    }
    if (score > scratch->probeScore[probe]) {
        scratch->probeScore[probe] = score;
        scratch->probePartner[probe] = static_cast<int8_t>(stored);
    }
}

void ScoreStoredKey(IndexWorkspace* work, const StoredKey& key, int32_t number) {
    for (int32_t pairing = 0; pairing < static_cast<int32_t>(sizeof(kPairings) / sizeof(Pairing));
         ++pairing) {
        const Pairing& how = kPairings[pairing];
        const Plane& plane = work->planes[how.plane];
        const int32_t bucket = key.a[how.storedSlots[0]] * kTurnLevels + key.a[how.storedSlots[1]];
        const uint8_t* entries = plane.entries + plane.start[bucket];
        for (int32_t k = 0; k < plane.size[bucket]; ++k) {
            const int32_t probe = entries[k];
            RememberBest(&work->score, number, probe, PairScore(key, work->keys[probe], pairing));
        }
    }
}

// Sums the scores of probe keys that are preferred by the stored key that they prefer, by the
// rotation between the two; gives the largest sum. A rotation joins the first cluster near enough,
// whose centre stays.
int32_t BestClusterSum(IndexWorkspace* work) {
    IndexScoreScratch* scratch = &work->score;
    int32_t clusters = 0;
    int32_t best = 0;
    for (int32_t probe = 0; probe < work->keyCount; ++probe) {
        const int32_t partner = scratch->probePartner[probe];
        if (partner == kNobody || scratch->storedPartner[partner] != probe) {
            continue;
        }
        const int32_t rotation =
            WrapAngle240(work->keys[probe].direction - scratch->storedDirection[partner]);
        int32_t cluster = 0;
        while (cluster < clusters &&
               AngleDistance240(scratch->clusterCentre[cluster], rotation) >= kClusterWidth) {
            ++cluster;
        }
        if (cluster == clusters) {
            scratch->clusterCentre[cluster] = rotation;
            scratch->clusterSum[cluster] = 0;
            ++clusters;
        }
        scratch->clusterSum[cluster] += scratch->probeScore[probe];
        best = Max(best, scratch->clusterSum[cluster]);
    }
    return best;
}

int32_t ScoreOf(IndexWorkspace* work, const uint8_t* area) {
    const int32_t storedKeys = area[0];
    if (storedKeys == 0 || storedKeys > kMaxStoredKeys) {
        return 0;
    }
    IndexScoreScratch* scratch = &work->score;
    memset(scratch->probeScore, 0, sizeof(scratch->probeScore));
    memset(scratch->storedScore, 0, sizeof(scratch->storedScore));
    memset(scratch->probePartner, kNobody, sizeof(scratch->probePartner));
    memset(scratch->storedPartner, kNobody, sizeof(scratch->storedPartner));
    for (int32_t number = 0; number < storedKeys; ++number) {
        const StoredKey key = Unpack(area + 2 + number * kPackedKeyBytes);
        scratch->storedDirection[number] = key.direction;
        if (IsWellFormed(key)) {
            ScoreStoredKey(work, key, number);
        }
    }
    return BestClusterSum(work);
}

// True when the planes hold what CreateTri makes; a buffer that something else has used since need
// not.
bool IsSound(const IndexWorkspace& work) {
    if (work.keyCount < 0 || work.keyCount > kMaxWorkKeys) {
        return false;
    }
    for (const Plane& plane : work.planes) {
        for (int32_t bucket = 0; bucket < kBuckets; ++bucket) {
            const int32_t end = plane.start[bucket] + plane.size[bucket];
            if (end > kPlaneEntries) {
                return false;
            }
            for (int32_t k = plane.start[bucket]; k < end; ++k) {
                if (plane.entries[k] >= work.keyCount) {
                    return false;
                }
            }
        }
    }
    return true;
}

// Scores n candidates; `areaOf(i)` gives the index area of candidate i.
template <class AreaOf>
int32_t ScoreAll(uint8_t* work, int32_t n, int32_t* scores, AreaOf areaOf) {
    if (n < 1) {
        return 0;
    }
    IndexWorkspace* index = WorkAt<IndexWorkspace>(work);
    const bool isSound = IsSound(*index);
    for (int32_t i = 0; i < n; ++i) {
        scores[i] = isSound ? ScoreOf(index, areaOf(i)) : 0;
    }
    return 0;
}

}  // namespace

int32_t GetIndexScore(uint8_t* work, const uint8_t* areas, int32_t n, int32_t* scores) {
    return ScoreAll(work, n, scores,
                    [=](int32_t i) { return areas + static_cast<ptrdiff_t>(i) * kIndexBytes; });
}

int32_t GetIndexScoreA(uint8_t* work, const uint8_t* templates, int32_t n, int32_t* scores) {
    return ScoreAll(work, n, scores, [=](int32_t i) {
        return templates + static_cast<ptrdiff_t>(i) * kTemplateBytes + kIndexOffset;
    });
}

int32_t GetIndexScoreB(uint8_t* work, const uint8_t* const* templates, int32_t n, int32_t* scores) {
    return ScoreAll(work, n, scores, [=](int32_t i) { return templates[i] + kIndexOffset; });
}
