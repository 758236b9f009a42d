// SPDX-License-Identifier: Apache-2.0
//
// Both searches behind one interface, see SearchCalls.h.
#include "tests/search/SearchCalls.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "include/QORFPApi.h"
#include "tests/search/EngineLockState.h"
#include "tests/support/CapturedOutput.h"

namespace searchtest {
namespace {

constexpr size_t kTemplateBytes = 512;

void ExpectSoundUseOfTheEngine(Call call, const uint8_t* probe, const Recording& recording) {
    EXPECT_TRUE(recording.wasAlwaysLocked) << "the engine was used without its mutex";
    EXPECT_LE(recording.preparedProbes.size(), 1U);
    for (const uint8_t* const prepared : recording.preparedProbes) {
        EXPECT_EQ(prepared, probe);
    }
    const int32_t scored = recording.preparedProbes.empty() ? 0 : 1;
    EXPECT_EQ(recording.contiguousLists, call == Call::kSearch ? scored : 0);
    EXPECT_EQ(recording.pointerLists, call == Call::kIdentify ? scored : 0);
    for (size_t k = 0; k < recording.matches.size(); ++k) {
        EXPECT_EQ(recording.matches[k].probe, k == 0 ? probe : nullptr) << "full match " << k;
    }
}

}  // namespace

std::string NameOf(Call call) {
    return call == Call::kIdentify ? "QORFP_Identify" : "QORFP_Search";
}

CallerList::CallerList(std::vector<TemplateBytes> templates)
    : templates_(std::move(templates)), original_(templates_) {
    for (const TemplateBytes& bytes : templates_) {
        if (bytes.size() != kTemplateBytes) {
            throw std::invalid_argument("not a template");
        }
        contiguous_.insert(contiguous_.end(), bytes.begin(), bytes.end());
        pointers_.push_back(bytes.data());
    }
    if (templates_.empty()) {  // an empty list that is not null
        contiguous_.push_back(0);
        pointers_.push_back(nullptr);
    }
    contiguous_.shrink_to_fit();
    pointers_.shrink_to_fit();
}

bool CallerList::IsUnchanged() const {
    for (size_t i = 0; i < original_.size(); ++i) {
        const auto copy = contiguous_.begin() + static_cast<std::ptrdiff_t>(i * kTemplateBytes);
        if (templates_[i] != original_[i] ||
            !std::equal(original_[i].begin(), original_[i].end(), copy)) {
            return false;
        }
    }
    return true;
}

size_t CallerList::PositionOf(Call call, const uint8_t* candidate) const {
    if (call == Call::kSearch) {
        for (size_t i = 0; i < templates_.size(); ++i) {
            if (candidate == contiguous_.data() + i * kTemplateBytes) {
                return i;
            }
        }
    } else {
        const auto found = std::find(pointers_.begin(), pointers_.end(), candidate);
        if (candidate != nullptr && found != pointers_.end()) {
            return static_cast<size_t>(found - pointers_.begin());
        }
    }
    throw std::out_of_range("not an entry of the list");
}

CallOutcome RunCall(Call call, const TemplateBytes& probe, const CallerList& list, uint32_t level,
                    const Oddities& oddities) {
    CallOutcome outcome;
    const TemplateBytes ownProbe = probe;
    const uint8_t* const probeBytes = oddities.nullProbe ? nullptr : ownProbe.data();
    uint32_t* const index = oddities.nullIndex ? nullptr : &outcome.index;
    int32_t* const score = oddities.nullScore ? nullptr : &outcome.score;
    const auto positionOf = [call, &list](const uint8_t* candidate) {
        return list.PositionOf(call, candidate);
    };
    EngineRecorder recorder(oddities.script, positionOf);
    outcome.output = testsupport::OutputOf([&] {
        if (call == Call::kSearch) {
            const uint8_t* const templates = oddities.nullList ? nullptr : list.Contiguous();
            outcome.result = QORFP_Search(probeBytes, templates, list.Count(), level, index, score);
        } else {
            const uint8_t* const* const templates = oddities.nullList ? nullptr : list.Pointers();
            outcome.result =
                QORFP_Identify(probeBytes, templates, list.Count(), level, index, score);
        }
    });
    EXPECT_TRUE(IsEngineFree()) << "the engine's mutex is still held";
    EXPECT_EQ(ownProbe, probe);
    EXPECT_TRUE(list.IsUnchanged());
    outcome.recording = recorder.Recorded();
    ExpectSoundUseOfTheEngine(call, probeBytes, outcome.recording);
    for (const FullMatch& match : outcome.recording.matches) {
        outcome.matched.push_back(positionOf(match.candidate));
        outcome.scores.push_back(match.score);
    }
    return outcome;
}

}  // namespace searchtest
