// SPDX-License-Identifier: Apache-2.0
//
// Stands between the library and the C library's allocation (the program is linked with --wrap for
// each function, and operator new ends there too): notes every allocation made while a watch is
// set, and lets chosen ones fail.
#pragma once

#include <cstddef>
#include <cstdint>

namespace searchtest {

struct Allocation {
    void* block = nullptr;  ///< null when it failed
    size_t bytes = 0;
    bool isFreed = false;
    bool wasEngineFree = false;  ///< nobody held the engine's mutex at that moment
};

/// Until it is stopped, allocations are noted. One at a time, in one thread; it allocates nothing.
class AllocationWatch {
  public:
    struct Plan {
        uint32_t failing = 0;  ///< bit n set: the n-th allocation fails, the first being bit 0
        bool zeroGivesNull = false;  ///< what the C standard leaves open
        /// Larger blocks are not really there: touching one ends the program.
        size_t largestRealBlock = size_t{1} << 28;
    };

    static constexpr uint32_t kAllFail = 0xFFFFFFFFu;

    explicit AllocationWatch(const Plan& plan);
    ~AllocationWatch();
    AllocationWatch(const AllocationWatch&) = delete;
    AllocationWatch& operator=(const AllocationWatch&) = delete;

    /// Must come before anything else that may allocate, expectations too.
    void Stop();

    /// Allocations asked for, failed ones included.
    size_t Count() const { return count_; }
    const Allocation& At(size_t n) const;
    size_t Leaked() const;

    /// Blocks freed that this watch has not seen, or twice.
    size_t FreedAmiss() const { return freedAmiss_; }

    // What the interposed functions call.
    static AllocationWatch* Current();
    void* Allocate(size_t bytes);
    void Free(void* block);

  private:
    static constexpr size_t kMostNoted = 16;

    Plan plan_;
    void* untouchable_;
    Allocation noted_[kMostNoted];
    size_t count_ = 0;
    size_t freedAmiss_ = 0;
};

}  // namespace searchtest
