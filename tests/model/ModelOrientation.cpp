// SPDX-License-Identifier: Apache-2.0
//
// Naive model of the orientation field: all gradients first, then one window loop a block.
#include "tests/model/ModelOrientation.h"

#include <algorithm>
#include <functional>
#include <stdexcept>

#include "tests/model/ModelMaths.h"

namespace model {

namespace {

constexpr uint8_t kBackground = 0x80;

// The gradient at the centre of one block.
struct Gradient {
    int64_t x = 0;
    int64_t y = 0;
};

using GradientField = std::vector<std::vector<Gradient>>;  // [block row][block column]

// What a window of blocks adds up to.
struct WindowSums {
    int64_t xx = 0;
    int64_t yy = 0;
    int64_t xy = 0;
    int64_t strongBlocks = 0;
};

// Grid bounds the address only; here the column must be inside its row as well.
int64_t PixelAt(const Grid& image, int32_t x, int32_t y) {
    if (!image.Contains(x, y)) {
        throw std::out_of_range("pixel outside the image");
    }
    return image.At(x, y);
}

int64_t SixteenthHalfAwayFromZero(int64_t value) {
    return value >= 0 ? (value + 8) / 16 : (value - 8) / 16;
}

// sample(dx, dy) is the grey value at that offset from the block's centre.
Gradient GradientOf(const std::function<int64_t(int32_t, int32_t)>& sample) {
    const int64_t rawX = 3 * sample(1, 0) + sample(1, -1) + sample(1, 1) + sample(2, 0) -
                         (3 * sample(-1, 0) + sample(-1, -1) + sample(-1, 1) + sample(-2, 0));
    const int64_t rawY = 3 * sample(0, 1) + sample(-1, 1) + sample(1, 1) + sample(0, 2) -
                         (3 * sample(0, -1) + sample(-1, -1) + sample(1, -1) + sample(0, -2));
    Gradient gradient;
    gradient.x = SixteenthHalfAwayFromZero(rawX);
    gradient.y = SixteenthHalfAwayFromZero(rawY);
    return gradient;
}

WindowSums SumAround(const GradientField& field, int32_t blockX, int32_t blockY, int32_t reach) {
    WindowSums sums;
    const int32_t rows = static_cast<int32_t>(field.size());
    for (int32_t row = blockY - reach; row <= blockY + reach; ++row) {
        if (row < 0 || row >= rows) {
            continue;
        }
        const std::vector<Gradient>& blocks = field.at(static_cast<size_t>(row));
        const int32_t columns = static_cast<int32_t>(blocks.size());
        for (int32_t column = blockX - reach; column <= blockX + reach; ++column) {
            if (column < 0 || column >= columns) {
                continue;
            }
            const Gradient& gradient = blocks.at(static_cast<size_t>(column));
            sums.xx += gradient.x * gradient.x;
            sums.yy += gradient.y * gradient.y;
            sums.xy += gradient.x * gradient.y;
            if (gradient.x * gradient.x + gradient.y * gradient.y > 200) {
                ++sums.strongBlocks;
            }
        }
    }
    return sums;
}

int32_t OrientationOf(const WindowSums& sums) {
    const int64_t d = sums.xx - sums.yy;
    const int64_t e = 2 * sums.xy;
    int64_t a = d < 0 ? -d : d;
    int64_t b = e < 0 ? -e : e;
    const int64_t larger = std::max(a, b);
    if (larger > 49) {
        a = (49 * a + larger / 2) / larger;
        b = (49 * b + larger / 2) / larger;
    }
    const int32_t t = AtanAEntry(static_cast<int32_t>(b), static_cast<int32_t>(a));
    int32_t doubled = 0;
    if (d > 0) {
        doubled = sums.xy >= 0 ? t : 120 - t;
    } else {
        doubled = sums.xy > 0 ? 60 - t : 60 + t;
    }
    if (doubled == 120) {
        return 60;
    }
    return doubled <= 59 ? doubled + 60 : doubled - 60;
}

// 16384 times the squared coherence; false where the denominator is 0.
bool CoherenceOf(const WindowSums& sums, int32_t* coherence) {
    const int64_t xx = (sums.xx + 8) / 16;  // never negative
    const int64_t yy = (sums.yy + 8) / 16;
    const int64_t energy = xx + yy;
    const int64_t denominator = int64_t{Wrap32(energy * energy)} >> 14;
    if (denominator == 0) {
        return false;
    }
    const int64_t magnitudeXy = sums.xy < 0 ? -sums.xy : sums.xy;
    const int64_t cross = (magnitudeXy + 4) >> 3;
    const int64_t squareA = Wrap32((xx - yy) * (xx - yy));
    const int64_t squareB = Wrap32(cross * cross);
    *coherence = Wrap32(int64_t{Wrap32(squareA + squareB)} / denominator);
    return true;
}

}  // namespace

int32_t BlocksAlong(int32_t pixels) {
    return pixels <= 0 ? 0 : (pixels - 1) / 4;
}

std::vector<uint8_t> GetHistMap(const Grid& image) {
    constexpr int64_t kCut = 1403;
    const bool ignoreMargin = image.height > 160 && image.width > 160;
    const int32_t margin = ignoreMargin ? 42 : 0;
    std::vector<int64_t> histogram(256, 0);
    for (int32_t y = margin; y <= image.height - 1 - margin; ++y) {
        for (int32_t x = margin; x <= image.width - 1 - margin; ++x) {
            ++histogram.at(image.At(x, y));
        }
    }

    int64_t low = 254;
    bool lowFound = false;
    int64_t sum = 0;
    for (int64_t grey = 0; grey <= 254 && !lowFound; ++grey) {
        sum += histogram.at(static_cast<size_t>(grey));
        if (sum > kCut) {
            low = grey;
            lowFound = true;
        }
    }
    int64_t range = 1;
    if (lowFound) {
        int64_t high = low + 1;
        sum = 0;
        for (int64_t grey = 255; grey > low; --grey) {
            sum += histogram.at(static_cast<size_t>(grey));
            if (sum > kCut) {
                high = grey;
                break;
            }
        }
        range = std::max<int64_t>(high - low, 1);
    }

    std::vector<uint8_t> table(256, 0);
    for (int64_t grey = low; grey <= 255; ++grey) {
        const int64_t stretched = (510 * (grey - low) / range + 1) / 2;
        table.at(static_cast<size_t>(grey)) =
            static_cast<uint8_t>(std::min<int64_t>(stretched, 255));
    }
    return table;
}

DirectionField CalcDirA(const Grid& image) {
    const int32_t columns = BlocksAlong(image.width);
    const int32_t rows = BlocksAlong(image.height);
    DirectionField result;
    if (columns == 0 || rows == 0) {
        return result;
    }
    const std::vector<uint8_t> stretch = GetHistMap(image);
    GradientField field(static_cast<size_t>(rows),
                        std::vector<Gradient>(static_cast<size_t>(columns)));
    for (int32_t row = 0; row < rows; ++row) {
        for (int32_t column = 0; column < columns; ++column) {
            const auto sample = [&](int32_t dx, int32_t dy) -> int64_t {
                const int64_t grey = PixelAt(image, 4 * column + 2 + dx, 4 * row + 2 + dy);
                return stretch.at(static_cast<size_t>(grey));
            };
            field.at(static_cast<size_t>(row)).at(static_cast<size_t>(column)) = GradientOf(sample);
        }
    }

    Grid firstPass(columns, rows);
    int64_t reliableBlocks = 0;
    int64_t qualitySum = 0;
    for (int32_t row = 0; row < rows; ++row) {
        for (int32_t column = 0; column < columns; ++column) {
            const WindowSums sums = SumAround(field, column, row, 4);
            int32_t byte = OrientationOf(sums);
            if (sums.strongBlocks <= 39) {
                byte |= kBackground;
            }
            int32_t coherence = 0;
            if (CoherenceOf(sums, &coherence)) {
                if (coherence >= 900) {
                    ++reliableBlocks;
                    qualitySum += std::min(SqrtA(coherence), 100);
                } else {
                    byte |= kBackground;
                }
            }
            firstPass.At(column, row) = static_cast<uint8_t>(byte);
        }
    }
    result.quality = static_cast<int32_t>(reliableBlocks == 0 ? 0 : qualitySum / reliableBlocks);

    result.map = firstPass;
    for (int32_t row = 0; row < rows; ++row) {
        for (int32_t column = 0; column < columns; ++column) {
            int32_t foreground = 0;
            for (int32_t y = row - 4; y <= row + 4; ++y) {
                for (int32_t x = column - 4; x <= column + 4; ++x) {
                    if (firstPass.Contains(x, y) && firstPass.At(x, y) < kBackground) {
                        ++foreground;
                    }
                }
            }
            const int32_t orientation = firstPass.At(column, row) % kBackground;
            result.map.At(column, row) =
                static_cast<uint8_t>(foreground >= 41 ? orientation : orientation + kBackground);
        }
    }
    return result;
}

Grid CalcDirB(const Grid& image, const Grid& oldMap) {
    const int32_t columns = BlocksAlong(image.width);
    const int32_t rows = BlocksAlong(image.height);
    Grid result = oldMap;
    if (columns == 0 || rows == 0) {
        return result;
    }
    const auto smoothed = [&](int32_t x, int32_t y) -> int64_t {
        const int64_t weights[3] = {1, 2, 1};
        int64_t sum = 0;
        for (int32_t dy = -1; dy <= 1; ++dy) {
            for (int32_t dx = -1; dx <= 1; ++dx) {
                sum += weights[dy + 1] * weights[dx + 1] * PixelAt(image, x + dx, y + dy);
            }
        }
        return (sum + 8) >> 4;
    };
    GradientField field(static_cast<size_t>(rows),
                        std::vector<Gradient>(static_cast<size_t>(columns)));
    for (int32_t row = 0; row < rows; ++row) {
        for (int32_t column = 0; column < columns; ++column) {
            const auto sample = [&](int32_t dx, int32_t dy) -> int64_t {
                const int32_t x = 4 * column + 2 + dx;
                const int32_t y = 4 * row + 2 + dy;
                const bool raw = (dx == -2 && column == 0) || (dx == 2 && column == columns - 1) ||
                                 (dy == -2 && row == 0) || (dy == 2 && row == rows - 1);
                return raw ? PixelAt(image, x, y) : smoothed(x, y);
            };
            field.at(static_cast<size_t>(row)).at(static_cast<size_t>(column)) = GradientOf(sample);
        }
    }
    for (int32_t row = 0; row < rows; ++row) {
        for (int32_t column = 0; column < columns; ++column) {
            const int32_t flag = oldMap.At(column, row) >= kBackground ? kBackground : 0;
            const int32_t orientation = OrientationOf(SumAround(field, column, row, 3));
            result.At(column, row) = static_cast<uint8_t>(orientation + flag);
        }
    }
    return result;
}

}  // namespace model
