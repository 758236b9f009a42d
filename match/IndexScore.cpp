// SPDX-License-Identifier: Apache-2.0
//
// Index scores: the fast comparison of a probe's keys with the keys stored in each template of a
// list, before any full match. A stored key finds the probe keys like it in nine buckets; keys that
// prefer each other vote for a rotation; the best rotation's votes are the score.
//
// Most stored keys are like no probe key, and few like more than one. So each one first meets all
// probe keys at once, as sets, and only what is left of them is compared in figures. A bucket holds
// the keys near both of its values: the intersection of what is near either.
//
// How many sets and pairs are left cannot be foretold, and a processor that guesses it wrong loses more
// time than a pair takes. So one queue serves all stored keys, and what is written to it counts only
// when it is to stay.

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

// The sets of stored slot 1 as the first slot of a pair, and as the second.
Sets AsFirst(Sets sets) {
    const U8x16 a = AsLanes<U8x16>(sets);
    return AsLanes<Sets>(
        QORFP_PICK_LANES(a, a, 0, 1, 2, 3, 0, 1, 2, 3, 4, 5, 6, 7, 12, 13, 14, 15));
}

Sets AsSecond(Sets sets) {
    const U8x16 a = AsLanes<U8x16>(sets);
    return AsLanes<Sets>(
        QORFP_PICK_LANES(a, a, 4, 5, 6, 7, 8, 9, 10, 11, 8, 9, 10, 11, 12, 13, 14, 15));
}

// Fills in the probe keys that agree with a stored key; gives the words that are not 0, as bits.
uint32_t FindLikeKeys(const ProbeSets& sets, StoredKey key, LikeKeys* like) {
    const Sets slot0 = AgreeingSlots(sets, key, 0);
    const Sets slot1 = AgreeingSlots(sets, key, 1);
    const Sets slot2 = AgreeingSlots(sets, key, 2);
    const Sets pairs01 = slot0 & AsSecond(slot1);
    const Sets pairs02 = slot0 & slot2;
    const Sets pairs12 = AsFirst(slot1) & slot2;
    StoreVector(pairs01, &like->pair[0]);
    StoreVector(pairs02, &like->pair[1]);
    StoreVector(pairs12, &like->pair[2]);
    const I16x8 empty12 = AsLanes<I16x8>(pairs12 == 0);
    const U8x16 low = NarrowMask(AsLanes<I16x8>(pairs01 == 0), AsLanes<I16x8>(pairs02 == 0));
    const U8x16 high = NarrowMask(empty12, empty12);
    return SetLanes(NarrowMask(AsLanes<I16x8>(low), AsLanes<I16x8>(high))) ^
           (kSetWords | kCodeWords);
}

// --- How well they agree -------------------------------------------------------------------------

// A partner with the score of the pair, as a number that is the greater the better: the score
// (48..144) counts first, then the earlier pairing, then the lower number of the partner.
constexpr int32_t Offer(int32_t score, int32_t pairing, int32_t partner) {
    return score * 512 + (15 - pairing) * 32 + (31 - partner);
}

int32_t PartnerOf(int32_t offer) {
    return 31 - (offer & 31);
}

int32_t ScoreOf(int32_t offer) {
    return offer >> 9;
}

// The offers of two slots that do not differ by the word of the pairing's set, less their partner.
// Of two pairings that score alike the earlier one counts. The first three relate like slots, the
// others make up for a quadrant that is missing or dropped on one side.
constexpr int32_t OfferOf(int32_t pairing) {
    return Offer(2 * kSlotWorth, pairing, 0);
}
constexpr int32_t kPairingOffers[kLikeWords] = {
    OfferOf(0), OfferOf(3), OfferOf(4), 0,   // stored slots 0 1 with those of each plane
    OfferOf(5), OfferOf(1), OfferOf(6), 0,   // 0 2
    OfferOf(7), OfferOf(8), OfferOf(2), 0};  // 1 2

constexpr int32_t kBitCostInOffer = Offer(kBitCost, 0, 0) - Offer(0, 0, 0);

void KeepGreater(int32_t* best, int32_t offer) {
    *best = Max(*best, offer);
}

