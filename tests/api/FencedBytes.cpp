// SPDX-License-Identifier: Apache-2.0
//
// Fenced input arrays, see FencedBytes.h.
#include "tests/api/FencedBytes.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstring>
#include <stdexcept>

namespace apitest {

namespace {

size_t PageBytes() {
    return static_cast<size_t>(sysconf(_SC_PAGESIZE));
}

void* MapPages(size_t bytes, int protection) {
    void* const pages = mmap(nullptr, bytes, protection, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (pages == MAP_FAILED) {
        throw std::runtime_error("no memory for a fenced array");
    }
    return pages;
}

}  // namespace

FencedBytes::FencedBytes(const std::vector<uint8_t>& bytes) {
    const size_t page = PageBytes();
    const size_t body = (bytes.size() + page - 1) / page * page;
    pageBytes_ = body + page;
    pages_ = MapPages(pageBytes_, PROT_READ | PROT_WRITE);
    uint8_t* const start = static_cast<uint8_t*>(pages_);
    uint8_t* const data = start + body - bytes.size();
    if (!bytes.empty()) {
        std::memcpy(data, bytes.data(), bytes.size());
    }
    data_ = data;
    if ((body > 0 && mprotect(start, body, PROT_READ) != 0) ||
        mprotect(start + body, page, PROT_NONE) != 0) {
        munmap(pages_, pageBytes_);
        throw std::runtime_error("cannot fence an array");
    }
}

FencedBytes::~FencedBytes() {
    munmap(pages_, pageBytes_);
}

const uint8_t* UnreadableAddress() {
    static const void* const page = MapPages(PageBytes(), PROT_NONE);
    return static_cast<const uint8_t*>(page);
}

}  // namespace apitest
