// SPDX-License-Identifier: Apache-2.0
//
// The library's work buffer before a call: zeros, a pattern, or what other calls have left there. No
// result may depend on it.
#pragma once

#include <cstdint>
#include <vector>

#include "fuzz/support/FencedMemory.h"
#include "tests/model/ModelTypes.h"

namespace fuzz {

enum class Fill { kZeros, kPattern, kLeftovers };

constexpr Fill kAllFills[] = {Fill::kZeros, Fill::kPattern, Fill::kLeftovers};

/// Fills the work buffer of the exported calls.
void FillEngineBuffer(Fill fill);

/// A fenced work buffer for engine functions and stages.
class WorkMemory {
  public:
    static constexpr int32_t kBytes = 204800;

    WorkMemory() : memory_(kBytes, Fence::kBehind) {}

    uint8_t* Bytes() { return memory_.Data(); }
    void Reset(Fill fill);

    void Put(size_t offset, const model::Grid& grid);
    model::Grid Take(size_t offset, int32_t width, int32_t height);

  private:
    FencedMemory memory_;
};

/// What a call has returned and written.
struct Outcome {
    uint32_t code = 0;
    std::vector<int32_t> numbers;
    std::vector<uint8_t> bytes;
};

void ExpectEqual(const Outcome& expected, const Outcome& actual, const char* what);

/// The outcome of `call(fence)`, an exported call with its arguments at such fences, which must be
/// the same for every fill of the work buffer.
template <class Call>
Outcome WithEachFill(Call call) {
    FillEngineBuffer(Fill::kZeros);
    const Outcome outcome = call(Fence::kBehind);
    FillEngineBuffer(Fill::kPattern);
    ExpectEqual(outcome, call(Fence::kBefore), "with the work buffer filled with 0xA5");
    FillEngineBuffer(Fill::kLeftovers);
    ExpectEqual(outcome, call(Fence::kBehind), "with another call's leftovers in the work buffer");
    return outcome;
}

}  // namespace fuzz
