// SPDX-License-Identifier: Apache-2.0
//
// Calls that take a few templates: comparison, enrolment, improvement, the check of a stored one.

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>

#include "bench/measured/Work.h"
#include "engine/FPEngine.h"
#include "engine/Template.h"
#include "include/QORFPApi.h"
#include "match/FPMatch.h"

namespace measure {

namespace {

constexpr int32_t kOrdinaryCount = 40;  // minutiae
constexpr size_t kMostFingers = 12;
constexpr int kLevel = 3;
constexpr int32_t kFused = 3;

int32_t FromOrdinary(const Impression* impression) {
    return std::abs(impression->minutiae - kOrdinaryCount);
}

// Two impressions of one finger.
struct Couple {
    const Impression* a;
    const Impression* b;

    int32_t FromOrdinaryCount() const { return FromOrdinary(a) + FromOrdinary(b); }
};

// Of each finger the two impressions with about 40 minutiae, and of these the most fitting dozen.
std::vector<Couple> OrdinaryCouples(Inputs& inputs) {
    std::vector<Couple> couples;
    for (auto& finger : inputs.OrdinaryByFinger()) {
        std::vector<const Impression*> impressions = finger.second;
        if (impressions.size() < 2) {
            continue;
        }
        std::stable_sort(impressions.begin(), impressions.end(),
                         [](const Impression* a, const Impression* b) {
                             return FromOrdinary(a) < FromOrdinary(b);
                         });
        couples.push_back({impressions[0], impressions[1]});
    }
    Require(couples.size() >= 2, "too few fingers with two impressions");
    std::stable_sort(couples.begin(), couples.end(), [](const Couple& a, const Couple& b) {
        return a.FromOrdinaryCount() < b.FromOrdinaryCount();
    });
    couples.resize(std::min(couples.size(), kMostFingers));
    return couples;
}

enum class Pairs { kBoth, kGenuine, kImpostor };

// Half of the pairs show one finger, half show two; each impression is first in as many as it is
// second in.
Work Verification(Inputs& inputs, Pairs which) {
    const std::vector<Couple> couples = OrdinaryCouples(inputs);
    std::vector<Couple> pairs;
    for (size_t i = 0; i < couples.size(); ++i) {
        const Couple& one = couples[i];
        const Couple& other = couples[(i + 1) % couples.size()];
        if (which != Pairs::kImpostor) {
            pairs.push_back({one.a, one.b});
            pairs.push_back({one.b, one.a});
        }
        if (which != Pairs::kGenuine) {
            pairs.push_back({one.a, other.b});
            pairs.push_back({one.b, other.a});
        }
    }
    Work work;
    work.callsPerCase = static_cast<int>(pairs.size());
    work.run = [pairs](int) {
        for (const Couple& pair : pairs) {
            int32_t score = 0;
            QORFP_Verify(pair.a->bytes.data(), pair.b->bytes.data(), kLevel, &score);
        }
    };
    return work;
}

// Buffers that `prepare` has filled, one a couple, and the one that a work uses.
struct PreparedBuffers {
    std::vector<WorkBuffer> prepared;
    WorkBuffer current;
};

// A work on the buffer that `prepare(couple, buffer)` makes for each couple.
template <class Prepare>
Work WorkOnBuffers(const std::vector<Couple>& couples, Prepare prepare,
                   std::function<void(uint8_t*, int)> run) {
    auto buffers = std::make_shared<PreparedBuffers>();
    buffers->prepared.resize(couples.size());
    for (size_t i = 0; i < couples.size(); ++i) {
        prepare(couples[i], buffers->prepared[i].Bytes());
    }
    Work work;
    work.cases = static_cast<int>(couples.size());
    work.restore = [buffers](int i) {
        buffers->current = buffers->prepared[static_cast<size_t>(i)];
    };
    work.run = [buffers, run](int i) { run(buffers->current.Bytes(), i); };
    return work;
}

// The reference side of the couple's first template, as a comparison leaves it.
void PrepareProbe(const Couple& couple, uint8_t* buffer) {
    int32_t score = 0;
    IMatch(buffer, couple.a->bytes.data(), couple.a->bytes.data(), &score);
}

// Each finger's first impression as the prepared probe, the impressions of all others as the list.
Work MatchNextWork(Inputs& inputs) {
    const std::vector<Couple> couples = OrdinaryCouples(inputs);
    Work work = WorkOnBuffers(couples, PrepareProbe, [couples](uint8_t* buffer, int i) {
        for (size_t k = 1; k < couples.size(); ++k) {
            const Couple& candidates = couples[(static_cast<size_t>(i) + k) % couples.size()];
            int32_t score = 0;
            IMatch(buffer, nullptr, candidates.a->bytes.data(), &score);
            IMatch(buffer, nullptr, candidates.b->bytes.data(), &score);
        }
    });
    work.callsPerCase = 2 * (work.cases - 1);
    return work;
}

// The reference side and the alignment, as parts of a comparison.
Work ReferenceWork(Inputs& inputs) {
    const auto prepare = [](const Couple& couple, uint8_t* buffer) {
        qorfp::WorkAt<MatchContext>(buffer)->reference = DecodedSet(couple.a->bytes);
    };
    return WorkOnBuffers(OrdinaryCouples(inputs), prepare, [](uint8_t* buffer, int) {
        MakeFirstInfo(qorfp::WorkAt<MatchContext>(buffer));
    });
}

Work AlignmentWork(Inputs& inputs) {
    const auto prepare = [](const Couple& couple, uint8_t* buffer) {
        PrepareProbe(couple, buffer);
        qorfp::WorkAt<MatchWork>(buffer)->context.probe = DecodedSet(couple.b->bytes);
    };
    return WorkOnBuffers(OrdinaryCouples(inputs), prepare, [](uint8_t* buffer, int) {
        MatchWork* match = qorfp::WorkAt<MatchWork>(buffer);
        Alignment(&match->context, &match->result, 0);
    });
}

std::vector<uint8_t> FirstThree(const std::vector<const Impression*>& impressions) {
    std::vector<uint8_t> templates;
    for (size_t i = 0; i < kFused; ++i) {
        templates.insert(templates.end(), impressions[i]->bytes.begin(),
                         impressions[i]->bytes.end());
    }
    return templates;
}

bool Enroll(const std::vector<uint8_t>& templates, Template* fused) {
    int32_t quality = 0;
    return QORFP_Enroll(templates.data(), kFused, fused->data(), &quality) == QORFP_OK;
}

Work Enrolment(Inputs& inputs) {
    std::vector<std::vector<uint8_t>> fingers;
    for (const auto& finger : inputs.OrdinaryByFinger()) {
        Template fused;
        if (finger.second.size() >= kFused && Enroll(FirstThree(finger.second), &fused)) {
            fingers.push_back(FirstThree(finger.second));
        }
    }
    Require(!fingers.empty(), "no finger can be enrolled");
    Work work;
    work.cases = static_cast<int>(fingers.size());
    work.run = [fingers](int i) {
        Template fused;
        Enroll(fingers[static_cast<size_t>(i)], &fused);
    };
    return work;
}

struct Update {
    Template enrolled;
    const Impression* sample;
};

// A fourth impression of an enrolled finger, which updates the enrolled template.
Work Improvement(Inputs& inputs) {
    std::vector<Update> updates;
    for (const auto& finger : inputs.OrdinaryByFinger()) {
        Update update = {};
        if (finger.second.size() <= kFused ||
            !Enroll(FirstThree(finger.second), &update.enrolled)) {
            continue;
        }
        update.sample = finger.second[kFused];
        Template enrolled = update.enrolled;
        if (QORFP_Improve(update.sample->bytes.data(), enrolled.data()) == QORFP_OK) {
            updates.push_back(update);
        }
    }
    Require(!updates.empty(), "no enrolled template can be improved");
    auto enrolled = std::make_shared<Template>();
    Work work;
    work.cases = static_cast<int>(updates.size());
    work.restore = [updates, enrolled](int i) {
        *enrolled = updates[static_cast<size_t>(i)].enrolled;
    };
    work.run = [updates, enrolled](int i) {
        QORFP_Improve(updates[static_cast<size_t>(i)].sample->bytes.data(), enrolled->data());
    };
    return work;
}

// Templates of the older form, which the check upgrades.
Work Upgrade(Inputs& inputs) {
    const std::vector<Impression>& impressions = inputs.Ordinary();
    auto stored = std::make_shared<Template>();
    Work work;
    work.cases = static_cast<int>(impressions.size());
    work.restore = [&impressions, stored](int i) {
        *stored = impressions[static_cast<size_t>(i)].bytes;
        (*stored)[2] = '0';
    };
    work.run = [stored](int) {
        int32_t converted = 0;
        QORFP_CheckFeature(stored->data(), &converted);
    };
    return work;
}

}  // namespace

void AddMatching(Inputs& inputs, std::vector<NamedWork>* works) {
    works->push_back(
        {"verify/40-minutiae", [&inputs] { return Verification(inputs, Pairs::kBoth); }});
    works->push_back(
        {"verify/one-finger", [&inputs] { return Verification(inputs, Pairs::kGenuine); }});
    works->push_back(
        {"verify/two-fingers", [&inputs] { return Verification(inputs, Pairs::kImpostor); }});
    works->push_back({"match-next/40-minutiae", [&inputs] { return MatchNextWork(inputs); }});
    works->push_back({"enroll/three", [&inputs] { return Enrolment(inputs); }});
    works->push_back({"improve", [&inputs] { return Improvement(inputs); }});
    works->push_back({"check-feature/upgrade", [&inputs] { return Upgrade(inputs); }});
    works->push_back({"stage/MakeFirstInfo", [&inputs] { return ReferenceWork(inputs); }});
    works->push_back({"stage/Alignment", [&inputs] { return AlignmentWork(inputs); }});
}

}  // namespace measure
