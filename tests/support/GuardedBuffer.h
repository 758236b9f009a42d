// SPDX-License-Identifier: Apache-2.0
//
// A work buffer for tests: 204,800 bytes, 8-aligned, between two guard regions. What it holds
// before a run must not matter, so tests run with each kind of fill; what lies outside must stay.
#pragma once

#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <vector>

#include "tests/support/TestImages.h"

namespace testsupport {

enum class Fill { kZeros, kPattern, kRandom };

class WorkBuffer {
  public:
    static constexpr size_t kBytes = 204800;
    static constexpr size_t kGuardBytes = 4096;

    WorkBuffer() : words_((kBytes + 2 * kGuardBytes) / sizeof(uint64_t)) { Reset(Fill::kZeros); }

    /// Fills the buffer and renews the guards.
    void Reset(Fill fill) {
        std::memset(Base(), kGuardByte, kGuardBytes);
        std::memset(Base() + kGuardBytes + kBytes, kGuardByte, kGuardBytes);
        if (fill == Fill::kRandom) {
            std::memcpy(Bytes(), RandomBytes().data(), kBytes);
        } else {
            std::memset(Bytes(), fill == Fill::kZeros ? 0x00 : 0xA5, kBytes);
        }
    }

    uint8_t* Bytes() { return Base() + kGuardBytes; }

    bool GuardsIntact() const {
        for (size_t index = 0; index < kGuardBytes; ++index) {
            if (Base()[index] != kGuardByte || Base()[kGuardBytes + kBytes + index] != kGuardByte) {
                return false;
            }
        }
        return true;
    }

    void Put(size_t offset, const Grid& grid) {
        if (offset + grid.cells.size() > kBytes) {
            throw std::out_of_range("behind the work buffer");
        }
        if (!grid.cells.empty()) {
            std::memcpy(Bytes() + offset, grid.cells.data(), grid.cells.size());
        }
    }

    Grid Take(size_t offset, int32_t width, int32_t height) {
        Grid grid(width, height);
        if (offset + grid.cells.size() > kBytes) {
            throw std::out_of_range("behind the work buffer");
        }
        if (!grid.cells.empty()) {
            std::memcpy(grid.cells.data(), Bytes() + offset, grid.cells.size());
        }
        return grid;
    }

  private:
    static constexpr uint8_t kGuardByte = 0xC3;

    uint8_t* Base() { return reinterpret_cast<uint8_t*>(words_.data()); }
    const uint8_t* Base() const { return reinterpret_cast<const uint8_t*>(words_.data()); }

    static const std::vector<uint8_t>& RandomBytes() {
        static const std::vector<uint8_t> bytes = [] {
            std::vector<uint8_t> result(kBytes);
            Random random(Seed());
            for (uint8_t& byte : result) {
                byte = static_cast<uint8_t>(random.Next() >> 24);
            }
            return result;
        }();
        return bytes;
    }

    std::vector<uint64_t> words_;
};

/// Whole 4 x 4 blocks along a side: the shape of the block maps.
inline int32_t BlocksAlong(int32_t pixels) {
    return (pixels - 1) / 4;
}

/// Where the block direction map lies: directly behind the image.
inline size_t DirectionMapOffset(const Grid& image) {
    return image.cells.size();
}

/// Where the ridge-period map lies: at the next multiple of 4 behind the direction map.
inline size_t PeriodMapOffset(const Grid& image) {
    const int32_t blocks = BlocksAlong(image.width) * BlocksAlong(image.height);
    return (image.cells.size() + static_cast<size_t>(blocks) + 3) / 4 * 4;
}

}  // namespace testsupport
