// SPDX-License-Identifier: Apache-2.0
//
// One call after another of all that the library exports, chosen by a seed, with arguments of which
// most make sense.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "fuzz/soak/Pool.h"

namespace soak {

class Calls {
  public:
    explicit Calls(uint64_t seed);

    /// Makes the next call.
    void Next();

    /// Over the names, results and outputs of all calls so far.
    uint64_t Digest() const { return digest_; }

    /// How often each call has given each result code.
    using Tally = std::map<std::string, std::map<uint32_t, uint64_t>>;
    const Tally& Results() const { return results_; }

  private:
    void Extract();
    void CheckFinger();
    void Verify();
    void Enroll();
    void Improve();
    void CheckFeature();
    void Search(bool byPointers);
    void Sort(bool hasValues);
    void Texts();

    void Add(const void* data, size_t size);
    void AddResult(const char* call, uint32_t code);
    bool IsNull() { return random_.OneIn(200); }
    int32_t Level();

    Pool pool_;
    Random random_;
    uint64_t digest_;
    Tally results_;
};

}  // namespace soak
