// SPDX-License-Identifier: Apache-2.0
//
// Libraries with one fault of their stack each: stack_depth.py has to refuse them. FAULT says which;
// with 0 there is none.
#include <cstdint>
#include <cstring>

#define NO_FAULT 0
#define RECURSION 1
#define VARIABLE_FRAME 2
#define POINTER_FROM_OUTSIDE 3
#define LARGER_FRAME 4
#define ANOTHER_CALL 5

extern "C" int32_t Entry(int32_t value, int32_t (*pointer)(int32_t));

namespace {

__attribute__((noinline)) int32_t Leaf(volatile uint8_t* bytes, int32_t value) {
    bytes[0] = static_cast<uint8_t>(value);
    return bytes[0] + value;
}

[[maybe_unused]] __attribute__((noinline)) int32_t OtherLeaf(volatile uint8_t* bytes,
                                                             int32_t value) {
    bytes[1] = static_cast<uint8_t>(value);
    return bytes[1] - value;
}

[[maybe_unused]] __attribute__((noinline)) int32_t Middle(int32_t value) {
#if FAULT == LARGER_FRAME
    volatile uint8_t bytes[1600];
#else
    volatile uint8_t bytes[800];
#endif
    for (volatile uint8_t& byte : bytes) {
        byte = 1;
    }
#if FAULT == RECURSION
    if (value > 1) {
        return Entry(value / 2, nullptr) + bytes[2];
    }
#elif FAULT == ANOTHER_CALL
    return OtherLeaf(bytes, value) + bytes[2];
#endif
    return Leaf(bytes, value) + bytes[2];
}

}  // namespace

int32_t Entry(int32_t value, [[maybe_unused]] int32_t (*pointer)(int32_t)) {
#if FAULT == VARIABLE_FRAME
    auto* bytes = static_cast<volatile uint8_t*>(__builtin_alloca(static_cast<size_t>(value)));
    return Leaf(bytes, value) + 1;
#elif FAULT == POINTER_FROM_OUTSIDE
    return pointer(value) + 1;
#else
    return Middle(value) + 1;
#endif
}
