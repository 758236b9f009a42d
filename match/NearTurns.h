// SPDX-License-Identifier: Apache-2.0
//
// Which keys have an a value near a given one.
#pragma once

#include "match/IndexWorkspace.h"

namespace qorfp {

/// The keys near each a value of each slot, counted circularly.
struct NearTurns {
    KeySet slot[kKeySlots][kTurnLevels];
};

/// Any bytes may stand for a values; what makes no sense counts by its remainder.
inline NearTurns FindNearTurns(const WorkKey* keys, int32_t count) {
    NearTurns near = {};
    for (int32_t k = 0; k < count; ++k) {
        for (int32_t slot = 0; slot < kKeySlots; ++slot) {
            for (int32_t step = -kTurnReach; step <= kTurnReach; ++step) {
                const int32_t turn = (keys[k].a[slot] + step + kTurnLevels) % kTurnLevels;
                near.slot[slot][turn] |= KeySet{1} << k;
            }
        }
    }
    return near;
}

}  // namespace qorfp
