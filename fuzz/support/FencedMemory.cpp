// SPDX-License-Identifier: Apache-2.0
#include "fuzz/support/FencedMemory.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>

#include "fuzz/support/Expect.h"

namespace fuzz {

namespace {

constexpr uint8_t kRest = 0xC7;

size_t PageBytes() {
    static const size_t bytes = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    return bytes;
}

}  // namespace

FencedMemory::FencedMemory(size_t size, Fence fence)
    : pages_(nullptr),
      bodyBytes_(std::max<size_t>(1, (size + PageBytes() - 1) / PageBytes()) * PageBytes()),
      size_(size),
      data_(nullptr) {
    const size_t page = PageBytes();
    void* const pages =
        mmap(nullptr, bodyBytes_ + 2 * page, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    Expect(pages != MAP_FAILED, "memory for a fenced block");
    pages_ = static_cast<uint8_t*>(pages);
    uint8_t* const body = pages_ + page;
    Expect(mprotect(body, bodyBytes_, PROT_READ | PROT_WRITE) == 0, "a fenced block opens");
    std::memset(body, kRest, bodyBytes_);
    data_ = fence == Fence::kBehind ? body + bodyBytes_ - size : body;
}

FencedMemory::~FencedMemory() {
    munmap(pages_, bodyBytes_ + 2 * PageBytes());
}

void FencedMemory::MakeReadOnly() {
    Expect(mprotect(pages_ + PageBytes(), bodyBytes_, PROT_READ) == 0, "a fenced block closes");
}

void FencedMemory::ExpectRestUntouched() const {
    const uint8_t* const body = pages_ + PageBytes();
    const auto isRest = [](uint8_t byte) { return byte == kRest; };
    Expect(std::all_of(body, static_cast<const uint8_t*>(data_), isRest) &&
               std::all_of(data_ + size_,
                           data_ + (bodyBytes_ - (static_cast<size_t>(data_ - body))), isRest),
           "nothing is written around an output");
}

Input::Input(const std::vector<uint8_t>& bytes, Fence fence) : memory_(bytes.size(), fence) {
    std::copy(bytes.begin(), bytes.end(), memory_.Data());
    memory_.MakeReadOnly();
}

}  // namespace fuzz
