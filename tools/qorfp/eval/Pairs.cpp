// SPDX-License-Identifier: Apache-2.0
//
// Every pair stands in the lists once, the earlier capture first.
#include "tools/qorfp/eval/Pairs.h"

namespace qorfp::cli {

PairLists MakePairs(const std::vector<size_t>& fingers, Protocol protocol) {
    PairLists lists;
    const auto isFirst = [&fingers](size_t i) { return i == 0 || fingers[i] != fingers[i - 1]; };
    for (size_t i = 0; i < fingers.size(); ++i) {
        for (size_t k = i + 1; k < fingers.size(); ++k) {
            const Pair pair = {static_cast<uint32_t>(i), static_cast<uint32_t>(k)};
            if (fingers[i] == fingers[k]) {
                lists.genuine.push_back(pair);
            } else if (protocol == Protocol::kAll || (isFirst(i) && isFirst(k))) {
                lists.impostor.push_back(pair);
            }
        }
    }
    return lists;
}

}  // namespace qorfp::cli
