// SPDX-License-Identifier: Apache-2.0
//
// Templates for 1:N searches, see CandidatePool.h. Nothing here calls the library.
#include "tests/search/CandidatePool.h"

#include <algorithm>
#include <stdexcept>

#include "tests/model/ModelAlignment.h"
#include "tests/model/ModelIndexKeys.h"
#include "tests/model/ModelIndexScore.h"

namespace searchtest {
namespace {

using testsupport::FinishedTemplate;
using testsupport::Impression;
using testsupport::Layout;
using testsupport::RandomSet;
using testsupport::TakeImpression;

constexpr std::ptrdiff_t kHeadBytes = 370;
constexpr std::ptrdiff_t kAreaBytes = 140;
constexpr size_t kCountByte = 3;
constexpr size_t kStrangers = 24;
constexpr size_t kPerBand = 2;

/// Scores [low, high) of which the pool needs heads: from just below the lowest threshold on.
struct Band {
    int32_t low;
    int32_t high;
};
constexpr Band kBands[] = {{120, 140}, {140, 150}, {150, 165}, {165, 180}, {180, 195},
                           {195, 210}, {210, 225}, {225, 240}, {240, 400}};
constexpr int32_t kLowestNear = 140;
constexpr int32_t kCertainScore = 225;

size_t Pick(const std::vector<size_t>& numbers, Random& random) {
    return numbers.at(static_cast<size_t>(random.Below(static_cast<int32_t>(numbers.size()))));
}

class PoolMaker {
  public:
    explicit PoolMaker(uint64_t seed) : random_(seed) {
        finger_ = RandomSet(random_, Layout::kSpread, 40);
        pool_.probe = FinishedTemplate(finger_);
        model::CreateIndexForProbe(pool_.probe, probeKeys_);
    }

    CandidatePool Make() {
        AddStrangers();
        for (const Band& band : kBands) {
            AddImpressions(band);
        }
        AddUndecodable();
        AddAreas();
        return pool_;
    }

  private:
    int32_t ScoreOf(const TemplateBytes& bytes) {
        return model::ClampScore(matcher_.Match(pool_.probe, bytes));
    }

    size_t AddHead(const TemplateBytes& bytes, bool decodes) {
        Head head;
        head.bytes.assign(bytes.begin(), bytes.begin() + kHeadBytes);
        head.score = ScoreOf(bytes);
        head.decodes = decodes;
        pool_.heads.push_back(head);
        return pool_.heads.size() - 1;
    }

    size_t AddArea(const std::vector<uint8_t>& bytes) {
        Area area;
        area.bytes = bytes;
        area.indexScore = static_cast<int32_t>(model::IndexScore(probeKeys_, bytes));
        pool_.areas.push_back(area);
        return pool_.areas.size() - 1;
    }

    size_t AddAreaOf(const TemplateBytes& bytes) {
        const auto begin = bytes.begin() + kHeadBytes;
        return AddArea(std::vector<uint8_t>(begin, begin + kAreaBytes));
    }

    size_t AddWhole(const TemplateBytes& bytes) {
        const Entry entry = {AddHead(bytes, true), AddAreaOf(bytes)};
        pool_.whole.push_back(entry);
        return entry.head;
    }

    void AddStrangers() {
        while (pool_.strangers.size() < kStrangers) {
            const int32_t count = random_.Between(8, 60);
            const TemplateBytes bytes =
                FinishedTemplate(RandomSet(random_, Layout::kSpread, count));
            if (ScoreOf(bytes) < 100) {
                pool_.strangers.push_back(AddWhole(bytes));
            }
        }
    }

    /// Impressions of the probe's finger, poor enough to score within the band.
    void AddImpressions(const Band& band) {
        size_t found = 0;
        for (int32_t tries = 0; found < kPerBand; ++tries) {
            if (tries > 20000) {
                throw std::runtime_error("no impressions with such scores; another SEED?");
            }
            Impression impression = testsupport::RandomImpression(random_);
            impression.jitter = random_.Between(4, 8);
            impression.lostPerCent = random_.Between(40, 75);
            const TemplateBytes bytes =
                FinishedTemplate(TakeImpression(finger_, impression, random_));
            const int32_t score = ScoreOf(bytes);
            if (score < band.low || score >= band.high) {
                continue;
            }
            const size_t head = AddWhole(bytes);
            if (score >= kCertainScore) {
                pool_.certain.push_back(head);
            } else if (score >= kLowestNear) {
                pool_.near.push_back(head);
            }
            ++found;
        }
    }

    /// Counts of 0 to 5, and a minutia of a type that does not exist: valid, but not decodable.
    void AddUndecodable() {
        for (uint8_t count = 0; count <= 5; ++count) {
            TemplateBytes bytes = pool_.probe;
            bytes.at(kCountByte) = count;
            pool_.undecodable.push_back(AddHead(bytes, false));
        }
        TemplateBytes bytes = pool_.probe;
        bytes.at(kCountByte + 3) |= 0x30;  // type bits of the first minutia: 3
        pool_.undecodable.push_back(AddHead(bytes, false));
    }

