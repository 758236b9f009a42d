// SPDX-License-Identifier: Apache-2.0
//
// Noise removal: the 3 x 3 majority vote on the binary image.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "extract/FPExtract.h"
#include "tests/model/ModelRidgeDensity.h"
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

Grid RunStage(WorkBuffer& buffer, const Grid& image) {
    const int32_t columns = BlocksAlong(image.width);
    const int32_t rows = BlocksAlong(image.height);
    const Grid map = buffer.Take(DirectionMapOffset(image), columns, rows);
    buffer.Put(0, image);
    RemoveNoise(buffer.Bytes(), image.width, image.height);
    EXPECT_EQ(FirstDifference(map, buffer.Take(DirectionMapOffset(image), columns, rows)), "")
        << "the direction map changed";
    return buffer.Take(0, image.width, image.height);
}

TEST(RemoveNoise, LonePixels) {
    WorkBuffer buffer;
    Grid dark(20, 18, 255);
    dark.At(9, 9) = 0;
    EXPECT_EQ(FirstDifference(Grid(20, 18, 255), RunStage(buffer, dark)), "");

    Grid hole(20, 18, 0);
    hole.At(9, 9) = 255;
    const Grid result = RunStage(buffer, hole);
    EXPECT_EQ(result.At(9, 9), 0);
}

TEST(RemoveNoise, LineOfOneIsErasedLineOfTwoSurvives) {
    WorkBuffer buffer;
    Grid one(20, 18, 255);
    Grid two(20, 18, 255);
    for (int32_t x = 0; x < 20; ++x) {
        one.At(x, 8) = 0;
        two.At(x, 8) = 0;
        two.At(x, 9) = 0;
    }
    EXPECT_EQ(FirstDifference(Grid(20, 18, 255), RunStage(buffer, one)), "");
    Grid expected = two;
    for (const int32_t y : {8, 9}) {  // the frame
        expected.At(0, y) = 255;
        expected.At(19, y) = 255;
    }
    EXPECT_EQ(FirstDifference(expected, RunStage(buffer, two)), "");
    EXPECT_EQ(FirstDifference(testsupport::Transposed(expected),
                              RunStage(buffer, testsupport::Transposed(two))),
              "");
}

TEST(RemoveNoise, FrameIsBackgroundEvenOnRidge) {
    WorkBuffer buffer;
    Grid expected(24, 13, 255);
    for (int32_t y = 1; y < 12; ++y) {
        for (int32_t x = 1; x < 23; ++x) {
            expected.At(x, y) = 0;
        }
    }
    WithEachFill(buffer, [&](WorkBuffer& work) {
        // The vote counts the frame as it was, not as it is painted.
        EXPECT_EQ(FirstDifference(expected, RunStage(work, Grid(24, 13, 0))), "");
    });
}

TEST(RemoveNoise, FiveOfNineDecide) {
    WorkBuffer buffer;
    Grid image(3, 3, 0);
    const int32_t order[9] = {0, 8, 2, 6, 4, 1, 3, 5, 7};
    for (int32_t count = 0; count <= 9; ++count) {
        EXPECT_EQ(RunStage(buffer, image).At(1, 1), count >= 5 ? 255 : 0) << count << " of 255";
        if (count < 9) {
            image.cells.at(static_cast<size_t>(order[count])) = 255;
        }
    }
    // On any other image the sum counts: 9 x 128 = 1152 is background, one less is ridge.
    Grid grey(3, 3, 128);
    EXPECT_EQ(RunStage(buffer, grey).At(1, 1), 255);
    grey.At(2, 2) = 127;
    EXPECT_EQ(RunStage(buffer, grey).At(1, 1), 0);
}

TEST(RemoveNoise, BelowThreePixelsAllIsFrame) {
    WorkBuffer buffer;
    for (int32_t side = 1; side <= 9; ++side) {
        for (int32_t thin = 1; thin <= 2; ++thin) {
            EXPECT_EQ(FirstDifference(Grid(side, thin, 255), RunStage(buffer, Grid(side, thin, 0))),
                      "");
            EXPECT_EQ(FirstDifference(Grid(thin, side, 255), RunStage(buffer, Grid(thin, side, 0))),
                      "");
        }
    }
    EXPECT_TRUE(buffer.GuardsIntact());
}

TEST(RemoveNoise, EqualsModel) {
    const uint64_t seed = testsupport::Seed();
    SCOPED_TRACE(testsupport::SeedNote(seed));
    std::vector<NamedImage> images = testsupport::TinyImages(seed);
    for (const NamedImage& entry : testsupport::MediumImages(seed)) {
        images.push_back(entry);
        images.push_back({entry.name + ", binarised", testsupport::Binarised(entry.image)});
    }
    for (const NamedImage& entry : testsupport::LargeImages(seed)) {
        images.push_back({entry.name + ", binarised", testsupport::Binarised(entry.image)});
    }
    WorkBuffer buffer;
    for (const NamedImage& entry : images) {
        SCOPED_TRACE(entry.name);
        const Grid expected = model::RemoveNoise(entry.image);
        WithEachFill(buffer, [&](WorkBuffer& work) {
            ASSERT_EQ(FirstDifference(expected, RunStage(work, entry.image)), "");
        });
        if (HasFatalFailure()) {
            return;
        }
    }
}

TEST(RemoveNoise, EqualsModelAtEveryWidthAndWithOneOtherValue) {
    // Rows of fewer pixels than a vector, of whole vectors, and with every remainder; and the same
    // images with one pixel that makes them not binary.
    const uint64_t seed = testsupport::Seed();
    SCOPED_TRACE(testsupport::SeedNote(seed));
    testsupport::Random random(seed + 32);
    std::vector<int32_t> widths;
    for (int32_t width = 1; width <= 70; ++width) {
        widths.push_back(width);
    }
    widths.insert(widths.end(), {127, 128, 129, 256, 511, 512});
    WorkBuffer buffer;
    for (const int32_t width : widths) {
        SCOPED_TRACE("width " + std::to_string(width));
        const int32_t height = random.Between(1, 20);
        Grid image = testsupport::BinaryNoise(width, height, random, random.Between(30, 70));
        ASSERT_EQ(FirstDifference(model::RemoveNoise(image), RunStage(buffer, image)), "");
        image.At(random.Below(width), random.Below(height)) =
            static_cast<uint8_t>(random.Between(1, 254));
        ASSERT_EQ(FirstDifference(model::RemoveNoise(image), RunStage(buffer, image)), "");
    }
    EXPECT_TRUE(buffer.GuardsIntact());
}

}  // namespace
