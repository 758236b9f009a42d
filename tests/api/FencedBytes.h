// SPDX-License-Identifier: Apache-2.0
//
// An input array that ends at a page without access and cannot be written: a call that reads
// behind it or changes it ends the test program.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace apitest {

class FencedBytes {
  public:
    /// Throws std::runtime_error when the system gives no memory.
    explicit FencedBytes(const std::vector<uint8_t>& bytes);
    ~FencedBytes();
    FencedBytes(const FencedBytes&) = delete;
    FencedBytes& operator=(const FencedBytes&) = delete;

    const uint8_t* Data() const { return data_; }

  private:
    void* pages_ = nullptr;
    size_t pageBytes_ = 0;
    const uint8_t* data_ = nullptr;
};

/// An address that may not even be read.
const uint8_t* UnreadableAddress();

}  // namespace apitest
