// SPDX-License-Identifier: Apache-2.0
//
// Orientation field: the grey-level stretch, the block direction map with its foreground mask and
// quality, and the second pass over the binarised image.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "extract/FPExtract.h"
#include "tests/model/ModelBinarise.h"
#include "tests/model/ModelOrientation.h"
#include "tests/model/ModelPreprocess.h"
#include "tests/model/ModelRidgeSmoothing.h"
#include "tests/support/TestImages.h"
#include "tests/support/WorkBuffer.h"

namespace {

using testsupport::BlocksAlong;
using testsupport::DirectionMapOffset;
using testsupport::FirstDifference;
using testsupport::Grid;
using testsupport::NamedImage;
using testsupport::WithEachFill;
using testsupport::WorkBuffer;

struct Field {
    Grid map;
    int32_t quality = -1;
    Grid imageAfter;
};

Field RunCalcDirA(WorkBuffer& buffer, const Grid& image) {
    buffer.Put(0, image);
    Field field;
    CalcDirA(buffer.Bytes(), image.width, image.height, &field.quality);
    field.map =
        buffer.Take(DirectionMapOffset(image), BlocksAlong(image.width), BlocksAlong(image.height));
    field.imageAfter = buffer.Take(0, image.width, image.height);
    return field;
}

Field RunCalcDirB(WorkBuffer& buffer, const Grid& image, const Grid& map) {
    buffer.Put(0, image);
    buffer.Put(DirectionMapOffset(image), map);
    Field field;
    CalcDirB(buffer.Bytes(), image.width, image.height);
    field.map = buffer.Take(DirectionMapOffset(image), map.width, map.height);
    field.imageAfter = buffer.Take(0, image.width, image.height);
    return field;
}

std::vector<uint8_t> RunGetHistMap(const Grid& image) {
    std::vector<uint32_t> storage((256 + 1024) / 4 + 1, 0xA5A5A5A5u);
    uint8_t* table = reinterpret_cast<uint8_t*>(storage.data());
    GetHistMap(image.cells.data(), image.width, image.height, table);
    EXPECT_EQ(storage.back(), 0xA5A5A5A5u) << "bytes behind the histogram changed";
    return std::vector<uint8_t>(table, table + 256);
}

// An image with so many pixels of each grey level, in any order.
Grid WithCounts(int32_t width, int32_t height,
                const std::vector<std::pair<uint8_t, int32_t>>& counts) {
    Grid image(width, height);
    size_t next = 0;
    for (const auto& [grey, count] : counts) {
        for (int32_t index = 0; index < count; ++index) {
            image.cells.at(next++) = grey;
        }
    }
    EXPECT_EQ(next, image.cells.size()) << "the counts must fill the image";
    return image;
}

// Strong vertical ridges of period 8 in phase with the blocks: the gradient at every block centre
// is (+-96, 0).
Grid PhasedStripes(int32_t width, int32_t height) {
    const uint8_t period[8] = {0, 0, 128, 255, 255, 255, 128, 0};
    Grid image(width, height);
    for (int32_t y = 0; y < height; ++y) {
        for (int32_t x = 0; x < width; ++x) {
            image.At(x, y) = period[x % 8];
        }
    }
    return image;
}

// Black where CalcDirA reads, white at the six pixels of each block that it never reads: no
// gradient anywhere, and the grey-level stretch maps every level onto itself.
Grid QuietGround(int32_t width, int32_t height) {
    const char* read[4] = {"..x.", ".xxx", "xx.x", ".xxx"};
    Grid image(width, height);
    for (int32_t y = 0; y < height; ++y) {
        for (int32_t x = 0; x < width; ++x) {
            image.At(x, y) = read[y % 4][x % 4] == 'x' ? 0 : 255;
        }
    }
    return image;
}

// --- GetHistMap ------------------------------------------------------------------------------

TEST(GetHistMap, CutsAreExceededNotReached) {
    // 1403 pixels of 10 do not exceed the cut, so L is 20; 1404 do. The same from the top.
    const Grid atCut =
        WithCounts(100, 60, {{10, 1403}, {20, 1}, {100, 3192}, {200, 1}, {230, 1403}});
    const std::vector<uint8_t> table = RunGetHistMap(atCut);
    EXPECT_EQ(table.at(19), 0);
    EXPECT_EQ(table.at(20), 0);
    EXPECT_EQ(table.at(110), 128);  // 510 x 90 / 180 = 255, plus 1, halved
    EXPECT_EQ(table.at(199), 254);  // 510 x 179 / 180 = 507, plus 1, halved
    EXPECT_EQ(table.at(200), 255);
    EXPECT_EQ(table.at(201), 255);
    EXPECT_EQ(table.at(255), 255);

    const Grid aboveCut =
        WithCounts(100, 60, {{10, 1404}, {20, 1}, {100, 3190}, {200, 1}, {230, 1404}});
    const std::vector<uint8_t> wider = RunGetHistMap(aboveCut);
    EXPECT_EQ(wider.at(10), 0);
    EXPECT_EQ(wider.at(11), 1);  // 510 / 220 = 2, plus 1, halved
    EXPECT_EQ(wider.at(120), 128);
    EXPECT_EQ(wider.at(229), 254);
    EXPECT_EQ(wider.at(230), 255);
}

TEST(GetHistMap, TooFewPixelsBelow255) {
    // White alone never enters the upward scan: L is 254, the range 1.
    for (const Grid& image :
         {testsupport::UniformImage(100, 60, 255), WithCounts(100, 60, {{17, 1403}, {255, 4597}}),
          testsupport::UniformImage(30, 30, 17)}) {
        const std::vector<uint8_t> table = RunGetHistMap(image);
        for (size_t grey = 0; grey <= 254; ++grey) {
            EXPECT_EQ(table.at(grey), 0) << "grey " << grey;
        }
        EXPECT_EQ(table.at(255), 255);
    }
}

TEST(GetHistMap, ScanFromTheTopStopsAtTheLowCut) {
    // Nothing above 80: the range is 1.
    const std::vector<uint8_t> table = RunGetHistMap(testsupport::UniformImage(100, 60, 80));
    EXPECT_EQ(table.at(79), 0);
    EXPECT_EQ(table.at(80), 0);
    EXPECT_EQ(table.at(81), 255);
    EXPECT_EQ(table.at(255), 255);
    // 1403 pixels above: still not exceeded.
    const std::vector<uint8_t> few =
        RunGetHistMap(WithCounts(100, 60, {{80, 4597}, {90, 1000}, {255, 403}}));
    EXPECT_EQ(few.at(81), 255);
    // One more: U is 90.
    const std::vector<uint8_t> enough =
        RunGetHistMap(WithCounts(100, 60, {{80, 4596}, {90, 1001}, {255, 403}}));
    EXPECT_EQ(enough.at(80), 0);
    EXPECT_EQ(enough.at(81), 26);  // 510 / 10 = 51, plus 1, halved
    EXPECT_EQ(enough.at(89), 230);
    EXPECT_EQ(enough.at(90), 255);
}

TEST(GetHistMap, WhiteAloneAboveTheCutIsTheHighCut) {
    const std::vector<uint8_t> table =
        RunGetHistMap(WithCounts(100, 60, {{0, 1404}, {250, 3192}, {255, 1404}}));
    for (size_t grey = 0; grey <= 255; ++grey) {
        EXPECT_EQ(table.at(grey), grey);  // 0..255 onto itself
    }
}

TEST(GetHistMap, MarginIsIgnoredAbove160OnBothSides) {
    // The middle is 100 and 200 in halves; the 42-pixel margin is 0 and 255.
    const auto draw = [](int32_t width, int32_t height) {
        Grid image(width, height);
        for (int32_t y = 0; y < height; ++y) {
            for (int32_t x = 0; x < width; ++x) {
                const bool middle = x >= 42 && x <= width - 43 && y >= 42 && y <= height - 43;
                const bool left = x < width / 2;
                image.At(x, y) =
                    static_cast<uint8_t>(middle ? (left ? 100 : 200) : (left ? 0 : 255));
            }
        }
        return image;
    };
    // 161 x 161: 77 x 77 counted pixels, 38 and 39 columns: 2926 and 3003 of them.
    const std::vector<uint8_t> inner = RunGetHistMap(draw(161, 161));
    EXPECT_EQ(inner.at(100), 0);
    EXPECT_EQ(inner.at(150), 128);
    EXPECT_EQ(inner.at(200), 255);
    for (const auto& size : {std::pair<int32_t, int32_t>(160, 161), {161, 160}, {160, 160}}) {
        const std::vector<uint8_t> whole = RunGetHistMap(draw(size.first, size.second));
        EXPECT_EQ(whole.at(100), 100) << size.first << " x " << size.second;
        EXPECT_EQ(whole.at(200), 200) << size.first << " x " << size.second;
    }
}

TEST(GetHistMap, MarginEndsAreExact) {
    // Only the counted frame's own corner pixels carry the grey 7; without any one of them the
    // sum of 1403 does not exceed the cut.
    const int32_t side = 200;  // counted: 42..157
    Grid image(side, side, 100);
    int32_t needed = 1404;
    for (int32_t y = 42; y <= 157 && needed > 0; ++y) {
        for (int32_t x = 42; x <= 157 && needed > 0; ++x) {
            image.At(x, y) = 7;
            --needed;
        }
    }
    EXPECT_EQ(RunGetHistMap(image).at(8), 3);  // L = 7, U = 100: 510 / 93 = 5, plus 1, halved
    Grid without = image;
    without.At(42, 42) = 100;
    EXPECT_EQ(RunGetHistMap(without).at(8), 0);  // L = 100
    // Pixels just outside the frame do not count.
    without.At(41, 42) = 7;
    without.At(42, 41) = 7;
    without.At(158, 157) = 7;
    without.At(157, 158) = 7;
    EXPECT_EQ(RunGetHistMap(without).at(8), 0);
    without.At(157, 157) = 7;
    EXPECT_EQ(RunGetHistMap(without).at(8), 3);
}

TEST(GetHistMap, EqualsModel) {
    const uint64_t seed = testsupport::Seed();
    SCOPED_TRACE(testsupport::SeedNote(seed));
    std::vector<NamedImage> images = testsupport::MediumImages(seed);
    for (const NamedImage& entry : testsupport::LargeImages(seed)) {
        images.push_back(entry);
    }
    testsupport::Random random(seed + 4);
    for (int32_t round = 0; round < 200; ++round) {
        // Few levels, so that the cuts fall anywhere.
        const int32_t levels = random.Between(1, 5);
        std::vector<uint8_t> palette;
        for (int32_t index = 0; index < levels; ++index) {
            palette.push_back(
                static_cast<uint8_t>(random.OneIn(3) ? 255 - random.Below(3) : random.Below(256)));
        }
        Grid image(random.Between(30, 70), random.Between(30, 90));
        for (uint8_t& cell : image.cells) {
            const int32_t pick = std::min(random.Below(levels), random.Below(levels));
            cell = palette.at(static_cast<size_t>(pick));
        }
        images.push_back({"levels, round " + std::to_string(round), image});
    }
    for (const NamedImage& entry : images) {
        ASSERT_EQ(RunGetHistMap(entry.image), model::GetHistMap(entry.image)) << entry.name;
    }
}

// --- CalcDirA --------------------------------------------------------------------------------

TEST(CalcDirA, UniformImageIsBackground) {
    WorkBuffer buffer;
    for (const uint8_t grey : {uint8_t{0}, uint8_t{131}, uint8_t{255}}) {
        const Grid image = testsupport::UniformImage(96, 80, grey);
        WithEachFill(buffer, [&](WorkBuffer& work) {
            const Field field = RunCalcDirA(work, image);
            EXPECT_EQ(field.quality, 0);
            EXPECT_EQ(FirstDifference(Grid(23, 19, 128 + 30), field.map), "");
        });
    }
}

TEST(CalcDirA, StraightStripesAlongBothAxes) {
    const Grid vertical = PhasedStripes(100, 160);
    WorkBuffer buffer;
    const Field upright = RunCalcDirA(buffer, vertical);
    EXPECT_EQ(upright.quality, 100);
    EXPECT_EQ(FirstDifference(vertical, upright.imageAfter), "");
    const Grid horizontal = testsupport::Transposed(PhasedStripes(160, 100));
    const Field level = RunCalcDirA(buffer, horizontal);
    EXPECT_EQ(level.quality, 100);
    for (int32_t y = 0; y < upright.map.height; ++y) {
        for (int32_t x = 0; x < upright.map.width; ++x) {
            EXPECT_EQ(upright.map.At(x, y) & 127, 60) << x << ", " << y;
            EXPECT_EQ(level.map.At(x, y) & 127, 0) << x << ", " << y;
        }
    }
    EXPECT_EQ(upright.map.At(12, 20), 60);
    EXPECT_EQ(level.map.At(12, 20), 0);
}

TEST(CalcDirA, DiagonalStripes) {
    // Across the stripes at 30 steps (towards lower right): the ridges run at 90, and vice versa.
    WorkBuffer buffer;
    const Field down = RunCalcDirA(buffer, testsupport::StripeImage(120, 120, 9.0, 30, 0, 255));
    EXPECT_EQ(down.map.At(14, 14), 90);
    const Field up = RunCalcDirA(buffer, testsupport::StripeImage(120, 120, 9.0, 210, 0, 255));
    EXPECT_EQ(up.map.At(14, 14), 30);
}

TEST(CalcDirA, MaskNeeds41ReliableBlocksOf81) {
    // Eight block columns, every block strong and coherent. The first pass keeps a block when its
    // clipped 9 x 9 window holds 40 blocks; the columns 0..7 see 5, 6, 7, 8, 8, 7, 6, 5 columns,
    // so from the top these are kept (o):
    //   row 0: ...oo...   row 1: ..oooo..   row 2: .oooooo.   row 3 and on: oooooooo
    // Block (1, 3) sees columns 0..5, rows 0..7: 2 + 4 + 5 + 5 x 6 = 41 of them.
    // Block (2, 2) sees columns 0..6, rows 0..6: 2 + 4 + 6 + 4 x 7 = 40 of them.
    const Grid image = PhasedStripes(36, 160);
    WorkBuffer buffer;
    WithEachFill(buffer, [&](WorkBuffer& work) {
        const Field field = RunCalcDirA(work, image);
        EXPECT_EQ(field.quality, 100);
        EXPECT_EQ(field.map.At(1, 3), 60);
        EXPECT_EQ(field.map.At(2, 2), 60 + 128);
        // From row 7 on every window lies below row 2.
        EXPECT_EQ(field.map.At(0, 7), 60);
        EXPECT_EQ(field.map.At(7, 7), 60);
        EXPECT_EQ(field.map.At(0, 0), 60 + 128);
        EXPECT_EQ(field.map.At(3, 0), 60 + 128);  // 2 + 4 + 6 + 8 + 8 = 28
    });
}

TEST(CalcDirA, CoherenceLimitIs900) {
    // Two blocks, one below the other, are the only ones with a gradient. 72 windows hold both of
    // them and 9 + 9 hold one; a single gradient is always coherent and counts 100.
    const auto quality = [](int32_t right, int32_t below, int32_t nextRight, int32_t nextAbove) {
        Grid image = QuietGround(101, 101);
        image.At(4 * 12 + 3, 4 * 12 + 2) = static_cast<uint8_t>(right);
        image.At(4 * 12 + 2, 4 * 12 + 3) = static_cast<uint8_t>(below);
        image.At(4 * 12 + 3, 4 * 13 + 2) = static_cast<uint8_t>(nextRight);
        image.At(4 * 12 + 2, 4 * 13 + 1) = static_cast<uint8_t>(nextAbove);
        WorkBuffer buffer;
        return RunCalcDirA(buffer, image).quality;
    };
    // Gradients (47, 5) and (15, -45): Sxx 2434, Syy 2050, Sxy -440, in sixteenths 152 and 128.
    // 280 x 280 >> 14 = 4; (24 x 24 + 55 x 55) / 4 = 900: reliable, 30 for each of the 72.
    EXPECT_EQ(quality(250, 27, 80, 240), (72 * 30 + 18 * 100) / 90);
    // Gradients (48, 5) and (16, -47): Sxx 2560, Syy 2234, Sxy -512, in sixteenths 160 and 140.
    // 300 x 300 >> 14 = 5; (20 x 20 + 64 x 64) / 5 = 899: only the 18 are reliable.
    EXPECT_EQ(quality(255, 27, 85, 250), 100);
}

TEST(CalcDirA, ZeroDenominatorLeavesTheBlockAsItIs) {
    // Of the blocks of any 9 x 9 window, 60 have the gradient (+-96, +-64) and 21 have
    // (+-93, +-57): Sxx 734,589 and Syy 313,989, in sixteenths 45,912 + 19,624 = 65,536, whose
    // square is 0 in 32 bits. Such a block is neither reliable nor unreliable; 81 strong blocks
    // make it foreground.
    const int32_t side = 4 * 30 + 1;
    Grid image(side, side, 0);
    for (int32_t blockY = 0; blockY < 30; ++blockY) {
        for (int32_t blockX = 0; blockX < 30; ++blockX) {
            const bool isStronger = blockX % 9 + 9 * (blockY % 9) < 60;
            // Every second block is turned round, so that neighbours share their outer samples.
            const int32_t right = blockX % 2 == 0 ? 1 : -1;
            const int32_t down = blockY % 2 == 0 ? 1 : -1;
            const int32_t x = 4 * blockX + 2;
            const int32_t y = 4 * blockY + 2;
            image.At(x + right, y - 1) = 255;
            image.At(x + right, y + 1) = 255;
            image.At(x + 2 * right, y) = 255;
            image.At(x, y + 2 * down) = 255;
            image.At(x + right, y) = isStronger ? 255 : 242;  // 1530 or 1491 in all
            image.At(x, y + down) = isStronger ? 255 : 219;   // 1020 or 912 in all
        }
    }
    WorkBuffer buffer;
    WithEachFill(buffer, [&](WorkBuffer& work) {
        const Field field = RunCalcDirA(work, image);
        EXPECT_LT(field.map.At(15, 15), 128);
        const model::DirectionField expected = model::CalcDirA(image);
        EXPECT_EQ(FirstDifference(expected.map, field.map), "");
        EXPECT_EQ(field.quality, expected.quality);
    });
}

TEST(CalcDirA, ImagesWithoutABlock) {
    WorkBuffer buffer;
    const int32_t sizes[7][2] = {{4, 4}, {4, 60}, {60, 4}, {1, 1}, {3, 40}, {0, 0}, {-4, 16}};
    for (const auto& size : sizes) {
        SCOPED_TRACE(std::to_string(size[0]) + " x " + std::to_string(size[1]));
        buffer.Reset(testsupport::Fill::kRandom);
        const Grid before = buffer.Take(0, 256, 1);
        int32_t quality = -1;
        CalcDirA(buffer.Bytes(), size[0], size[1], &quality);
        EXPECT_EQ(quality, 0);
        CalcDirB(buffer.Bytes(), size[0], size[1]);
        const int32_t imageBytes = std::max(size[0], 0) * std::max(size[1], 0);
        const Grid after = buffer.Take(0, 256, 1);
        for (int32_t index = 0; index < imageBytes; ++index) {
            ASSERT_EQ(after.At(index, 0), before.At(index, 0)) << "byte " << index;
        }
        EXPECT_TRUE(buffer.GuardsIntact());
    }
}

// Images whose window energies overflow 32 bits: strong gradients everywhere, at all angles.
std::vector<NamedImage> StrongImages(uint64_t seed) {
    std::vector<NamedImage> images;
    testsupport::Random random(seed + 5);
    images.push_back({"phased stripes", PhasedStripes(128, 160)});
    images.push_back({"phased stripes, lying", testsupport::Transposed(PhasedStripes(160, 131))});
    for (int32_t round = 0; round < 12; ++round) {
        // Each block centre gets an edge of random sign along one common direction, mixed with
        // a share of edges along the other diagonal.
        Grid image(101 + round, 97, 0);
        const int32_t share = random.Below(12);
        for (int32_t blockY = 0; 4 * blockY + 4 < image.height; ++blockY) {
            for (int32_t blockX = 0; 4 * blockX + 4 < image.width; ++blockX) {
                const bool other = random.Below(24) < share;
                for (int32_t dy = -1; dy <= 2; ++dy) {
                    for (int32_t dx = -1; dx <= 2; ++dx) {
                        const int32_t along = round % 3 == 0 ? dx : round % 3 == 1 ? dx + dy : dy;
                        const int32_t across = dx - dy;
                        image.At(4 * blockX + 2 + dx, 4 * blockY + 2 + dy) =
                            (other ? across : along) > 0 ? 255 : 0;
                    }
                }
            }
        }
        images.push_back({"edges, round " + std::to_string(round), image});
    }
    return images;
}

// Images with so few gradients in a window that the coherence turns on single units of its sums.
std::vector<NamedImage> SparseImages(uint64_t seed) {
    std::vector<NamedImage> images;
    testsupport::Random random(seed + 27);
    for (int32_t round = 0; round < 150; ++round) {
        Grid image = QuietGround(65 + round % 8, 66 + round % 7);
        const int32_t dots = random.Between(2, 40);
        for (int32_t dot = 0; dot < dots; ++dot) {
            const int32_t x = random.Below(image.width);
            const int32_t y = random.Below(image.height);
            if (image.At(x, y) == 0) {
                image.At(x, y) = static_cast<uint8_t>(random.Below(256));
            }
        }
        images.push_back({"sparse dots, round " + std::to_string(round), image});
    }
    return images;
}

std::vector<NamedImage> FieldImages(uint64_t seed) {
    std::vector<NamedImage> images = testsupport::TinyImages(seed);
    for (const NamedImage& entry : testsupport::MediumImages(seed)) {
        images.push_back(entry);
    }
    for (const NamedImage& entry : testsupport::LargeImages(seed)) {
        images.push_back(entry);
    }
    for (const NamedImage& entry : StrongImages(seed)) {
        images.push_back(entry);
    }
    for (const NamedImage& entry : SparseImages(seed)) {
        images.push_back(entry);
    }
    return images;
}

TEST(CalcDirA, EqualsModel) {
    const uint64_t seed = testsupport::Seed();
    SCOPED_TRACE(testsupport::SeedNote(seed));
    WorkBuffer buffer;
    for (const NamedImage& entry : FieldImages(seed)) {
        SCOPED_TRACE(entry.name);
        const model::DirectionField expected = model::CalcDirA(entry.image);
        WithEachFill(buffer, [&](WorkBuffer& work) {
            const Field field = RunCalcDirA(work, entry.image);
            if (!expected.map.cells.empty()) {
                ASSERT_EQ(FirstDifference(expected.map, field.map), "");
            }
            ASSERT_EQ(field.quality, expected.quality);
            ASSERT_EQ(FirstDifference(entry.image, field.imageAfter), "");
        });
        if (HasFatalFailure()) {
            return;
        }
    }
}

// Noise of medium contrast between a dark and a light band: the coherence of many blocks lies near
// its limit, where the rounding of the mixed products decides.
TEST(CalcDirA, EqualsModelNearTheCoherenceLimit) {
    const uint64_t seed = testsupport::Seed();
    SCOPED_TRACE(testsupport::SeedNote(seed));
    testsupport::Random random(seed + 5);
    WorkBuffer work;
    for (int32_t round = 0; round < 400; ++round) {
        SCOPED_TRACE(round);
        constexpr int32_t kBand = 22;
        const int32_t contrast = random.Between(20, 149);
        Grid image(64, 160);
        for (int32_t y = 0; y < image.height; ++y) {
            for (int32_t x = 0; x < image.width; ++x) {
                const bool isNoise = y >= kBand && y < image.height - kBand;
                image.At(x, y) = isNoise ? static_cast<uint8_t>(50 + random.Below(contrast))
                                         : static_cast<uint8_t>(y < kBand ? 0 : 255);
            }
        }
        const model::DirectionField expected = model::CalcDirA(image);
        const Field field = RunCalcDirA(work, image);
        ASSERT_EQ(FirstDifference(expected.map, field.map), "");
        ASSERT_EQ(field.quality, expected.quality);
    }
}

// --- CalcDirB --------------------------------------------------------------------------------

TEST(CalcDirB, UniformImageKeepsTheMask) {
    testsupport::Random random(testsupport::Seed());
    const Grid image = testsupport::UniformImage(61, 58, 90);
    const Grid map = testsupport::RandomDirectionMap(15, 14, random, true);
    Grid expected = map;
    for (uint8_t& cell : expected.cells) {
        cell = static_cast<uint8_t>((cell & 128) | 30);
    }
    WorkBuffer buffer;
    WithEachFill(buffer, [&](WorkBuffer& work) {
        const Field field = RunCalcDirB(work, image, map);
        EXPECT_EQ(FirstDifference(expected, field.map), "");
        EXPECT_EQ(FirstDifference(image, field.imageAfter), "");
    });
}

TEST(CalcDirB, StripesAlongBothAxes) {
    WorkBuffer buffer;
    const Grid vertical = PhasedStripes(100, 80);
    const Field upright = RunCalcDirB(buffer, vertical, Grid(24, 19, 17));
    EXPECT_EQ(FirstDifference(Grid(24, 19, 60), upright.map), "");
    const Grid horizontal = testsupport::Transposed(PhasedStripes(80, 100));
    const Field level = RunCalcDirB(buffer, horizontal, Grid(24, 19, 128 + 17));
    EXPECT_EQ(FirstDifference(Grid(24, 19, 128), level.map), "");
}

TEST(CalcDirB, OutermostSamplesAreRaw) {
    // One block; its leftmost sample is the raw pixel 255. The white pixel also adds 32 to the
    // smoothed sample (1, 2) and 16 to (1, 1) and (1, 3): along x the gradient is
    // -(3 x 32 + 16 + 16 + 255) / 16, rounded -24, along y it is 0. The ridge is upright.
    Grid image(5, 5, 0);
    image.At(0, 2) = 255;
    WorkBuffer buffer;
    EXPECT_EQ(RunCalcDirB(buffer, image, Grid(1, 1, 0)).map.At(0, 0), 60);
    // The same at the other three ends.
    Grid right(5, 5, 0);
    right.At(4, 2) = 255;
    EXPECT_EQ(RunCalcDirB(buffer, right, Grid(1, 1, 128)).map.At(0, 0), 60 + 128);
    Grid top(5, 5, 0);
    top.At(2, 0) = 255;
    EXPECT_EQ(RunCalcDirB(buffer, top, Grid(1, 1, 0)).map.At(0, 0), 0);
    Grid bottom(5, 5, 0);
    bottom.At(2, 4) = 255;
    EXPECT_EQ(RunCalcDirB(buffer, bottom, Grid(1, 1, 0)).map.At(0, 0), 0);
}

TEST(CalcDirB, EqualsModelOnAnyImage) {
    const uint64_t seed = testsupport::Seed();
    SCOPED_TRACE(testsupport::SeedNote(seed));
    testsupport::Random random(seed + 6);
    WorkBuffer buffer;
    for (const NamedImage& entry : FieldImages(seed)) {
        SCOPED_TRACE(entry.name);
        const int32_t columns = BlocksAlong(entry.image.width);
        const int32_t rows = BlocksAlong(entry.image.height);
        const Grid map = testsupport::RandomDirectionMap(columns, rows, random, true);
        const Grid expected = model::CalcDirB(entry.image, map);
        WithEachFill(buffer, [&](WorkBuffer& work) {
            const Field field = RunCalcDirB(work, entry.image, map);
            ASSERT_EQ(FirstDifference(expected, field.map), "");
            ASSERT_EQ(FirstDifference(entry.image, field.imageAfter), "");
        });
        if (HasFatalFailure()) {
            return;
        }
    }
}

// Images of black and white alone are smoothed in a way of their own; one grey pixel anywhere, even
// the last one, and they are not such images.
TEST(CalcDirB, EqualsModelOnBlackAndWhiteWithOneGreyPixel) {
    const uint64_t seed = testsupport::Seed();
    SCOPED_TRACE(testsupport::SeedNote(seed));
    testsupport::Random random(seed + 35);
    WorkBuffer buffer;
    for (int32_t round = 0; round < 60; ++round) {
        Grid image = testsupport::BinaryNoise(random.Between(5, 90), random.Between(5, 60), random,
                                              random.Between(5, 95));
        const bool isGrey = round % 3 != 0;
        if (isGrey) {
            const uint8_t greys[6] = {1, 2, 127, 128, 253, 254};
            const size_t last = image.cells.size() - 1;
            const size_t at = round % 3 == 1 ? last : last * static_cast<size_t>(round) / 60;
            image.cells.at(at) = greys[round % 6];
        }
        SCOPED_TRACE(std::to_string(image.width) + " x " + std::to_string(image.height));
        const Grid map = testsupport::RandomDirectionMap(BlocksAlong(image.width),
                                                         BlocksAlong(image.height), random, true);
        const Field field = RunCalcDirB(buffer, image, map);
        ASSERT_EQ(FirstDifference(model::CalcDirB(image, map), field.map), "");
        ASSERT_TRUE(buffer.GuardsIntact());
    }
}

TEST(CalcDirB, EqualsModelOnBinarisedFingers) {
    const uint64_t seed = testsupport::Seed();
    SCOPED_TRACE(testsupport::SeedNote(seed));
    testsupport::Random random(seed + 7);
    WorkBuffer buffer;
    const int32_t sizes[4][2] = {{256, 360}, {212, 279}, {121, 163}, {90, 75}};
    for (const auto& size : sizes) {
        SCOPED_TRACE(std::to_string(size[0]) + " x " + std::to_string(size[1]));
        const Grid image = model::Preprocess(testsupport::FingerImage(size[0], size[1], random));
        const Grid map = model::CalcDirA(image).map;
        const Grid binary = model::BinImageA(model::SmoothRidge(image, map));
        const Grid expected = model::CalcDirB(binary, map);
        WithEachFill(buffer, [&](WorkBuffer& work) {
            const Field field = RunCalcDirB(work, binary, map);
            EXPECT_EQ(FirstDifference(expected, field.map), "");
        });
    }
}

}  // namespace
