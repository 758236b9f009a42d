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
constexpr int32_t kKeySlots = 3;        ///< neighbours that a key describes

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

/// The keys survive from CreateIndex in probe mode to the next use of the buffer; the rest is
/// scratch of CreateIndex.
struct IndexWorkspace {
    int32_t keyCount;
    WorkKey keys[kMaxWorkKeys];

    int32_t distance[kMaxMinutiae * kMaxMinutiae];  ///< row stride = minutia count; 0: no neighbour
    int32_t angle[kMaxMinutiae * kMaxMinutiae];     ///< direction of the line from i to j
    int32_t centreDistance[kMaxMinutiae];           ///< squared
    int32_t order[kMaxMinutiae];                    ///< minutia numbers by centre distance
    MinutiaSet set;
    int32_t sortScratch[kSortScratch];
    uint8_t isRemoved[kMaxWorkKeys];
    int32_t dissimilarity[kMaxWorkKeys * kMaxWorkKeys];
};

static_assert(sizeof(IndexWorkspace) <= static_cast<size_t>(kWorkBytes), "fits the work buffer");

}  // namespace qorfp
