// SPDX-License-Identifier: Apache-2.0
//
// The work buffer: one flat array of bytes in which every algorithm lays out its own records.
// WorkAt is the only place where bytes become a record. Records are plain, hold indices instead of
// pointers (so sizes are the same on 32-bit and 64-bit machines) and have no constructor: what a
// record contains on entry is undefined, and each algorithm clears what it needs.
#pragma once

#include <assert.h>
#include <stddef.h>
#include <stdint.h>

namespace qorfp {

/// Size of the work buffer that every engine function takes, in bytes.
constexpr int32_t kWorkBytes = 204800;

/// Alignment that every engine function may rely on, in bytes.
constexpr size_t kWorkAlignment = 8;

/// The record that lies at `bytes`.
template <class Record>
inline Record* WorkAt(uint8_t* bytes) {
    static_assert(__is_trivially_copyable(Record), "a work record is plain data");
    static_assert(alignof(Record) <= kWorkAlignment, "the buffer's alignment serves the record");
    static_assert(sizeof(Record) <= static_cast<size_t>(kWorkBytes), "the record fits the buffer");
    assert(reinterpret_cast<uintptr_t>(bytes) % alignof(Record) == 0);
    return static_cast<Record*>(static_cast<void*>(bytes));
}

/// `offset` rounded up to the next multiple of 4: where a 32-bit array may start.
constexpr int32_t AlignUp4(int32_t offset) {
    return (offset + 3) & ~3;
}

}  // namespace qorfp
