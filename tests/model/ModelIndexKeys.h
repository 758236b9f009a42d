// SPDX-License-Identifier: Apache-2.0
//
// Naive model of the index keys: the rotation-invariant neighbourhood keys of a template, all of
// them (as kept for a probe) and thinned and packed into the 140 bytes that a template stores.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "tests/model/ModelTemplate.h"
#include "tests/model/ModelTypes.h"

namespace model {

/// One key: three neighbours of a central minutia in slots 0, 1, 2.
struct IndexKey {
    std::array<uint8_t, 3> a{};  // neighbour's direction against the line to it, 0..29
    std::array<uint8_t, 3> b{};  // position angle against the central direction, 0..14
    std::array<uint8_t, 3> c{};  // distance, 0..15
    uint8_t index = 0;           // number of the central minutia
    uint8_t direction = 0;       // its direction byte
};

/// Level difference of two A values, -30..30: circular on 30 levels.
int32_t CircularLevelDifference(int32_t difference);

/// Level difference of two B or C values, -16..16: absolute.
int32_t AbsoluteLevelDifference(int32_t difference);

/// Minutia numbers by squared distance from the centre of the bounding box, in the sort's order.
std::vector<int32_t> OrderFromCentre(const MinutiaSet& set);

/// At most 30 keys, in order from the centre.
std::vector<IndexKey> MakeIndexKeys(const MinutiaSet& set);

/// Dissimilarity of two keys, 0..36.
int32_t KeyDissimilarity(const IndexKey& first, const IndexKey& second);

/// Reduces 20 or more keys to at most 19.
std::vector<IndexKey> ThinIndexKeys(const std::vector<IndexKey>& keys);

/// The 140 bytes that a template stores.
std::vector<uint8_t> PackIndexKeys(const std::vector<IndexKey>& keys);

/// Probe mode. Returns 0, or the decoder's result (keys empty then).
int32_t CreateIndexForProbe(const TemplateBytes& bytes, std::vector<IndexKey>& keys);

/// Storage mode: the 140-byte area; untouched when the result is not 0.
int32_t CreateIndexArea(const TemplateBytes& bytes, std::vector<uint8_t>& area);

}  // namespace model
