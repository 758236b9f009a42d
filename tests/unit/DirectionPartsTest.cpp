// SPDX-License-Identifier: Apache-2.0
//
// The parts of the orientation field one by one: grey stretch, block gradients, window sums and
// orientations by vectors, against the same rules written one number at a time.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "extract/BinaryGradients.h"
#include "extract/BlockGradients.h"
#include "extract/GradientWindow.h"
#include "extract/GreyStretch.h"
#include "extract/Orientation.h"
#include "tests/model/ModelMaths.h"
#include "tests/support/TestImages.h"

namespace {

// --- Grey stretch ------------------------------------------------------------------------------

int32_t StretchedLevel(const qorfp::GreyStretch& stretch, int32_t level) {
    return level < stretch.low
               ? 0
               : std::min(255, (510 * (level - stretch.low) / stretch.range + 1) / 2);
}

TEST(GreyStretcher, EqualsTheRuleForEveryStretchAndLevel) {
    for (int32_t low = 0; low <= 254; ++low) {
        for (int32_t range = 1; range <= 255 - low; ++range) {
            const qorfp::GreyStretcher stretcher(qorfp::GreyStretch{low, range});
            for (int32_t first = 0; first < 256; first += 16) {
                qorfp::U8x16 levels = {};
                for (int32_t lane = 0; lane < 16; ++lane) {
                    levels[static_cast<size_t>(lane)] = static_cast<uint8_t>(first + lane);
                }
                const qorfp::U8x16 distances = stretcher.DistancesOf(levels);
                const qorfp::U8x16 stretched =
                    qorfp::Join({qorfp::AsLanes<qorfp::U16x8>(
                                     stretcher.OfDistances(qorfp::EvenBytes(distances))),
                                 qorfp::AsLanes<qorfp::U16x8>(
                                     stretcher.OfDistances(qorfp::OddBytes(distances)))});
                for (int32_t lane = 0; lane < 16; ++lane) {
                    const int32_t level = first + lane;
                    ASSERT_EQ(stretched[static_cast<size_t>(lane)],
                              StretchedLevel(qorfp::GreyStretch{low, range}, level))
                        << low << " to " << low + range << ", level " << level;
                }
            }
        }
    }
}

// --- Block gradients ---------------------------------------------------------------------------

int32_t RoundedSixteenth(int32_t value) {
    return value >= 0 ? (value + 8) / 16 : -((-value + 8) / 16);
}

// The gradients of a row of blocks, whose centres lie at (2, 2), (6, 2) and so on; none beyond them.
template <class LevelAt>
void ExpectGradients(const qorfp::GradientRow& gradients, int32_t columns, LevelAt levelAt) {
    for (int32_t column = 0; column < columns; ++column) {
        const auto at = [&](int32_t dx, int32_t dy) {
            return levelAt(4 * column + 2 + dx, 2 + dy);
        };
        const int32_t x = 3 * (at(1, 0) - at(-1, 0)) + at(1, -1) - at(-1, -1) + at(1, 1) -
                          at(-1, 1) + at(2, 0) - at(-2, 0);
        const int32_t y = 3 * (at(0, 1) - at(0, -1)) + at(-1, 1) - at(-1, -1) + at(1, 1) -
                          at(1, -1) + at(0, 2) - at(0, -2);
        ASSERT_EQ(gradients.x[column], RoundedSixteenth(x)) << column << " of " << columns;
        ASSERT_EQ(gradients.y[column], RoundedSixteenth(y)) << column << " of " << columns;
    }
    for (int32_t column = columns; column < qorfp::PadColumns(columns); ++column) {
        ASSERT_EQ(gradients.x[column], 0) << column << " beyond " << columns;
        ASSERT_EQ(gradients.y[column], 0) << column << " beyond " << columns;
    }
}

TEST(FindGradients, EqualsTheRuleAtEveryLength) {
    testsupport::Random random(testsupport::Seed() + 41);
    auto rows = std::make_unique<std::array<qorfp::PixelRow, 5>>();
    for (int32_t columns = 1; columns <= qorfp::kMaxBlockColumns; ++columns) {
        const bool isExtreme = columns % 3 == 0;
        for (qorfp::PixelRow& row : *rows) {
            for (uint8_t& pixel : row) {
                const int32_t grey = random.Below(256);
                pixel = static_cast<uint8_t>(isExtreme ? grey / 128 * 255 : grey);
            }
        }
        const int32_t low = columns % 4 == 0 ? 0 : random.Between(0, 254);
        const qorfp::GreyStretch stretch = {low,
                                            columns % 4 == 0 ? 255 : random.Between(1, 255 - low)};
        const qorfp::GreyStretcher stretcher(stretch);
        qorfp::EvenColumns edge;
        qorfp::BeginGradients((*rows)[0], columns, stretcher, &edge);
        qorfp::GradientRow gradients;
        std::fill(std::begin(gradients.x), std::end(gradients.x), int16_t{7777});
        std::fill(std::begin(gradients.y), std::end(gradients.y), int16_t{7777});
        qorfp::FindGradients((*rows)[0], sizeof(qorfp::PixelRow), columns, stretcher, &edge,
                             &gradients);
        for (int32_t even = 0; even < 2 * columns; ++even) {
            ASSERT_EQ(edge[even], StretchedLevel(stretch, (*rows)[4][2 * even]))
                << even << " of " << columns;
        }
        ExpectGradients(gradients, columns, [&](int32_t x, int32_t y) -> int32_t {
            return StretchedLevel(stretch, (*rows)[static_cast<size_t>(y)][x]);
        });
    }
}

// Rows -1 .. 5 around a row of blocks, black and white, with anything behind their last pixels.
struct BinaryRows {
    static constexpr int32_t kRows = 7;

