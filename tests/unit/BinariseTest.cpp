// SPDX-License-Identifier: Apache-2.0
//
// The two binarisations: 0 = ridge, 255 = everything else.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "extract/FPExtract.h"
#include "tests/model/ModelBinarise.h"
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

// Runs a stage; the direction map behind the image must come out as it went in.
Grid RunStage(void (*stage)(uint8_t*, int32_t, int32_t), WorkBuffer& buffer, const Grid& image) {
    const int32_t columns = BlocksAlong(image.width);
    const int32_t rows = BlocksAlong(image.height);
    const Grid map = buffer.Take(DirectionMapOffset(image), columns, rows);
    buffer.Put(0, image);
    stage(buffer.Bytes(), image.width, image.height);
    EXPECT_EQ(FirstDifference(map, buffer.Take(DirectionMapOffset(image), columns, rows)), "")
        << "the direction map changed";
    return buffer.Take(0, image.width, image.height);
}

int32_t CountZeros(const Grid& image) {
    int32_t count = 0;
    for (const uint8_t cell : image.cells) {
        count += cell == 0 ? 1 : 0;
    }
    return count;
}

TEST(BinImage, UniformImageIsBackground) {
    WorkBuffer buffer;
    for (const uint8_t grey : {uint8_t{0}, uint8_t{99}, uint8_t{255}}) {
        const Grid image = testsupport::UniformImage(35, 26, grey);
        const Grid white(35, 26, 255);
        WithEachFill(buffer, [&](WorkBuffer& work) {
            EXPECT_EQ(FirstDifference(white, RunStage(BinImageA, work, image)), "");
            EXPECT_EQ(FirstDifference(white, RunStage(BinImageB, work, image)), "");
        });
    }
}

TEST(BinImage, SingleDarkPixelIsRidge) {
    Grid image(30, 30, 200);
    image.At(14, 15) = 199;
    WorkBuffer buffer;
    Grid expected(30, 30, 255);
    expected.At(14, 15) = 0;
    EXPECT_EQ(FirstDifference(expected, RunStage(BinImageA, buffer, image)), "");
    EXPECT_EQ(FirstDifference(expected, RunStage(BinImageB, buffer, image)), "");
}

TEST(BinImage, SingleBrightPixelIsBackground) {
    Grid image(30, 30, 40);
    image.At(14, 15) = 41;
    WorkBuffer buffer;
    // The ring of A: its eight pixels see the bright one.
    Grid ring(30, 30, 255);
    for (int32_t dy = -3; dy <= 3; dy += 3) {
        for (int32_t dx = -3; dx <= 3; dx += 3) {
            ring.At(14 + dx, 15 + dy) = 0;
        }
    }
    ring.At(14, 15) = 255;
    EXPECT_EQ(FirstDifference(ring, RunStage(BinImageA, buffer, image)), "");
    // The window of B: all pixels within 5.
    Grid window(30, 30, 255);
    for (int32_t dy = -5; dy <= 5; ++dy) {
        for (int32_t dx = -5; dx <= 5; ++dx) {
            window.At(14 + dx, 15 + dy) = 0;
        }
    }
    window.At(14, 15) = 255;
    EXPECT_EQ(FirstDifference(window, RunStage(BinImageB, buffer, image)), "");
}

TEST(BinImageA, EqualToTheRingIsBackground) {
    // One ring pixel 8 brighter: S = 8 x 50 + 8 exceeds 8 x 50 but only equals 8 x 51.
    Grid image(20, 20, 50);
    image.At(10 - 3, 10 - 3) = 58;
    WorkBuffer buffer;
    EXPECT_EQ(RunStage(BinImageA, buffer, image).At(10, 10), 0);
    image.At(10, 10) = 51;
    EXPECT_EQ(RunStage(BinImageA, buffer, image).At(10, 10), 255);
}

TEST(BinImageA, FrameOfThreeIsBackground) {
    testsupport::Random random(testsupport::Seed());
    const Grid image = testsupport::BinaryNoise(31, 27, random, 50);
    WorkBuffer buffer;
    const Grid result = RunStage(BinImageA, buffer, image);
    for (int32_t y = 0; y < 27; ++y) {
        for (int32_t x = 0; x < 31; ++x) {
            if (x < 3 || y < 3 || x > 31 - 4 || y > 27 - 4) {
                EXPECT_EQ(result.At(x, y), 255) << x << ", " << y;
            }
        }
    }
    EXPECT_GT(CountZeros(result), 0);
}

