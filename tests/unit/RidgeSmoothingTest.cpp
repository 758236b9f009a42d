// SPDX-License-Identifier: Apache-2.0
//
// Ridge smoothing along the block orientations: inside and border formulas by hand, the rest
// against the naive model.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
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

// Runs the stage; the direction map must come out as it went in.
Grid RunStage(WorkBuffer& buffer, const Grid& image, const Grid& map) {
    buffer.Put(0, image);
    buffer.Put(DirectionMapOffset(image), map);
    SmoothRidge(buffer.Bytes(), image.width, image.height);
    EXPECT_EQ(FirstDifference(map, buffer.Take(DirectionMapOffset(image), map.width, map.height)),
              "")
        << "the direction map changed";
    return buffer.Take(0, image.width, image.height);
}

Grid MapFor(const Grid& image, uint8_t byte) {
    return Grid(BlocksAlong(image.width), BlocksAlong(image.height), byte);
}

TEST(SmoothRidge, UniformImageIsUnchanged) {
    testsupport::Random random(testsupport::Seed());
    WorkBuffer buffer;
    for (const uint8_t grey : {uint8_t{0}, uint8_t{1}, uint8_t{200}, uint8_t{255}}) {
        const Grid image = testsupport::UniformImage(60, 52, grey);
        const Grid map = testsupport::RandomDirectionMap(14, 12, random, false);
        WithEachFill(buffer, [&](WorkBuffer& work) {
            EXPECT_EQ(FirstDifference(image, RunStage(work, image, map)), "");
        });
    }
}

TEST(SmoothRidge, InsideAlongTheXAxis) {
    // One white column; a pixel of it keeps 26 / 256, five pixels to each side get 23 / 256.
    Grid image(60, 52, 0);
    for (int32_t y = 0; y < 52; ++y) {
        image.At(30, y) = 255;
    }
    WorkBuffer buffer;
    // Background blocks are smoothed like the others.
    for (const uint8_t flag : {uint8_t{0}, uint8_t{128}}) {
        const Grid result = RunStage(buffer, image, MapFor(image, flag));
        for (int32_t x = 23; x <= 37; ++x) {
            const int32_t distance = x < 30 ? 30 - x : x - 30;
            const int32_t expected = distance == 0  ? 26 * 255 / 256
                                     : distance < 6 ? 23 * 255 / 256
                                                    : 0;
            EXPECT_EQ(result.At(x, 20), expected) << "column " << x;
        }
    }
}

TEST(SmoothRidge, InsideAlongTheYAxisAndADiagonal) {
    Grid image(60, 60, 0);
    image.At(30, 30) = 255;
    WorkBuffer buffer;
    const Grid upright = RunStage(buffer, image, MapFor(image, 60));
    EXPECT_EQ(upright.At(30, 30), 25);  // 26 x 255 / 256
    EXPECT_EQ(upright.At(30, 25), 22);  // 23 x 255 / 256
    EXPECT_EQ(upright.At(30, 35), 22);
    EXPECT_EQ(upright.At(30, 24), 0);
    EXPECT_EQ(upright.At(29, 30), 0);
    // 30: towards lower right, (1, 1) 34 (2, 2) 34 (3, 3) 27 (4, 3) 6 (3, 4) 6 (4, 4) 7, centre 28.
    const Grid diagonal = RunStage(buffer, image, MapFor(image, 30));
    EXPECT_EQ(diagonal.At(30, 30), 27);
    EXPECT_EQ(diagonal.At(31, 31), 33);
    EXPECT_EQ(diagonal.At(28, 28), 33);
    EXPECT_EQ(diagonal.At(33, 33), 26);
    EXPECT_EQ(diagonal.At(34, 33), 5);
    EXPECT_EQ(diagonal.At(26, 27), 5);
    EXPECT_EQ(diagonal.At(34, 34), 6);
    EXPECT_EQ(diagonal.At(31, 29), 0);
    // 90: its mirror image.
    const Grid mirrored = RunStage(buffer, image, MapFor(image, 90));
    EXPECT_EQ(mirrored.At(29, 31), 33);
    EXPECT_EQ(mirrored.At(26, 33), 5);
    EXPECT_EQ(mirrored.At(31, 31), 0);
}

TEST(SmoothRidge, BorderDividesByTheWeightInsideTheImage) {
    // Orientation 0, first block column: pixel (1, y) has one sample to its left, five to its
    // right: weight 26 + 23 x 6 = 164.
    Grid image(60, 52, 100);
    image.At(0, 10) = 200;
    image.At(2, 12) = 255;
    WorkBuffer buffer;
    const Grid result = RunStage(buffer, image, MapFor(image, 0));
    EXPECT_EQ(result.At(1, 10), (16400 + 23 * 100) / 164);
    EXPECT_EQ(result.At(2, 10), (187 * 100 + 23 * 100) / 187);
    EXPECT_EQ(result.At(3, 10), (210 * 100 + 23 * 100) / 210);
    EXPECT_EQ(result.At(4, 10), (233 * 100 + 23 * 100) / 233);
    EXPECT_EQ(result.At(5, 10), 100 + 23 * 100 / 256);  // inside: 25600 + 2300, shifted by 8
    EXPECT_EQ(result.At(6, 10), 100);
    EXPECT_EQ(result.At(0, 10), 200);  // outside all blocks
    EXPECT_EQ(result.At(1, 12), (16400 + 23 * 155) / 164);
    EXPECT_EQ(result.At(2, 12), (18700 + 26 * 155) / 187);
}

