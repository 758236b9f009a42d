// SPDX-License-Identifier: Apache-2.0

#include "bench/measured/Gallery.h"

#include <algorithm>
#include <cstring>
#include <numeric>
#include <random>

#include "bench/measured/TemplateMixer.h"
#include "bench/measured/Work.h"
#include "engine/FPEngine.h"

namespace measure {

namespace {

constexpr int32_t kMostDistinct = 50000;

// The first finger's impression is the probe; the list is made of the other fingers.
std::vector<MinutiaSet> Sources(Inputs& inputs, Template* probe) {
    std::vector<MinutiaSet> sources;
    const std::vector<Impression>& impressions = inputs.Ordinary();
    *probe = impressions.front().bytes;
    for (const Impression& impression : impressions) {
        if (impression.finger != impressions.front().finger) {
            sources.push_back(DecodedSet(impression.bytes));
        }
    }
    return sources;
}

// Positions of the distinct templates, the best score first.
std::vector<int32_t> Ranked(const std::vector<int32_t>& scores) {
    std::vector<int32_t> order(scores.size());
    std::iota(order.begin(), order.end(), 0);
    std::stable_sort(order.begin(), order.end(), [&](int32_t a, int32_t b) {
        return scores[static_cast<size_t>(a)] > scores[static_cast<size_t>(b)];
    });
    return order;
}

// The positions of the distinct templates that a list of `count` consists of.
std::vector<int32_t> Arrange(const Gallery& distinct, int32_t count, Arrangement arrangement) {
    const std::vector<int32_t> scores = IndexScores(distinct);
    const std::vector<int32_t> ranked = Ranked(scores);
    const auto scoreOf = [&](int32_t position) { return scores[static_cast<size_t>(position)]; };
    const int32_t middle = ranked[ranked.size() / 2];
    std::vector<int32_t> list(static_cast<size_t>(count));
    std::mt19937 random(1);
    switch (arrangement) {
        case Arrangement::kAsTheyCome:
            for (int32_t i = 0; i < count; ++i) {
                list[static_cast<size_t>(i)] = i % distinct.count;
            }
            break;
        case Arrangement::kEqual:
            std::fill(list.begin(), list.end(), middle);
            break;
        case Arrangement::kAscending:
        case Arrangement::kDescending:
            for (size_t i = 0; i < list.size(); ++i) {
                list[i] = ranked[i * ranked.size() / list.size()];
            }
            if (arrangement == Arrangement::kAscending) {
                std::reverse(list.begin(), list.end());
            }
            break;
        case Arrangement::kTwoValues:
            Require(scoreOf(ranked.front()) != scoreOf(middle), "all index scores are equal");
            for (int32_t& position : list) {
                position = random() % 2 == 0 ? ranked.front() : middle;
            }
            break;
        case Arrangement::kStaircase:
            std::fill(list.begin(), list.end(), ranked.back());
            size_t step = 0;
            for (size_t k = 0; k < ranked.size(); ++k) {
                if (k == 0 || scoreOf(ranked[k]) != scoreOf(ranked[k - 1])) {
                    list[step] = ranked[k];
                    ++step;
                }
            }
            break;
    }
    return list;
}

}  // namespace

Gallery MakeGallery(Inputs& inputs, int32_t count, Arrangement arrangement) {
    Gallery distinct = {};
    TemplateMixer mixer(Sources(inputs, &distinct.probe));
    distinct.count = std::min(count, kMostDistinct);
    for (int32_t i = 0; i < distinct.count; ++i) {
        const Template bytes = mixer.Next();
        distinct.list.insert(distinct.list.end(), bytes.begin(), bytes.end());
    }
    if (arrangement == Arrangement::kAsTheyCome && count == distinct.count) {
        return distinct;
    }
    const std::vector<int32_t> positions = Arrange(distinct, count, arrangement);
    Gallery gallery = {distinct.probe, {}, count};
    gallery.list.resize(positions.size() * sizeof(Template));
    for (size_t i = 0; i < positions.size(); ++i) {
        std::memcpy(gallery.list.data() + i * sizeof(Template), distinct.At(positions[i]),
                    sizeof(Template));
    }
    return gallery;
}

std::vector<int32_t> IndexScores(const Gallery& gallery) {
    static WorkBuffer work;
    std::vector<int32_t> scores(static_cast<size_t>(gallery.count));
    ISetIndex(work.Bytes(), gallery.probe.data());
    IGetScoreA(work.Bytes(), gallery.list.data(), gallery.count, scores.data());
    return scores;
}

}  // namespace measure
