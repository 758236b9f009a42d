// SPDX-License-Identifier: Apache-2.0
//
// Pairs with the same first template are one step: it is prepared once for all of them.
#include "tools/qorfp/eval/Verifying.h"

#include <algorithm>
#include <iterator>

#include "tools/qorfp/eval/Parallel.h"

namespace qorfp::cli {
namespace {

// Where the pairs of each first capture begin, and the end of all.
std::vector<size_t> FindSteps(const std::vector<Pair>& pairs) {
    std::vector<size_t> starts;
    for (size_t i = 0; i < pairs.size(); ++i) {
        if (i == 0 || pairs[i].first != pairs[i - 1].first) {
            starts.push_back(i);
        }
    }
    starts.push_back(pairs.size());
    return starts;
}

}  // namespace

std::vector<int> ScorePairs(const FingerSet& set, const std::vector<Pair>& pairs,
                            const std::string& label, int threads) {
    std::vector<int> scores(pairs.size(), kNoScore);
    const std::vector<size_t> starts = FindSteps(pairs);
    const auto scoreStep = [&](WorkEngine& engine, size_t step) {
        const Extraction& first = set.extractions[pairs[starts[step]].first];
        bool isPrepared = false;
        for (size_t i = starts[step]; i < starts[step + 1]; ++i) {
            const Extraction& second = set.extractions[pairs[i].second];
            if (!first.isDone || !second.isDone) {
                continue;
            }
            scores[i] = isPrepared ? engine.ScoreNext(second.bytes)
                                   : engine.Score(first.bytes, second.bytes);
            isPrepared = true;
        }
    };
    RunSteps(label, starts.size() - 1, threads, scoreStep, pairs.size(),
             [&starts](size_t step) { return starts[step + 1] - starts[step]; });
    return scores;
}

std::vector<int> WithoutMissing(const std::vector<int>& scores) {
    std::vector<int> present;
    std::copy_if(scores.begin(), scores.end(), std::back_inserter(present),
                 [](int score) { return score != kNoScore; });
    return present;
}

}  // namespace qorfp::cli
