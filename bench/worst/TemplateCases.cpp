// SPDX-License-Identifier: Apache-2.0
//
// Calls on a few templates.
#include <algorithm>
#include <memory>

#include "bench/worst/Cases.h"
#include "engine/FPEngine.h"
#include "engine/Work.h"
#include "include/QORFPApi.h"

namespace worst {
namespace {

using testsupport::FinishedTemplate;
using testsupport::Random;

constexpr int32_t kLevel = 3;
constexpr int32_t kScored = 100;  // candidates that a probe's keys are prepared for
constexpr size_t kKeysAt = 370;
constexpr size_t kKeyBytes = 7;
constexpr size_t kMostKeys = 19;

struct WorkBuffer {
    alignas(qorfp::kWorkAlignment) uint8_t bytes[qorfp::kWorkBytes] = {};
};

/// Templates that a call takes together, two or three.
struct Group {
    std::string name;
    bool isOrdinary;
    std::function<std::vector<TemplateBytes>()> make;
};

// The set, and the same finger elsewhere.
std::vector<TemplateBytes> MovedCopies(const model::MinutiaSet& set, int32_t jitter) {
    Random random(3);
    std::vector<TemplateBytes> copies = {FinishedTemplate(set)};
    for (const int32_t turn : {5, 235}) {
        testsupport::Impression impression;
        impression.turn = turn;
        impression.shiftX = 7;
        impression.shiftY = -4;
        impression.jitter = jitter;
        copies.push_back(FinishedTemplate(testsupport::TakeImpression(set, impression, random)));
    }
    return copies;
}

std::vector<Group> OrdinaryGroups(const Captures& captures) {
    std::vector<Group> groups;
    for (size_t i = 0; i < captures.templates.size(); i += kCapturesOfFinger) {
        std::vector<TemplateBytes> finger(
            captures.templates.begin() + static_cast<ptrdiff_t>(i),
            captures.templates.begin() + static_cast<ptrdiff_t>(i + kCapturesOfFinger));
        for (size_t turn = 0; turn < kCapturesOfFinger; ++turn) {
            std::rotate(finger.begin(), finger.begin() + 1, finger.end());
            groups.push_back({"finger", true, [finger] { return finger; }});
        }
    }
    return groups;
}

std::vector<Group> GroupsOfSixty(bool isOrdinary, const std::vector<NamedSet>& sets) {
    std::vector<Group> groups;
    for (const NamedSet& named : sets) {
        const model::MinutiaSet& set = named.set;
        groups.push_back(
            {named.name + ", moved", isOrdinary, [set] { return MovedCopies(set, 0); }});
        groups.push_back({named.name + ", moved and blurred", isOrdinary,
                          [set] { return MovedCopies(set, 1); }});
        if (!isOrdinary) {
            groups.push_back({named.name + ", the same", false, [set] {
                                  return std::vector<TemplateBytes>(3, FinishedTemplate(set));
                              }});
        }
    }
    return groups;
}

// Each set with the next one of its kind, which costs comparisons and gives no match.
std::vector<Group> Strangers(bool isOrdinary, const std::vector<NamedSet>& sets) {
    std::vector<Group> groups;
    for (size_t i = 0; i + 1 < sets.size(); ++i) {
        const NamedSet& first = sets[i];
        const NamedSet& second = sets[i + 1];
        groups.push_back({first.name + " with " + second.name, isOrdinary, [first, second] {
                              return std::vector<TemplateBytes>{FinishedTemplate(first.set),
                                                                FinishedTemplate(second.set)};
                          }});
    }
    return groups;
}

Prepared Verification(const std::vector<TemplateBytes>& templates) {
    return {[templates] {
        int32_t score = 0;
        QORFP_Verify(templates[0].data(), templates[1].data(), kLevel, &score);
    }};
}

Prepared Enrolment(const std::vector<TemplateBytes>& templates) {
    std::vector<uint8_t> joined;
    for (const TemplateBytes& bytes : templates) {
        joined.insert(joined.end(), bytes.begin(), bytes.end());
    }
    return {[joined] {
        uint8_t bytes[QORFP_TEMPLATE_BYTES];
        int32_t quality = 0;
        QORFP_Enroll(joined.data(), 3, bytes, &quality);
    }};
}

Prepared Improvement(const std::vector<TemplateBytes>& templates) {
    const auto enrolled = std::make_shared<TemplateBytes>();
    return {[templates, enrolled] { QORFP_Improve(templates[1].data(), enrolled->data()); },
            [templates, enrolled] { *enrolled = templates[0]; }};
}

// The older form of a template, whose check makes its index.
Prepared Upgrade(const std::vector<TemplateBytes>& templates) {
    TemplateBytes old = templates[0];
    old[2] = '0';
    const auto stored = std::make_shared<TemplateBytes>();
    return {[stored] {
                int32_t converted = 0;
                QORFP_CheckFeature(stored->data(), &converted);
            },
            [stored, old] { *stored = old; }};
}

Prepared ProbeIndex(const std::vector<TemplateBytes>& templates) {
    const auto work = std::make_shared<WorkBuffer>();
    const TemplateBytes probe = templates[0];
    return {[work, probe] { ISetIndex(work->bytes, probe.data()); }};
}

// Scores of the second template for the first as the probe.
Prepared IndexScores(const std::vector<TemplateBytes>& templates) {
    const auto work = std::make_shared<WorkBuffer>();
    const TemplateBytes candidate = templates[1];
    ISetIndex(work->bytes, templates[0].data());
    return {[work, candidate] {
        int32_t scores[kScored];
        const uint8_t* list[kScored];
        std::fill_n(list, kScored, candidate.data());
        IGetScoreB(work->bytes, list, kScored, scores);
    }};
}

// A template whose keys are all the probe's key `k`.
TemplateBytes WithOneKey(const TemplateBytes& probe, size_t k) {
    TemplateBytes bytes = probe;
    bytes[kKeysAt] = kMostKeys;
    for (size_t i = 0; i < kMostKeys; ++i) {
        std::copy_n(probe.begin() + static_cast<ptrdiff_t>(kKeysAt + 2 + kKeyBytes * k), kKeyBytes,
                    bytes.begin() + static_cast<ptrdiff_t>(kKeysAt + 2 + kKeyBytes * i));
    }
    return bytes;
}

// Probes, and templates all of whose keys are one of the probe's.
std::vector<Group> WithEqualKeys(const Captures& captures, const std::vector<Group>& adversarial) {
    std::vector<Group> groups;
    for (const TemplateBytes& probe : captures.templates) {
        for (size_t k = 0; k < probe[kKeysAt]; ++k) {
            groups.push_back({"a finger, all keys one of its own", false, [probe, k] {
                                  return std::vector<TemplateBytes>{probe, WithOneKey(probe, k)};
                              }});
        }
    }
    for (const Group& group : adversarial) {
        groups.push_back({group.name + ", all keys the first", false, [group] {
                              std::vector<TemplateBytes> templates = group.make();
                              templates[1] = WithOneKey(templates[0], 0);
                              return templates;
                          }});
    }
    return groups;
}

}  // namespace

std::vector<Call> TemplateCalls(const Captures& captures) {
    const std::vector<NamedSet> sets = AdversarialSets();
    const std::vector<NamedSet> spread = SpreadSets();
    const std::vector<Group> fingers = OrdinaryGroups(captures);
    const std::vector<Group> sixty = GroupsOfSixty(true, spread);
    const std::vector<Group> adversarial = GroupsOfSixty(false, sets);
    const auto joined = [](std::vector<Group> first, const std::vector<Group>& second) {
        first.insert(first.end(), second.begin(), second.end());
        return first;
    };
    const std::vector<Group> pairs = joined(adversarial, Strangers(false, sets));
    const std::vector<Group> sixtyPairs = joined(sixty, Strangers(true, spread));

    std::vector<Call> calls;
    const auto add = [&](const std::string& name, double bound, const std::vector<Group>& ordinary,
                         const std::vector<Group>& worst,
                         Prepared (*prepare)(const std::vector<TemplateBytes>&)) {
        Call call = {name, bound, {}};
        for (const Group& group : joined(ordinary, worst)) {
            call.inputs.push_back(
                {group.name, group.isOrdinary, [group, prepare] { return prepare(group.make()); }});
        }
        calls.push_back(std::move(call));
    };
    add("QORFP_Verify, fingers", 16, fingers, pairs, Verification);
    add("QORFP_Verify, 60 minutiae", 0, sixtyPairs, pairs, Verification);
    add("QORFP_Enroll of three, fingers", 17, fingers, adversarial, Enrolment);
    add("QORFP_Enroll of three, 60 minutiae", 0, sixty, adversarial, Enrolment);
    add("QORFP_Improve, fingers", 12, fingers, adversarial, Improvement);
    add("QORFP_Improve, 60 minutiae", 0, sixty, adversarial, Improvement);
    add("QORFP_CheckFeature, upgrade", 7, fingers, adversarial, Upgrade);
    add("index of a probe", 7, fingers, adversarial, ProbeIndex);
    add("index scores of 100 templates", 20, fingers,
        joined(adversarial, WithEqualKeys(captures, adversarial)), IndexScores);
    return calls;
}

}  // namespace worst