    int32_t last;  // column
    bool isFirst;  // nothing is above row 0, nor below row 4
    bool isLast;
    int32_t stride;
    std::vector<uint8_t> pixels;

    BinaryRows(int32_t columns, int32_t edges, testsupport::Random& random)
        : last(4 * columns),
          isFirst((edges & 1) != 0),
          isLast((edges & 2) != 0),
          stride(last + 1 + random.Below(9)),
          pixels(static_cast<size_t>(kRows * stride + 32)) {
        const int32_t white = random.Between(1, 9);
        for (size_t at = 0; at < pixels.size(); ++at) {
            const bool isPixel = static_cast<int32_t>(at) % stride <= last;
            pixels[at] = static_cast<uint8_t>(isPixel ? (random.Below(10) < white ? 255 : 0)
                                                      : random.Below(256));
        }
    }

    const uint8_t* Row(int32_t y) const { return pixels.data() + (y + 1) * stride; }

    // 3 x 3 binomial, but the outermost pixels as they are.
    int32_t Smoothed(int32_t x, int32_t y) const {
        if (x == 0 || x == last || (isFirst && y == 0) || (isLast && y == 4)) {
            return Row(y)[x];
        }
        int32_t sum = 8;
        for (int32_t dy = -1; dy <= 1; ++dy) {
            for (int32_t dx = -1; dx <= 1; ++dx) {
                sum += (2 - std::abs(dx)) * (2 - std::abs(dy)) * Row(y + dy)[x + dx];
            }
        }
        return sum / 16;
    }
};

void ExpectBinaryGradients(const BinaryRows& image) {
    const int32_t columns = image.last / 4;
    std::vector<uint8_t> above(sizeof(qorfp::PixelRow));
    std::vector<uint8_t> below(sizeof(qorfp::PixelRow));
    qorfp::RowsAroundBlocks rows = {image.Row(-1), image.Row(0), image.stride, image.Row(5)};
    if (image.isFirst) {
        qorfp::MakeRowBeyond(image.Row(0), image.Row(1), columns, above.data());
        rows.above = above.data();
    }
    if (image.isLast) {
        qorfp::MakeRowBeyond(image.Row(4), image.Row(3), columns, below.data());
        rows.below = below.data();
    }
    const auto parts = std::make_unique<qorfp::BinaryGradientParts>();
    qorfp::GradientRow gradients;
    std::fill(std::begin(gradients.x), std::end(gradients.x), int16_t{7777});
    std::fill(std::begin(gradients.y), std::end(gradients.y), int16_t{7777});
    qorfp::FindBinaryGradients(rows, columns, parts.get(), &gradients);
    ExpectGradients(gradients, columns, [&](int32_t x, int32_t y) { return image.Smoothed(x, y); });
}

TEST(FindBinaryGradients, EqualsTheRuleOfSmoothedPixelsAtEveryLength) {
    testsupport::Random random(testsupport::Seed() + 43);
    for (int32_t columns = 1; columns <= qorfp::kMaxBlockColumns; ++columns) {
        for (int32_t edges = 0; edges < 4; ++edges) {
            SCOPED_TRACE("edges " + std::to_string(edges));
            ExpectBinaryGradients(BinaryRows(columns, edges, random));
            if (HasFatalFailure()) {
                return;
            }
        }
    }
}

// --- Window sums -------------------------------------------------------------------------------

// Values of least..limit, and often the limits themselves.
template <class Sum>
void ExpectWindowSums(int32_t columns, int32_t reach, int32_t least, int32_t limit,
                      testsupport::Random& random) {
    using Window = qorfp::WindowSum<Sum>;
    SCOPED_TRACE(std::to_string(columns) + " columns, reach " + std::to_string(reach));
    const int32_t mapRows = random.Between(1, 2 * reach + 5);
    const auto map =
        std::make_unique<typename Window::Entering[]>(static_cast<size_t>(mapRows + reach));
    for (int32_t row = 0; row < mapRows; ++row) {
        for (int32_t column = 0; column < columns; ++column) {
            const int32_t value =
                random.OneIn(3) ? random.OneIn(2) ? limit : least : random.Between(least, limit);
            auto& cell = map[static_cast<size_t>(row)][column];
            cell = static_cast<std::remove_reference_t<decltype(cell)>>(value);
        }
    }
    auto window = std::make_unique<Window>();
    window->Clear(reach);
    for (int32_t entering = 0; entering < mapRows + reach; ++entering) {
        window->Slide(columns, map[static_cast<size_t>(entering)]);
        if (entering < reach) {
            continue;
        }
        typename Window::Sums sums;
        window->SumAcross(columns, &sums);
        for (int32_t column = 0; column < columns; ++column) {
            int32_t expected = 0;
            for (int32_t y = std::max(0, entering - 2 * reach); y <= entering; ++y) {
                for (int32_t x = std::max(0, column - reach);
                     x <= std::min(columns - 1, column + reach); ++x) {
                    expected += map[static_cast<size_t>(y)][x];
                }
            }
            ASSERT_EQ(sums[column], expected)
                << "row " << entering - reach << ", column " << column;
        }
    }
}

TEST(WindowSum, EqualsTheSumOfEachClippedWindow) {
    testsupport::Random random(testsupport::Seed() + 42);
    for (int32_t columns = 1; columns <= qorfp::kMaxBlockColumns; columns += 1 + columns / 20) {
        for (const int32_t reach : {3, 4}) {
            ExpectWindowSums<int32_t>(columns, reach, -9216, 9216, random);
            ExpectWindowSums<uint8_t>(columns, reach, 0, 1, random);
        }
    }
}

// --- Orientations ------------------------------------------------------------------------------

int32_t ExpectedOrientation(int64_t d, int64_t mixed) {
    int64_t a = std::abs(d);
    int64_t b = std::abs(2 * mixed);
    const int64_t longest = std::max(a, b);
    if (longest > 49) {
        a = (49 * a + longest / 2) / longest;
        b = (49 * b + longest / 2) / longest;
    }
    const int32_t angle = model::AtanAEntry(static_cast<int32_t>(b), static_cast<int32_t>(a));
    int32_t doubled = 0;
    if (d > 0) {
        doubled = mixed >= 0 ? angle : 120 - angle;
    } else {
        doubled = mixed > 0 ? 60 - angle : 60 + angle;
    }
    return doubled == 120 ? 60 : doubled <= 59 ? doubled + 60 : doubled - 60;
}

class OrientationSums {
  public:
    ~OrientationSums() { Check(); }

