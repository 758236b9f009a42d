// SPDX-License-Identifier: Apache-2.0
//
// Searches in lists of 250 templates, of which 212 are matched in full, at the strictest level. Ordinary: a finger that is not in the
// list, so that none ends early.
#include <algorithm>
#include <memory>

#include "bench/worst/Cases.h"
#include "include/QORFPApi.h"

namespace worst {
namespace {

using testsupport::FinishedTemplate;
using testsupport::Random;

constexpr uint32_t kStrictest = 5;
constexpr size_t kListLength = 250;
constexpr size_t kEverySet = 5;  // of the adversarial ones: every kind is among them
const char* const kWorstSets = "2 heaps of radius 0";  // of comparisons
constexpr int32_t kCertain = 225;                      // a score that ends a search

int32_t ScoreOf(const TemplateBytes& first, const TemplateBytes& second) {
    int32_t score = 0;
    QORFP_Verify(first.data(), second.data(), 3, &score);
    return score;
}

Prepared Searching(const TemplateBytes& probe, const std::vector<TemplateBytes>& entries) {
    std::vector<uint8_t> list;
    for (size_t i = 0; i < kListLength; ++i) {
        const TemplateBytes& entry = entries[i % entries.size()];
        list.insert(list.end(), entry.begin(), entry.end());
    }
    return {[probe, list] {
        QORFP_Search(probe.data(), list.data(), kListLength, kStrictest, nullptr, nullptr);
    }};
}

// Impressions of the fingers that are not the probe's.
std::vector<TemplateBytes> Gallery(const Captures& captures, size_t finger) {
    Random random(4);
    std::vector<TemplateBytes> entries;
    while (entries.size() < kListLength) {
        const size_t source =
            static_cast<size_t>(random.Below(static_cast<int32_t>(captures.templates.size())));
        if (source / kCapturesOfFinger == finger) {
            continue;
        }
        model::MinutiaSet set;
        model::DecodeTemplate(captures.templates[source], set);
        entries.push_back(FinishedTemplate(
            testsupport::TakeImpression(set, testsupport::RandomImpression(random), random)));
    }
    return entries;
}

// All entries alike. Where they match the probe beyond doubt, the search would end at the first, and is
// not looked at.
Prepared SearchingAmongEqual(const TemplateBytes& probe, const TemplateBytes& entry) {
    return ScoreOf(probe, entry) < kCertain ? Searching(probe, {entry}) : Prepared{[] {}};
}

void AddAdversarial(const Captures& captures, const NamedSet& named, const NamedSet& next,
                    std::vector<Input>* inputs) {
    const TemplateBytes finger = captures.templates[0];
    const model::MinutiaSet set = named.set;
    const model::MinutiaSet other = next.set;
    inputs->push_back({"a finger among equal entries: " + named.name, false, [finger, set] {
                           return SearchingAmongEqual(finger, FinishedTemplate(set));
                       }});
    inputs->push_back({named.name + " among equal entries: " + next.name, false, [set, other] {
                           return SearchingAmongEqual(FinishedTemplate(set),
                                                      FinishedTemplate(other));
                       }});
    inputs->push_back({named.name + " among equal entries: itself blurred", false, [set] {
                           testsupport::Impression poor;
                           poor.jitter = 2;
                           Random random(5);
                           return SearchingAmongEqual(
                               FinishedTemplate(set),
                               FinishedTemplate(testsupport::TakeImpression(set, poor, random)));
                       }});
}

}  // namespace

std::vector<Call> SearchCalls(const Captures& captures) {
    Call call = {"QORFP_Search in 250", 25, {}};
    for (size_t finger = 0; finger * kCapturesOfFinger < captures.templates.size(); ++finger) {
        const TemplateBytes& probe = captures.templates[finger * kCapturesOfFinger];
        call.inputs.push_back({"finger", true, [&captures, probe, finger] {
                                   return Searching(probe, Gallery(captures, finger));
                               }});
        call.inputs.push_back(
            {"a finger among equal entries: a finger", false, [&captures, probe, finger] {
                 return Searching(probe, {Gallery(captures, finger)[0]});
             }});
    }
    const std::vector<NamedSet> sets = AdversarialSets();
    for (size_t which = 0; which + 1 < sets.size(); ++which) {
        if (which % kEverySet == 0 || sets[which].name.rfind(kWorstSets, 0) == 0) {
            AddAdversarial(captures, sets[which], sets[which + 1], &call.inputs);
        }
    }
    return {call};
}

}  // namespace worst
