// SPDX-License-Identifier: Apache-2.0
//
// The filters before the orientation field, from place to place: against the models of the stages one
// after the other.
#include "extract/PrepareImage.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "tests/model/ModelPreprocess.h"
#include "tests/support/TestImages.h"
#include "tests/support/WorkBuffer.h"

namespace {

using testsupport::FirstDifference;
using testsupport::Grid;
using testsupport::NamedImage;
using testsupport::WithEachFill;
using testsupport::WorkBuffer;

Grid Expected(const Grid& image) {
    return model::SmoothImage(model::Preprocess(image), 1);
}

// Every width of a vector's remainder, the limits, and fingers.
std::vector<NamedImage> Images(uint64_t seed) {
    testsupport::Random random(seed + 41);
    std::vector<NamedImage> images = testsupport::LargeImages(seed);
    for (int32_t width = 18; width <= 36; ++width) {
        images.push_back(
            {"noise, width " + std::to_string(width), NoiseImage(width, 9 + width % 5, random)});
    }
    const int32_t sizes[][2] = {{18, 360}, {256, 9}, {212, 279}, {256, 200}, {100, 62}, {100, 63}};
    for (const auto& size : sizes) {
        images.push_back({"noise, " + std::to_string(size[0]) + " x " + std::to_string(size[1]),
                          NoiseImage(size[0], size[1], random)});
    }
    return images;
}

bool IsOfPublicCalls(const Grid& image) {
    return image.width >= 18 && image.width <= 256 && image.height >= 9 && image.height <= 360;
}

TEST(PrepareImage, EqualsModelsForAnImageElsewhere) {
    const uint64_t seed = testsupport::Seed();
    SCOPED_TRACE(testsupport::SeedNote(seed));
    WorkBuffer buffer;
    int32_t prepared = 0;
    for (const NamedImage& entry : Images(seed)) {
        SCOPED_TRACE(entry.name);
        if (!IsOfPublicCalls(entry.image)) {
            continue;
        }
        ++prepared;
        const Grid expected = Expected(entry.image);
        const std::vector<uint8_t> image = entry.image.cells;
        WithEachFill(buffer, [&](WorkBuffer& work) {
            ASSERT_TRUE(qorfp::PrepareImage(image.data(), entry.image.width, entry.image.height,
                                            work.Bytes()));
            ASSERT_EQ(
                FirstDifference(expected, work.Take(0, entry.image.width, entry.image.height)), "");
            ASSERT_EQ(image, entry.image.cells);
        });
        if (HasFatalFailure()) {
            return;
        }
    }
    EXPECT_GE(prepared, 25);
}

TEST(PrepareImage, EqualsModelsForAnImageInTheBuffer) {
    const uint64_t seed = testsupport::Seed();
    SCOPED_TRACE(testsupport::SeedNote(seed));
    WorkBuffer buffer;
    int32_t prepared = 0;
    for (const NamedImage& entry : Images(seed)) {
        SCOPED_TRACE(entry.name);
        const Grid expected = IsOfPublicCalls(entry.image) ? Expected(entry.image) : entry.image;
        WithEachFill(buffer, [&](WorkBuffer& work) {
            work.Put(0, entry.image);
            const bool isDone = qorfp::PrepareImage(work.Bytes(), entry.image.width,
                                                    entry.image.height, work.Bytes());
            prepared += isDone ? 1 : 0;
            ASSERT_EQ(FirstDifference(isDone ? expected : entry.image,
                                      work.Take(0, entry.image.width, entry.image.height)),
                      "");
        });
        if (HasFatalFailure()) {
            return;
        }
    }
    EXPECT_GE(prepared, 3 * 25);
}

TEST(PrepareImage, LeavesOtherSizesAlone) {
    const uint64_t seed = testsupport::Seed();
    SCOPED_TRACE(testsupport::SeedNote(seed));
    testsupport::Random random(seed + 42);
    const int32_t sizes[][2] = {{17, 40}, {257, 40}, {40, 8}, {40, 361}, {0, 40}, {40, -4}};
    WorkBuffer buffer;
    for (const auto& size : sizes) {
        SCOPED_TRACE(std::to_string(size[0]) + " x " + std::to_string(size[1]));
        const Grid image = testsupport::NoiseImage(300, 400, random);
        const std::vector<uint8_t> before(buffer.Bytes(), buffer.Bytes() + WorkBuffer::kBytes);
        EXPECT_FALSE(qorfp::PrepareImage(image.cells.data(), size[0], size[1], buffer.Bytes()));
        EXPECT_EQ(before,
                  std::vector<uint8_t>(buffer.Bytes(), buffer.Bytes() + WorkBuffer::kBytes));
    }
}

}  // namespace
