// SPDX-License-Identifier: Apache-2.0
//
// Memory beside a page without access: a step over that end is a crash, with every compiler and on
// every machine. The rest of the block's pages is looked at afterwards.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace fuzz {

/// Which end of a block touches the fence.
enum class Fence { kBehind, kBefore };

class FencedMemory {
  public:
    FencedMemory(size_t size, Fence fence);
    ~FencedMemory();
    FencedMemory(const FencedMemory&) = delete;
    FencedMemory& operator=(const FencedMemory&) = delete;

    uint8_t* Data() { return data_; }
    size_t Size() const { return size_; }

    /// From now on a write is a crash.
    void MakeReadOnly();

    /// The pages' bytes outside the block have their values still.
    void ExpectRestUntouched() const;

  private:
    uint8_t* pages_;
    size_t bodyBytes_;  // between the fences
    size_t size_;
    uint8_t* data_;
};

/// An argument that a call may read and must not write.
class Input {
  public:
    Input(const std::vector<uint8_t>& bytes, Fence fence);
    const uint8_t* Data() { return memory_.Data(); }

  private:
    FencedMemory memory_;
};

/// An argument that a call may write: `Data` is aligned for `Value` at either end.
template <class Value>
class Output {
  public:
    Output(size_t count, Fence fence) : Output(std::vector<Value>(count, Value{}), fence) {
        uint8_t* bytes = memory_.Data();
        for (size_t i = 0; i < memory_.Size(); ++i) {
            bytes[i] = kFill;
        }
    }
    Output(const std::vector<Value>& values, Fence fence)
        : memory_(values.size() * sizeof(Value), fence) {
        for (size_t i = 0; i < values.size(); ++i) {
            Data()[i] = values[i];
        }
    }

    Value* Data() { return static_cast<Value*>(static_cast<void*>(memory_.Data())); }

    /// The values, when nothing around them has been written.
    std::vector<Value> Take() {
        memory_.ExpectRestUntouched();
        return std::vector<Value>(Data(), Data() + memory_.Size() / sizeof(Value));
    }

    static constexpr uint8_t kFill = 0x5B;

  private:
    FencedMemory memory_;
};

/// What an output number holds that no call has written.
constexpr int32_t kUnwritten = 0x5B5B5B5B;

}  // namespace fuzz
