// SPDX-License-Identifier: Apache-2.0
//
// An output array between two guard regions: shows that a call writes the array and nothing
// around it.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace apitest {

class GuardedBytes {
  public:
    static constexpr uint8_t kFill = 0x5B;

    explicit GuardedBytes(size_t size) : size_(size), bytes_(size + 2 * kGuardBytes, kGuard) {
        std::fill(Data(), Data() + size, kFill);
    }

    uint8_t* Data() { return bytes_.data() + kGuardBytes; }
    char* Text() { return reinterpret_cast<char*>(Data()); }
    std::vector<uint8_t> Copy() { return std::vector<uint8_t>(Data(), Data() + size_); }

    /// Nothing outside the array has changed.
    bool GuardsIntact() const {
        const auto isGuard = [](uint8_t byte) { return byte == kGuard; };
        return std::all_of(bytes_.begin(), bytes_.begin() + kGuardBytes, isGuard) &&
               std::all_of(bytes_.end() - kGuardBytes, bytes_.end(), isGuard);
    }

    /// The array itself has not changed either.
    bool Untouched() {
        const auto isFill = [](uint8_t byte) { return byte == kFill; };
        return GuardsIntact() && std::all_of(Data(), Data() + size_, isFill);
    }

  private:
    static constexpr uint8_t kGuard = 0xC7;
    static constexpr std::ptrdiff_t kGuardBytes = 64;

    size_t size_;
    std::vector<uint8_t> bytes_;
};

/// A 32-bit output between guards, 4-aligned.
struct GuardedNumber {
    static constexpr int32_t kFill = 0x5A17C0DE;

    int32_t below[4] = {kGuard, kGuard, kGuard, kGuard};
    int32_t value = kFill;
    int32_t above[4] = {kGuard, kGuard, kGuard, kGuard};

    bool GuardsIntact() const {
        const auto isGuard = [](int32_t number) { return number == kGuard; };
        return std::all_of(below, below + 4, isGuard) && std::all_of(above, above + 4, isGuard);
    }
    bool Untouched() const { return GuardsIntact() && value == kFill; }

  private:
    static constexpr int32_t kGuard = 0x1BADF00D;
};

}  // namespace apitest
