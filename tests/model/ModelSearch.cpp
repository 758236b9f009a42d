// SPDX-License-Identifier: Apache-2.0
//
// Naive model of the matching calls, see ModelSearch.h.
#include "tests/model/ModelSearch.h"

#include <algorithm>
#include <vector>

#include "tests/model/ModelAlignment.h"
#include "tests/model/ModelIndexKeys.h"
#include "tests/model/ModelIndexScore.h"
#include "tests/model/ModelSort.h"
#include "tests/model/ModelTemplateCheck.h"

namespace model {

int32_t Threshold(int32_t level) {
    const std::vector<int32_t> thresholds = {140, 150, 165, 180, 195, 210, 225, 240};
    return thresholds.at(static_cast<size_t>(level));
}

int32_t Verify(const TemplateBytes& first, const TemplateBytes& second, int32_t level,
               int32_t& score) {
    if (level < 1 || level > 5) {
        return 5;
    }
    if (!HasKnownVersion(first) || !HasKnownVersion(second)) {
        return 8;
    }
    Matcher matcher;
    score = ClampScore(matcher.Match(first, second));
    return score < Threshold(level) ? 1 : 0;
}

std::vector<uint32_t> IndexScores(const TemplateBytes& probe,
                                  const std::vector<TemplateBytes>& list) {
    std::vector<IndexKey> keys;
    if (CreateIndexForProbe(probe, keys) != 0) {
        keys.clear();
    }
    std::vector<uint32_t> scores;
    for (const TemplateBytes& entry : list) {
        scores.push_back(IndexScoreOfTemplate(keys, entry));
    }
    return scores;
}

std::vector<int32_t> RankedOrder(const std::vector<uint32_t>& scores) {
    std::vector<int32_t> negated;
    std::vector<int32_t> order;
    for (size_t i = 0; i < scores.size(); ++i) {
        negated.push_back(-static_cast<int32_t>(scores.at(i)));
        order.push_back(static_cast<int32_t>(i));
    }
    QuickSortEx(negated, order);
    return order;
}

size_t FullMatchLimit(size_t count) {
    return std::min(count, count < 200 ? count : count / 20 + 200);
}

SearchOutcome Search(const TemplateBytes& probe, const std::vector<TemplateBytes>& list,
                     int32_t level) {
    SearchOutcome outcome;
    if (CheckValidity(probe) != 0) {
        outcome.result = 8;
        return outcome;
    }
    for (const TemplateBytes& entry : list) {
        if (CheckValidity(entry) != 0) {
            outcome.result = 8;
            return outcome;
        }
    }
    if (level < 1 || level > 5 || list.empty()) {
        outcome.result = 5;
        return outcome;
    }
    const std::vector<int32_t> order = RankedOrder(IndexScores(probe, list));
    Matcher matcher;
    int32_t best = 0;
    int32_t last = 0;
    for (size_t k = 0; k < FullMatchLimit(list.size()); ++k) {
        const TemplateBytes& candidate = list.at(static_cast<size_t>(order.at(k)));
        last = ClampScore(k == 0 ? matcher.Match(probe, candidate) : matcher.MatchNext(candidate));
        ++outcome.fullMatches;
        if (last < Threshold(level)) {
            continue;
        }
        if (last > best) {
            best = last;
            outcome.index = static_cast<uint32_t>(order.at(k));
            outcome.result = 0;
        }
        if (last >= Threshold(6)) {
            break;
        }
    }
    outcome.score = last;
    return outcome;
}

}  // namespace model
