// SPDX-License-Identifier: Apache-2.0
//
// The scores of all pairs of a protocol.
#pragma once

#include <vector>

#include "tools/qorfp/eval/FingerSet.h"
#include "tools/qorfp/eval/Pairs.h"

namespace qorfp::cli {

/// The score of a pair of which a template is missing.
constexpr int kNoScore = -1;

/// The scores of `pairs`, in their order.
std::vector<int> ScorePairs(const FingerSet& set, const std::vector<Pair>& pairs,
                            const std::string& label, int threads);

/// Those of pairs with two templates.
std::vector<int> WithoutMissing(const std::vector<int>& scores);

}  // namespace qorfp::cli
