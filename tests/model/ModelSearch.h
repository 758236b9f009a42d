// SPDX-License-Identifier: Apache-2.0
//
// Naive model of the matching calls: verification of two templates, and identification of a probe
// in a list (index score of every entry, exact order of the full matches, their limit, the early
// stop, and the rule for the reported score).
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "tests/model/ModelTemplate.h"

namespace model {

/// Acceptance threshold of a security level 1..5.
int32_t Threshold(int32_t level);

/// Result 0, 1, 5 or 8; the score is written when matching ran.
int32_t Verify(const TemplateBytes& first, const TemplateBytes& second, int32_t level,
               int32_t& score);

/// Index score of every entry; all 0 when the probe does not decode.
std::vector<uint32_t> IndexScores(const TemplateBytes& probe,
                                  const std::vector<TemplateBytes>& list);

/// List positions in the order of the full matches, before the limit is applied.
std::vector<int32_t> RankedOrder(const std::vector<uint32_t>& scores);

/// How many entries are matched in full at most.
size_t FullMatchLimit(size_t count);

struct SearchOutcome {
    int32_t result = 1;
    uint32_t index = 0;  // meaningful with result 0, as is the score
    int32_t score = 0;
    size_t fullMatches = 0;  // how many entries were matched in full
};

/// Identification of a probe in a list without null entries.
SearchOutcome Search(const TemplateBytes& probe, const std::vector<TemplateBytes>& list,
                     int32_t level);

}  // namespace model
