// SPDX-License-Identifier: Apache-2.0
//
// Index scores: the fast comparison of a probe's keys with the keys stored in each template of a
// list, before any full match. A stored key finds the probe keys like it in nine buckets; keys that
// prefer each other vote for a rotation; the best rotation's votes are the score.
//
// Most stored keys are like no probe key, and few like more than one. So each one first meets all
// probe keys at once, as sets, and only what is left of them is compared in figures. A bucket holds
// the keys near both of its values: the intersection of what is near either.

#include <stddef.h>
#include <string.h>

#include "engine/StageMemory.h"
#include "engine/Template.h"
#include "extract/FixedMath.h"
#include "extract/Vector.h"
#include "match/FPMatch.h"
#include "match/ProbeSets.h"
#include "match/SlotCode.h"

namespace {

using namespace qorfp;

constexpr int32_t kClusterWidth = 7;  // rotations nearer than this belong together
constexpr int32_t kSlotWorth = 48;    // what a slot that does not differ adds to the score
constexpr int32_t kBitCost = 4;       // what a level of difference takes from it

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

// Only damaged templates hold other values.
bool IsWellFormed(StoredKey key) {
    return (key.turned & 31) < kTurnLevels && (key.turned >> 5 & 31) < kTurnLevels &&
           (key.turned >> 10 & 31) < kTurnLevels;
}

// --- Which probe keys agree with a stored key ----------------------------------------------------

// Four words at once: three sets of keys, and a code.
using Sets = uint32_t __attribute__((vector_size(16)));
static_assert(sizeof(Sets) == sizeof(SlotSets) && sizeof(Sets) == sizeof(PairSets), "a vector");

// Where the rows of a slot's values begin, in bytes. Shifting values to their places in 16 x value
// takes one shift each.
constexpr int32_t kRowShift = 4;
static_assert(sizeof(SlotSets) == 1 << kRowShift, "bytes of a row");

uint32_t RowOfA(StoredKey key, int32_t slot) {
    return key.turned << kRowShift >> (5 * slot) & 31 << kRowShift;
}

uint32_t RowOfB(StoredKey key, int32_t slot) {
    return WrapShift32(key.placed, kRowShift) >> (12 + 4 * slot) & 15 << kRowShift;
}

uint32_t RowOfC(StoredKey key, int32_t slot) {
    return WrapShift32(key.placed, kRowShift) >> (4 * slot) & 15 << kRowShift;
}

Sets RowAt(const SlotSets* rows, uint32_t offset) {
    return LoadVector<Sets>(reinterpret_cast<const uint8_t*>(rows) + offset);
}

// The probe keys of which a slot agrees with a stored slot, by their slot.
Sets AgreeingSlots(const ProbeSets& sets, StoredKey key, int32_t slot) {
    return RowAt(sets.turned[slot], RowOfA(key, slot)) &
           RowAt(sets.placed[slot], RowOfB(key, slot)) &
           RowAt(sets.distant[slot], RowOfC(key, slot));
}

// The probe keys of which both slots of a plane's pair agree with a pair of stored slots, by plane.
Sets AgreeingPairs(Sets first, Sets second) {
    // The first slots of the planes' pairs are 0 0 1, the second ones 1 2 2.
    const U8x16 a = AsLanes<U8x16>(first);
    const U8x16 b = AsLanes<U8x16>(second);
    return AsLanes<Sets>(
        QORFP_PICK_LANES(a, a, 0, 1, 2, 3, 0, 1, 2, 3, 4, 5, 6, 7, 12, 13, 14, 15) &
        QORFP_PICK_LANES(b, b, 4, 5, 6, 7, 8, 9, 10, 11, 8, 9, 10, 11, 12, 13, 14, 15));
}

// Fills in the probe keys that agree with a stored key; false when there are none.
bool FindLikeKeys(const ProbeSets& sets, StoredKey key, LikeKeys* like) {
    const Sets slot0 = AgreeingSlots(sets, key, 0);
    const Sets slot1 = AgreeingSlots(sets, key, 1);
    const Sets slot2 = AgreeingSlots(sets, key, 2);
    const Sets pairs01 = AgreeingPairs(slot0, slot1);
    const Sets pairs02 = AgreeingPairs(slot0, slot2);
    const Sets pairs12 = AgreeingPairs(slot1, slot2);
    StoreVector(pairs01, &like->pair[0]);
    StoreVector(pairs02, &like->pair[1]);
    StoreVector(pairs12, &like->pair[2]);
    const Sets keys = {~KeySet{0}, ~KeySet{0}, ~KeySet{0}, 0};
    return !IsZero((pairs01 | pairs02 | pairs12) & keys);
}

// --- How well they agree -------------------------------------------------------------------------

// One of the nine ways in which two slots of a stored key can be two slots of a probe key.
struct Pairing {
    int32_t storedPair;  // as numbered in kPlaneSlots
    int32_t plane;       // whose pair the probe's slots are
};

// The earlier one counts when two score alike. The first three relate like slots, the others make
// up for a quadrant that is missing or dropped on one side.
constexpr Pairing kPairings[kPairingCount] = {{0, 0}, {1, 1}, {2, 2}, {0, 1}, {0, 2},
                                              {1, 0}, {1, 2}, {2, 0}, {2, 1}};

// A partner with the score of the pair, as a number that is the greater the better: the score
// (48..144) counts first, then the earlier pairing, then the lower number of the partner.
int32_t Offer(int32_t score, int32_t pairing, int32_t partner) {
    return score * 512 + (15 - pairing) * 32 + (31 - partner);
}

int32_t PartnerOf(int32_t offer) {
    return 31 - (offer & 31);
}

int32_t ScoreOf(int32_t offer) {
    return offer >> 9;
}

void OfferPair(IndexScoreScratch* scratch, int32_t stored, int32_t probe, int32_t pairing,
               int32_t score) {
    int32_t* storedBest = &scratch->storedBest[stored];
    int32_t* probeBest = &scratch->probeBest[probe];
    *storedBest = Max(*storedBest, Offer(score, pairing, probe));
    *probeBest = Max(*probeBest, Offer(score, 0, stored));  // any pairing with the same key
}

// Scores the pairs of a stored key that agree in all three slots, and takes them out of the sets of
// like slots: these would find them again and score them lower, as each slot that agrees adds
// something. Gives their probe keys.
KeySet ScoreThreeSlots(IndexScoreScratch* scratch, int32_t stored) {
    PairSets* pair = scratch->like[stored].pair;
    const ProbeSets& sets = scratch->sets;
    // Who agrees in slots 0 and 1 and in slots 0 and 2 agrees in all.
    const KeySet found = pair[0].plane[0] & pair[1].plane[1];
    if (found == 0) {
        return 0;
    }
    for (KeySet left = found; left != 0; left &= left - 1) {
        const int32_t probe = __builtin_ctz(left);
        const int32_t cost = DifferingBits(pair[0].code & pair[1].code,
                                           sets.code[0][0][probe] & sets.code[1][1][probe]);
        OfferPair(scratch, stored, probe, 0, 3 * kSlotWorth - kBitCost * cost);
    }
    for (int32_t i = 0; i < kPlanes; ++i) {
        pair[i].plane[i] &= ~found;
    }
    return found;
}

// Adds the pairings by which a stored key meets probe keys to the list; gives its length. Most
// pairings find nobody, and which ones do cannot be foretold: branches would cost more than they
// save.
size_t ListMeetings(IndexScoreScratch* scratch, int32_t stored, size_t length) {
    for (int32_t i = 0; i < kPairingCount; ++i) {
        const PairSets& sets = scratch->like[stored].pair[kPairings[i].storedPair];
        const KeySet probes = sets.plane[kPairings[i].plane];
        scratch->meetings[length] = {probes, static_cast<uint8_t>(stored), static_cast<uint8_t>(i)};
        length += probes != 0 ? 1 : 0;
    }
    return length;
}

// Scores the first pair of a meeting and takes it out; true when it was the last one.
bool ScoreTwoSlots(IndexScoreScratch* scratch, Meeting* meeting) {
    const Pairing& pairing = kPairings[meeting->pairing];
    const int32_t probe = __builtin_ctz(meeting->probes);
    const int32_t cost =
        DifferingBits(scratch->like[meeting->stored].pair[pairing.storedPair].code,
                      scratch->sets.code[pairing.storedPair][pairing.plane][probe]);
    const KeySet rest = meeting->probes & (meeting->probes - 1);
    meeting->probes = rest;
    OfferPair(scratch, meeting->stored, probe, meeting->pairing, 2 * kSlotWorth - kBitCost * cost);
    return rest == 0;
}

// Scores all pairs with the stored keys whose bits are set; gives their probe keys.
KeySet ScorePairs(IndexScoreScratch* scratch, const uint8_t* packedKeys, uint32_t storedKeys) {
    KeySet probes = 0;
    size_t meetings = 0;
    for (; storedKeys != 0; storedKeys &= storedKeys - 1) {
        const int32_t stored = __builtin_ctz(storedKeys);
        if (IsWellFormed(LoadKey(packedKeys + stored * kPackedKeyBytes))) {
            scratch->storedBest[stored] = 0;
            probes |= ScoreThreeSlots(scratch, stored);
            meetings = ListMeetings(scratch, stored, meetings);
        }
    }
    for (size_t i = 0; i < meetings;) {
        probes |= scratch->meetings[i].probes;
        i += ScoreTwoSlots(scratch, &scratch->meetings[i]) ? 1U : 0U;
    }
    return probes;
}

// --- The score of a candidate --------------------------------------------------------------------

// Collects the probe keys that are preferred by the stored key that they prefer, with the rotation
// between the two, in order; gives their number. Leaves no offers to probe keys.
int32_t FindMutualPairs(IndexWorkspace* work, const uint8_t* packedKeys, KeySet probes) {
    IndexScoreScratch* scratch = &work->score;
    int32_t pairs = 0;
    for (; probes != 0; probes &= probes - 1) {
        const int32_t probe = __builtin_ctz(probes);
        const int32_t offer = scratch->probeBest[probe];
        const int32_t stored = PartnerOf(offer);
        const int32_t direction = packedKeys[stored * kPackedKeyBytes + 6];
        scratch->rotation[pairs] = WrapAngle240(work->keys[probe].direction - direction);
        scratch->sum[pairs] = ScoreOf(offer);
        pairs += PartnerOf(scratch->storedBest[stored]) == probe ? 1 : 0;
        scratch->probeBest[probe] = 0;
    }
    return pairs;
}

// For rotations of 0..239.
bool IsNear(int32_t rotation, int32_t centre) {
    const int32_t difference = Absolute(rotation - centre);
    return Min(difference, kTurn - difference) < kClusterWidth;
}

// Sums scores by rotation; gives the largest sum. A rotation joins the first cluster near enough,
// whose centre stays, or opens one. A cluster goes by the number of the pair that opened it.
int32_t BestClusterSum(IndexScoreScratch* scratch, int32_t pairs) {
    uint32_t clusters = 0;  // as bits
    int32_t best = 0;
    for (int32_t i = 0; i < pairs; ++i) {
        // Earlier pairs as bits, moved up one by one: clang would do shifts by j for several pairs
        // at once, by way of floating point.
        uint32_t near = 0;
        for (int32_t j = i - 1; j >= 0; --j) {
            near = near << 1 | uint32_t{IsNear(scratch->rotation[i], scratch->rotation[j])};
        }
        near &= clusters;
        const uint32_t self = uint32_t{1} << i;
        clusters |= near == 0 ? self : 0;
        const int32_t cluster = __builtin_ctz(near | self);
        const int32_t score = scratch->sum[i];
        scratch->sum[i] = 0;
        scratch->sum[cluster] += score;
        best = Max(best, scratch->sum[cluster]);
    }
    return best;
}

int32_t ScoreOfArea(IndexWorkspace* work, const uint8_t* area) {
    const int32_t count = area[0];
    if (count > kMaxStoredKeys) {
        return 0;
    }
    const uint8_t* packedKeys = area + 2;
    IndexScoreScratch* scratch = &work->score;
    uint32_t storedKeys = 0;  // those that agree with a probe key, as bits
    for (int32_t stored = 0; stored < count; ++stored) {
        const StoredKey key = LoadKey(packedKeys + stored * kPackedKeyBytes);
        const bool hasAny = FindLikeKeys(scratch->sets, key, &scratch->like[stored]);
        storedKeys |= uint32_t{hasAny} << stored;
    }
    const KeySet probes = ScorePairs(scratch, packedKeys, storedKeys);
    return BestClusterSum(scratch, FindMutualPairs(work, packedKeys, probes));
}

// Scores n candidates; `areaOf(i)` gives the index area of candidate i.
template <class AreaOf>
int32_t ScoreAll(uint8_t* work, int32_t n, int32_t* scores, AreaOf areaOf) {
    if (n < 1) {
        return 0;
    }
    constexpr int64_t kScratchAt = offsetof(IndexWorkspace, score);
    const StageMemory memory(work, {Held(0, kScratchAt), ScratchOf<IndexScoreScratch>(kScratchAt)});
    IndexWorkspace* index = WorkAt<IndexWorkspace>(work);
    if (index->keyCount == 0) {
        // Of a template that cannot be decoded nobody makes planes. Whatever they say, no key is found.
        MayBeUnwritten(&index->planes);
    }
    const bool isSound = MakeProbeSets(*index, &index->score.sets);
    memset(index->score.probeBest, 0, sizeof(index->score.probeBest));
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
