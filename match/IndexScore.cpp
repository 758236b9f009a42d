// SPDX-License-Identifier: Apache-2.0
//
// Index scores: the fast comparison of a probe's keys with the keys stored in each template of a
// list, before any full match. A stored key finds the probe keys like it in nine buckets; keys that
// prefer each other vote for a rotation; the best rotation's votes are the score.
//
// Most stored keys are like no probe key. So each one first meets all probe keys at once, as sets,
// and only what is left of them is compared in figures.

#include <string.h>

#include "engine/Template.h"
#include "extract/FixedMath.h"
#include "extract/Vector.h"
#include "match/FPMatch.h"
#include "match/ProbeSets.h"

namespace {

using namespace qorfp;

constexpr int32_t kClusterWidth = 7;  // rotations nearer than this belong together
constexpr int32_t kSlotWorth = 48;    // what a slot that does not differ adds to the score

// The values of a stored key, as packed.
struct StoredKey {
    uint32_t turned;  // three a values of 5 bits
    uint32_t placed;  // three c values of 4 bits, then three b values
};

StoredKey LoadKey(const uint8_t* packed) {
    const uint32_t low = uint32_t{packed[2]} | uint32_t{packed[3]} << 8;
    const uint32_t high = uint32_t{packed[4]} | uint32_t{packed[5]} << 8;  // and the key's number
    return {uint32_t{packed[0]} | uint32_t{packed[1]} << 8, low | high << 16};
}

uint32_t ValueA(StoredKey key, int32_t slot) {
    return key.turned >> (5 * slot) & (kPackedTurns - 1);
}

uint32_t ValueB(StoredKey key, int32_t slot) {
    return key.placed >> (12 + 4 * slot) & (kPackedValues - 1);
}

uint32_t ValueC(StoredKey key, int32_t slot) {
    return key.placed >> (4 * slot) & (kPackedValues - 1);
}

// Only damaged templates hold other values.
bool IsWellFormed(StoredKey key) {
    return ValueA(key, 0) < kTurnLevels && ValueA(key, 1) < kTurnLevels &&
           ValueA(key, 2) < kTurnLevels;
}

// --- Which probe keys agree with a stored key ----------------------------------------------------

// The sets of all planes at once.
using Sets = KeySet __attribute__((vector_size(16)));
static_assert(sizeof(Sets) == sizeof(PlaneSets), "a lane for each plane");

Sets Load(const PlaneSets& sets) {
    return LoadVector<Sets>(&sets);
}

// The union of all sets is that of the two halves of this.
uint64_t HalfUnited(Sets sets) {
    uint64_t halves[2];
    StoreVector(sets, halves);
    return halves[0] | halves[1];
}

// The probe keys in the planes' buckets of two stored slots.
Sets Bucket(const ProbeSets& sets, StoredKey key, int32_t first, int32_t second) {
    return Load(sets.bucket[ValueA(key, first) | ValueA(key, second) << 5]);
}

// The probe keys whose b and c values agree with a stored slot's, when that is to be the first (0)
// or the second one (1) of a plane's pair.
Sets Agreeing(const ProbeSets& sets, StoredKey key, int32_t storedSlot, int32_t pairSlot) {
    return Load(sets.placed[pairSlot][storedSlot][ValueB(key, storedSlot)]) &
           Load(sets.distant[pairSlot][ValueC(key, storedSlot)]);
}

// Fills in the probe keys that agree with a stored key; false when there are none.
bool FindLikeKeys(const ProbeSets& sets, StoredKey key, LikeKeys* like) {
    const Sets first0 = Agreeing(sets, key, 0, 0);
    const Sets first1 = Agreeing(sets, key, 1, 0);
    const Sets second1 = Agreeing(sets, key, 1, 1);
    const Sets second2 = Agreeing(sets, key, 2, 1);
    const Sets slots01 = Bucket(sets, key, 0, 1) & first0 & second1;
    const Sets slots02 = Bucket(sets, key, 0, 2) & first0 & second2;
    const Sets slots12 = Bucket(sets, key, 1, 2) & first1 & second2;
    StoreVector(slots01, &like->ofPair[0]);
    StoreVector(slots02, &like->ofPair[1]);
    StoreVector(slots12, &like->ofPair[2]);
    return HalfUnited(slots01 | slots02 | slots12) != 0;
}

// --- How well they agree -------------------------------------------------------------------------

// One of the nine ways in which two slots of a stored key can be two slots of a probe key.
struct Pairing {
    int32_t storedPair;  // as numbered in kPlaneSlots
    int32_t plane;       // whose pair the probe's slots are
};

// The earlier one counts when two score alike. The first three relate like slots, the others make
// up for a quadrant that is missing or dropped on one side.
constexpr Pairing kPairings[] = {{0, 0}, {1, 1}, {2, 2}, {0, 1}, {0, 2},
                                 {1, 0}, {1, 2}, {2, 0}, {2, 1}};

// Bit i for pairing i, where LikeKeys has its keys.
constexpr LikeKeys kPairingBits = {
    {{{1 << 0, 1 << 3, 1 << 4}}, {{1 << 5, 1 << 1, 1 << 6}}, {{1 << 7, 1 << 8, 1 << 2}}}};

// The pairings by which there are keys, as bits.
uint32_t PairingsOf(const LikeKeys& like) {
    const Sets none = {0, 0, 0, 0};
    Sets bits = none;
    for (int32_t pair = 0; pair < kPlanes; ++pair) {
        bits |= AsLanes<Sets>(Load(like.ofPair[pair]) != none) & Load(kPairingBits.ofPair[pair]);
    }
    const uint64_t halves = HalfUnited(bits);
    return static_cast<uint32_t>(halves | halves >> 32);
}

// What two slots that agree add to the score, 24..48.
int32_t SlotScore(StoredKey stored, int32_t storedSlot, const WorkKey& probe, int32_t probeSlot) {
    const int32_t shift = kSlotShift * (probeSlot - storedSlot);
    const int32_t a = static_cast<int32_t>(ValueA(stored, storedSlot)) - probe.a[probeSlot];
    const int32_t b = static_cast<int32_t>(ValueB(stored, storedSlot)) - probe.b[probeSlot] - shift;
    const int32_t c = static_cast<int32_t>(ValueC(stored, storedSlot)) - probe.c[probeSlot];
    return kSlotWorth - 4 * (gbFA[a + 30] + gbFD[b + 16] + 2 * gbFD[c + 16]);
}

// A partner with the score of the pair, as a number that is the greater the better: the score
// (48..144) counts first, then the earlier rank, then the lower number of the partner.
int32_t Offer(int32_t score, int32_t rank, int32_t partner) {
    return score << 9 | (15 - rank) << 5 | (31 - partner);
}

int32_t PartnerOf(int32_t offer) {
    return 31 - (offer & 31);
}

int32_t ScoreOf(int32_t offer) {
    return offer >> 9;
}

// Scores the pairs of a stored key; gives the probe keys in them.
KeySet ScorePairs(IndexWorkspace* work, StoredKey key, int32_t number) {
    IndexScoreScratch* scratch = &work->score;
    int32_t best = 0;
    const auto offer = [&](int32_t probe, int32_t score, int32_t rank) {
        best = Max(best, Offer(score, rank, probe));
        scratch->probeBest[probe] = Max(scratch->probeBest[probe], Offer(score, 0, number));
    };
    LikeKeys* like = &scratch->like[number];
    // A probe key that agrees in slots 0 and 1 and in slots 0 and 2 agrees in all three. Pairings of
    // like slots would find it again, and score it lower, as every slot that agrees adds something.
    const KeySet alikeInThree = like->ofPair[0].plane[0] & like->ofPair[1].plane[1];
    for (KeySet left = alikeInThree; left != 0; left &= left - 1) {
        const int32_t probe = __builtin_ctz(left);
        const WorkKey& probeKey = work->keys[probe];
        offer(probe,
              SlotScore(key, 0, probeKey, 0) + SlotScore(key, 1, probeKey, 1) +
                  SlotScore(key, 2, probeKey, 2),
              0);
    }
    if (alikeInThree != 0) {
        StoreVector(Load(like->ofPair[0]) & ~Sets{alikeInThree, 0, 0, 0}, &like->ofPair[0]);
        StoreVector(Load(like->ofPair[1]) & ~Sets{0, alikeInThree, 0, 0}, &like->ofPair[1]);
        StoreVector(Load(like->ofPair[2]) & ~Sets{0, 0, alikeInThree, 0}, &like->ofPair[2]);
    }
    KeySet partners = alikeInThree;
    for (uint32_t left = PairingsOf(*like); left != 0; left &= left - 1) {
        const int32_t rank = __builtin_ctz(left);
        const Pairing& pairing = kPairings[rank];
        const int32_t* storedSlots = kPlaneSlots[pairing.storedPair];
        const int32_t* probeSlots = kPlaneSlots[pairing.plane];
        KeySet found = like->ofPair[pairing.storedPair].plane[pairing.plane];
        partners |= found;
        for (; found != 0; found &= found - 1) {
            const int32_t probe = __builtin_ctz(found);
            const WorkKey& probeKey = work->keys[probe];
            offer(probe,
                  SlotScore(key, storedSlots[0], probeKey, probeSlots[0]) +
                      SlotScore(key, storedSlots[1], probeKey, probeSlots[1]),
                  rank);
        }
    }
    scratch->storedBest[number] = best;
    return partners;
}

// --- The score of a candidate --------------------------------------------------------------------

// For rotations of 0..239.
bool IsNear(int32_t rotation, int32_t centre) {
    const int32_t difference = Absolute(rotation - centre);
    return Min(difference, kTurn - difference) < kClusterWidth;
}

// Sums the scores of probe keys that are preferred by the stored key that they prefer, by the
// rotation between the two; gives the largest sum. A rotation joins the first cluster near enough,
// whose centre stays.
int32_t BestClusterSum(IndexWorkspace* work, KeySet probes) {
    IndexScoreScratch* scratch = &work->score;
    int32_t clusters = 0;
    int32_t best = 0;
    for (; probes != 0; probes &= probes - 1) {
        const int32_t probe = __builtin_ctz(probes);
        const int32_t stored = PartnerOf(scratch->probeBest[probe]);
        if (PartnerOf(scratch->storedBest[stored]) != probe) {
            continue;
        }
        const int32_t rotation =
            WrapAngle240(work->keys[probe].direction - scratch->storedDirection[stored]);
        int32_t cluster = 0;
        while (cluster < clusters && !IsNear(rotation, scratch->clusterCentre[cluster])) {
            ++cluster;
        }
        if (cluster == clusters) {
            scratch->clusterCentre[cluster] = rotation;
            scratch->clusterSum[cluster] = 0;
            ++clusters;
        }
        scratch->clusterSum[cluster] += ScoreOf(scratch->probeBest[probe]);
        best = Max(best, scratch->clusterSum[cluster]);
    }
    return best;
}

int32_t ScoreOfArea(IndexWorkspace* work, const uint8_t* area) {
    const int32_t storedKeys = area[0];
    if (storedKeys > kMaxStoredKeys) {
        return 0;
    }
    const uint8_t* packedKeys = area + 2;
    IndexScoreScratch* scratch = &work->score;
    uint32_t partnered = 0;  // bit k for stored key k
    for (int32_t number = 0; number < storedKeys; ++number) {
        const StoredKey key = LoadKey(packedKeys + number * kPackedKeyBytes);
        const bool hasAny = FindLikeKeys(scratch->sets, key, &scratch->like[number]);
        partnered |= uint32_t{hasAny} << number;
    }
    memset(scratch->probeBest, 0, sizeof(scratch->probeBest));
    KeySet probes = 0;
    for (; partnered != 0; partnered &= partnered - 1) {
        const int32_t number = __builtin_ctz(partnered);
        const uint8_t* packed = packedKeys + number * kPackedKeyBytes;
        const StoredKey key = LoadKey(packed);
        if (IsWellFormed(key)) {
            scratch->storedDirection[number] = packed[6];
            probes |= ScorePairs(work, key, number);
        }
    }
    return BestClusterSum(work, probes);
}

// Scores n candidates; `areaOf(i)` gives the index area of candidate i.
template <class AreaOf>
int32_t ScoreAll(uint8_t* work, int32_t n, int32_t* scores, AreaOf areaOf) {
    if (n < 1) {
        return 0;
    }
    IndexWorkspace* index = WorkAt<IndexWorkspace>(work);
    const bool isSound = MakeProbeSets(*index, &index->score.sets);
    for (int32_t i = 0; i < n; ++i) {
        scores[i] = isSound ? ScoreOfArea(index, areaOf(i)) : 0;
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