TEST(SmoothRidge, TwoBottomBlockRowsAndOneRightBlockColumnTakeTheBorderFormula) {
    // 60 x 52: 14 x 12 blocks, columns 1..56 and rows 1..48. With all samples inside the image the
    // border formula divides by 256 and equals the inside one, so both must give this.
    Grid image(60, 52, 0);
    image.At(30, 42) = 255;  // block row 10, the last but one
    image.At(30, 30) = 255;  // inside
    WorkBuffer buffer;
    const Grid result = RunStage(buffer, image, MapFor(image, 60));
    for (int32_t dy = -6; dy <= 6; ++dy) {
        if (30 + dy >= 36 || 42 + dy <= 36 || 42 + dy > 46) {
            continue;
        }
        EXPECT_EQ(result.At(30, 42 + dy), result.At(30, 30 + dy)) << dy;
    }
    // Last block row, pixel (30, 48): three samples below, five above: weight 26 + 23 x 8 = 210.
    Grid low(60, 52, 0);
    low.At(30, 48) = 255;
    EXPECT_EQ(RunStage(buffer, low, MapFor(low, 60)).At(30, 48), 26 * 255 / 210);
    // The last but one is a border row too: a sample outside would count there as well. Row 44 is
    // its last; 52 rows hold all of its samples. With 49 rows (12 block rows still) row 44 reaches
    // row 49: four samples below.
    Grid tight(60, 49, 0);
    tight.At(30, 44) = 255;
    EXPECT_EQ(RunStage(buffer, tight, MapFor(tight, 60)).At(30, 44), 26 * 255 / 233);
}

TEST(SmoothRidge, PixelsOutsideAllBlocksKeepTheirValues) {
    testsupport::Random random(testsupport::Seed());
    WorkBuffer buffer;
    for (int32_t extra = 0; extra < 4; ++extra) {
        const Grid image = testsupport::NoiseImage(41 + extra, 44 - extra, random);
        const Grid map = testsupport::RandomDirectionMap(BlocksAlong(image.width),
                                                         BlocksAlong(image.height), random, false);
        const Grid result = RunStage(buffer, image, map);
        for (int32_t y = 0; y < image.height; ++y) {
            for (int32_t x = 0; x < image.width; ++x) {
                if (x == 0 || y == 0 || x > 4 * map.width || y > 4 * map.height) {
                    EXPECT_EQ(result.At(x, y), image.At(x, y)) << x << ", " << y;
                }
            }
        }
    }
}

TEST(SmoothRidge, OrientationOf120OrMoreLeavesItsBlock) {
    testsupport::Random random(testsupport::Seed());
    const Grid image = testsupport::NoiseImage(60, 52, random);
    WorkBuffer buffer;
    for (const uint8_t byte : {uint8_t{120}, uint8_t{127}, uint8_t{248}, uint8_t{255}}) {
        EXPECT_EQ(FirstDifference(image, RunStage(buffer, image, MapFor(image, byte))), "");
    }
    Grid map = MapFor(image, 0);
    map.At(5, 5) = 120;
    map.At(0, 11) = 127;
    const Grid result = RunStage(buffer, image, map);
    const Grid expected = model::SmoothRidge(image, map);
    EXPECT_EQ(FirstDifference(expected, result), "");
    for (int32_t dy = 1; dy <= 4; ++dy) {
        for (int32_t dx = 1; dx <= 4; ++dx) {
            EXPECT_EQ(result.At(20 + dx, 20 + dy), image.At(20 + dx, 20 + dy));
            EXPECT_EQ(result.At(dx, 44 + dy), image.At(dx, 44 + dy));
        }
    }
}

TEST(SmoothRidge, WidthOf1Modulo4ReachesTheNextRow) {
    // 41 columns: 10 block columns, the last but one ends at column 36, and with orientation 0 its
    // last pixel's fifth sample is column 41: the first pixel of the next row.
    Grid image(41, 40, 0);
    image.At(0, 21) = 255;
    WorkBuffer buffer;
    const Grid result = RunStage(buffer, image, MapFor(image, 0));
    EXPECT_EQ(result.At(36, 20), 22);
    EXPECT_EQ(result.At(35, 20), 0);
    EXPECT_EQ(result.At(36, 21), 0);
    // The last block column looks inside the image only.
    EXPECT_EQ(result.At(37, 20), 0);
    EXPECT_EQ(result.At(40, 20), 0);
}

