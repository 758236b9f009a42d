// SPDX-License-Identifier: Apache-2.0
//
// Naive model of the noise removal and of the ridge-period map.
#include "tests/model/ModelRidgeDensity.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

namespace model {

namespace {

constexpr uint8_t kBackground = 0x80;
constexpr uint8_t kHole = 128;

// clang-format off
const std::vector<RayPoint> kRays[16] = {
    {{0, -1}, {0, -2}, {0, -3}, {0, -4}, {0, -5}, {0, -6}, {0, -7}, {0, -8}, {0, -9}, {0, -10}},
    {{0, -1}, {0, -2}, {1, -3}, {1, -4}, {1, -5}, {1, -6}, {1, -7}, {2, -8}, {2, -9}, {2, -10}},
    {{0, -1}, {1, -2}, {1, -3}, {2, -4}, {2, -5}, {2, -6}, {3, -7}, {3, -8}, {4, -9}, {4, -10}},
    {{1, -1}, {1, -2}, {2, -3}, {3, -4}, {3, -5}, {4, -6}, {5, -7}, {5, -8}, {6, -9}, {7, -10}},
    {{1, -1}, {2, -2}, {3, -3}, {4, -4}, {5, -5}, {6, -6}, {7, -7}, {8, -8}, {9, -9}, {10, -10}},
    {{1, -1}, {2, -1}, {3, -2}, {4, -3}, {5, -3}, {6, -4}, {7, -5}, {8, -5}, {9, -6}, {10, -7}},
    {{1, 0}, {2, -1}, {3, -1}, {4, -2}, {5, -2}, {6, -2}, {7, -3}, {8, -3}, {9, -4}, {10, -4}},
    {{1, 0}, {2, 0}, {3, -1}, {4, -1}, {5, -1}, {6, -1}, {7, -1}, {8, -2}, {9, -2}, {10, -2}},
    {{1, 0}, {2, 0}, {3, 0}, {4, 0}, {5, 0}, {6, 0}, {7, 0}, {8, 0}, {9, 0}, {10, 0}},
    {{1, 0}, {2, 0}, {3, 1}, {4, 1}, {5, 1}, {6, 1}, {7, 1}, {8, 2}, {9, 2}, {10, 2}},
    {{1, 0}, {2, 1}, {3, 1}, {4, 2}, {5, 2}, {6, 2}, {7, 3}, {8, 3}, {9, 4}, {10, 4}},
    {{1, 1}, {2, 1}, {3, 2}, {4, 3}, {5, 3}, {6, 4}, {7, 5}, {8, 5}, {9, 6}, {10, 7}},
    {{1, 1}, {2, 2}, {3, 3}, {4, 4}, {5, 5}, {6, 6}, {7, 7}, {8, 8}, {9, 9}, {10, 10}},
    {{1, 1}, {1, 2}, {2, 3}, {3, 4}, {3, 5}, {4, 6}, {5, 7}, {5, 8}, {6, 9}, {7, 10}},
    {{0, 1}, {1, 2}, {1, 3}, {2, 4}, {2, 5}, {2, 6}, {3, 7}, {3, 8}, {4, 9}, {4, 10}},
    {{0, 1}, {0, 2}, {1, 3}, {1, 4}, {1, 5}, {1, 6}, {1, 7}, {2, 8}, {2, 9}, {2, 10}},
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

// The measured value 1..9 of one block.
uint8_t MeasureBlock(const Grid& image, const Grid& map, int32_t blockX, int32_t blockY) {
    const int32_t profileClass = ProfileClass(map.At(blockX, blockY));
    const std::vector<RayPoint> ray = ProfileRay(profileClass);
    const int32_t x = 4 * blockX + 3;
    const int32_t y = 4 * blockY + 3;
    std::vector<int64_t> profile(21, 0);
    profile.at(10) = image.At(x, y);
    for (int32_t k = 1; k <= 10; ++k) {
        const RayPoint& point = ray.at(static_cast<size_t>(k - 1));
        profile.at(static_cast<size_t>(10 + k)) = LinearAt(image, map, x + point.dx, y + point.dy);
        profile.at(static_cast<size_t>(10 - k)) = LinearAt(image, map, x - point.dx, y - point.dy);
    }
    std::vector<int64_t> rises;
    for (size_t i = 0; i <= 19; ++i) {
        if (profile.at(i + 1) > profile.at(i)) {
            rises.push_back(static_cast<int64_t>(i));
        }
    }
    const int64_t n = static_cast<int64_t>(rises.size());
    if (n <= 1) {
        return 9;
    }
    const int64_t span = rises.back() - rises.front();
    const int64_t period = ((n - 1) / 2 + ProfileStep(profileClass) * span) / (n - 1);
    const int64_t pixels = (period + 16) >> 5;
    return static_cast<uint8_t>(std::min<int64_t>(std::max<int64_t>(pixels, 5), 13) - 4);
}

// The nearest non-empty value on the axes through a hole; 36 where there is none within 5.
uint8_t FillOf(const Grid& periods, int32_t x, int32_t y) {
    for (int32_t distance = 1; distance <= 5; ++distance) {
        const int32_t stepX[4] = {-distance, distance, 0, 0};  // left, right, up, down
        const int32_t stepY[4] = {0, 0, -distance, distance};
        for (int32_t direction = 0; direction < 4; ++direction) {
            const int32_t atX = x + stepX[direction];
            const int32_t atY = y + stepY[direction];
            if (periods.Contains(atX, atY) && periods.At(atX, atY) % 128 != 0) {
                return static_cast<uint8_t>(periods.At(atX, atY) % 128);
            }
        }
    }
    return 36;
}

}  // namespace

Grid RemoveNoise(const Grid& image) {
    Grid result(image.width, image.height, 255);
    for (int32_t y = 1; y <= image.height - 2; ++y) {
        for (int32_t x = 1; x <= image.width - 2; ++x) {
            int64_t sum = 0;
            for (int32_t dy = -1; dy <= 1; ++dy) {
                for (int32_t dx = -1; dx <= 1; ++dx) {
                    sum += image.At(x + dx, y + dy);
                }
            }
            result.At(x, y) = sum >= 1152 ? 255 : 0;
        }
    }
    return result;
}

int32_t ProfileClass(int32_t orientation) {
    if (orientation < 0 || orientation >= 120) {
        throw std::out_of_range("orientation");
    }
    const double exact = 16.0 * orientation / 120.0;
    return static_cast<int32_t>(std::lround(exact)) % 16;
}

std::vector<RayPoint> ProfileRay(int32_t profileClass) {
    if (profileClass < 0 || profileClass >= 16) {
        throw std::out_of_range("profile class");
    }
    return kRays[profileClass];
}

int32_t ProfileStep(int32_t profileClass) {
    const RayPoint last = ProfileRay(profileClass).at(9);
    const double length = std::sqrt(static_cast<double>(last.dx * last.dx + last.dy * last.dy));
    return static_cast<int32_t>(std::lround(32.0 * length / 10.0));
}

Grid GetRidgeDensity(const Grid& image, const Grid& directionMap) {
    const int32_t columns = directionMap.width;
    const int32_t rows = directionMap.height;
    Grid measured(columns, rows, 0);
    if (rows - 2 > 2 && columns > 4) {
        const int32_t blocksInRow = (columns - 5) / 2 + 1;
        for (int32_t y = 2; y < rows - 2; y += 2) {
            for (int32_t index = 0; index < blocksInRow; ++index) {
                const int32_t x = 2 + 2 * index;
                // Bit 7 is background; 120..127 is no orientation and is not measured either.
                if (directionMap.At(x, y) < 120) {
                    measured.At(x, y) = MeasureBlock(image, directionMap, x, y);
                }
            }
        }
    }

    Grid smoothed = measured;
    for (int32_t y = 0; y < rows; ++y) {
        for (int32_t x = 0; x < columns; ++x) {
            if (directionMap.At(x, y) >= kBackground) {
                continue;
            }
            int64_t sum = 0;
            int64_t count = 0;
            for (int32_t atY = y - 3; atY <= y + 3; ++atY) {
                for (int32_t atX = x - 3; atX <= x + 3; ++atX) {
                    if (measured.Contains(atX, atY) && measured.At(atX, atY) != 0) {
                        sum += measured.At(atX, atY);
                        ++count;
                    }
                }
            }
            smoothed.At(x, y) =
                count > 0 ? static_cast<uint8_t>((count / 2 + 4 * sum) / count) : kHole;
        }
    }

    // Row by row and in place: a hole filled earlier serves the later ones.
    for (int32_t y = 0; y < rows; ++y) {
        for (int32_t x = 0; x < columns; ++x) {
            if (smoothed.At(x, y) == kHole) {
                smoothed.At(x, y) = FillOf(smoothed, x, y);
            }
        }
    }
    return smoothed;
}

}  // namespace model
