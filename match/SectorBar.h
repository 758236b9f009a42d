// SPDX-License-Identifier: Apache-2.0
//
// All that the correspondence of two bars depends on, in eight bytes: two bars are a vector, and are
// compared without a look at their minutiae.
#pragma once

#include <stdint.h>

#include "engine/Minutia.h"
#include "match/MatchContext.h"

namespace qorfp {

/// A bar, the distances of two, or limits of these: from the lowest byte, length, first and second
/// angle, types, disorder and ridge density of the first minutia, and of the second.
constexpr uint64_t PackBar(uint32_t length, uint32_t angleFirst, uint32_t angleSecond,
                           uint32_t types, uint32_t firstAttributes, uint32_t secondAttributes) {
    const uint32_t shape = length | angleFirst << 8 | angleSecond << 16 | types << 24;
    const uint32_t attributes = firstAttributes | secondAttributes << 16;
    return shape | static_cast<uint64_t>(attributes) << 32;
}

/// Disorder and ridge density of a minutia, a byte each.
constexpr uint32_t PackAttributes(uint32_t disorder, uint32_t density) {
    return disorder | density << 8;
}

/// What minutiae contribute to the bars that end at them: packed attributes, and above them bit 16
/// for a bifurcation.
struct EndFeatures {
    uint32_t ofMinutia[kMaxMinutiae];
};

inline void CollectFeatures(const MinutiaSet& set, EndFeatures* features) {
    for (int32_t i = 0; i < set.count; ++i) {
        const Minutia& minutia = set.minutiae[i];
        const uint32_t type = minutia.type == kBifurcation ? 1 : 0;
        features->ofMinutia[i] =
            type << 16 | PackAttributes(static_cast<uint32_t>(DisorderOf(minutia.attributes)),
                                        static_cast<uint32_t>(RidgeDensityOf(minutia.attributes)));
    }
}

/// The types of both ends are weighted by 1 and 3. The distance of two such sums is 0 when both ends
/// agree, odd when one does, and otherwise 2 or 4.
constexpr uint32_t kHighestTypeDistance = 4;

inline uint64_t PackBar(const Bar& bar, const EndFeatures& features) {
    const uint32_t first = features.ofMinutia[bar.first];
    const uint32_t second = features.ofMinutia[bar.second];
    return PackBar(static_cast<uint32_t>(bar.length), bar.angleFirst, bar.angleSecond,
                   (first >> 16) + 3 * (second >> 16), first & 0xFFFF, second & 0xFFFF);
}

}  // namespace qorfp
