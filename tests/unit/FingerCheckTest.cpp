// SPDX-License-Identifier: Apache-2.0
//
// QORFP_CheckFinger: block contrast on the raw image.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "include/QORFPApi.h"
#include "tests/model/ModelFingerCheck.h"
#include "tests/support/TestImages.h"

namespace {

using testsupport::Grid;
using testsupport::NamedImage;

uint32_t Check(const Grid& image) {
    return QORFP_CheckFinger(image.cells.data(), static_cast<uint32_t>(image.width), image.height);
}

// Fills the 8 x 8 block at (x, y). Cells of 2 x 2 pixels alternate between the sums
// 4 x grey - delta and 4 x grey + delta, so the spread of the block is 16 x delta x delta.
void PaintBlock(Grid& image, int32_t x, int32_t y, int32_t grey, int32_t delta) {
    for (int32_t cellY = 0; cellY < 4; ++cellY) {
        for (int32_t cellX = 0; cellX < 4; ++cellX) {
            const int32_t sign = (cellX + cellY) % 2 == 0 ? 1 : -1;
            for (int32_t pixel = 0; pixel < 4; ++pixel) {
                // delta split over four pixels, the remainder on the first ones.
                const int32_t share = delta / 4 + (pixel < delta % 4 ? 1 : 0);
                image.At(x + 2 * cellX + pixel % 2, y + 2 * cellY + pixel / 2) =
                    static_cast<uint8_t>(grey + sign * share);
            }
        }
    }
}

struct Kind {
    int32_t grey;
    int32_t delta;
};

const Kind kRidged = {150, 300};    // clear ridges, light
const Kind kDarkFlat = {60, 0};     // counts as finger and as dark
const Kind kBackground = {250, 0};  // light and flat

int32_t BlockColumns(const Grid& image) {
    return (image.width - 16 - 16 + 7) / 8;
}

int32_t BlockRows(const Grid& image) {
    return (image.height - 16 - 16 + 7) / 8;
}

// The blocks in walking order: `first` of the one kind, then `second`, then the rest.
Grid Blocks(int32_t width, int32_t height, int32_t firstCount, Kind first, int32_t secondCount,
            Kind second, Kind rest) {
    Grid image(width, height, 255);
    int32_t index = 0;
    for (int32_t row = 0; row < BlockRows(image); ++row) {
        for (int32_t column = 0; column < BlockColumns(image); ++column) {
            const Kind kind = index < firstCount                 ? first
                              : index < firstCount + secondCount ? second
                                                                 : rest;
            PaintBlock(image, 16 + 8 * column, 16 + 8 * row, kind.grey, kind.delta);
            ++index;
        }
    }
    return image;
}

TEST(CheckFinger, UniformImagesShowNoFinger) {
    const int32_t sizes[4][2] = {{256, 288}, {256, 360}, {152, 200}, {96, 96}};
    for (const auto& size : sizes) {
        EXPECT_EQ(Check(Grid(size[0], size[1], 255)), 6u);
        EXPECT_EQ(Check(Grid(size[0], size[1], 128)), 6u);
        EXPECT_EQ(Check(Grid(size[0], size[1], 127)), 6u);  // all dark and flat
        EXPECT_EQ(Check(Grid(size[0], size[1], 0)), 6u);
    }
}

TEST(CheckFinger, RidgesShowAFinger) {
    EXPECT_EQ(Check(Blocks(256, 288, 896, kRidged, 0, kRidged, kRidged)), 0u);
    EXPECT_EQ(Check(Blocks(152, 200, 315, kRidged, 0, kRidged, kRidged)), 0u);
    EXPECT_EQ(Check(testsupport::StripeImage(256, 360, 9.0, 20, 0, 255)), 0u);
}

TEST(CheckFinger, RefusedSizes) {
    const Grid image(300, 400, 100);
    const auto check = [&image](uint32_t width, int32_t height) {
        return QORFP_CheckFinger(image.cells.data(), width, height);
    };
    EXPECT_EQ(check(257, 100), 5u);
    EXPECT_EQ(check(260, 100), 5u);
    EXPECT_EQ(check(100, 361), 5u);
    EXPECT_EQ(check(100, 364), 5u);
    EXPECT_EQ(check(254, 360), 5u);
    EXPECT_EQ(check(256, 358), 5u);
    EXPECT_EQ(check(255, 100), 5u);
    EXPECT_EQ(check(100, 101), 5u);
    EXPECT_EQ(check(0xFFFFFFFCu, 100), 5u);
    EXPECT_EQ(check(0x80000000u, 100), 5u);
    EXPECT_EQ(check(100, std::numeric_limits<int32_t>::max()), 5u);
    EXPECT_EQ(check(100, -1), 5u);
    EXPECT_EQ(check(100, -2), 5u);
}

TEST(CheckFinger, SmallImagesHoldNoBlock) {
    const Grid image(256, 360, 0);
    const int32_t sizes[12][2] = {{32, 32}, {32, 360}, {256, 32}, {0, 0},   {0, 360},  {256, 0},
                                  {4, 4},   {16, 16},  {28, 100}, {100, 4}, {100, -4}, {256, -360}};
    for (const auto& size : sizes) {
        EXPECT_EQ(QORFP_CheckFinger(image.cells.data(), static_cast<uint32_t>(size[0]), size[1]),
                  6u)
            << size[0] << " x " << size[1];
        // No pixel is read, so a null image gives the same.
        EXPECT_EQ(QORFP_CheckFinger(nullptr, static_cast<uint32_t>(size[0]), size[1]), 6u)
            << size[0] << " x " << size[1];
    }
    EXPECT_EQ(QORFP_CheckFinger(image.cells.data(), 100, std::numeric_limits<int32_t>::min()), 6u);
}

TEST(CheckFinger, NullImageWithBlocksIsRefused) {
    EXPECT_EQ(QORFP_CheckFinger(nullptr, 36, 36), 5u);
    EXPECT_EQ(QORFP_CheckFinger(nullptr, 256, 288), 5u);
    EXPECT_EQ(QORFP_CheckFinger(nullptr, 256, 360), 5u);
    // A refused size is refused all the same.
    EXPECT_EQ(QORFP_CheckFinger(nullptr, 254, 360), 5u);
}

TEST(CheckFinger, SmallestImageWithABlock) {
    // 36 x 36: the one block at (16, 16) reaches into the margin.
    Grid image(36, 36, 255);
    EXPECT_EQ(Check(image), 6u);
    PaintBlock(image, 16, 16, 200, 200);
    EXPECT_EQ(Check(image), 0u);
}

TEST(CheckFinger, ContrastThresholds) {
    // The spread 16 x delta x delta must exceed 65,536, or 192,000 at exactly 256 x 288.
    const auto all = [](int32_t width, int32_t height, int32_t delta) {
        const Kind kind = {200, delta};
        return Check(Blocks(width, height, 0, kind, 0, kind, kind));
    };
    EXPECT_EQ(all(256, 284, 64), 6u);  // equal is not above
    EXPECT_EQ(all(256, 284, 65), 0u);
    EXPECT_EQ(all(256, 288, 65), 6u);
    EXPECT_EQ(all(256, 288, 109), 6u);  // 190,096
    EXPECT_EQ(all(256, 288, 110), 0u);  // 193,600
    EXPECT_EQ(all(252, 288, 65), 0u);
    EXPECT_EQ(all(256, 292, 65), 0u);
    EXPECT_EQ(all(152, 200, 64), 6u);
    EXPECT_EQ(all(152, 200, 65), 0u);
}

TEST(CheckFinger, LargeSensorThresholdIsExact) {
    // Five pairs of cells at 600 +- d, 309^2 + 22^2 + 5^2 + 3^2 + 1^2 = 96,000: a spread of twice
    // that is 192,000, which is not above. A sixth pair at +- 1 makes 192,002.
    const auto all = [](int32_t sixth) {
        const int32_t steps[8] = {309, 22, 5, 3, 1, sixth, 0, 0};
        Grid image(256, 288, 255);
        for (int32_t row = 0; row < BlockRows(image); ++row) {
            for (int32_t column = 0; column < BlockColumns(image); ++column) {
                for (int32_t cell = 0; cell < 16; ++cell) {
                    const int32_t sum = 600 + (cell % 2 == 0 ? steps[cell / 2] : -steps[cell / 2]);
                    for (int32_t pixel = 0; pixel < 4; ++pixel) {
                        image.At(16 + 8 * column + 2 * (cell % 4) + pixel % 2,
                                 16 + 8 * row + 2 * (cell / 4) + pixel / 2) =
                            static_cast<uint8_t>(sum / 4 + (pixel < sum % 4 ? 1 : 0));
                    }
                }
            }
        }
        return Check(image);
    };
    EXPECT_EQ(all(0), 6u);
    EXPECT_EQ(all(1), 0u);
}

TEST(CheckFinger, MoreThan54PerCentOfTheBlocks) {
    // 896 blocks at both sizes: 492 are 54 per cent, 493 are 55.
    for (const int32_t height : {284, 288}) {
        ASSERT_EQ(BlockColumns(Grid(256, height)) * BlockRows(Grid(256, height)), 896);
        EXPECT_EQ(Check(Blocks(256, height, 492, kRidged, 0, kRidged, kBackground)), 6u) << height;
        EXPECT_EQ(Check(Blocks(256, height, 493, kRidged, 0, kRidged, kBackground)), 0u) << height;
    }
}

TEST(CheckFinger, DarkFlatBlocksAtMostTwoThirds) {
    // 48 x 48 has four blocks. Three finger blocks, two of them dark: 2 x 3 / 3 = 2 is allowed.
    ASSERT_EQ(BlockColumns(Grid(48, 48)) * BlockRows(Grid(48, 48)), 4);
    EXPECT_EQ(Check(Blocks(48, 48, 2, kDarkFlat, 1, kRidged, kBackground)), 0u);
    EXPECT_EQ(Check(Blocks(48, 48, 2, kDarkFlat, 2, kRidged, kRidged)), 0u);
    EXPECT_EQ(Check(Blocks(48, 48, 3, kDarkFlat, 1, kRidged, kRidged)), 6u);
    EXPECT_EQ(Check(Blocks(48, 48, 3, kDarkFlat, 0, kRidged, kBackground)), 6u);
}

TEST(CheckFinger, DarkFlatBlocksAtMostHalfOnTheLargeSensor) {
    EXPECT_EQ(Check(Blocks(256, 288, 448, kDarkFlat, 448, kRidged, kRidged)), 0u);
    EXPECT_EQ(Check(Blocks(256, 288, 449, kDarkFlat, 447, kRidged, kRidged)), 6u);
    // Half of an odd count is cut: 277 of 555.
    EXPECT_EQ(Check(Blocks(256, 288, 277, kDarkFlat, 278, kRidged, kBackground)), 0u);
    EXPECT_EQ(Check(Blocks(256, 288, 278, kDarkFlat, 277, kRidged, kBackground)), 6u);
    // Another size allows two thirds.
    EXPECT_EQ(Check(Blocks(256, 284, 449, kDarkFlat, 447, kRidged, kRidged)), 0u);
}

TEST(CheckFinger, LargeSensorNeedsContrastToTheBackground) {
    // Finger blocks of mean 180 against background of 180 + 49 and + 50, and the other way round.
    const Kind ridged = {180, 200};
    const auto against = [&ridged](int32_t height, int32_t grey) {
        return Check(Blocks(256, height, 600, ridged, 0, ridged, Kind{grey, 0}));
    };
    EXPECT_EQ(against(288, 180), 6u);
    EXPECT_EQ(against(288, 229), 6u);
    EXPECT_EQ(against(288, 230), 0u);
    EXPECT_EQ(against(288, 131), 6u);
    EXPECT_EQ(against(288, 130), 0u);
    // No other size looks at it.
    EXPECT_EQ(against(284, 180), 0u);
    // Without background there is nothing to compare.
    EXPECT_EQ(Check(Blocks(256, 288, 896, ridged, 0, ridged, ridged)), 0u);
}

TEST(CheckFinger, DarkLimitIsMean128) {
    // Flat blocks of 127 are dark, of 128 background. With two ridged blocks of four, both dark
    // ones count as finger.
    EXPECT_EQ(Check(Blocks(48, 48, 2, kRidged, 0, kRidged, Kind{127, 0})), 0u);
    EXPECT_EQ(Check(Blocks(48, 48, 2, kRidged, 0, kRidged, Kind{128, 0})), 6u);
}

TEST(CheckFinger, MarginOf16IsIgnored) {
    // 256 x 288: strong noise in the margin alone shows nothing, and white margins hide nothing.
    testsupport::Random random(testsupport::Seed());
    Grid image = testsupport::BinaryNoise(256, 288, random, 50);
    for (int32_t y = 16; y < 288 - 16; ++y) {
        for (int32_t x = 16; x < 256 - 16; ++x) {
            image.At(x, y) = 255;
        }
    }
    EXPECT_EQ(Check(image), 6u);
}

TEST(CheckFinger, EqualsModel) {
    const uint64_t seed = testsupport::Seed();
    SCOPED_TRACE(testsupport::SeedNote(seed));
    testsupport::Random random(seed + 26);
    int32_t fingers = 0;
    int32_t others = 0;
    for (int32_t round = 0; round < 240; ++round) {
        const bool isLargeSensor = round % 4 == 0;
        const int32_t width = isLargeSensor ? 256 : 4 * random.Between(1, 64);
        const int32_t height = isLargeSensor ? 288 : 4 * random.Between(1, 90);
        const Kind first = {random.Between(80, 170), random.Between(0, 300)};
        const Kind second = {random.Between(0, 255), 0};
        const Kind rest = {random.Between(100, 255), 0};
        const Grid shape(width, height);
        const int32_t blocks = std::max(BlockColumns(shape), 0) * std::max(BlockRows(shape), 0);
        const int32_t firstCount = random.Between(0, blocks);
        const int32_t secondCount = random.Between(0, blocks - firstCount);
        Grid image = Blocks(width, height, firstCount, first, secondCount, second, rest);
        if (random.OneIn(3)) {
            image = testsupport::FingerImage(width, height, random);
        }
        const uint32_t expected = model::CheckFinger(image);
        ASSERT_EQ(Check(image), expected) << width << " x " << height << ", round " << round;
        (expected == 0 ? fingers : others) += 1;
    }
    // The comparison is worth little when one answer dominates.
    EXPECT_GT(fingers, 20);
    EXPECT_GT(others, 20);
}

TEST(CheckFinger, EqualsModelOnPatterns) {
    const uint64_t seed = testsupport::Seed();
    SCOPED_TRACE(testsupport::SeedNote(seed));
    std::vector<NamedImage> images = testsupport::MediumImages(seed);
    for (const NamedImage& entry : testsupport::LargeImages(seed)) {
        images.push_back(entry);
    }
    for (const NamedImage& entry : images) {
        EXPECT_EQ(Check(entry.image), model::CheckFinger(entry.image)) << entry.name;
    }
}

}  // namespace
