// SPDX-License-Identifier: Apache-2.0
//
// What a search must do with a valid list, restated plainly on scores that are known beforehand:
// the order of the full matches, their limit, the early end, the best entry and the score that is
// reported. Written apart from the library; model::Search is the same without known scores.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "tests/search/CandidatePool.h"

namespace searchtest {

/// The score that the calls report for the list entries, by position.
struct KnownScores {
    std::vector<uint32_t> index;
    std::vector<int32_t> full;
    std::vector<bool> decodes;
};

KnownScores ScoresOf(const CandidatePool& pool, const std::vector<Entry>& entries);

struct PlainOutcome {
    uint32_t result = 1;
    // Meaningful with result 0:
    uint32_t index = 0;
    int32_t score = 0;
    // In the order of the full matches:
    std::vector<size_t> matched;
    std::vector<int32_t> scores;

    int32_t best = 0;
    bool endedEarly = false;
    bool bestCameTwice = false;  ///< a later entry reached the best score too
};

PlainOutcome PlainSearch(const KnownScores& known, int32_t level);

}  // namespace searchtest
