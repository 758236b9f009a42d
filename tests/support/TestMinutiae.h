// SPDX-License-Identifier: Apache-2.0
//
// Deterministic minutia sets and templates for tests of matching, fusion and indexing: random
// layouts, further impressions of a set, damaged templates; and the way between the library's
// records and the models'. Nothing here calls the library.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "engine/Minutia.h"
#include "tests/model/ModelTemplate.h"
#include "tests/model/ModelTypes.h"
#include "tests/support/TestImages.h"

namespace testsupport {

using model::TemplateBytes;

enum class Layout {
    kSpread,     ///< over a sensor's frame
    kCrowded,    ///< within 90 x 90 pixels, below 0: many more than ten neighbours each
    kLattice,    ///< on a square lattice: many equal distances and angles
    kLine,       ///< on one straight line
    kFullRange,  ///< anywhere a template can place a minutia
    kHostile,    ///< crowded, with coincident points and any direction byte
};

constexpr Layout kAllLayouts[] = {Layout::kSpread, Layout::kCrowded,   Layout::kLattice,
                                  Layout::kLine,   Layout::kFullRange, Layout::kHostile};

std::string NameOf(Layout layout);

model::Minutia MakeMinutia(int32_t x, int32_t y, int32_t direction, int32_t type = 1,
                           uint32_t attributes = 0);

/// A set of these minutiae, every confidence 8.
model::MinutiaSet MakeSet(const std::vector<model::Minutia>& minutiae);

model::MinutiaSet RandomSet(Random& random, Layout layout, int32_t count);

/// How a further impression differs from the first.
struct Impression {
    int32_t turn = 0;    ///< 0..239, about (128, 180)
    int32_t shiftX = 0;  ///< pixels, after the turn
    int32_t shiftY = 0;
    int32_t jitter = 0;  ///< of positions, and of directions and attributes in proportion
    int32_t lostPerCent = 0;
    int32_t added = 0;  ///< minutiae that only this impression has
};

/// At most 60 minutiae, at least 6 where the set has as many.
model::MinutiaSet TakeImpression(const model::MinutiaSet& set, const Impression& impression,
                                 Random& random);

/// A turn of up to 20 steps either way, a shift, and moderate differences.
Impression RandomImpression(Random& random);

/// The finished 512-byte template (index, quality, checksum) of 6 to 60 minutiae.
TemplateBytes FinishedTemplate(model::MinutiaSet set);

/// The template with a few of its bytes 3..509 replaced.
TemplateBytes Damaged(TemplateBytes bytes, Random& random);

::MinutiaSet ToLibrary(const model::MinutiaSet& set);
model::MinutiaSet ToModel(const ::MinutiaSet& set);

/// All of a set's minutiae as text, for comparisons that show what differs.
std::string Describe(const model::MinutiaSet& set);

}  // namespace testsupport