TEST(BinImageA, SixRowsOrColumnsAreAllFrame) {
    WorkBuffer buffer;
    testsupport::Random random(testsupport::Seed());
    for (int32_t thin = 1; thin <= 6; ++thin) {
        const Grid flat = testsupport::NoiseImage(40, thin, random);
        EXPECT_EQ(FirstDifference(Grid(40, thin, 255), RunStage(BinImageA, buffer, flat)), "");
        const Grid narrow = testsupport::NoiseImage(thin, 40, random);
        EXPECT_EQ(FirstDifference(Grid(thin, 40, 255), RunStage(BinImageA, buffer, narrow)), "");
    }
    // Seven by seven has one pixel inside.
    Grid seven(7, 7, 100);
    seven.At(3, 3) = 99;
    EXPECT_EQ(CountZeros(RunStage(BinImageA, buffer, seven)), 1);
    EXPECT_TRUE(buffer.GuardsIntact());
}

TEST(BinImageB, CornerWindowIs6By6AndEdgeWindow6By11) {
    // A grey corner pixel 50 in black: N x I against one white pixel of 255 just inside or just
    // outside its window. 36 x 7 = 252 < 255 < 36 x 8.
    WorkBuffer buffer;
    Grid corner(30, 30, 0);
    corner.At(0, 0) = 7;
    corner.At(5, 5) = 248;  // 7 + 248 = 255 > 252
    EXPECT_EQ(RunStage(BinImageB, buffer, corner).At(0, 0), 0);
    corner.At(5, 5) = 245;  // 252 is not greater
    EXPECT_EQ(RunStage(BinImageB, buffer, corner).At(0, 0), 255);
    corner.At(6, 5) = 255;  // outside the window
    corner.At(5, 6) = 255;
    EXPECT_EQ(RunStage(BinImageB, buffer, corner).At(0, 0), 255);
    // An edge: 66 pixels; 66 x 3 = 198.
    Grid edge(30, 30, 0);
    edge.At(15, 0) = 3;
    edge.At(10, 5) = 195;
    EXPECT_EQ(RunStage(BinImageB, buffer, edge).At(15, 0), 255);
    edge.At(20, 0) = 1;
    EXPECT_EQ(RunStage(BinImageB, buffer, edge).At(15, 0), 0);
    // The far corner and the middle (121 pixels).
    Grid far(30, 30, 0);
    far.At(29, 29) = 7;
    far.At(24, 24) = 246;
    EXPECT_EQ(RunStage(BinImageB, buffer, far).At(29, 29), 0);
    far.At(24, 24) = 245;
    EXPECT_EQ(RunStage(BinImageB, buffer, far).At(29, 29), 255);
    Grid middle(30, 30, 0);
    middle.At(15, 15) = 2;
    middle.At(20, 20) = 240;  // 242 = 121 x 2 is not greater
    EXPECT_EQ(RunStage(BinImageB, buffer, middle).At(15, 15), 255);
    middle.At(10, 10) = 1;
    EXPECT_EQ(RunStage(BinImageB, buffer, middle).At(15, 15), 0);
}

TEST(BinImage, EqualsModel) {
    const uint64_t seed = testsupport::Seed();
    SCOPED_TRACE(testsupport::SeedNote(seed));
    std::vector<NamedImage> images = testsupport::TinyImages(seed);
    for (const NamedImage& entry : testsupport::MediumImages(seed)) {
        images.push_back(entry);
    }
    for (const NamedImage& entry : testsupport::LargeImages(seed)) {
        images.push_back(entry);
    }
    WorkBuffer buffer;
    for (const NamedImage& entry : images) {
        SCOPED_TRACE(entry.name);
        const Grid expectedA = model::BinImageA(entry.image);
        const Grid expectedB = model::BinImageB(entry.image);
        WithEachFill(buffer, [&](WorkBuffer& work) {
            ASSERT_EQ(FirstDifference(expectedA, RunStage(BinImageA, work, entry.image)), "");
            ASSERT_EQ(FirstDifference(expectedB, RunStage(BinImageB, work, entry.image)), "");
        });
        if (HasFatalFailure()) {
            return;
        }
    }
}

TEST(BinImage, EqualsModelAtEveryWidth) {
    // Rows of fewer pixels than a vector, of whole vectors, and with every remainder; extreme sums.
    const uint64_t seed = testsupport::Seed();
    SCOPED_TRACE(testsupport::SeedNote(seed));
    testsupport::Random random(seed + 31);
    std::vector<int32_t> widths;
    for (int32_t width = 1; width <= 70; ++width) {
        widths.push_back(width);
    }
    widths.insert(widths.end(), {127, 128, 129, 256, 511, 512});
    WorkBuffer buffer;
    for (const int32_t width : widths) {
        SCOPED_TRACE("width " + std::to_string(width));
        const int32_t height = random.Between(1, 30);
        for (const Grid& image :
             {testsupport::NoiseImage(width, height, random),
              testsupport::BinaryNoise(width, height, random, random.Between(2, 98))}) {
            ASSERT_EQ(FirstDifference(model::BinImageA(image), RunStage(BinImageA, buffer, image)),
                      "");
            ASSERT_EQ(FirstDifference(model::BinImageB(image), RunStage(BinImageB, buffer, image)),
                      "");
        }
    }
    EXPECT_TRUE(buffer.GuardsIntact());
}

}  // namespace
