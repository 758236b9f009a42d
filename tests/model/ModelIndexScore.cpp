// SPDX-License-Identifier: Apache-2.0
//
// Naive model of the fast index score, see ModelIndexScore.h.
#include "tests/model/ModelIndexScore.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>

#include "tests/model/ModelBars.h"
#include "tests/model/ModelTriIndex.h"

namespace model {
namespace {

/// Two slots compared: the candidate's and the probe's, with what is added to the probe's B.
struct SlotPair {
    size_t candidate;
    size_t probe;
    int32_t shift;
};

/// One row of the table of bucket walks.
struct Walk {
    int32_t plane;
    std::array<size_t, 2> bucket;  // the candidate's slots whose A values name the bucket
    std::array<SlotPair, 2> slots;
    int32_t third;  // slot that decides between two and three slots, -1 where none does
    bool scoresThree;
};

constexpr std::array<Walk, 9> kWalks = {{
    {0, {0, 1}, {{{0, 0, 0}, {1, 1, 0}}}, 2, true},
    {1, {0, 2}, {{{0, 0, 0}, {2, 2, 0}}}, 1, false},
    {2, {1, 2}, {{{1, 1, 0}, {2, 2, 0}}}, 0, false},
    {1, {0, 1}, {{{0, 0, 0}, {1, 2, 7}}}, -1, false},
    {2, {0, 1}, {{{0, 1, 7}, {1, 2, 7}}}, -1, false},
    {0, {0, 2}, {{{0, 0, 0}, {2, 1, -7}}}, -1, false},
    {2, {0, 2}, {{{0, 1, 7}, {2, 2, 0}}}, -1, false},
    {0, {1, 2}, {{{1, 0, -7}, {2, 1, -7}}}, -1, false},
    {1, {1, 2}, {{{1, 0, -7}, {2, 2, 0}}}, -1, false},
}};

struct Difference {
    int32_t a;
    int32_t b;
    int32_t c;

    bool Agrees() const { return a <= 2 && b <= 2 && c <= 1; }
};

Difference Compare(const IndexKey& candidate, const IndexKey& probe, const SlotPair& slots) {
    const int32_t around = std::abs(candidate.a.at(slots.candidate) - probe.a.at(slots.probe));
    return {std::min(around, kTriLevels - around),
            std::abs(candidate.b.at(slots.candidate) - (probe.b.at(slots.probe) + slots.shift)),
            std::abs(candidate.c.at(slots.candidate) - probe.c.at(slots.probe))};
}

int32_t PairScore(const std::vector<Difference>& differences) {
    int32_t budget = 6 * static_cast<int32_t>(differences.size());
    int32_t rest = 0;
    for (const Difference& difference : differences) {
        budget -= difference.c;
        rest += difference.a + difference.b;
    }
    return 4 * (2 * budget - rest);
}

/// Score of two keys in one walk, 0 where they do not count there.
int32_t ScoreInWalk(const IndexKey& candidate, const IndexKey& probe, const Walk& walk) {
    std::vector<Difference> differences;
    for (const SlotPair& slots : walk.slots) {
        differences.push_back(Compare(candidate, probe, slots));
        if (!differences.back().Agrees()) {
            return 0;
        }
    }
    if (walk.third >= 0) {
        const size_t third = static_cast<size_t>(walk.third);
        const Difference difference = Compare(candidate, probe, {third, third, 0});
        if (difference.Agrees()) {
            if (!walk.scoresThree) {
                return 0;
            }
            differences.push_back(difference);
        }
    }
    return PairScore(differences);
}

/// Best partners of either side, -1 and score 0 where there is none.
struct Best {
    int32_t partner = -1;
    int32_t score = 0;

