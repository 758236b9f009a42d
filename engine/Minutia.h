// SPDX-License-Identifier: Apache-2.0
//
// The decoded template: the minutiae on which detection, matching, fusion and indexing work.
#pragma once

#include <stddef.h>
#include <stdint.h>

namespace qorfp {

/// Fewest and most minutiae of a usable template.
constexpr int32_t kMinMinutiae = 6;
constexpr int32_t kMaxMinutiae = 60;

/// Values of Minutia::type.
constexpr uint8_t kEnding = 1;
constexpr uint8_t kBifurcation = 2;

}  // namespace qorfp

/// One minutia.
struct Minutia {
    uint32_t attributes;  ///< 12 bits: ridge density (bits 6-11), orientation disorder (bits 0-5)
    int32_t x;            ///< column in pixels, -256..767 when it comes from a template
    int32_t y;            ///< row in pixels, -256..767 when it comes from a template
    uint8_t type;         ///< kEnding or kBifurcation
    uint8_t direction;    ///< into the ridge, 0..239 in 1/240 turn (0..255 in a damaged template)
};

/// Up to 60 minutiae; records at and beyond `count` are zero after decoding.
struct MinutiaSet {
    int32_t count;
    Minutia minutiae[qorfp::kMaxMinutiae];
};

static_assert(sizeof(Minutia) == 16, "the same record on every machine");
static_assert(sizeof(MinutiaSet) == 964, "the same record on every machine");

namespace qorfp {

/// High 6 bits of the attributes: twice the local ridge period's code.
constexpr int32_t RidgeDensityOf(uint32_t attributes) {
    return static_cast<int32_t>(attributes >> 6 & 63);
}

/// Low 6 bits of the attributes: how disorderly the ridges around the minutia run.
constexpr int32_t DisorderOf(uint32_t attributes) {
    return static_cast<int32_t>(attributes & 63);
}

}  // namespace qorfp
