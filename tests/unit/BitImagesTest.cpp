// SPDX-License-Identifier: Apache-2.0
//
// The stages from binarisation to the skeleton as an extraction runs them, handing bit rows on, against
// the naive models in a row.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "extract/BinaryImage.h"
#include "extract/ExtractLayout.h"
#include "extract/FPExtract.h"
#include "tests/model/ModelBinarise.h"
#include "tests/model/ModelRidgeDensity.h"
#include "tests/model/ModelThinning.h"
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

/// What the models make of an image and a direction map.
struct Expected {
    Grid cleaned;
    Grid periods;
    Grid skeleton;
};

Expected FromModels(const Grid& image, const Grid& map) {
    Expected expected;
    expected.cleaned = model::RemoveNoise(model::BinImageB(image));
    expected.periods = model::GetRidgeDensity(expected.cleaned, map);
    expected.skeleton = model::Thinning(expected.cleaned);
    return expected;
}

void ExpectModels(WorkBuffer& buffer, const Grid& image, const Grid& map,
                  const Expected& expected) {
    const int32_t width = image.width;
    const int32_t height = image.height;
    buffer.Put(0, image);
    buffer.Put(DirectionMapOffset(image), map);

    qorfp::BinImageBToBits(buffer.Bytes(), width, height);
    EXPECT_EQ(FirstDifference(image, buffer.Take(0, width, height)), "") << "the image changed";
    qorfp::RemoveNoiseFromBits(buffer.Bytes(), width, height);
    ASSERT_EQ(FirstDifference(expected.cleaned, buffer.Take(0, width, height)), "");
    GetRidgeDensity(buffer.Bytes(), width, height);
    ASSERT_EQ(FirstDifference(expected.periods,
                              buffer.Take(PeriodMapOffset(image), map.width, map.height)),
              "");
    qorfp::ThinBits(buffer.Bytes(), width, height);
    ASSERT_EQ(FirstDifference(expected.skeleton, buffer.Take(0, width, height)), "");
    EXPECT_EQ(FirstDifference(map, buffer.Take(DirectionMapOffset(image), map.width, map.height)),
              "")
        << "the direction map changed";
}

void ExpectModelsOf(const std::vector<NamedImage>& images, uint64_t seed) {
    testsupport::Random random(seed);
    WorkBuffer buffer;
    for (const NamedImage& entry : images) {
        SCOPED_TRACE(entry.name);
        const Grid map = testsupport::RandomDirectionMap(
            BlocksAlong(entry.image.width), BlocksAlong(entry.image.height), random, false);
        const Expected expected = FromModels(entry.image, map);
        WithEachFill(buffer,
                     [&](WorkBuffer& work) { ExpectModels(work, entry.image, map, expected); });
        if (testing::Test::HasFatalFailure()) {
            return;
        }
    }
    EXPECT_TRUE(buffer.GuardsIntact());
}

TEST(BitImages, EqualModels) {
    const uint64_t seed = testsupport::Seed();
    SCOPED_TRACE(testsupport::SeedNote(seed));
    std::vector<NamedImage> images = testsupport::MediumImages(seed);
    for (const NamedImage& entry : testsupport::LargeImages(seed)) {
        if (entry.image.width <= qorfp::kMaxImageWidth &&
            entry.image.height <= qorfp::kMaxImageHeight) {
            images.push_back(entry);
        }
    }
    ExpectModelsOf(images, seed + 41);
}

TEST(BitImages, EqualModelsAtEveryWidth) {
    // Every remainder of a bit row's vector, in as few rows as there may be and in more.
    const uint64_t seed = testsupport::Seed();
    SCOPED_TRACE(testsupport::SeedNote(seed));
    testsupport::Random random(seed + 42);
    std::vector<NamedImage> images;
    for (int32_t width = 16; width <= 256; width += width < 150 ? 1 : 7) {
        for (const int32_t height : {3, random.Between(4, 40)}) {
            Grid noise = testsupport::BinaryNoise(width, height, random, random.Between(30, 80));
            images.push_back({"width " + std::to_string(width), noise});
        }
    }
    ExpectModelsOf(images, seed + 43);
}

}  // namespace
