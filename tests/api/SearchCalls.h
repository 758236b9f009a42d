// SPDX-License-Identifier: Apache-2.0
//
// QORFP_Identify and QORFP_Search side by side, and list entries whose rank is known beforehand.
//
// A search ranks the list by an index score before it matches. A stored key that the probe has too
// adds 144 to the score, so an entry that carries K of the probe's own keys, whatever its minutiae,
// ranks by K.
#pragma once

#include <cstdint>
#include <vector>

#include "tests/api/HandTemplate.h"

namespace apitest {

struct Found {
    uint32_t result = 0;
    bool isWritten = false;  ///< index and score; both or none
    uint32_t index = 0;
    int32_t score = 0;
};

/// Searches with both calls, the inputs fenced; expects equal outcomes and untouched outputs where
/// nothing is found.
Found Find(const Bytes& probe, const std::vector<Bytes>& list, uint32_t level);

/// A "301" template with its index area, made by the upgrade of the older form.
Bytes Indexed(const Minutiae& minutiae);

/// The entry with the first `keys` keys of the probe (an indexed template with at least as many)
/// in place of its own, and its checksum.
Bytes WithKeys(Bytes entry, const Bytes& probe, int32_t keys);

int32_t KeyCount(const Bytes& bytes);

/// A template that matches neither the Scatter sets of other seeds nor itself: its few minutiae
/// make no bars.
Bytes Nobody();

}  // namespace apitest
