// SPDX-License-Identifier: Apache-2.0
//
// Lists of templates to search in, and a probe that none of them matches.
#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

#include "bench/measured/Inputs.h"

namespace measure {

/// The order of a list by the probe's index scores: what a search sorts.
enum class Arrangement {
    kAsTheyCome,
    kEqual,       ///< one template again and again
    kAscending,   ///< worst score first
    kDescending,  ///< best score first
    kTwoValues,   ///< two templates, mixed at random
    kStaircase,   ///< hostile keys: each possible score once, best first, then one score only
};

struct Gallery {
    Template probe;
    std::vector<uint8_t> list;  ///< templates back to back
    int32_t count;

    const uint8_t* At(int32_t i) const { return &list[static_cast<size_t>(i) * sizeof(Template)]; }
    uint8_t* At(int32_t i) { return &list[static_cast<size_t>(i) * sizeof(Template)]; }

    Template TemplateAt(int32_t i) const {
        Template bytes;
        std::copy_n(At(i), bytes.size(), bytes.begin());
        return bytes;
    }
};

/// `count` templates. Of more than 50,000 all appear equally often.
Gallery MakeGallery(Inputs& inputs, int32_t count, Arrangement arrangement);

/// Index scores of the gallery's templates against its probe.
std::vector<int32_t> IndexScores(const Gallery& gallery);

}  // namespace measure