    void Offer(int32_t other, int32_t offered) {
        if (offered > score) {
            score = offered;
            partner = other;
        }
    }
};

struct Partners {
    std::vector<Best> ofCandidate;
    std::vector<Best> ofProbe;
};

Partners FindPartners(const std::vector<IndexKey>& probe, const std::vector<IndexKey>& candidate) {
    Partners partners;
    partners.ofCandidate.resize(candidate.size());
    partners.ofProbe.resize(probe.size());
    for (size_t c = 0; c < candidate.size(); ++c) {
        const IndexKey& key = candidate.at(c);
        if (std::any_of(key.a.begin(), key.a.end(), [](uint8_t a) { return a >= kTriLevels; })) {
            continue;
        }
        for (const Walk& walk : kWalks) {
            for (const int32_t p : KeysInBucket(probe, walk.plane, key.a.at(walk.bucket.at(0)),
                                                key.a.at(walk.bucket.at(1)))) {
                const size_t number = static_cast<size_t>(p);
                const int32_t score = ScoreInWalk(key, probe.at(number), walk);
                partners.ofCandidate.at(c).Offer(p, score);
                partners.ofProbe.at(number).Offer(static_cast<int32_t>(c), score);
            }
        }
    }
    return partners;
}

struct Cluster {
    int32_t centre;
    int64_t sum;
};

}  // namespace

std::vector<IndexKey> UnpackIndexArea(const std::vector<uint8_t>& area) {
    std::vector<IndexKey> keys;
    const size_t count = area.at(0);
    if (count >= 20) {
        return keys;
    }
    for (size_t k = 0; k < count; ++k) {
        const size_t at = 2 + 7 * k;
        const int32_t word = area.at(at) + 256 * area.at(at + 1);
        const int32_t triple = area.at(at + 2) + 256 * area.at(at + 3) + 65536 * area.at(at + 4);
        IndexKey key;
        key.a = {static_cast<uint8_t>(word % 32), static_cast<uint8_t>(word / 32 % 32),
                 static_cast<uint8_t>(word / 1024 % 32)};
        key.c = {static_cast<uint8_t>(triple % 16), static_cast<uint8_t>(triple / 16 % 16),
                 static_cast<uint8_t>(triple / 256 % 16)};
        key.b = {static_cast<uint8_t>(triple / 4096 % 16),
                 static_cast<uint8_t>(triple / 65536 % 16),
                 static_cast<uint8_t>(triple / 1048576 % 16)};
        key.index = area.at(at + 5);
        key.direction = area.at(at + 6);
        keys.push_back(key);
    }
    return keys;
}

uint32_t IndexScore(const std::vector<IndexKey>& probe, const std::vector<uint8_t>& area) {
    const std::vector<IndexKey> candidate = UnpackIndexArea(area);
    const Partners partners = FindPartners(probe, candidate);
    std::vector<Cluster> clusters;
    for (size_t p = 0; p < probe.size(); ++p) {
        const Best& best = partners.ofProbe.at(p);
        if (best.partner < 0) {
            continue;
        }
        const size_t c = static_cast<size_t>(best.partner);
        if (partners.ofCandidate.at(c).partner != static_cast<int32_t>(p)) {
            continue;
        }
        const int32_t turn = Modulo240(int64_t{probe.at(p).direction} - candidate.at(c).direction);
        const auto near = std::find_if(
            clusters.begin(), clusters.end(),
            [turn](const Cluster& cluster) { return AngleBetween(cluster.centre, turn) < 7; });
        if (near != clusters.end()) {
            near->sum += best.score;
        } else {
            clusters.push_back({turn, best.score});
        }
    }
    int64_t largest = 0;
    for (const Cluster& cluster : clusters) {
        largest = std::max(largest, cluster.sum);
    }
    return static_cast<uint32_t>(largest);
}

uint32_t IndexScoreOfTemplate(const std::vector<IndexKey>& probe, const TemplateBytes& bytes) {
    return IndexScore(probe, std::vector<uint8_t>(bytes.begin() + 370, bytes.begin() + 510));
}

}  // namespace model
