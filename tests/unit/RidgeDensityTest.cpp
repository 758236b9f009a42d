// SPDX-License-Identifier: Apache-2.0
//
// The ridge-period map: 4 x (period in pixels - 4), 4..36; 0 on background.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "extract/FPExtract.h"
#include "tests/model/ModelBinarise.h"
#include "tests/model/ModelOrientation.h"
#include "tests/model/ModelRidgeDensity.h"
#include "tests/support/TestImages.h"
#include "tests/support/WorkBuffer.h"

namespace {

using testsupport::BlocksAlong;
using testsupport::DirectionMapOffset;
using testsupport::FirstDifference;
using testsupport::Grid;
using testsupport::NamedImage;
using testsupport::PeriodMapOffset;
using testsupport::WithEachFill;
using testsupport::WorkBuffer;

// Runs the stage; the image and the direction map must come out as they went in.
Grid RunStage(WorkBuffer& buffer, const Grid& image, const Grid& map) {
    buffer.Put(0, image);
    buffer.Put(DirectionMapOffset(image), map);
    GetRidgeDensity(buffer.Bytes(), image.width, image.height);
    EXPECT_EQ(FirstDifference(image, buffer.Take(0, image.width, image.height)), "")
        << "the image changed";
    EXPECT_EQ(FirstDifference(map, buffer.Take(DirectionMapOffset(image), map.width, map.height)),
              "")
        << "the direction map changed";
    return buffer.Take(PeriodMapOffset(image), map.width, map.height);
}

Grid MapFor(const Grid& image, uint8_t byte) {
    return Grid(BlocksAlong(image.width), BlocksAlong(image.height), byte);
}

// Ridges along x: `period` rows each, the upper half ridge.
Grid LevelRidges(int32_t width, int32_t height, int32_t period) {
    Grid image(width, height);
    for (int32_t y = 0; y < height; ++y) {
        for (int32_t x = 0; x < width; ++x) {
            image.At(x, y) = y % period < period / 2 ? 0 : 255;
        }
    }
    return image;
}

TEST(GetRidgeDensity, RegularRidgesOfPeriod8) {
    // Every profile gives 32 x 8 = 256 in 1/32 pixel: 8 - 4, and 16 after smoothing.
    const Grid level = LevelRidges(84, 84, 8);
    WorkBuffer buffer;
    WithEachFill(buffer, [&](WorkBuffer& work) {
        EXPECT_EQ(FirstDifference(Grid(20, 20, 16), RunStage(work, level, MapFor(level, 0))), "");
    });
    // Upright ridges: class 8.
    const Grid upright = testsupport::Transposed(level);
    EXPECT_EQ(FirstDifference(Grid(20, 20, 16), RunStage(buffer, upright, MapFor(upright, 60))),
              "");
    // Orientations up to 3 and from 117 on share the class of 0.
    for (const uint8_t orientation : {uint8_t{3}, uint8_t{117}, uint8_t{119}}) {
        EXPECT_EQ(
            FirstDifference(Grid(20, 20, 16), RunStage(buffer, level, MapFor(level, orientation))),
            "");
    }
}

TEST(GetRidgeDensity, PeriodsAreLimitedTo5And13) {
    WorkBuffer buffer;
    // Period 4 counts as 5: 1, smoothed 4. Period 10 has two rises 10 apart in 21 samples: 6 x 4.
    const Grid narrow = LevelRidges(84, 84, 4);
    EXPECT_EQ(FirstDifference(Grid(20, 20, 4), RunStage(buffer, narrow, MapFor(narrow, 0))), "");
    const Grid ten = LevelRidges(84, 84, 10);
    EXPECT_EQ(FirstDifference(Grid(20, 20, 24), RunStage(buffer, ten, MapFor(ten, 0))), "");
    // Period 40 shows at most one rise: 9, smoothed 36.
    const Grid wide = LevelRidges(84, 84, 40);
    EXPECT_EQ(FirstDifference(Grid(20, 20, 36), RunStage(buffer, wide, MapFor(wide, 0))), "");
    // No ridge at all: no rise.
    const Grid white(84, 84, 255);
    EXPECT_EQ(FirstDifference(Grid(20, 20, 36), RunStage(buffer, white, MapFor(white, 0))), "");
}

TEST(GetRidgeDensity, DiagonalStepsAreLonger) {
    // Class 4 for orientation 30 samples every diagonal pixel, 45 / 32 pixel apart. Ridges that
    // repeat every 6 pixels along x and along y repeat every 3 such steps with x - y, so
    // 3 x 45 = 135 / 32 = 4.2 pixels: limited to 5.
    Grid image(84, 84);
    for (int32_t y = 0; y < 84; ++y) {
        for (int32_t x = 0; x < 84; ++x) {
            image.At(x, y) = (x - y + 600) % 6 < 2 ? 0 : 255;
        }
    }
    WorkBuffer buffer;
    EXPECT_EQ(FirstDifference(Grid(20, 20, 4), RunStage(buffer, image, MapFor(image, 30))), "");
    // Every 12 pixels: 6 steps, 6 x 45 = 270 / 32, rounded 8: 4 x 4.
    for (int32_t y = 0; y < 84; ++y) {
        for (int32_t x = 0; x < 84; ++x) {
            image.At(x, y) = (x - y + 600) % 12 < 6 ? 0 : 255;
        }
    }
    EXPECT_EQ(FirstDifference(Grid(20, 20, 16), RunStage(buffer, image, MapFor(image, 30))), "");
}

TEST(GetRidgeDensity, ExactlyOneRiseCountsAs13) {
    // White but for one ridge: each profile across it falls once and rises once.
    Grid image(84, 84, 255);
    for (int32_t x = 0; x < 84; ++x) {
        image.At(x, 40) = 0;
        image.At(x, 41) = 0;
    }
    WorkBuffer buffer;
    EXPECT_EQ(FirstDifference(Grid(20, 20, 36), RunStage(buffer, image, MapFor(image, 0))), "");
}

TEST(GetRidgeDensity, BackgroundStaysZeroAndIsNotMeasured) {
    const Grid image = LevelRidges(84, 84, 8);
    Grid map = MapFor(image, 0);
    for (int32_t y = 0; y < 20; ++y) {
        for (int32_t x = 10; x < 20; ++x) {
            map.At(x, y) = 128;
        }
    }
    WorkBuffer buffer;
    WithEachFill(buffer, [&](WorkBuffer& work) {
        const Grid result = RunStage(work, image, map);
        for (int32_t y = 0; y < 20; ++y) {
            for (int32_t x = 0; x < 20; ++x) {
                EXPECT_EQ(result.At(x, y), x < 10 ? 16 : 0) << x << ", " << y;
            }
        }
    });
}

TEST(GetRidgeDensity, BlocksWithoutAMeasurementTakeTheNearestWithin5Blocks) {
    // Only block (2, 2) is foreground among the measured ones, so 7 x 7 windows around it (up to
    // block 5) see its value, 4 x 4. Foreground lies along row 2 and column 2 and in a far corner.
    const Grid image = LevelRidges(124, 124, 8);  // 30 x 30 blocks
    Grid map = MapFor(image, 128);
    map.At(2, 2) = 0;
    for (int32_t odd = 1; odd < 30; odd += 2) {
        map.At(odd, 2) = 0;  // odd columns are never measured
        map.At(2, odd) = 0;
    }
    map.At(25, 25) = 0;
    WorkBuffer buffer;
    const Grid result = RunStage(buffer, image, map);
    EXPECT_EQ(result.At(2, 2), 16);
    EXPECT_EQ(result.At(5, 2), 16);   // in its window
    EXPECT_EQ(result.At(7, 2), 16);   // from (5, 2), two to the left
    EXPECT_EQ(result.At(29, 2), 16);  // holes filled earlier serve the next
    EXPECT_EQ(result.At(2, 29), 16);
    EXPECT_EQ(result.At(25, 25), 36);  // nothing within five blocks
    EXPECT_EQ(result.At(6, 2), 0);
}

TEST(GetRidgeDensity, HoleReachesFiveBlocksButNotSix) {
    const Grid image = LevelRidges(124, 124, 8);
    WorkBuffer buffer;
    Grid map = MapFor(image, 128);
    map.At(2, 2) = 0;
    map.At(7, 2) = 0;
    map.At(2, 7) = 0;
    const Grid five = RunStage(buffer, image, map);
    EXPECT_EQ(five.At(7, 2), 16);
    EXPECT_EQ(five.At(2, 7), 16);
    // (5, 2) has a value from its window; (11, 2) is six blocks away from it.
    map = MapFor(image, 128);
    map.At(2, 2) = 0;
    map.At(5, 2) = 0;
    map.At(11, 2) = 0;
    EXPECT_EQ(RunStage(buffer, image, map).At(11, 2), 36);
    // The diagonal does not count, however near.
    map = MapFor(image, 128);
    map.At(2, 2) = 0;
    map.At(5, 5) = 0;  // in the window of (2, 2)
    map.At(6, 6) = 128;
    map.At(7, 7) = 0;
    const Grid diagonal = RunStage(buffer, image, map);
    EXPECT_EQ(diagonal.At(5, 5), 16);
    EXPECT_EQ(diagonal.At(7, 7), 36);
}

TEST(GetRidgeDensity, NearestNeighbourGoesLeftRightUpDown) {
    // Upper left (2, 2) sees period 8, the block (12, 2) period 10. The hole (7, 2) is five from
    // both on its row: left comes first. Moving the right one nearer makes it win.
    Grid image = LevelRidges(124, 124, 8);
    for (int32_t y = 0; y < 124; ++y) {
        for (int32_t x = 40; x < 124; ++x) {
            image.At(x, y) = y % 10 < 5 ? 0 : 255;
        }
    }
    Grid map = MapFor(image, 128);
    map.At(2, 2) = 0;
    map.At(7, 2) = 0;
    map.At(12, 2) = 0;
    WorkBuffer buffer;
    const Grid tie = RunStage(buffer, image, map);
    EXPECT_EQ(tie.At(2, 2), 16);
    EXPECT_EQ(tie.At(12, 2), 24);
    EXPECT_EQ(tie.At(7, 2), 16);
    map.At(11, 2) = 0;  // in the window of (12, 2)
    EXPECT_EQ(RunStage(buffer, image, map).At(7, 2), 24);
}

TEST(GetRidgeDensity, OrientationOf120OrMoreIsNotMeasured) {
    const Grid image = LevelRidges(84, 84, 8);
    WorkBuffer buffer;
    // Nothing measured at all: every block is a hole without a neighbour.
    for (const uint8_t byte : {uint8_t{120}, uint8_t{127}}) {
        EXPECT_EQ(FirstDifference(Grid(20, 20, 36), RunStage(buffer, image, MapFor(image, byte))),
                  "");
    }
    EXPECT_EQ(FirstDifference(Grid(20, 20, 0), RunStage(buffer, image, MapFor(image, 255))), "");
}

TEST(GetRidgeDensity, SmallMapsAreNotMeasured) {
    WorkBuffer buffer;
    // Four block columns, or four block rows: nothing is measured; five of each: block (2, 2) is.
    const int32_t sizes[3][2] = {{20, 84}, {84, 20}, {17, 17}};
    for (const auto& size : sizes) {
        const Grid image = LevelRidges(size[0], size[1], 8);
        const Grid map = MapFor(image, 0);
        EXPECT_EQ(FirstDifference(Grid(map.width, map.height, 36), RunStage(buffer, image, map)),
                  "")
            << size[0] << " x " << size[1];
    }
    const Grid five = LevelRidges(24, 24, 8);
    EXPECT_EQ(FirstDifference(Grid(5, 5, 16), RunStage(buffer, five, MapFor(five, 0))), "");
    EXPECT_TRUE(buffer.GuardsIntact());
}

TEST(GetRidgeDensity, MeasuredBlocksStopBeforeTheFarEdge) {
    // Period 8 everywhere but at the profile of one block, which is white (value 36). The first
    // row and column of blocks that are not measured any more show no trace of it.
    WorkBuffer buffer;
    // 11 x 11 blocks: columns 2 + 2 x ((11 - 5) / 2) = 8 and rows below 9: 8 is the last.
    const Grid image = LevelRidges(48, 48, 8);
    ASSERT_EQ(BlocksAlong(48), 11);
    Grid lonely = MapFor(image, 128);
    lonely.At(8, 8) = 0;
    EXPECT_EQ(RunStage(buffer, image, lonely).At(8, 8), 16);
    Grid outside = MapFor(image, 128);
    outside.At(10, 8) = 0;
    EXPECT_EQ(RunStage(buffer, image, outside).At(10, 8), 36);
    // 12 blocks: (12 - 5) / 2 = 3 gives columns up to 8, while rows below 10 still end at 8.
    const Grid twelve = LevelRidges(52, 52, 8);
    ASSERT_EQ(BlocksAlong(52), 12);
    Grid column = MapFor(twelve, 128);
    column.At(10, 8) = 0;
    EXPECT_EQ(RunStage(buffer, twelve, column).At(10, 8), 36);
    Grid row = MapFor(twelve, 128);
    row.At(8, 10) = 0;
    EXPECT_EQ(RunStage(buffer, twelve, row).At(8, 10), 36);
    Grid last = MapFor(twelve, 128);
    last.At(8, 8) = 0;
    EXPECT_EQ(RunStage(buffer, twelve, last).At(8, 8), 16);
}

TEST(GetRidgeDensity, MeanIsRounded) {
    // Two blocks measured, 6 x 4 and 4 x 4 before the division: (2 / 2 + 4 x (6 + 4)) / 2 = 20.
    Grid image = LevelRidges(124, 124, 8);
    for (int32_t y = 0; y < 124; ++y) {
        for (int32_t x = 17; x < 124; ++x) {
            image.At(x, y) = y % 10 < 5 ? 0 : 255;
        }
    }
    Grid map = MapFor(image, 128);
    map.At(2, 2) = 0;
    map.At(4, 2) = 0;
    WorkBuffer buffer;
    EXPECT_EQ(RunStage(buffer, image, map).At(2, 2), 20);
    EXPECT_EQ(RunStage(buffer, image, map).At(4, 2), 20);
    // Three of them, 4 + 4 + 6: (1 + 56) / 3 = 19; 4 + 6 + 6: (1 + 64) / 3 = 21.
    map.At(2, 4) = 0;
    EXPECT_EQ(RunStage(buffer, image, map).At(2, 2), 19);
    map.At(2, 4) = 128;
    map.At(4, 4) = 0;
    EXPECT_EQ(RunStage(buffer, image, map).At(2, 2), 21);
}

TEST(GetRidgeDensity, LastRayMayReachTheNextRow) {
    // 29 columns, 7 block columns: the last measured one is 4, its centre column 19, and its ray
    // along x ends at column 29: the first pixel of the next row.
    ASSERT_EQ(BlocksAlong(29), 7);
    Grid image(29, 45, 255);
    for (int32_t y = 0; y < 45; ++y) {
        image.At(19, y) = 0;  // one ridge: a rise from the middle sample to the next
        image.At(28, y) = 0;  // a ridge at the edge: its rise is to column 29
        image.At(0, y) = 255;
    }
    Grid map = MapFor(image, 128);
    map.At(4, 2) = 60;
    WorkBuffer buffer;
    // Rises at 10 and 19: (0 + 32 x 9) / 1 = 288, 9 pixels: 5 x 4.
    EXPECT_EQ(RunStage(buffer, image, map).At(4, 2), 20);
    for (int32_t y = 0; y < 45; ++y) {
        image.At(0, y) = 0;
    }
    // The next row's first pixel is dark: one rise only.
    EXPECT_EQ(RunStage(buffer, image, map).At(4, 2), 36);
}

void ExpectModel(const std::vector<NamedImage>& images, bool hostile, uint64_t seed) {
    testsupport::Random random(seed);
    WorkBuffer buffer;
    for (const NamedImage& entry : images) {
        SCOPED_TRACE(entry.name);
        const Grid map = testsupport::RandomDirectionMap(
            BlocksAlong(entry.image.width), BlocksAlong(entry.image.height), random, hostile);
        const Grid expected = model::GetRidgeDensity(entry.image, map);
        WithEachFill(buffer, [&](WorkBuffer& work) {
            ASSERT_EQ(FirstDifference(expected, RunStage(work, entry.image, map)), "");
        });
        if (testing::Test::HasFatalFailure()) {
            return;
        }
    }
}

TEST(GetRidgeDensity, EqualsModelOnRandomFields) {
    const uint64_t seed = testsupport::Seed();
    SCOPED_TRACE(testsupport::SeedNote(seed));
    ExpectModel(testsupport::TinyImages(seed), false, seed + 15);
    std::vector<NamedImage> images = testsupport::MediumImages(seed);
    for (const NamedImage& entry : testsupport::LargeImages(seed)) {
        images.push_back(entry);
    }
    ExpectModel(images, false, seed + 16);
    ExpectModel(images, true, seed + 17);
}

TEST(GetRidgeDensity, EqualsModelAtEverySideModulo4) {
    const uint64_t seed = testsupport::Seed();
    SCOPED_TRACE(testsupport::SeedNote(seed));
    testsupport::Random random(seed + 18);
    std::vector<NamedImage> images;
    for (int32_t height = 20; height <= 46; ++height) {
        for (int32_t width = 20; width <= 46; width += random.Between(1, 3)) {
            images.push_back({std::to_string(width) + " x " + std::to_string(height),
                              testsupport::BinaryNoise(width, height, random, 50)});
        }
    }
    ExpectModel(images, false, seed + 19);
}

TEST(GetRidgeDensity, EqualsModelOnSparseFields) {
    // Mostly background: holes and their filling.
    const uint64_t seed = testsupport::Seed();
    SCOPED_TRACE(testsupport::SeedNote(seed));
    testsupport::Random random(seed + 20);
    WorkBuffer buffer;
    for (int32_t round = 0; round < 60; ++round) {
        SCOPED_TRACE("round " + std::to_string(round));
        const Grid image = testsupport::Binarised(
            testsupport::StripeImage(random.Between(60, 130), random.Between(60, 130),
                                     random.Between(30, 150) / 10.0, random.Below(240), 0, 255));
        const int32_t foregroundPerCent = random.Between(1, 40);
        Grid map(BlocksAlong(image.width), BlocksAlong(image.height));
        for (uint8_t& cell : map.cells) {
            const bool isForeground = random.Below(100) < foregroundPerCent;
            cell = static_cast<uint8_t>(random.Below(120) + (isForeground ? 0 : 128));
        }
        const Grid expected = model::GetRidgeDensity(image, map);
        WithEachFill(buffer, [&](WorkBuffer& work) {
            ASSERT_EQ(FirstDifference(expected, RunStage(work, image, map)), "");
        });
        if (HasFatalFailure()) {
            return;
        }
    }
}

TEST(GetRidgeDensity, EqualsModelWithTheFieldOfTheImage) {
    const uint64_t seed = testsupport::Seed();
    SCOPED_TRACE(testsupport::SeedNote(seed));
    testsupport::Random random(seed + 21);
    WorkBuffer buffer;
    const int32_t sizes[3][2] = {{256, 360}, {180, 201}, {97, 130}};
    for (const auto& size : sizes) {
        const Grid grey = testsupport::FingerImage(size[0], size[1], random);
        const Grid map = model::CalcDirA(grey).map;
        const Grid image = model::RemoveNoise(model::BinImageA(grey));
        const Grid expected = model::GetRidgeDensity(image, map);
        WithEachFill(buffer, [&](WorkBuffer& work) {
            EXPECT_EQ(FirstDifference(expected, RunStage(work, image, map)), "");
        });
    }
}

}  // namespace
