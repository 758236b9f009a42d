// SPDX-License-Identifier: Apache-2.0
//
// Both searches behind one interface, with everything that a call does noted: result, outputs, what
// it prints, and the engine calls it makes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "tests/search/EngineRecorder.h"
#include "tests/support/TestMinutiae.h"

namespace searchtest {

using testsupport::TemplateBytes;

enum class Call { kIdentify, kSearch };

constexpr Call kBothCalls[] = {Call::kIdentify, Call::kSearch};

std::string NameOf(Call call);

/// A list in both forms: back to back, and by pointers to arrays of their own. Every array has
/// exactly its size, so that an address checker sees any access outside.
class CallerList {
  public:
    explicit CallerList(std::vector<TemplateBytes> templates);

    uint32_t Count() const { return static_cast<uint32_t>(templates_.size()); }
    const uint8_t* Contiguous() const { return contiguous_.data(); }
    const uint8_t* const* Pointers() const { return pointers_.data(); }
    const TemplateBytes& Template(size_t position) const { return templates_.at(position); }
    bool IsUnchanged() const;

    /// Where a candidate of either form stands; throws for any other pointer.
    size_t PositionOf(Call call, const uint8_t* candidate) const;

    void MakeNull(size_t position) { pointers_.at(position) = nullptr; }

  private:
    std::vector<TemplateBytes> templates_;
    std::vector<TemplateBytes> original_;
    std::vector<uint8_t> contiguous_;
    std::vector<const uint8_t*> pointers_;
};

constexpr uint32_t kUnwrittenIndex = 0xA5A5A5A5u;
constexpr int32_t kUnwrittenScore = -0x5A5A5A5A;

struct CallOutcome {
    uint32_t result = 0;
    uint32_t index = kUnwrittenIndex;
    int32_t score = kUnwrittenScore;
    std::string output;  ///< on standard output
    Recording recording;
    std::vector<size_t> matched;  ///< positions, in the order of the full matches
    std::vector<int32_t> scores;  ///< of these

    bool HasWritten() const { return index != kUnwrittenIndex || score != kUnwrittenScore; }
};

/// Arguments that differ from the ordinary ones.
struct Oddities {
    bool nullProbe = false;
    bool nullList = false;
    bool nullIndex = false;
    bool nullScore = false;
    const Script* script = nullptr;
};

/// Makes the call and expects what holds for every call: the engine locked while it is used and
/// free afterwards, the caller's templates unchanged, the list scored once in the call's own form
/// (or not at all), and only the first full match given the probe.
CallOutcome RunCall(Call call, const TemplateBytes& probe, const CallerList& list, uint32_t level,
                    const Oddities& oddities = {});

}  // namespace searchtest