TEST(SmoothRidge, ImagesWithoutABlockAreUnchanged) {
    testsupport::Random random(testsupport::Seed());
    WorkBuffer buffer;
    const int32_t sizes[5][2] = {{4, 4}, {1, 1}, {4, 50}, {50, 3}, {2, 9}};
    for (const auto& size : sizes) {
        const Grid image = testsupport::NoiseImage(size[0], size[1], random);
        buffer.Put(0, image);
        SmoothRidge(buffer.Bytes(), size[0], size[1]);
        EXPECT_EQ(FirstDifference(image, buffer.Take(0, size[0], size[1])), "");
    }
    EXPECT_TRUE(buffer.GuardsIntact());
}

void ExpectModel(const std::vector<NamedImage>& images, bool hostile, uint64_t seed) {
    testsupport::Random random(seed);
    WorkBuffer buffer;
    for (const NamedImage& entry : images) {
        SCOPED_TRACE(entry.name);
        const Grid map = testsupport::RandomDirectionMap(
            BlocksAlong(entry.image.width), BlocksAlong(entry.image.height), random, hostile);
        const Grid expected = model::SmoothRidge(entry.image, map);
        WithEachFill(buffer, [&](WorkBuffer& work) {
            ASSERT_EQ(FirstDifference(expected, RunStage(work, entry.image, map)), "");
        });
        if (testing::Test::HasFatalFailure()) {
            return;
        }
    }
}

TEST(SmoothRidge, EqualsModelOnTinyImages) {
    const uint64_t seed = testsupport::Seed();
    SCOPED_TRACE(testsupport::SeedNote(seed));
    ExpectModel(testsupport::TinyImages(seed), false, seed + 8);
    ExpectModel(testsupport::TinyImages(seed + 1), true, seed + 9);
}

TEST(SmoothRidge, EqualsModelOnMediumAndLargeImages) {
    const uint64_t seed = testsupport::Seed();
    SCOPED_TRACE(testsupport::SeedNote(seed));
    ExpectModel(testsupport::MediumImages(seed), false, seed + 10);
    ExpectModel(testsupport::MediumImages(seed), true, seed + 11);
    ExpectModel(testsupport::LargeImages(seed), false, seed + 12);
}

TEST(SmoothRidge, EqualsModelAtEveryWidthAndHeight) {
    // Rows of fewer pixels than a vector, of just as many, and with every remainder.
    const uint64_t seed = testsupport::Seed();
    SCOPED_TRACE(testsupport::SeedNote(seed));
    testsupport::Random random(seed + 24);
    std::vector<NamedImage> images;
    for (int32_t side = 5; side <= 70; ++side) {
        const int32_t other = random.Between(5, 40);
        images.push_back({std::to_string(side) + " x " + std::to_string(other),
                          testsupport::NoiseImage(side, other, random)});
        images.push_back({std::to_string(other) + " x " + std::to_string(side),
                          testsupport::NoiseImage(other, side, random)});
    }
    ExpectModel(images, false, seed + 25);
}

TEST(SmoothRidge, WhiteAndBlackAreTheExtremesOfEverySum) {
    // Binary images: sums of all weights, and of none, in either half of a 16-bit lane.
    const uint64_t seed = testsupport::Seed();
    SCOPED_TRACE(testsupport::SeedNote(seed));
    testsupport::Random random(seed + 26);
    std::vector<NamedImage> images;
    for (int32_t zeroPerCent = 1; zeroPerCent < 100; zeroPerCent += 7) {
        images.push_back({std::to_string(zeroPerCent) + " % black",
                          testsupport::BinaryNoise(53, 50, random, zeroPerCent)});
    }
    ExpectModel(images, false, seed + 27);
}

TEST(SmoothRidge, EqualsModelForEveryOrientation) {
    const uint64_t seed = testsupport::Seed();
    SCOPED_TRACE(testsupport::SeedNote(seed));
    testsupport::Random random(seed + 13);
    WorkBuffer buffer;
    for (int32_t orientation = 0; orientation < 120; ++orientation) {
        SCOPED_TRACE("orientation " + std::to_string(orientation));
        const Grid image = testsupport::NoiseImage(33, 37, random);
        const Grid map = MapFor(image, static_cast<uint8_t>(orientation));
        ASSERT_EQ(FirstDifference(model::SmoothRidge(image, map), RunStage(buffer, image, map)),
                  "");
    }
}

TEST(SmoothRidge, EqualsModelWithTheFieldOfTheImage) {
    const uint64_t seed = testsupport::Seed();
    SCOPED_TRACE(testsupport::SeedNote(seed));
    testsupport::Random random(seed + 14);
    WorkBuffer buffer;
    const Grid image = model::Preprocess(testsupport::FingerImage(196, 240, random));
    const Grid map = model::CalcDirA(image).map;
    const Grid first = model::SmoothRidge(image, map);
    WithEachFill(buffer, [&](WorkBuffer& work) {
        EXPECT_EQ(FirstDifference(first, RunStage(work, image, map)), "");
    });
    const Grid binary = model::BinImageA(first);
    const Grid secondMap = model::CalcDirB(binary, map);
    const Grid second = model::SmoothRidge(binary, secondMap);
    WithEachFill(buffer, [&](WorkBuffer& work) {
        EXPECT_EQ(FirstDifference(second, RunStage(work, binary, secondMap)), "");
    });
}

}  // namespace
