// SPDX-License-Identifier: Apache-2.0
//
// False non-matches of all genuine pairs and false matches of all impostor pairs, level by level.

#include <cstdio>
#include <vector>

#include "bench/accuracy/FingerFolder.h"
#include "match/Thresholds.h"

namespace accuracy {

namespace {

struct Scores {
    std::vector<int32_t> genuine;
    std::vector<int32_t> impostor;
};

// Genuine: all ordered pairs of impressions. Impostor: the first impressions of all ordered pairs
// of fingers (of small sets, all impressions).
Scores ScoreAllPairs(const Fingers& all, bool isSmall) {
    Scores scores;
    for (const auto& one : all.fingers) {
        for (const auto& other : all.fingers) {
            for (const auto& a : one.second) {
                for (const auto& b : other.second) {
                    if (one.first == other.first) {
                        if (a.first != b.first) {
                            scores.genuine.push_back(ScoreOf(a.second, b.second));
                        }
                    } else if (isSmall ||
                               (&a == &*one.second.begin() && &b == &*other.second.begin())) {
                        scores.impostor.push_back(ScoreOf(a.second, b.second));
                    }
                }
            }
        }
    }
    return scores;
}

int CountBelow(const std::vector<int32_t>& scores, int32_t threshold) {
    int count = 0;
    for (const int32_t score : scores) {
        count += score < threshold ? 1 : 0;
    }
    return count;
}

}  // namespace

void MeasureVerification(const Fingers& all) {
    constexpr size_t kSmall = 20;
    const Scores scores = ScoreAllPairs(all, all.fingers.size() <= kSmall);
    const int genuine = static_cast<int>(scores.genuine.size());
    const int impostor = static_cast<int>(scores.impostor.size());
    std::printf("verification: %d genuine and %d impostor pairs\n", genuine, impostor);
    for (int level = 1; level <= 5; ++level) {
        const int32_t threshold = gnMatchThr[level];
        const int rejected = CountBelow(scores.genuine, threshold);
        const int accepted = impostor - CountBelow(scores.impostor, threshold);
        std::printf("  level %d: false non-matches %s, false matches %s\n", level,
                    Share(rejected, genuine).c_str(), Share(accepted, impostor).c_str());
    }
}

}  // namespace accuracy
