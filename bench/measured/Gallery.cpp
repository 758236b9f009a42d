// SPDX-License-Identifier: Apache-2.0

#include "bench/measured/Gallery.h"

#include <algorithm>
#include <cstring>
#include <numeric>
#include <random>

#include "bench/measured/TemplateMixer.h"
#include "bench/measured/Work.h"
#include "engine/FPEngine.h"
#include "engine/Template.h"
#include "match/IndexWorkspace.h"

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
        case Arrangement::kStaircase:
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
    }
    return list;
}

// A part of the probe's keys, some of them a little different: an index area that an attacker could
// write to have any score.
void MakeHostileKeys(const Template& probe, std::mt19937* random, uint8_t* area) {
    constexpr size_t kChanged = 3;
    const auto next = [random] { return static_cast<uint32_t>((*random)()); };
    const uint8_t* given = probe.data() + qorfp::kIndexOffset;
    const size_t keys = next() % (given[0] + 1U);
    std::memset(area, 0, qorfp::kIndexBytes);
    std::memcpy(area, given, 2 + keys * qorfp::kPackedKeyBytes);
    area[0] = static_cast<uint8_t>(keys);
    for (size_t k = keys - std::min(keys, kChanged); k < keys; ++k) {
        // Low bits of some of the key's nine values.
        uint8_t* key = area + 2 + k * qorfp::kPackedKeyBytes;
        const uint32_t change = next() & next();
        key[0] = static_cast<uint8_t>(key[0] ^ (change & 0x63));
        key[2] = static_cast<uint8_t>(key[2] ^ (change >> 8 & 0x11));
        key[3] = static_cast<uint8_t>(key[3] ^ (change >> 16 & 0x31));
    }
}

// Gives the first templates of a list keys with as many different scores as can be found, the best
// first, and all others the same keys, of the worst score among the list's own.
void MakeStaircase(Gallery* gallery) {
    constexpr int32_t kTries = 20000;
    Gallery tries = {gallery->probe, {}, kTries};
    tries.list.resize(kTries * sizeof(Template));
    std::mt19937 random(2);
    for (int32_t i = 0; i < kTries; ++i) {
        MakeHostileKeys(gallery->probe, &random, tries.At(i) + qorfp::kIndexOffset);
    }
    const std::vector<int32_t> scores = IndexScores(tries);
    const std::vector<int32_t> ranked = Ranked(scores);
    const std::vector<int32_t> own = IndexScores(*gallery);
    const auto worst = std::min_element(own.begin(), own.end());
    const Template rest = gallery->TemplateAt(static_cast<int32_t>(worst - own.begin()));
    int32_t last = INT32_MAX;
    size_t next = 0;
    for (int32_t i = 0; i < gallery->count; ++i) {
        while (next < ranked.size() && scores[static_cast<size_t>(ranked[next])] >= last) {
            ++next;
        }
        const uint8_t* from = rest.data();
        if (next < ranked.size() && scores[static_cast<size_t>(ranked[next])] > *worst) {
            last = scores[static_cast<size_t>(ranked[next])];
            from = tries.At(ranked[next]);
        }
        std::memcpy(gallery->At(i) + qorfp::kIndexOffset, from + qorfp::kIndexOffset,
                    qorfp::kIndexBytes);
    }
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
    if (arrangement == Arrangement::kStaircase) {
        MakeStaircase(&gallery);
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
