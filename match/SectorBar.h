// SPDX-License-Identifier: Apache-2.0
//
// All that the correspondence of two bars depends on, as bytes in four words: eight bars are four
// vectors, and are compared without a look at their minutiae.
#pragma once

#include <stdint.h>

#include "engine/Minutia.h"
#include "match/MatchContext.h"

namespace qorfp {

/// The words of a bar, of the distances of two, or of limits of these.
struct SectorBar {
    uint16_t lengthAndAngle;    ///< low byte: length, high byte: first angle
    uint16_t angleAndTypes;     ///< second angle, types of both ends
    uint16_t firstAttributes;   ///< disorder, ridge density
    uint16_t secondAttributes;  ///< disorder, ridge density
};

/// A word of two bytes. By arithmetic, so that a byte lies in the same place in all bars.
constexpr uint16_t TwoBytes(uint32_t low, uint32_t high) {
    return static_cast<uint16_t>(low | high << 8);
}

/// What minutiae contribute to the bars that end at them.
struct EndFeatures {
    uint16_t attributes[kMaxMinutiae];  ///< disorder, ridge density
    uint8_t types[kMaxMinutiae];        ///< 0 or 1
};

inline void CollectFeatures(const MinutiaSet& set, EndFeatures* features) {
    for (int32_t i = 0; i < set.count; ++i) {
        const uint32_t attributes = set.minutiae[i].attributes;
        features->attributes[i] = TwoBytes(static_cast<uint32_t>(DisorderOf(attributes)),
                                           static_cast<uint32_t>(RidgeDensityOf(attributes)));
        features->types[i] = set.minutiae[i].type == kBifurcation ? 1 : 0;
    }
}

/// The types of both ends are weighted by 1 and 3. The distance of two such sums is 0 when both ends
/// agree, odd when one does, and otherwise 2 or 4.
constexpr uint32_t kHighestTypeDistance = 4;

inline SectorBar SectorBarOf(const Bar& bar, const EndFeatures& features) {
    const uint32_t types = features.types[bar.first] + 3u * features.types[bar.second];
    return {TwoBytes(static_cast<uint32_t>(bar.length), bar.angleFirst),
            TwoBytes(bar.angleSecond, types), features.attributes[bar.first],
            features.attributes[bar.second]};
}

}  // namespace qorfp
