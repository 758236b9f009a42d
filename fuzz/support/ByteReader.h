// SPDX-License-Identifier: Apache-2.0
//
// An input's bytes as the choices of a structured test case. Behind the last byte all choices are 0,
// so that every input means something and a shorter one means less.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace fuzz {

class ByteReader {
  public:
    ByteReader(const uint8_t* data, size_t size) : next_(data), end_(data + size) {}

    size_t Left() const { return static_cast<size_t>(end_ - next_); }

    uint8_t Byte() { return next_ < end_ ? *next_++ : uint8_t{0}; }

    /// Little-endian.
    uint32_t Number16() {
        const uint32_t low = Byte();
        return low | static_cast<uint32_t>(Byte()) << 8;
    }
    uint32_t Number32() {
        const uint32_t low = Number16();
        return low | Number16() << 16;
    }
    int32_t Signed32() { return static_cast<int32_t>(Number32()); }

    bool Flag() { return (Byte() & 1) != 0; }

    /// 0..bound - 1, from one byte or, where that does not reach, from two. At most 65536.
    int32_t Below(int32_t bound) {
        const uint32_t number = bound <= 256 ? Byte() : Number16();
        return static_cast<int32_t>(number % static_cast<uint32_t>(bound));
    }
    int32_t Between(int32_t low, int32_t high) { return low + Below(high - low + 1); }

    /// `count` bytes, zeros where the input has no more.
    std::vector<uint8_t> Bytes(size_t count) {
        const size_t taken = std::min(count, Left());
        std::vector<uint8_t> bytes(next_, next_ + taken);
        next_ += taken;
        bytes.resize(count, 0);
        return bytes;
    }
    std::vector<uint8_t> Rest() { return Bytes(Left()); }

  private:
    const uint8_t* next_;
    const uint8_t* end_;
};

}  // namespace fuzz
