// SPDX-License-Identifier: Apache-2.0
//
// The best partner of a bar and its weight, kept as one number that a greater weight makes greater
// and, among equal weights, an earlier partner: so that keeping the best is a maximum.
#pragma once

#include <stdint.h>

#include "match/MatchContext.h"

namespace qorfp {

constexpr uint32_t kPartnerBits = 9;
constexpr uint32_t kPartnerMask = (1u << kPartnerBits) - 1;
static_assert(kMaxReferenceBars <= 1 << kPartnerBits && kMaxProbeBars <= 1 << kPartnerBits, "fits");

constexpr uint32_t BestOf(uint32_t weight, int32_t partner) {
    return (weight << kPartnerBits | kPartnerMask) - static_cast<uint32_t>(partner);
}

/// What no weight of 0 exceeds.
constexpr uint32_t kNoBest = BestOf(0, 0);

constexpr int32_t WeightIn(uint32_t best) {
    return static_cast<int32_t>(best >> kPartnerBits);
}

constexpr int32_t PartnerIn(uint32_t best) {
    return static_cast<int32_t>(~best & kPartnerMask);
}

inline void KeepGreater(uint32_t* best, uint32_t other) {
    *best = *best > other ? *best : other;
}

}  // namespace qorfp
