// SPDX-License-Identifier: Apache-2.0
//
// The box smoothing at the head of the extraction: a clipped 3 x 3 mean.
#include "extract/BoxSmooth.h"

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

Grid RunStage(WorkBuffer& buffer, const Grid& image) {
    buffer.Put(0, image);
    qorfp::BoxSmooth(buffer.Bytes(), image.width, image.height);
    return buffer.Take(0, image.width, image.height);
}

TEST(BoxSmooth, CornersEdgesAndInterior) {
    Grid image(4, 3);
    image.cells = {1,   2,   3,   40,  //
                   10,  20,  30,  50,  //
                   100, 150, 250, 255};
    Grid expected(4, 3);
    expected.cells = {33 / 4,  66 / 6,  145 / 6, 123 / 4,  //
                      283 / 6, 566 / 9, 800 / 9, 628 / 6,  //
                      280 / 4, 560 / 6, 755 / 6, 585 / 4};
    WorkBuffer buffer;
    WithEachFill(buffer, [&](WorkBuffer& work) {
        EXPECT_EQ(FirstDifference(expected, RunStage(work, image)), "");
    });
}

TEST(BoxSmooth, OnePixelSidesAverageThePixelsThatExist) {
    WorkBuffer buffer;
    Grid row(4, 1);
    row.cells = {10, 20, 60, 201};
    Grid expected(4, 1);
    expected.cells = {15, 30, 93, 130};
    EXPECT_EQ(FirstDifference(expected, RunStage(buffer, row)), "");
    EXPECT_EQ(FirstDifference(testsupport::Transposed(expected),
                              RunStage(buffer, testsupport::Transposed(row))),
              "");
    EXPECT_EQ(RunStage(buffer, Grid(1, 1, 200)).At(0, 0), 200);
}

TEST(BoxSmooth, EqualsModel) {
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
        const Grid expected = model::SmoothImage(entry.image, 1);
        WithEachFill(buffer, [&](WorkBuffer& work) {
            ASSERT_EQ(FirstDifference(expected, RunStage(work, entry.image)), "");
        });
        if (HasFatalFailure()) {
            return;
        }
    }
}

}  // namespace
