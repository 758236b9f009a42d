// SPDX-License-Identifier: Apache-2.0
//
// The resampler and the scaling of images of the small sensor.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "api/Fpm.h"
#include "tests/model/ModelScale.h"
#include "tests/support/TestImages.h"
#include "tests/support/WorkBuffer.h"

namespace {

using testsupport::FirstDifference;
using testsupport::Grid;
using testsupport::NamedImage;
using testsupport::WithEachFill;
using testsupport::WorkBuffer;

// The target lies between two rows of guard bytes.
Grid Scale(const Grid& source, int32_t width, int32_t height) {
    constexpr size_t kGuard = 64;
    const size_t bytes = static_cast<size_t>(width) * static_cast<size_t>(height);
    std::vector<uint8_t> target(bytes + 2 * kGuard, 0x5A);
    const Grid before = source;
    FPM_ImageScaleTo508(source.width, source.height, source.cells.data(), width, height,
                        target.data() + kGuard);
    EXPECT_EQ(FirstDifference(before, source), "") << "the source changed";
    Grid result(width, height);
    for (size_t index = 0; index < bytes; ++index) {
        result.cells.at(index) = target.at(kGuard + index);
    }
    for (size_t index = 0; index < kGuard; ++index) {
        EXPECT_EQ(target.at(index), 0x5A) << "before the target";
        EXPECT_EQ(target.at(kGuard + bytes + index), 0x5A) << "behind the target";
    }
    return result;
}

TEST(ScaleImage, EqualSizeIsACopy) {
    testsupport::Random random(testsupport::Seed());
    for (const int32_t side : {1, 2, 7, 40}) {
        const Grid image = testsupport::NoiseImage(side, side + 3, random);
        EXPECT_EQ(FirstDifference(image, Scale(image, side, side + 3)), "");
    }
}

TEST(ScaleImage, HalfSizeIsARoundedMeanOfFour) {
    Grid image(4, 2);
    image.cells = {1, 2, 255, 255,  //
                   3, 0, 255, 254};
    const Grid result = Scale(image, 2, 1);
    EXPECT_EQ(result.At(0, 0), (1 + 2 + 3 + 0 + 2) / 4);
    EXPECT_EQ(result.At(1, 0), 255);  // 1019 + 2 = 1021, 255
}

// Twice the target and one more is not half the size: the first two rows and columns are mixed.
TEST(ScaleImage, OddSizesAreNotHalved) {
    Grid image(3, 3);
    image.cells = {0,  100, 200,  //
                   50, 60,  70,   //
                   1,  2,   3};
    EXPECT_EQ(Scale(image, 1, 1).At(0, 0), (50 * 50 * (0 + 100 + 50 + 60) + 5000) / 10000);
}

TEST(ScaleImage, FirstRowAndColumnOfTheSmallSensorAreMeans) {
    testsupport::Random random(testsupport::Seed());
    const Grid image = testsupport::NoiseImage(152, 200, random);
    const Grid result = Scale(image, 212, 279);
    EXPECT_EQ(result.At(0, 0),
              (2500 * (image.At(0, 0) + image.At(1, 0) + image.At(0, 1) + image.At(1, 1)) + 5000) /
                  10000);
    // Target column 1: 152 x 100 / 212 = 71 hundredths. Row 0 is the mean of rows 0 and 1.
    EXPECT_EQ(result.At(1, 0), (50 * 29 * (image.At(0, 0) + image.At(0, 1)) +
                                50 * 71 * (image.At(1, 0) + image.At(1, 1)) + 5000) /
                                   10000);
    // Target row 1: 200 x 100 / 279 = 71 hundredths.
    EXPECT_EQ(result.At(1, 1), (29 * 29 * image.At(0, 0) + 29 * 71 * image.At(1, 0) +
                                71 * 29 * image.At(0, 1) + 71 * 71 * image.At(1, 1) + 5000) /
                                   10000);
    // The last column, 152 x 211 x 100 / 212 = 15128: between columns 151 and 151.
    // The last row, 200 x 278 x 100 / 279 = 19928: between rows 199 and 199.
    EXPECT_EQ(result.At(211, 278), (10000 * image.At(151, 199) + 5000) / 10000);
}

TEST(ScaleImage, TargetOnASourceLineIsTheMeanOfTwo) {
    // Three columns to six: target columns 0, 2 and 4 fall on source columns 0, 1 and 2. The last
    // one has no next column and stays.
    Grid image(3, 1);
    image.cells = {10, 30, 90};
    Grid expected(6, 1);
    expected.cells = {20, 20, 60, 60, 90, 90};
    EXPECT_EQ(FirstDifference(expected, Scale(image, 6, 1)), "");
    // The rule is for the direction that is scaled: with equal heights no row is blurred.
    Grid tall(3, 2);
    tall.cells = {10, 30, 90, 110, 130, 190};
    Grid wide(6, 2);
    wide.cells = {20, 20, 60, 60, 90, 90, 120, 120, 160, 160, 190, 190};
    EXPECT_EQ(FirstDifference(wide, Scale(tall, 6, 2)), "");
    EXPECT_EQ(
        FirstDifference(testsupport::Transposed(wide), Scale(testsupport::Transposed(tall), 2, 6)),
        "");
}

TEST(ScaleImage, UniformStaysUniform) {
    for (const uint8_t grey : {uint8_t{0}, uint8_t{1}, uint8_t{128}, uint8_t{255}}) {
        EXPECT_EQ(FirstDifference(Grid(31, 17, grey), Scale(Grid(20, 29, grey), 31, 17)), "");
    }
}

TEST(ScaleImage, SizesOfZeroOrBelowWriteNothing) {
    const std::vector<uint8_t> source(64, 7);
    const int32_t sizes[8][4] = {{0, 8, 4, 4},  {8, 0, 4, 4},  {8, 8, 0, 4},  {8, 8, 4, 0},
                                 {-8, 8, 4, 4}, {8, -8, 4, 4}, {8, 8, -4, 4}, {8, 8, 4, -4}};
    for (const auto& size : sizes) {
        std::vector<uint8_t> target(64, 0x5A);
        FPM_ImageScaleTo508(size[0], size[1], source.data(), size[2], size[3], target.data() + 16);
        EXPECT_EQ(target, std::vector<uint8_t>(64, 0x5A))
            << size[0] << " x " << size[1] << " to " << size[2] << " x " << size[3];
    }
    // Equal and both 0, and the half of nothing.
    std::vector<uint8_t> target(64, 0x5A);
    FPM_ImageScaleTo508(0, 0, source.data(), 0, 0, target.data() + 16);
    FPM_ImageScaleTo508(-8, -8, source.data(), -4, -4, target.data() + 16);
    EXPECT_EQ(target, std::vector<uint8_t>(64, 0x5A));
}

TEST(ScaleImage, EqualsModel) {
    const uint64_t seed = testsupport::Seed();
    SCOPED_TRACE(testsupport::SeedNote(seed));
    testsupport::Random random(seed + 24);
    for (int32_t round = 0; round < 300; ++round) {
        const int32_t limit = round % 10 == 0 ? 120 : 24;
        const Grid image =
            testsupport::NoiseImage(random.Between(1, limit), random.Between(1, limit), random);
        int32_t width = random.Between(1, limit);
        int32_t height = random.Between(1, limit);
        if (random.OneIn(4)) {
            width = image.width;
        }
        if (random.OneIn(4)) {
            height = image.height;
        }
        if (random.OneIn(8)) {
            width = 2 * image.width;
        }
        if (random.OneIn(8)) {
            width = (image.width + 1) / 2;
            height = (image.height + 1) / 2;
        }
        ASSERT_EQ(
            FirstDifference(model::ScaleImage(image, width, height), Scale(image, width, height)),
            "")
            << image.width << " x " << image.height << " to " << width << " x " << height;
    }
}

// The widths at which vectors begin and end, and the lightest and darkest images there are.
TEST(ScaleImage, EqualsModelAtTheLimitsOfVectors) {
    const uint64_t seed = testsupport::Seed();
    SCOPED_TRACE(testsupport::SeedNote(seed));
    testsupport::Random random(seed + 34);
    for (const int32_t srcWidth : {1, 2, 3, 17, 255, 256, 257}) {
        for (const int32_t width : {15, 16, 17, 31, 32, 33, 47, 255, 256, 257}) {
            const int32_t srcHeight = random.Between(1, 9);
            const int32_t height = random.Between(1, 12);
            for (const int32_t blackPerCent : {0, 2, 50, 98}) {
                const Grid image =
                    testsupport::BinaryNoise(srcWidth, srcHeight, random, blackPerCent);
                ASSERT_EQ(FirstDifference(model::ScaleImage(image, width, height),
                                          Scale(image, width, height)),
                          "")
                    << srcWidth << " x " << srcHeight << " to " << width << " x " << height;
            }
        }
    }
}

TEST(ScaleSmallSensor, InPlaceEqualsModel) {
    const uint64_t seed = testsupport::Seed();
    SCOPED_TRACE(testsupport::SeedNote(seed));
    testsupport::Random random(seed + 25);
    const std::vector<NamedImage> images = {
        {"noise", testsupport::NoiseImage(152, 200, random)},
        {"binary noise", testsupport::BinaryNoise(152, 200, random, 50)},
        {"finger", testsupport::FingerImage(152, 200, random)},
        {"white", Grid(152, 200, 255)},
    };
    WorkBuffer buffer;
    for (const NamedImage& entry : images) {
        SCOPED_TRACE(entry.name);
        const Grid expected = model::ScaleImage(entry.image, 212, 279);
        WithEachFill(buffer, [&](WorkBuffer& work) {
            work.Put(0, entry.image);
            const Grid behind = work.Take(89548, 500, 200);
            FPM_fpc1011_scale_image(work.Bytes());
            EXPECT_EQ(FirstDifference(expected, work.Take(0, 212, 279)), "");
            // The source stands parked directly behind the result, and nothing lies further.
            EXPECT_EQ(FirstDifference(entry.image, work.Take(59148, 152, 200)), "");
            EXPECT_EQ(FirstDifference(behind, work.Take(89548, 500, 200)), "");
        });
    }
}

}  // namespace
