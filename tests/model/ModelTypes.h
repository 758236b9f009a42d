// SPDX-License-Identifier: Apache-2.0
//
// Types shared by the naive models. The models restate every rule of the library in the slowest
// obvious way; they share no code, no header and no table with it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace model {

/// An 8-bit image or block map, row-major. Access outside the frame throws (std::vector::at).
struct Grid {
    int32_t width = 0;
    int32_t height = 0;
    std::vector<uint8_t> cells;

    Grid() = default;
    Grid(int32_t gridWidth, int32_t gridHeight, uint8_t fill = 0)
        : width(gridWidth),
          height(gridHeight),
          cells(static_cast<size_t>(gridWidth) * static_cast<size_t>(gridHeight), fill) {}

    bool Contains(int32_t x, int32_t y) const {
        return x >= 0 && x < width && y >= 0 && y < height;
    }
    uint8_t& At(int32_t x, int32_t y) {
        return cells.at(static_cast<size_t>(y) * static_cast<size_t>(width) +
                        static_cast<size_t>(x));
    }
    uint8_t At(int32_t x, int32_t y) const {
        return cells.at(static_cast<size_t>(y) * static_cast<size_t>(width) +
                        static_cast<size_t>(x));
    }
};

/// One minutia, decoded.
struct Minutia {
    uint32_t attributes = 0;  // high 6 bits: ridge density, low 6 bits: orientation disorder
    int32_t x = 0;
    int32_t y = 0;
    uint8_t type = 0;       // 1 ending, 2 bifurcation
    uint8_t direction = 0;  // 1/240 turn
};

/// A decoded template; confidences run beside the minutiae.
struct MinutiaSet {
    int32_t count = 0;  // the stored byte, also after a failed decode
    std::vector<Minutia> minutiae;
    std::vector<uint8_t> confidence;
};

}  // namespace model