// Scores the pairs of a stored key that agree in all three slots, and takes them out of the sets of
// like slots: these would find them again and score them lower, as each slot that agrees adds
// something.
void ScoreThreeSlots(IndexScoreScratch* scratch, int32_t stored, KeySet found) {
    PairSets* pair = scratch->like[stored].pair;
    const ProbeSets& sets = scratch->sets;
    for (KeySet left = found; left != 0; left &= left - 1) {
        const int32_t probe = __builtin_ctz(left);
        const int32_t cost = DifferingBits(pair[0].code & pair[1].code,
                                           sets.code[0][probe] & sets.code[kPairWords + 1][probe]);
        const int32_t score = 3 * kSlotWorth - kBitCost * cost;
        KeepGreater(&scratch->storedBest[stored], Offer(score, 0, probe));
        KeepGreater(&scratch->probeBest[probe], Offer(score, 0, stored));
    }
    for (int32_t i = 0; i < kPlanes; ++i) {
        pair[i].plane[i] &= ~found;
    }
}

// The words of like slots that hold no set, as bits.
uint32_t EmptyLikeSlots(const LikeKeys& like) {
    uint32_t words = 0;
    for (int32_t i = 0; i < kPlanes; ++i) {
        words |= uint32_t{like.pair[i].plane[i] == 0} << (i * kPairWords + i);
    }
    return words;
}

// An entry of the queue: a stored key, and words of it that hold sets, as bits.
constexpr int32_t kStoredShift = 16;
constexpr uint32_t kQueueMask = kQueueLength - 1;
static_assert((kQueueLength & kQueueMask) == 0 && kQueueLength > kMaxStoredKeys, "a ring");

// Scores all pairs that agree in three slots with the stored keys in the queue, and leaves in it the
// keys that agree in two with any. Gives their number; adds to the probe keys.
uint32_t ScoreAgreeingKeys(IndexScoreScratch* scratch, uint32_t count, KeySet* probes) {
    uint32_t kept = 0;
    for (uint32_t i = 0; i < count; ++i) {
        uint32_t entry = scratch->queue[i];
        if ((entry & kCodeWords) != kCodeWords) {
            continue;  // only damaged templates hold values that there are not
        }
        const int32_t stored = static_cast<int32_t>(entry >> kStoredShift);
        const PairSets* const pair = scratch->like[stored].pair;
        scratch->storedBest[stored] = 0;
        // Who agrees in slots 0 and 1 and in slots 0 and 2 agrees in all.
        const KeySet found = pair[0].plane[0] & pair[1].plane[1];
        if (found != 0) {
            *probes |= found;
            ScoreThreeSlots(scratch, stored, found);
            entry &= ~EmptyLikeSlots(scratch->like[stored]);
        }
        scratch->queue[kept] = entry & ~kCodeWords;
        kept += (entry & kSetWords) != 0 ? 1 : 0;
    }
    return kept;
}

// Scores all pairs that agree in two slots; gives their probe keys.
KeySet ScoreAgreeingPairs(IndexScoreScratch* scratch, uint32_t count) {
    constexpr int32_t kHighestOffer = Offer(2 * kSlotWorth, 0, 0);  // any pairing with the same key
    const uint32_t* const words = reinterpret_cast<const uint32_t*>(scratch->like);
    KeySet probes = 0;
    uint32_t end = count;
    for (uint32_t i = 0; i != end; ++i) {
        const uint32_t entry = scratch->queue[i & kQueueMask];
        const int32_t stored = static_cast<int32_t>(entry >> kStoredShift);
        const int32_t pairing = __builtin_ctz(entry);
        const int32_t word = stored * kLikeWords + pairing;  // the code is its pair's last
        const uint32_t code = words[word | kPlanes];
        KeySet left = words[word];
        probes |= left;
        do {  // for most sets once
            const int32_t probe = __builtin_ctz(left);
            const int32_t cost =
                kBitCostInOffer * FewDifferingBits(code, scratch->sets.code[pairing][probe]);
            KeepGreater(&scratch->storedBest[stored], kPairingOffers[pairing] - cost - probe);
            KeepGreater(&scratch->probeBest[probe], kHighestOffer - cost - stored);
            left &= left - 1;
        } while (__builtin_expect(left != 0, 0));
        const uint32_t rest = entry & (entry - 1);
        scratch->queue[end & kQueueMask] = rest;
        end += (rest & kSetWords) != 0 ? 1 : 0;
    }
    return probes;
}

// --- The score of a candidate --------------------------------------------------------------------

