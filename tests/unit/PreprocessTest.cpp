// SPDX-License-Identifier: Apache-2.0
//
// Preprocessing: box mean, local contrast stretch, gap filling. Small cases by hand, the rest
// against the naive model.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "preprocess/FPPreprocess.h"
#include "tests/model/ModelPreprocess.h"
#include "tests/support/TestImages.h"
#include "tests/support/WorkBuffer.h"

namespace {

using testsupport::FirstDifference;
using testsupport::Grid;
using testsupport::NamedImage;
using testsupport::WithEachFill;
using testsupport::WorkBuffer;

Grid Smooth(WorkBuffer& buffer, const Grid& image, int32_t radius) {
    buffer.Put(0, image);
    SmoothImage(image.width, image.height, buffer.Bytes(), radius);
    return buffer.Take(0, image.width, image.height);
}

Grid Normalize(WorkBuffer& buffer, const Grid& image, int32_t meanRadius, int32_t devRadius) {
    buffer.Put(0, image);
    NormalizeImage(image.width, image.height, buffer.Bytes(), meanRadius, devRadius);
    return buffer.Take(0, image.width, image.height);
}

Grid Putty(WorkBuffer& buffer, const Grid& image) {
    buffer.Put(0, image);
    PuttyImage(image.width, image.height, buffer.Bytes());
    return buffer.Take(0, image.width, image.height);
}

Grid RunPreprocess(WorkBuffer& buffer, const Grid& image) {
    buffer.Put(0, image);
    Preprocess(image.width, image.height, buffer.Bytes(), 4, 4);
    return buffer.Take(0, image.width, image.height);
}

Grid FromRow(const std::vector<uint8_t>& values, int32_t width, int32_t height) {
    Grid image(width, height);
    for (int32_t y = 0; y < height; ++y) {
        for (int32_t x = 0; x < width; ++x) {
            image.At(x, y) = values.at(static_cast<size_t>(x) % values.size());
        }
    }
    return image;
}

// --- By hand ---------------------------------------------------------------------------------

TEST(Preprocess, UniformImageIsUnchanged) {
    WorkBuffer buffer;
    for (const uint8_t grey : {uint8_t{0}, uint8_t{1}, uint8_t{119}, uint8_t{254}, uint8_t{255}}) {
        const Grid image = testsupport::UniformImage(52, 40, grey);
        WithEachFill(buffer, [&](WorkBuffer& work) {
            EXPECT_EQ(FirstDifference(image, RunPreprocess(work, image)), "");
        });
    }
}

TEST(SmoothImage, CornersEdgesAndInterior) {
    // 1 2 3 / 10 20 30 / 100 150 250
    Grid image(3, 3);
    image.cells = {1, 2, 3, 10, 20, 30, 100, 150, 250};
    WorkBuffer buffer;
    const Grid result = Smooth(buffer, image, 1);
    EXPECT_EQ(result.At(0, 0), 33 / 4);
    EXPECT_EQ(result.At(2, 0), 55 / 4);
    EXPECT_EQ(result.At(0, 2), 280 / 4);
    EXPECT_EQ(result.At(2, 2), 450 / 4);
    EXPECT_EQ(result.At(1, 0), 66 / 6);
    EXPECT_EQ(result.At(0, 1), 283 / 6);
    EXPECT_EQ(result.At(2, 1), 455 / 6);
    EXPECT_EQ(result.At(1, 2), 560 / 6);
    EXPECT_EQ(result.At(1, 1), 566 / 9);
}

TEST(SmoothImage, OnePixelSidesAverageThePixelsThatExist) {
    WorkBuffer buffer;
    Grid row(4, 1);
    row.cells = {10, 20, 60, 201};
    Grid expected(4, 1);
    expected.cells = {15, 30, 93, 130};
    EXPECT_EQ(FirstDifference(expected, Smooth(buffer, row, 1)), "");
    EXPECT_EQ(FirstDifference(testsupport::Transposed(expected),
                              Smooth(buffer, testsupport::Transposed(row), 1)),
              "");
    EXPECT_EQ(Smooth(buffer, Grid(1, 1, 77), 1).At(0, 0), 77);
}

TEST(NormalizeImage, StretchesTheBandAroundTheMean) {
    // Columns of period 9: every full window has the mean 900 / 9 = 100 and the mean absolute
    // deviation 90 / 9 = 10, so the band is 90..110.
    const std::vector<uint8_t> row = {100, 105, 95, 110, 90, 110, 90, 120, 80};
    const uint8_t stretched[9] = {127, 191, 63, 255, 0, 255, 0, 255, 0};
    const Grid image = FromRow(row, 45, 30);
    WorkBuffer buffer;
    const Grid result = Normalize(buffer, image, 4, 4);
    for (int32_t y = 0; y < 30; ++y) {
        for (int32_t x = 8; x <= 45 - 9; ++x) {  // both windows inside the image
            ASSERT_EQ(result.At(x, y), stretched[x % 9]) << "(" << x << ", " << y << ")";
        }
    }
}

TEST(NormalizeImage, BandIsHeldInside0To255) {
    // One white pixel on black, 9 x 9: M(4, 4) = 255 / 81 = 3. Every pixel of the window sees the
    // white one; the mean is 255 / (pixels of its own clipped window), and the deviation is small
    // but above 0, so the low end of the band is held at 0 and black stays black.
    Grid image(9, 9, 0);
    image.At(4, 4) = 255;
    WorkBuffer buffer;
    const Grid result = Normalize(buffer, image, 4, 4);
    for (int32_t y = 0; y < 9; ++y) {
        for (int32_t x = 0; x < 9; ++x) {
            EXPECT_EQ(result.At(x, y), x == 4 && y == 4 ? 255 : 0) << x << ", " << y;
        }
    }
}

TEST(NormalizeImage, LargestAcceptedImageIsNormalised) {
    const Grid image = testsupport::Checkerboard(256, 360, 3, 90, 150);
    WorkBuffer buffer;
    const Grid result = Normalize(buffer, image, 4, 4);
    // A deep interior pixel of two levels: the darker ones go to 0, the lighter ones to 255.
    EXPECT_EQ(result.At(120, 120), 0);
    EXPECT_EQ(result.At(123, 120), 255);
    EXPECT_TRUE(buffer.GuardsIntact());
}

TEST(NormalizeImage, LeavesTheImageWhenItsScratchExceeds102400Bytes) {
    // The need is width x (5 + height + 9 + 8): 102,400 at 256 x 378.
    WorkBuffer buffer;
    const Grid fits = testsupport::Checkerboard(256, 378, 3, 90, 150);
    EXPECT_NE(FirstDifference(fits, Normalize(buffer, fits, 4, 4)), "");
    const Grid tooLarge = testsupport::Checkerboard(256, 379, 3, 90, 150);
    EXPECT_EQ(FirstDifference(tooLarge, Normalize(buffer, tooLarge, 4, 4)), "");
    // With a deviation radius below the mean radius the offset is 4 rows, not 4 + 1, and the
    // window has 7 rows: width x (4 + height + 7 + 8).
    const Grid fitsNarrow = testsupport::Checkerboard(256, 381, 3, 90, 150);
    EXPECT_NE(FirstDifference(fitsNarrow, Normalize(buffer, fitsNarrow, 4, 3)), "");
    const Grid tooLargeNarrow = testsupport::Checkerboard(256, 382, 3, 90, 150);
    EXPECT_EQ(FirstDifference(tooLargeNarrow, Normalize(buffer, tooLargeNarrow, 4, 3)), "");
    EXPECT_TRUE(buffer.GuardsIntact());
}

TEST(NormalizeImage, EmptyWindowKeepsThePixel) {
    // Four rows: the window reaches from 1 to 4 to the right and down of the pixel, so the last
    // column and the last row have none of it, D is 0 and the pixel stays.
    testsupport::Random random(testsupport::Seed());
    const Grid image = testsupport::NoiseImage(12, 4, random);
    WorkBuffer buffer;
    const Grid result = Normalize(buffer, image, 4, 4);
    for (int32_t x = 0; x < 12; ++x) {
        EXPECT_EQ(result.At(x, 3), image.At(x, 3)) << "column " << x;
    }
    for (int32_t y = 0; y < 4; ++y) {
        EXPECT_EQ(result.At(11, y), image.At(11, y)) << "row " << y;
    }
}

TEST(PuttyImage, WeightsAndUntouchedFrame) {
    Grid image(4, 4, 120);
    image.At(1, 1) = 240;
    WorkBuffer buffer;
    const Grid result = Putty(buffer, image);
    EXPECT_EQ(result.At(1, 1), (72 * 240 + 28 * 120 + 20 * 120) / 120);  // 192
    EXPECT_EQ(result.At(2, 1), 127);                                     // 120 + 120 x 7 / 120
    EXPECT_EQ(result.At(1, 2), 127);
    EXPECT_EQ(result.At(2, 2), 125);
    for (int32_t index = 0; index < 4; ++index) {
        EXPECT_EQ(result.At(index, 0), 120);
        EXPECT_EQ(result.At(index, 3), 120);
        EXPECT_EQ(result.At(0, index), 120);
        EXPECT_EQ(result.At(3, index), 120);
    }
}

TEST(PuttyImage, FrameKeepsItsValuesWhateverTheyAre) {
    testsupport::Random random(testsupport::Seed());
    const Grid image = testsupport::NoiseImage(21, 17, random);
    WorkBuffer buffer;
    const Grid result = Putty(buffer, image);
    for (int32_t y = 0; y < 17; ++y) {
        for (int32_t x = 0; x < 21; ++x) {
            if (x == 0 || y == 0 || x == 20 || y == 16) {
                EXPECT_EQ(result.At(x, y), image.At(x, y)) << "(" << x << ", " << y << ")";
            }
        }
    }
}

TEST(PuttyImage, BelowThreePixelsIsUnchanged) {
    testsupport::Random random(testsupport::Seed());
    WorkBuffer buffer;
    for (int32_t side = 1; side <= 12; ++side) {
        for (int32_t thin = 1; thin <= 2; ++thin) {
            const Grid flat = testsupport::NoiseImage(side, thin, random);
            EXPECT_EQ(FirstDifference(flat, Putty(buffer, flat)), "");
            const Grid narrow = testsupport::NoiseImage(thin, side, random);
            EXPECT_EQ(FirstDifference(narrow, Putty(buffer, narrow)), "");
        }
    }
    EXPECT_TRUE(buffer.GuardsIntact());
}

TEST(Preprocess, SizesOfZeroOrBelowTouchNothing) {
    WorkBuffer buffer;
    buffer.Reset(testsupport::Fill::kRandom);
    const Grid before = buffer.Take(0, 400, 512);
    const int32_t sizes[6][2] = {{0, 0}, {0, 8}, {8, 0}, {-4, 8}, {8, -4}, {-16, -16}};
    for (const auto& size : sizes) {
        SmoothImage(size[0], size[1], buffer.Bytes(), 1);
        NormalizeImage(size[0], size[1], buffer.Bytes(), 4, 4);
        PuttyImage(size[0], size[1], buffer.Bytes());
        Preprocess(size[0], size[1], buffer.Bytes(), 4, 4);
        EXPECT_EQ(FirstDifference(before, buffer.Take(0, 400, 512)), "")
            << size[0] << " x " << size[1];
    }
    EXPECT_TRUE(buffer.GuardsIntact());
}

// --- The row-at-a-time form ------------------------------------------------------------------

// Feeds the calls with growing targets and expects each row of the box mean.
void ExpectRows(const Grid& image, int32_t radius, int32_t step) {
    const Grid expected = model::SmoothImage(image, radius);
    std::vector<int32_t> columnSums(static_cast<size_t>(image.width), 0);
    std::vector<uint8_t> row(static_cast<size_t>(image.width) + 2, 0x5A);
    int32_t nextRow = 0;
    int32_t rowCount = 0;
    for (int32_t target = 1; target <= image.height; target += step) {
        SmoothOneLine(image.width, image.height, image.cells.data(), target, radius, row.data() + 1,
                      columnSums.data(), &nextRow, &rowCount);
        EXPECT_EQ(nextRow, target + radius);
        for (int32_t x = 0; x < image.width; ++x) {
            ASSERT_EQ(row.at(static_cast<size_t>(x) + 1), expected.At(x, target - 1))
                << "(" << x << ", " << target - 1 << "), radius " << radius << ", step " << step;
        }
        // A row that is already past: nothing changes.
        const std::vector<uint8_t> rowBefore = row;
        const std::vector<int32_t> sumsBefore = columnSums;
        const int32_t countBefore = rowCount;
        SmoothOneLine(image.width, image.height, image.cells.data(), target, radius, row.data() + 1,
                      columnSums.data(), &nextRow, &rowCount);
        EXPECT_EQ(row, rowBefore);
        EXPECT_EQ(columnSums, sumsBefore);
        EXPECT_EQ(rowCount, countBefore);
        EXPECT_EQ(nextRow, target + radius);
    }
    EXPECT_EQ(row.front(), 0x5A);
    EXPECT_EQ(row.back(), 0x5A);
}

TEST(SmoothOneLine, YieldsTheRowsOfTheBoxMean) {
    const uint64_t seed = testsupport::Seed();
    SCOPED_TRACE(testsupport::SeedNote(seed));
    testsupport::Random random(seed);
    const int32_t sizes[8][2] = {{1, 1},   {1, 9},   {9, 1},  {5, 4},
                                 {17, 23}, {40, 31}, {3, 60}, {64, 12}};
    for (const auto& size : sizes) {
        const Grid image = testsupport::NoiseImage(size[0], size[1], random);
        for (const int32_t radius : {0, 1, 2, 4, 5}) {
            for (const int32_t step : {1, 2, 5}) {
                ExpectRows(image, radius, step);
            }
        }
    }
}

// --- Against the model -----------------------------------------------------------------------

std::vector<NamedImage> AllImages(uint64_t seed) {
    std::vector<NamedImage> images = testsupport::TinyImages(seed);
    for (const NamedImage& entry : testsupport::MediumImages(seed)) {
        images.push_back(entry);
    }
    for (const NamedImage& entry : testsupport::LargeImages(seed)) {
        images.push_back(entry);
    }
    return images;
}

TEST(SmoothImage, EqualsModel) {
    const uint64_t seed = testsupport::Seed();
    SCOPED_TRACE(testsupport::SeedNote(seed));
    WorkBuffer buffer;
    int32_t radius = 0;
    for (const NamedImage& entry : AllImages(seed)) {
        radius = radius % 5 + 1;
        SCOPED_TRACE(entry.name + ", radius " + std::to_string(radius));
        const Grid expected = model::SmoothImage(entry.image, radius);
        const Grid expectedByOne = model::SmoothImage(entry.image, 1);
        WithEachFill(buffer, [&](WorkBuffer& work) {
            ASSERT_EQ(FirstDifference(expected, Smooth(work, entry.image, radius)), "");
            ASSERT_EQ(FirstDifference(expectedByOne, Smooth(work, entry.image, 1)), "");
        });
        if (HasFatalFailure()) {
            return;
        }
    }
}

TEST(NormalizeImage, EqualsModel) {
    const uint64_t seed = testsupport::Seed();
    SCOPED_TRACE(testsupport::SeedNote(seed));
    WorkBuffer buffer;
    for (const NamedImage& entry : AllImages(seed)) {
        SCOPED_TRACE(entry.name);
        const Grid expected = model::NormalizeImage(entry.image, 4, 4);
        WithEachFill(buffer, [&](WorkBuffer& work) {
            ASSERT_EQ(FirstDifference(expected, Normalize(work, entry.image, 4, 4)), "");
        });
        if (HasFatalFailure()) {
            return;
        }
    }
}

TEST(NormalizeImage, EqualsModelWhereFlatGroundMeetsRidges) {
    // Flat grounds of several sizes between vectors with and without a deviation, and single pixels
    // off the ground, some of which leave the mean deviation below 1.
    Grid image(103, 61);
    uint32_t state = 20261121;
    for (int32_t y = 0; y < image.height; ++y) {
        for (int32_t x = 0; x < image.width; ++x) {
            state = state * 1664525 + 1013904223;
            const uint32_t random = state >> 16;
            const bool isRidges = (x / 40 + y / 25) % 2 == 0;
            const uint32_t ground = x < 60 ? 255 : 7;
            const uint32_t grey = isRidges            ? random % 256
                                  : random % 400 == 0 ? random / 400
                                                      : ground;
            image.At(x, y) = static_cast<uint8_t>(grey % 256);
        }
    }
    const Grid expected = model::NormalizeImage(image, 4, 4);
    WorkBuffer buffer;
    WithEachFill(buffer, [&](WorkBuffer& work) {
        ASSERT_EQ(FirstDifference(expected, Normalize(work, image, 4, 4)), "");
    });
}

TEST(NormalizeImage, EqualsModelForOtherRadii) {
    const uint64_t seed = testsupport::Seed();
    SCOPED_TRACE(testsupport::SeedNote(seed));
    testsupport::Random random(seed + 3);
    WorkBuffer buffer;
    for (int32_t round = 0; round < 60; ++round) {
        const int32_t width = random.Between(1, 40);
        const int32_t height = random.Between(1, 40);
        const int32_t meanRadius = random.Between(1, 6);
        const int32_t devRadius = random.Between(1, 6);
        SCOPED_TRACE(std::to_string(width) + " x " + std::to_string(height) + ", radii " +
                     std::to_string(meanRadius) + " and " + std::to_string(devRadius));
        const Grid image = testsupport::NoiseImage(width, height, random);
        const Grid expected = model::NormalizeImage(image, meanRadius, devRadius);
        WithEachFill(buffer, [&](WorkBuffer& work) {
            ASSERT_EQ(FirstDifference(expected, Normalize(work, image, meanRadius, devRadius)), "");
        });
        if (HasFatalFailure()) {
            return;
        }
    }
}

TEST(PuttyImage, EqualsModel) {
    const uint64_t seed = testsupport::Seed();
    SCOPED_TRACE(testsupport::SeedNote(seed));
    WorkBuffer buffer;
    for (const NamedImage& entry : AllImages(seed)) {
        SCOPED_TRACE(entry.name);
        const Grid expected = model::PuttyImage(entry.image);
        WithEachFill(buffer, [&](WorkBuffer& work) {
            ASSERT_EQ(FirstDifference(expected, Putty(work, entry.image)), "");
        });
        if (HasFatalFailure()) {
            return;
        }
    }
}

// Every remainder of the width modulo the length of a vector, at the least heights of a full window
// and above, with the steepest contrasts there are.
std::vector<NamedImage> VectorWidths(uint64_t seed) {
    testsupport::Random random(seed + 31);
    std::vector<NamedImage> images;
    for (int32_t width = 15; width <= 50; ++width) {
        const int32_t height = 8 + width % 5;
        images.push_back({"noise, width " + std::to_string(width),
                          testsupport::NoiseImage(width, height, random)});
        images.push_back({"black and white, width " + std::to_string(width),
                          testsupport::BinaryNoise(width, height, random, width * 2)});
        Grid halves(width, height, 255);
        for (int32_t y = 0; y < height; ++y) {
            for (int32_t x = 0; x < width / 2; ++x) {
                halves.At(x, y) = 0;
            }
        }
        images.push_back({"two halves, width " + std::to_string(width), halves});
    }
    return images;
}

TEST(Preprocess, StagesEqualModelAtEveryVectorRemainder) {
    const uint64_t seed = testsupport::Seed();
    SCOPED_TRACE(testsupport::SeedNote(seed));
    WorkBuffer buffer;
    for (const NamedImage& entry : VectorWidths(seed)) {
        SCOPED_TRACE(entry.name);
        const Grid smoothed = model::SmoothImage(entry.image, 1);
        const Grid normalised = model::NormalizeImage(entry.image, 4, 4);
        const Grid puttied = model::PuttyImage(entry.image);
        WithEachFill(buffer, [&](WorkBuffer& work) {
            ASSERT_EQ(FirstDifference(smoothed, Smooth(work, entry.image, 1)), "");
            ASSERT_EQ(FirstDifference(normalised, Normalize(work, entry.image, 4, 4)), "");
            ASSERT_EQ(FirstDifference(puttied, Putty(work, entry.image)), "");
        });
        if (HasFatalFailure()) {
            return;
        }
    }
}

// With little or no room behind the image the stages take other ways, or none.
TEST(Preprocess, ImagesThatNearlyFillTheBufferEqualModel) {
    const uint64_t seed = testsupport::Seed();
    SCOPED_TRACE(testsupport::SeedNote(seed));
    testsupport::Random random(seed + 32);
    WorkBuffer buffer;
    constexpr int32_t kWidth = 400;
    for (int32_t height = 494; height <= 512; ++height) {
        SCOPED_TRACE(height);
        const Grid image = testsupport::NoiseImage(kWidth, height, random);
        const int32_t room = 512 - height;  // rows: 204,800 = 400 x 512
        const Grid smoothed = room >= 6 ? model::SmoothImage(image, 1) : image;
        const Grid puttied = room >= 2 ? model::PuttyImage(image) : image;
        ASSERT_EQ(FirstDifference(smoothed, Smooth(buffer, image, 1)), "");
        ASSERT_EQ(FirstDifference(puttied, Putty(buffer, image)), "");
        ASSERT_TRUE(buffer.GuardsIntact());
    }
}

TEST(NormalizeImage, EqualsModelWiderThanAnyAcceptedImage) {
    const uint64_t seed = testsupport::Seed();
    SCOPED_TRACE(testsupport::SeedNote(seed));
    testsupport::Random random(seed + 33);
    WorkBuffer buffer;
    const int32_t sizes[4][2] = {{511, 40}, {512, 178}, {513, 40}, {3000, 12}};
    for (const auto& size : sizes) {
        SCOPED_TRACE(std::to_string(size[0]) + " x " + std::to_string(size[1]));
        const Grid image = testsupport::NoiseImage(size[0], size[1], random);
        const Grid expected = model::NormalizeImage(image, 4, 4);
        EXPECT_NE(FirstDifference(image, expected), "");
        ASSERT_EQ(FirstDifference(expected, Normalize(buffer, image, 4, 4)), "");
        ASSERT_TRUE(buffer.GuardsIntact());
    }
}

TEST(Preprocess, EqualsModel) {
    const uint64_t seed = testsupport::Seed();
    SCOPED_TRACE(testsupport::SeedNote(seed));
    std::vector<NamedImage> images = testsupport::TinyImages(seed + 1);
    for (const NamedImage& entry : testsupport::MediumImages(seed + 1)) {
        images.push_back(entry);
    }
    images.push_back(testsupport::LargeImages(seed + 1).front());
    WorkBuffer buffer;
    for (const NamedImage& entry : images) {
        SCOPED_TRACE(entry.name);
        const Grid expected = model::Preprocess(entry.image);
        WithEachFill(buffer, [&](WorkBuffer& work) {
            ASSERT_EQ(FirstDifference(expected, RunPreprocess(work, entry.image)), "");
        });
        if (HasFatalFailure()) {
            return;
        }
    }
}

// Sizes and radii whose products leave 32 or 64 bits: nothing is read or written.
TEST(PreprocessSizes, HugeOnesAreLeftAlone) {
    WorkBuffer buffer;
    const int32_t huge = INT32_MAX;
    const std::vector<uint8_t> before(buffer.Bytes(), buffer.Bytes() + WorkBuffer::kBytes);
    SmoothImage(huge, 1, buffer.Bytes(), huge);
    SmoothImage(1, huge, buffer.Bytes(), 1);
    SmoothImage(huge, huge, buffer.Bytes(), huge);
    NormalizeImage(1, huge, buffer.Bytes(), 4, 1 << 30);
    NormalizeImage(huge, huge, buffer.Bytes(), huge, huge);
    PuttyImage(huge, huge, buffer.Bytes());
    PuttyImage(huge, 3, buffer.Bytes());
    EXPECT_EQ(before, std::vector<uint8_t>(buffer.Bytes(), buffer.Bytes() + WorkBuffer::kBytes));
    EXPECT_TRUE(buffer.GuardsIntact());
}

}  // namespace
