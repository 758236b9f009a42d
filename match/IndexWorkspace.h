// SPDX-License-Identifier: Apache-2.0
//
// The index record at the start of the work buffer: the keys of one template, and the scratch in
// which they are made.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include "engine/Minutia.h"
#include "engine/Work.h"

namespace qorfp {

constexpr int32_t kMaxWorkKeys = 30;    ///< keys of a probe
constexpr int32_t kMaxStoredKeys = 19;  ///< keys in a template's index area
constexpr int32_t kPackedKeyBytes = 7;
constexpr int32_t kKeySlots = 3;   ///< neighbours that a key describes
constexpr int32_t kQuadrants = 4;  ///< around a minutia's direction

/// Integers that quickSort needs: a stack of 20 range starts and one of 20 range ends.
constexpr int32_t kSortLevels = 20;
constexpr int32_t kSortScratch = 2 * kSortLevels;

/// One minutia described by three of its neighbours, independent of rotation and shift.
struct WorkKey {
    uint8_t a[kKeySlots];  ///< 0..29: direction of the neighbour against the line to it, / 8
    uint8_t b[kKeySlots];  ///< 0..14: position angle of the neighbour, offset by the slot, / 8
    uint8_t c[kKeySlots];  ///< 0..15: (distance - 20) / 8
    uint8_t index;         ///< number of the minutia in its set
    uint8_t direction;     ///< of the minutia, as stored
};

static_assert(sizeof(WorkKey) == 11, "the same record on every machine");

constexpr int32_t kTurnLevels = 30;  ///< values of WorkKey::a, circular
constexpr int32_t kBuckets = kTurnLevels * kTurnLevels;
constexpr int32_t kTurnReach = 2;  ///< levels by which two a values may differ, circularly
constexpr int32_t kBucketsPerKey = (2 * kTurnReach + 1) * (2 * kTurnReach + 1);
constexpr int32_t kPlaneEntries = kMaxWorkKeys * kBucketsPerKey;
constexpr int32_t kPlanes = 3;

/// The slot pairs of the planes.
constexpr int32_t kPlaneSlots[kPlanes][2] = {{0, 1}, {0, 2}, {1, 2}};

/// The probe's keys by the a values of one pair of slots. A key is filed in the 25 buckets around
/// its own values, so one bucket holds every probe key whose two values are near a stored key's.
struct Plane {
    uint8_t size[kBuckets];          ///< bucket = first value x 30 + second value
    uint16_t start[kBuckets];        ///< of each bucket in entries
    uint8_t entries[kPlaneEntries];  ///< key numbers, ascending inside a bucket
};

/// Some of the probe's keys: bit k stands for key k.
using KeySet = uint32_t;
static_assert(kMaxWorkKeys <= 32, "a bit for each key");

constexpr int32_t kPackedTurns = 32;   ///< values that the 5 bits of a packed a value can have
constexpr int32_t kPackedValues = 16;  ///< and the 4 bits of a b or c value

/// The probe slot of each set in a stored slot's rows. Slot 0 is the first of every pair that it is in,
/// and slot 2 the second: their sets stand where the planes' pairs have that slot. Slot 1 is both.
constexpr int32_t kRowSlots[kKeySlots][kPlanes] = {{0, 0, 1}, {0, 1, 2}, {1, 2, 2}};

/// The probe keys of which a slot agrees with a value of a stored slot, by their slot as in
/// kRowSlots; and the code of that value (SlotCode.h), 0 where no value is. The intersection of such
/// rows, word by word, is the same for all of the values.
struct SlotSets {
    KeySet set[kPlanes];
    uint32_t code;
};

constexpr int32_t kPairWords = kPlanes + 1;             ///< of a PairSets
constexpr int32_t kLikeWords = kKeySlots * kPairWords;  ///< of a LikeKeys
constexpr int32_t kKeyPlaces = 32;                      ///< for keys; kMaxWorkKeys are used

/// The probe's keys as sets, so that a stored key meets all of them at once.
struct ProbeSets {
    SlotSets turned[kKeySlots][kPackedTurns];    ///< by the stored slot and its a
    SlotSets placed[kKeySlots][kPackedValues];   ///< and its b
    SlotSets distant[kKeySlots][kPackedValues];  ///< and its c

    /// Code of each key's slots of a plane's pair, where a pair of stored slots has its own; by the
    /// word that has the set of this pairing in a LikeKeys.
    uint32_t code[kLikeWords][kKeyPlaces];
};

/// The probe keys that agree with a pair of stored slots, by the plane of their pair; and the code
/// of the stored slots.
struct PairSets {
    KeySet plane[kPlanes];
    uint32_t code;
};

/// The probe keys that agree with a stored key in two slots, by its pair, numbered like the planes.
/// Its words are numbered, too: 4 x pair + plane are the sets, 4 x pair + 3 the codes.
struct LikeKeys {
    PairSets pair[kKeySlots];
};

constexpr uint32_t kSetWords = 0x777;  ///< as bits
constexpr uint32_t kCodeWords = 0x888;

constexpr uint32_t kQueueLength = 32;  ///< a power of two above kMaxStoredKeys

/// Scratch of the index scores.
struct IndexScoreScratch {
    ProbeSets sets;  ///< made from the keys and planes by every call

    // Of one candidate. What stands by stored key says something of keys with partners only.
    LikeKeys like[kMaxStoredKeys];
    uint32_t queue[kQueueLength];        ///< stored keys with words of theirs
    int32_t storedBest[kMaxStoredKeys];  ///< best partner of each stored key with its score
    int32_t probeBest[kMaxWorkKeys];     ///< of each probe key; 0 between candidates

    // Of its mutual pairs, and one that does not count. Vectors are read, of which the ends are not used.
    uint8_t probeDirection[kKeyPlaces];
    uint8_t storedDirection[kKeyPlaces];
    uint8_t rotation[kKeyPlaces];   ///< 0..239
    int32_t sum[kMaxWorkKeys + 1];  ///< score of a pair, then of the cluster that it opened
};

/// The keys and planes survive from ISetIndex to the following index scores, up to the next other
/// use of the buffer; the rest is scratch.
struct IndexWorkspace {
    int32_t keyCount;
    WorkKey keys[kMaxWorkKeys];
    Plane planes[kPlanes];

    IndexScoreScratch score;

    MinutiaSet set;
    int32_t direction[kMaxMinutiae];            ///< of each minutia, 0..239
    int32_t nearest[kMaxMinutiae][kQuadrants];  ///< neighbour of each, with distance and angle
    int32_t centreDistance[kMaxMinutiae];       ///< squared
    int32_t order[kMaxMinutiae];                ///< minutia numbers by centre distance
    int32_t sortScratch[kSortScratch];
};

static_assert(sizeof(IndexWorkspace) <= static_cast<size_t>(kWorkBytes), "fits the work buffer");

}  // namespace qorfp
