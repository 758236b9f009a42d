// SPDX-License-Identifier: Apache-2.0
//
// Naive model of the ridge smoothing.
#include "tests/model/ModelRidgeSmoothing.h"

#include <stdexcept>

namespace model {

namespace {

// Orientations 0..30, an eighth of a turn; the others follow by symmetry.
// clang-format off
const OrientedFilter kFirstEighth[31] = {
    {26, {{1, 0, 23}, {2, 0, 23}, {3, 0, 23}, {4, 0, 23}, {5, 0, 23}}},
    {26, {{1, 0, 23}, {2, 0, 23}, {3, 0, 23}, {4, 0, 21}, {5, 0, 20}, {4, 1, 2}, {5, 1, 3}}},
    {26, {{1, 0, 23}, {2, 0, 23}, {3, 0, 23}, {4, 0, 18}, {5, 0, 17}, {4, 1, 5}, {5, 1, 6}}},
    {26, {{1, 0, 23}, {2, 0, 23}, {3, 0, 23}, {4, 0, 16}, {5, 0, 14}, {4, 1, 7}, {5, 1, 9}}},
    {26, {{1, 0, 23}, {2, 0, 23}, {3, 0, 23}, {4, 0, 13}, {5, 0, 11}, {4, 1, 10}, {5, 1, 12}}},
    {26, {{1, 0, 23}, {2, 0, 23}, {3, 0, 14}, {4, 0, 11}, {3, 1, 9}, {4, 1, 12}, {5, 1, 23}}},
    {24, {{1, 0, 23}, {2, 0, 23}, {3, 0, 12}, {4, 0, 9}, {3, 1, 11}, {4, 1, 15}, {5, 1, 23}}},
    {26, {{1, 0, 23}, {2, 0, 15}, {3, 0, 10}, {2, 1, 9}, {3, 1, 13}, {4, 1, 23}, {5, 1, 22}}},
    {22, {{1, 0, 24}, {2, 0, 14}, {3, 0, 9}, {2, 1, 10}, {3, 1, 15}, {4, 1, 24}, {5, 1, 21}}},
    {22, {{1, 0, 24}, {2, 0, 12}, {3, 0, 7}, {2, 1, 11}, {3, 1, 17}, {4, 1, 24}, {5, 1, 22}}},
    {22, {{1, 0, 17}, {2, 0, 11}, {1, 1, 7}, {2, 1, 13}, {3, 1, 24}, {4, 1, 24}, {5, 1, 21}}},
    {22, {{1, 0, 24}, {2, 0, 10}, {2, 1, 14}, {3, 1, 24}, {4, 1, 24}, {5, 1, 12}, {5, 2, 9}}},
    {24, {{1, 0, 24}, {2, 0, 9}, {2, 1, 15}, {3, 1, 24}, {4, 1, 24}, {5, 1, 9}, {5, 2, 11}}},
    {26, {{1, 0, 15}, {1, 1, 9}, {2, 1, 24}, {3, 1, 24}, {4, 1, 14}, {4, 2, 10}, {5, 2, 19}}},
    {22, {{1, 0, 15}, {1, 1, 10}, {2, 1, 25}, {3, 1, 25}, {4, 1, 12}, {4, 2, 13}, {5, 2, 17}}},
    {26, {{1, 0, 14}, {1, 1, 11}, {2, 1, 25}, {3, 1, 25}, {4, 1, 9}, {4, 2, 16}, {5, 2, 15}}},
    {28, {{1, 0, 14}, {1, 1, 12}, {2, 1, 25}, {3, 1, 16}, {3, 2, 9}, {4, 2, 25}, {5, 2, 13}}},
    {26, {{1, 0, 13}, {1, 1, 12}, {2, 1, 27}, {3, 1, 14}, {3, 2, 11}, {4, 2, 26}, {5, 2, 12}}},
    {26, {{1, 0, 12}, {1, 1, 13}, {2, 1, 27}, {3, 1, 12}, {3, 2, 13}, {4, 2, 27}, {5, 2, 11}}},
    {26, {{1, 0, 12}, {1, 1, 14}, {2, 1, 27}, {3, 1, 10}, {3, 2, 16}, {4, 2, 26}, {5, 2, 10}}},
    {30, {{1, 0, 13}, {1, 1, 16}, {2, 1, 28}, {3, 1, 9}, {3, 2, 19}, {4, 2, 18}, {4, 3, 10}}},
    {28, {{1, 0, 12}, {1, 1, 17}, {2, 1, 20}, {2, 2, 8}, {3, 2, 29}, {4, 2, 15}, {4, 3, 13}}},
    {26, {{1, 0, 11}, {1, 1, 17}, {2, 1, 18}, {2, 2, 10}, {3, 2, 31}, {4, 2, 12}, {4, 3, 16}}},
    {28, {{1, 0, 10}, {1, 1, 18}, {2, 1, 16}, {2, 2, 11}, {3, 2, 31}, {4, 2, 9}, {4, 3, 19}}},
    {30, {{1, 0, 10}, {1, 1, 18}, {2, 1, 15}, {2, 2, 13}, {3, 2, 21}, {3, 3, 8}, {4, 3, 28}}},
    {28, {{1, 0, 9}, {1, 1, 20}, {2, 1, 14}, {2, 2, 15}, {3, 2, 18}, {3, 3, 11}, {4, 3, 27}}},
    {30, {{1, 0, 9}, {1, 1, 22}, {2, 1, 12}, {2, 2, 17}, {3, 2, 16}, {3, 3, 13}, {4, 3, 24}}},
    {30, {{1, 0, 8}, {1, 1, 24}, {2, 1, 11}, {2, 2, 19}, {3, 2, 14}, {3, 3, 16}, {4, 3, 21}}},
    {28, {{1, 0, 8}, {1, 1, 26}, {2, 1, 9}, {2, 2, 22}, {3, 2, 11}, {3, 3, 19}, {4, 3, 19}}},
    {30, {{1, 1, 33}, {2, 1, 8}, {2, 2, 25}, {3, 2, 8}, {3, 3, 23}, {4, 3, 9}, {4, 4, 7}}},
    {28, {{1, 1, 34}, {2, 2, 34}, {3, 3, 27}, {4, 3, 6}, {3, 4, 6}, {4, 4, 7}}},
};
// clang-format on

// Plain linear addressing: a column beyond the row is the next row's, and behind the last row
// stands the block direction map.
int64_t LinearAt(const Grid& image, const Grid& map, int64_t x, int64_t y) {
    const int64_t address = y * image.width + x;
    const int64_t size = static_cast<int64_t>(image.cells.size());
    if (address < size) {
        return image.cells.at(static_cast<size_t>(address));
    }
    return map.cells.at(static_cast<size_t>(address - size));
}

int64_t SmoothInside(const Grid& image, const Grid& map, const OrientedFilter& filter, int32_t x,
                     int32_t y) {
    int64_t sum = int64_t{filter.centreWeight} * image.At(x, y);
    for (const FilterSample& sample : filter.samples) {
        sum += sample.weight * (LinearAt(image, map, x + sample.dx, y + sample.dy) +
                                LinearAt(image, map, x - sample.dx, y - sample.dy));
    }
    return sum >> 8;
}

int64_t SmoothAtBorder(const Grid& image, const OrientedFilter& filter, int32_t x, int32_t y) {
    int64_t sum = int64_t{filter.centreWeight} * image.At(x, y);
    int64_t weight = filter.centreWeight;
    for (const FilterSample& sample : filter.samples) {
        for (int32_t side = -1; side <= 1; side += 2) {
            const int32_t atX = x + side * sample.dx;
            const int32_t atY = y + side * sample.dy;
            if (image.Contains(atX, atY)) {
                sum += int64_t{sample.weight} * image.At(atX, atY);
                weight += sample.weight;
            }
        }
    }
    return sum / weight;
}

}  // namespace

OrientedFilter FilterOf(int32_t orientation) {
    if (orientation < 0 || orientation >= 120) {
        throw std::out_of_range("orientation");
    }
    if (orientation <= 30) {
        return kFirstEighth[orientation];
    }
    OrientedFilter filter;
    if (orientation == 60) {
        filter.centreWeight = 26;
        for (int32_t step = 1; step <= 5; ++step) {
            filter.samples.push_back(FilterSample{0, step, 23});
        }
    } else if (orientation < 60) {
        filter = FilterOf(60 - orientation);
        for (FilterSample& sample : filter.samples) {
            sample = FilterSample{sample.dy, sample.dx, sample.weight};
        }
    } else {
        filter = FilterOf(120 - orientation);
        for (FilterSample& sample : filter.samples) {
            sample.dx = -sample.dx;
        }
    }
    return filter;
}

Grid SmoothRidge(const Grid& image, const Grid& map) {
    Grid result = image;
    for (int32_t blockY = 0; blockY < map.height; ++blockY) {
        for (int32_t blockX = 0; blockX < map.width; ++blockX) {
            const int32_t orientation = map.At(blockX, blockY) & 127;
            if (orientation >= 120) {
                continue;
            }
            const OrientedFilter filter = FilterOf(orientation);
            const bool inside =
                blockX >= 1 && blockX <= map.width - 2 && blockY >= 1 && blockY <= map.height - 3;
            for (int32_t y = 4 * blockY + 1; y <= 4 * blockY + 4; ++y) {
                for (int32_t x = 4 * blockX + 1; x <= 4 * blockX + 4; ++x) {
                    const int64_t value = inside ? SmoothInside(image, map, filter, x, y)
                                                 : SmoothAtBorder(image, filter, x, y);
                    result.At(x, y) = static_cast<uint8_t>(value);
                }
            }
        }
    }
    return result;
}

}  // namespace model
