// SPDX-License-Identifier: Apache-2.0
//
// Interposed allocation, see AllocationWatch.h. The linker sends calls of each function F to
// __wrap_F, and __real_F is the C library's.
#include "tests/search/AllocationWatch.h"

#include <sys/mman.h>

#include <cstdlib>
#include <new>
#include <stdexcept>

#include "tests/search/EngineLockState.h"

extern "C" {

void* __real_malloc(size_t bytes);
void* __real_calloc(size_t count, size_t bytes);
void* __real_realloc(void* block, size_t bytes);
void* __real_aligned_alloc(size_t alignment, size_t bytes);
void __real_free(void* block);

void* __wrap_malloc(size_t bytes);
void* __wrap_calloc(size_t count, size_t bytes);
void* __wrap_realloc(void* block, size_t bytes);
void* __wrap_aligned_alloc(size_t alignment, size_t bytes);
void __wrap_free(void* block);

}  // extern "C"

namespace searchtest {
namespace {

AllocationWatch* current = nullptr;
constexpr size_t kPage = 4096;

}  // namespace

AllocationWatch::AllocationWatch(const Plan& plan)
    : plan_(plan),
      untouchable_(mmap(nullptr, kPage, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0)) {
    current = this;
}

AllocationWatch::~AllocationWatch() {
    Stop();
    munmap(untouchable_, kPage);
}

void AllocationWatch::Stop() {
    current = nullptr;
}

AllocationWatch* AllocationWatch::Current() {
    return current;
}

const Allocation& AllocationWatch::At(size_t n) const {
    if (n >= count_ || n >= kMostNoted) {
        throw std::out_of_range("no such allocation");
    }
    return noted_[n];
}

size_t AllocationWatch::Leaked() const {
    size_t leaked = 0;
    for (size_t n = 0; n < count_ && n < kMostNoted; ++n) {
        leaked += noted_[n].block != nullptr && !noted_[n].isFreed ? 1 : 0;
    }
    return leaked;
}

void* AllocationWatch::Allocate(size_t bytes) {
    Allocation unnoted;
    Allocation& allocation = count_ < kMostNoted ? noted_[count_] : unnoted;
    const bool fails = count_ < 32 && (plan_.failing >> count_ & 1U) != 0;
    ++count_;
    allocation.bytes = bytes;
    allocation.wasEngineFree = IsEngineFree();
    if (fails || (bytes == 0 && plan_.zeroGivesNull)) {
        return nullptr;
    }
    allocation.block = bytes > plan_.largestRealBlock ? untouchable_ : __real_malloc(bytes);
    return allocation.block;
}

void AllocationWatch::Free(void* block) {
    if (block == nullptr) {
        return;
    }
    for (size_t n = 0; n < count_ && n < kMostNoted; ++n) {
        if (noted_[n].block == block && !noted_[n].isFreed) {
            noted_[n].isFreed = true;
            if (block != untouchable_) {
                __real_free(block);
            }
            return;
        }
    }
    ++freedAmiss_;
}

}  // namespace searchtest

using searchtest::AllocationWatch;

void* __wrap_malloc(size_t bytes) {
    AllocationWatch* const watch = AllocationWatch::Current();
    return watch != nullptr ? watch->Allocate(bytes) : __real_malloc(bytes);
}

// The library is not to use the following at all: it is enough that they are noted.

void* __wrap_calloc(size_t count, size_t bytes) {
    AllocationWatch* const watch = AllocationWatch::Current();
    return watch != nullptr ? watch->Allocate(0) : __real_calloc(count, bytes);
}

void* __wrap_realloc(void* block, size_t bytes) {
    AllocationWatch* const watch = AllocationWatch::Current();
    return watch != nullptr ? watch->Allocate(0) : __real_realloc(block, bytes);
}

void* __wrap_aligned_alloc(size_t alignment, size_t bytes) {
    AllocationWatch* const watch = AllocationWatch::Current();
    return watch != nullptr ? watch->Allocate(0) : __real_aligned_alloc(alignment, bytes);
}

void __wrap_free(void* block) {
    if (AllocationWatch* const watch = AllocationWatch::Current()) {
        watch->Free(block);
    } else {
        __real_free(block);
    }
}

void* operator new(size_t bytes) {
    void* const block = malloc(bytes != 0 ? bytes : 1);
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    return block;
}

void operator delete(void* block) noexcept {
    free(block);
}

void operator delete(void* block, size_t /*bytes*/) noexcept {
    free(block);
}