    void AddAreas() {
        pool_.areaWithoutKeys = AddArea(std::vector<uint8_t>(kAreaBytes, 0));
        std::vector<uint8_t> tooManyKeys(kAreaBytes, 0x21);
        tooManyKeys.front() = 20;
        AddArea(tooManyKeys);
        for (int32_t i = 0; i < 40; ++i) {
            Impression impression = testsupport::RandomImpression(random_);
            impression.jitter = random_.Between(0, 5);
            impression.lostPerCent = random_.Between(0, 60);
            AddAreaOf(FinishedTemplate(TakeImpression(finger_, impression, random_)));
        }
        pool_.areaOfProbe = AddAreaOf(pool_.probe);
        for (size_t i = 0; i < pool_.areaOfProbe; ++i) {
            if (pool_.areas[i].indexScore >= pool_.areas[pool_.areaOfProbe].indexScore) {
                throw std::runtime_error("an area ranked with the probe's own; another SEED?");
            }
        }
    }

    Random random_;
    model::MinutiaSet finger_;
    std::vector<model::IndexKey> probeKeys_;
    model::Matcher matcher_;
    CandidatePool pool_;
};

size_t PickHead(const CandidatePool& pool, Shape shape, Random& random) {
    const int32_t chance = random.Below(100);
    switch (shape) {
        case Shape::kStrangers:
            return Pick(pool.strangers, random);
        case Shape::kUndecodable:
            return chance < 25   ? Pick(pool.undecodable, random)
                   : chance < 35 ? Pick(pool.near, random)
                   : chance < 36 ? Pick(pool.certain, random)
                                 : Pick(pool.strangers, random);
        case Shape::kMixed:
        case Shape::kSpoilt:
            return chance < 1    ? Pick(pool.certain, random)
                   : chance < 12 ? Pick(pool.near, random)
                                 : Pick(pool.strangers, random);
        default:
            return chance < 10 ? Pick(pool.near, random) : Pick(pool.strangers, random);
    }
}

}  // namespace

std::string NameOf(Shape shape) {
    switch (shape) {
        case Shape::kMixed:
            return "mixed";
        case Shape::kNear:
            return "near";
        case Shape::kStrangers:
            return "strangers";
        case Shape::kWhole:
            return "whole templates";
        case Shape::kAllEqual:
            return "all equal";
        case Shape::kAscending:
            return "ascending index scores";
        case Shape::kDescending:
            return "descending index scores";
        case Shape::kFewAreas:
            return "few areas";
        case Shape::kNoKeys:
            return "no keys";
        case Shape::kUndecodable:
            return "undecodable ones among them";
        case Shape::kSpoilt:
            return "first-ranked one undecodable";
        case Shape::kBuried:
            return "near ones ranked last";
    }
    return "unknown";
}

TemplateBytes CandidatePool::TemplateOf(const Entry& entry) const {
    TemplateBytes bytes = heads.at(entry.head).bytes;
    const std::vector<uint8_t>& area = areas.at(entry.area).bytes;
    bytes.insert(bytes.end(), area.begin(), area.end());
    bytes.resize(512, 0);
    return bytes;
}

std::vector<TemplateBytes> CandidatePool::TemplatesOf(const std::vector<Entry>& entries) const {
    std::vector<TemplateBytes> templates;
    for (const Entry& entry : entries) {
        templates.push_back(TemplateOf(entry));
    }
    return templates;
}

std::vector<Entry> CandidatePool::MakeList(Shape shape, size_t count, Random& random) const {
    std::vector<size_t> anyArea(areas.size() - 1);  // all but the probe's own, the last one
    for (size_t i = 0; i < anyArea.size(); ++i) {
        anyArea[i] = i;
    }
    const std::vector<size_t> fewAreas = {areaWithoutKeys, Pick(anyArea, random),
                                          Pick(anyArea, random)};
    const Entry everywhere = {Pick(near, random), Pick(anyArea, random)};
    std::vector<Entry> entries;
    for (size_t i = 0; i < count; ++i) {
        Entry entry = {PickHead(*this, shape, random), Pick(anyArea, random)};
        if (shape == Shape::kWhole) {
            entry = whole.at(static_cast<size_t>(random.Below(static_cast<int32_t>(whole.size()))));
        } else if (shape == Shape::kAllEqual) {
            entry = everywhere;
        } else if (shape == Shape::kFewAreas) {
            entry.area = Pick(fewAreas, random);
        } else if (shape == Shape::kNoKeys) {
            entry.area = areaWithoutKeys;
        } else if (shape == Shape::kBuried) {
            entry = random.OneIn(20) ? Entry{Pick(near, random), areaWithoutKeys}
                                     : Entry{Pick(strangers, random), entry.area};
        }
        entries.push_back(entry);
    }
    if (shape == Shape::kSpoilt && count > 0) {
        const int32_t place = random.Below(static_cast<int32_t>(count));
        entries.at(static_cast<size_t>(place)) = {Pick(undecodable, random), areaOfProbe};
    }
    if (shape == Shape::kAscending || shape == Shape::kDescending) {
        std::stable_sort(entries.begin(), entries.end(), [this](const Entry& a, const Entry& b) {
            return areas.at(a.area).indexScore < areas.at(b.area).indexScore;
        });
    }
    if (shape == Shape::kDescending) {
        std::reverse(entries.begin(), entries.end());
    }
    return entries;
}

const CandidatePool& Pool() {
    static const CandidatePool pool = PoolMaker(testsupport::Seed()).Make();
    return pool;
}

}  // namespace searchtest
