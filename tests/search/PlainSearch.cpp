// SPDX-License-Identifier: Apache-2.0
//
// A search restated on known scores, see PlainSearch.h.
#include "tests/search/PlainSearch.h"

#include "tests/model/ModelSearch.h"

namespace searchtest {

KnownScores ScoresOf(const CandidatePool& pool, const std::vector<Entry>& entries) {
    KnownScores known;
    for (const Entry& entry : entries) {
        known.index.push_back(static_cast<uint32_t>(pool.areas.at(entry.area).indexScore));
        known.full.push_back(pool.heads.at(entry.head).score);
        known.decodes.push_back(pool.heads.at(entry.head).decodes);
    }
    return known;
}

PlainOutcome PlainSearch(const KnownScores& known, int32_t level) {
    PlainOutcome outcome;
    const std::vector<int32_t> order = model::RankedOrder(known.index);
    const size_t limit = model::FullMatchLimit(order.size());
    for (size_t k = 0; k < limit && !outcome.endedEarly; ++k) {
        const size_t position = static_cast<size_t>(order.at(k));
        // Matching the first entry prepares the probe for all; it does so only when both decode.
        const bool isPrepared = known.decodes.at(static_cast<size_t>(order.front()));
        const int32_t score = isPrepared ? known.full.at(position) : 0;
        outcome.matched.push_back(position);
        outcome.scores.push_back(score);
        outcome.score = score;
        if (score < model::Threshold(level)) {
            continue;
        }
        outcome.bestCameTwice =
            score > outcome.best ? false : outcome.bestCameTwice || score == outcome.best;
        if (score > outcome.best) {
            outcome.best = score;
            outcome.index = static_cast<uint32_t>(position);
            outcome.result = 0;
        }
        outcome.endedEarly = score >= 225;
    }
    return outcome;
}

}  // namespace searchtest