    void Add(int32_t d, int32_t mixed) {
        if (count_ == limit_) {
            Check();
        }
        differences_[count_] = d;
        mixed_[count_] = mixed;
        ++count_;
    }

  private:
    void Check() {
        const int32_t count = count_;
        count_ = 0;
        limit_ = limit_ % qorfp::kMaxBlockColumns + 1;  // all lengths in turn
        qorfp::OrientationRow found;
        qorfp::FindOrientations(differences_, mixed_, count, &found);
        for (int32_t index = 0; index < count; ++index) {
            ASSERT_EQ(found[index], ExpectedOrientation(differences_[index], mixed_[index]))
                << "difference " << differences_[index] << ", mixed " << mixed_[index];
        }
    }

    int32_t count_ = 0;
    int32_t limit_ = qorfp::kMaxBlockColumns;
    qorfp::WindowRow differences_ = {};
    qorfp::WindowRow mixed_ = {};
};

TEST(FindOrientations, EqualsTheRuleForShortGradients) {
    OrientationSums sums;
    for (int32_t d = -130; d <= 130; ++d) {
        for (int32_t mixed = -65; mixed <= 65; ++mixed) {
            sums.Add(d, mixed);
        }
    }
}

// Around each of the quotients 0..49, from above and below, on both axes and in all quadrants.
TEST(FindOrientations, EqualsTheRuleAtEveryBound) {
    OrientationSums sums;
    constexpr int32_t kLargest = 81 * 96 * 96;
    for (const int32_t longer :
         {50, 51, 97, 98, 99, 100, 1000, 4097, 65536, 99998, 100001, kLargest - 1, kLargest}) {
        for (int32_t quotient = 0; quotient <= 49; ++quotient) {
            const int64_t product = int64_t{quotient} * longer - longer / 2;
            for (int64_t shorter = product / 49 - 3; shorter <= product / 49 + 3; ++shorter) {
                if (shorter < 0 || shorter > longer) {
                    continue;
                }
                const int32_t across = static_cast<int32_t>(shorter);
                for (const int32_t sign : {1, -1}) {
                    sums.Add(longer, sign * (across / 2));
                    sums.Add(-longer, sign * (across / 2));
                    sums.Add(across, sign * (longer / 2));
                    sums.Add(-across, sign * (longer / 2));
                }
            }
        }
    }
}

TEST(FindOrientations, EqualsTheRuleForAnySums) {
    testsupport::Random random(testsupport::Seed() + 43);
    OrientationSums sums;
    for (int32_t round = 0; round < 300000; ++round) {
        const int32_t limit = 1 << random.Between(0, 19);
        sums.Add(random.Between(-limit, limit), random.Between(-limit / 2, limit / 2));
    }
}

// Behind the last block lies whatever was in the buffer. The magnitude of the lowest number wraps: it
// looks shorter than every other, and must not be looked up in the table.
TEST(FindOrientations, LooksUpNothingBehindTheLastBlock) {
    constexpr int32_t kLowest = INT32_MIN;
    for (int32_t blocks = 1; blocks <= 40; ++blocks) {
        for (const int32_t leftMixed : {0, kLowest, INT32_MAX}) {
            qorfp::WindowRow differences;
            qorfp::WindowRow mixed;
            std::fill(std::begin(differences), std::end(differences), kLowest);
            std::fill(std::begin(mixed), std::end(mixed), leftMixed);
            for (int32_t block = 0; block < blocks; ++block) {
                differences[block] = block;
                mixed[block] = -block;
            }
            qorfp::OrientationRow found;
            qorfp::FindOrientations(differences, mixed, blocks, &found);
            for (int32_t block = 0; block < blocks; ++block) {
                ASSERT_EQ(found[block], ExpectedOrientation(block, -block)) << blocks << " blocks";
            }
        }
    }
}

}  // namespace
