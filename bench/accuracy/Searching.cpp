// SPDX-License-Identifier: Apache-2.0
//
// 1:N: how often the right finger is found, and how much of the list a search matches in full.

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <vector>

#include "bench/accuracy/FingerFolder.h"
#include "engine/FPEngine.h"
#include "include/QORFPApi.h"
#include "match/FPMatch.h"

namespace accuracy {

namespace {

// The rank, from 1 on, that the index scores give a list entry.
int RankOf(const Template& probe, const std::vector<uint8_t>& list, int entry) {
    static std::vector<uint64_t> work(qorfp::kWorkBytes / sizeof(uint64_t));
    const int32_t count = static_cast<int32_t>(list.size() / QORFP_TEMPLATE_BYTES);
    std::vector<int32_t> scores(static_cast<size_t>(count));
    std::vector<int32_t> order(static_cast<size_t>(count));
    uint8_t* buffer = reinterpret_cast<uint8_t*>(work.data());
    ISetIndex(buffer, probe.data());
    IGetScoreA(buffer, list.data(), count, scores.data());
    for (int32_t i = 0; i < count; ++i) {
        scores[static_cast<size_t>(i)] = -scores[static_cast<size_t>(i)];
        order[static_cast<size_t>(i)] = i;
    }
    int32_t scratch[qorfp::kSortScratch];
    quickSortEx(scores.data(), order.data(), count, scratch);
    for (int32_t k = 0; k < count; ++k) {
        if (order[static_cast<size_t>(k)] == entry) {
            return k + 1;
        }
    }
    return 0;
}

}  // namespace

void MeasureSearch(const Fingers& all) {
    std::vector<uint8_t> list;
    std::vector<const Template*> probes;
    for (const auto& finger : all.fingers) {
        if (finger.second.size() < 2) {
            continue;
        }
        const Template& enrolled = finger.second.begin()->second;
        list.insert(list.end(), enrolled.begin(), enrolled.end());
        probes.push_back(&finger.second.rbegin()->second);
    }
    const int count = static_cast<int>(probes.size());
    int found = 0;
    int wrong = 0;
    int rankedFirst = 0;
    double rankSum = 0;
    double matchedSum = 0;
    std::chrono::duration<double> time{};
    for (int i = 0; i < count; ++i) {
        const Template& probe = *probes[static_cast<size_t>(i)];
        uint32_t index = 0;
        int32_t score = 0;
        const auto start = std::chrono::steady_clock::now();
        const uint32_t result = QORFP_Search(probe.data(), list.data(),
                                             static_cast<uint32_t>(count), 3, &index, &score);
        time += std::chrono::steady_clock::now() - start;
        if (result == QORFP_OK) {
            (index == static_cast<uint32_t>(i) ? found : wrong) += 1;
        }
        const int rank = RankOf(probe, list, i);
        rankedFirst += rank == 1 ? 1 : 0;
        rankSum += rank;
        // A search that ends at a certain match has matched the entries up to it; the others run to
        // the limit.
        const int limit = count < 200 ? count : std::min(count, count / 20 + 200);
        const bool isCertain = result == QORFP_OK && score >= 225;
        matchedSum += isCertain ? (index == static_cast<uint32_t>(i) ? rank : limit) : limit;
    }
    std::printf("search: 1 in %d, level 3\n", count);
    std::printf("  right finger %s, wrong finger %s\n", Share(found, count).c_str(),
                Share(wrong, count).c_str());
    std::printf("  right finger first by index score %s, mean rank %.1f\n",
                Share(rankedFirst, count).c_str(), count > 0 ? rankSum / count : 0.0);
    std::printf("  penetration (share of the list matched in full) %.2f %%\n",
                count > 0 ? 100.0 * matchedSum / count / count : 0.0);
    std::printf("  mean time of a search %.2f ms\n",
                count > 0 ? 1000.0 * time.count() / count : 0.0);
}

}  // namespace accuracy
