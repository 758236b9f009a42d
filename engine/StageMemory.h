// SPDX-License-Identifier: Apache-2.0
//
// What a stage may touch of the work buffer. Most of the buffer is somebody's at any time, so an
// access at a wrong place goes unnoticed as a rule, and so does a read of what the stage before has
// left there. A stage therefore says at its beginning which parts are its own. Until it ends,
// AddressSanitizer reports every access to any other byte of the buffer; MemorySanitizer reports it
// when something is decided by scratch that the stage has not written. In all other builds this is
// nothing.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include "engine/Work.h"

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define QORFP_GUARDS_BYTES 1
#endif
#if __has_feature(memory_sanitizer)
#define QORFP_FORGETS_SCRATCH 1
#endif
#elif defined(__SANITIZE_ADDRESS__)
#define QORFP_GUARDS_BYTES 1
#endif

#if defined(QORFP_GUARDS_BYTES)
#include <sanitizer/asan_interface.h>
#endif
#if defined(QORFP_FORGETS_SCRATCH)
#include <sanitizer/msan_interface.h>
#endif

namespace qorfp {

/// Bytes of the work buffer that belong to a stage.
struct WorkPart {
    int64_t offset;
    int64_t bytes;
    bool isScratch;  ///< what it holds when the stage begins has no meaning
};

/// A part that holds what the stage reads.
constexpr WorkPart Held(int64_t offset, int64_t bytes) {
    return {offset, bytes, false};
}

/// A part that the stage writes before it reads it.
constexpr WorkPart Scratch(int64_t offset, int64_t bytes) {
    return {offset, bytes, true};
}

template <class Record>
constexpr WorkPart ScratchOf(int64_t offset) {
    return Scratch(offset, static_cast<int64_t>(sizeof(Record)));
}

/// Makes the given parts all that may be touched of the work buffer, until the end of the block. One
/// at a time in a buffer.
class StageMemory {
  public:
    template <size_t kParts>
    StageMemory([[maybe_unused]] uint8_t* buffer,
                [[maybe_unused]] const WorkPart (&parts)[kParts]) {
#if defined(QORFP_GUARDS_BYTES)
        buffer_ = buffer;
        __asan_poison_memory_region(buffer_, static_cast<size_t>(kWorkBytes));
        for (const WorkPart& part : parts) {
            __asan_unpoison_memory_region(buffer_ + part.offset, static_cast<size_t>(part.bytes));
        }
#endif
#if defined(QORFP_FORGETS_SCRATCH)
        for (const WorkPart& part : parts) {
            if (part.isScratch) {
                __msan_poison(buffer + part.offset, static_cast<size_t>(part.bytes));
            }
        }
#endif
    }

#if defined(QORFP_GUARDS_BYTES)
    ~StageMemory() {
        __asan_unpoison_memory_region(buffer_, static_cast<size_t>(kWorkBytes));
    }
#endif

    StageMemory(const StageMemory&) = delete;
    StageMemory& operator=(const StageMemory&) = delete;

#if defined(QORFP_GUARDS_BYTES)
  private:
    uint8_t* buffer_;
#endif
};

/// Allows a decision by `value` even if it comes from scratch that nobody has written: for a short cut
/// that gives the same result as the long way.
template <class Value>
inline void MayBeUnwritten([[maybe_unused]] Value* value) {
#if defined(QORFP_FORGETS_SCRATCH)
    __msan_unpoison(value, sizeof(*value));
#endif
}

}  // namespace qorfp