// Collects the probe keys that are preferred by the stored key that they prefer, with the directions
// of the two, in order; gives their number. Leaves no offers to probe keys.
int32_t FindMutualPairs(IndexWorkspace* work, const uint8_t* packedKeys, KeySet probes) {
    IndexScoreScratch* scratch = &work->score;
    int32_t pairs = 0;
    for (; probes != 0; probes &= probes - 1) {
        const int32_t probe = __builtin_ctz(probes);
        const int32_t offer = scratch->probeBest[probe];
        const int32_t stored = PartnerOf(offer);
        scratch->probeDirection[pairs] = work->keys[probe].direction;
        scratch->storedDirection[pairs] = packedKeys[stored * kPackedKeyBytes + 6];
        scratch->sum[pairs] = ScoreOf(offer);
        pairs += PartnerOf(scratch->storedBest[stored]) == probe ? 1 : 0;
        scratch->probeBest[probe] = 0;
    }
    return pairs;
}

U8x16 EveryByte(uint8_t value) {
    return value + U8x16{};
}

// Of any bytes as directions.
U8x16 Wrap(U8x16 directions) {
    return Least(directions, directions - kTurn);
}

U8x16 RotationsBetween(const uint8_t* probeDirections, const uint8_t* storedDirections) {
    const U8x16 probe = Wrap(LoadVector<U8x16>(probeDirections));
    const U8x16 stored = Wrap(LoadVector<U8x16>(storedDirections));
    return probe - stored + (AsLanes<U8x16>(probe < stored) & kTurn);
}

// The rotations that are near a centre, as bits.
uint32_t FindNear(U8x16 rotations, U8x16 centre) {
    const U8x16 way = Greatest(rotations, centre) - Least(rotations, centre);
    const U8x16 distance = Least(way, kTurn - way);
    return SetLanes(AsLanes<U8x16>(Least(distance, EveryByte(kClusterWidth)) != kClusterWidth));
}

// Sums scores by rotation; gives the largest sum. A rotation joins the first cluster near enough,
// whose centre stays, or opens one. A cluster goes by the number of the pair that opened it.
int32_t BestClusterSum(IndexScoreScratch* scratch, int32_t pairs) {
    const bool areMany = pairs > kVectorBytes;
    const U8x16 rotations = RotationsBetween(scratch->probeDirection, scratch->storedDirection);
    U8x16 more = {};
    StoreVector(rotations, scratch->rotation);
    if (areMany) {
        more = RotationsBetween(scratch->probeDirection + kVectorBytes,
                                scratch->storedDirection + kVectorBytes);
        StoreVector(more, scratch->rotation + kVectorBytes);
    }
    uint32_t clusters = 0;  // as bits
    int32_t best = 0;
    for (int32_t i = 0; i < pairs; ++i) {
        const U8x16 centre = EveryByte(scratch->rotation[i]);
        uint32_t near = FindNear(rotations, centre);
        if (areMany) {
            near |= FindNear(more, centre) << kVectorBytes;
        }
        near &= clusters;
        clusters |= uint32_t{near == 0} << i;
        const int32_t cluster = __builtin_ctz(near | uint32_t{1} << i);
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
    uint32_t likeKeys = 0;
    for (int32_t stored = 0; stored < count; ++stored) {
        const StoredKey key = LoadKey(packedKeys + stored * kPackedKeyBytes);
        const uint32_t words = FindLikeKeys(scratch->sets, key, &scratch->like[stored]);
        scratch->queue[likeKeys] = static_cast<uint32_t>(stored) << kStoredShift | words;
        likeKeys += (words & kSetWords) != 0 ? 1 : 0;
    }
    KeySet probes = 0;
    const uint32_t agreeing = ScoreAgreeingKeys(scratch, likeKeys, &probes);
    probes |= ScoreAgreeingPairs(scratch, agreeing);
    return BestClusterSum(scratch, FindMutualPairs(work, packedKeys, probes));
}

// Has an area brought near the processor, while earlier ones are scored.
void Fetch(const uint8_t* area) {
    constexpr int32_t kCacheLine = 64;
    for (int32_t byte = 0; byte < kIndexBytes; byte += kCacheLine) {
        __builtin_prefetch(area + byte);
    }
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
    memset(index->score.probeDirection, 0, sizeof(index->score.probeDirection));
    memset(index->score.storedDirection, 0, sizeof(index->score.storedDirection));
    constexpr int32_t kAhead = 4;  // memory answers in less time than these are scored
    for (int32_t i = 0; i < n; ++i) {
        Fetch(areaOf(i + Min(kAhead, n - 1 - i)));
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
