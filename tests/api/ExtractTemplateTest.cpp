// SPDX-License-Identifier: Apache-2.0
//
// QORFP_Extract: the form of the templates it makes.
#include <gtest/gtest.h>

#include <set>
#include <string>

#include "include/QORFPApi.h"
#include "tests/api/GuardedBytes.h"
#include "tests/api/TestFingers.h"

namespace {

using apitest::Bytes;
using apitest::Extraction;
using apitest::Grid;

int32_t ZeroBytes(const Bytes& bytes, size_t from, size_t end) {
    int32_t count = 0;
    for (size_t k = from; k < end; ++k) {
        count += bytes.at(k) == 0 ? 1 : 0;
    }
    return count;
}

void ExpectZeros(const Bytes& bytes, size_t from, size_t end) {
    EXPECT_EQ(ZeroBytes(bytes, from, end), static_cast<int32_t>(end - from))
        << "bytes " << from << " to " << end - 1;
}

// Everything that holds for any template made of an image of this size.
void ExpectFinishedTemplate(const Extraction& extraction, int32_t width, int32_t height) {
    const Bytes& bytes = extraction.bytes;
    EXPECT_EQ(std::string(bytes.begin(), bytes.begin() + 3), "301");
    const size_t count = bytes.at(apitest::kCountByte);
    EXPECT_GE(count, 6u);
    ASSERT_LE(count, 60u);
    std::set<std::pair<int32_t, int32_t>> places;
    for (const apitest::HandMinutia& minutia : apitest::ReadTemplate(bytes)) {
        EXPECT_TRUE(minutia.type == 1 || minutia.type == 2) << minutia.type;
        EXPECT_LT(minutia.direction, 240);
        EXPECT_EQ(minutia.confidence, 8);
        // Minutiae keep 8 pixels from the border.
        EXPECT_GE(minutia.x, 8);
        EXPECT_GE(minutia.y, 8);
        EXPECT_LE(minutia.x, width - 9);
        EXPECT_LE(minutia.y, height - 9);
        EXPECT_TRUE(places.insert({minutia.x, minutia.y}).second) << "twice at one place";
    }
    ExpectZeros(bytes, apitest::kFirstMinutia + apitest::kMinutiaBytes * count,
                apitest::kQualityByte);

    EXPECT_GT(bytes.at(apitest::kQualityByte), 0);
    EXPECT_LE(bytes.at(apitest::kQualityByte), 100);
    EXPECT_EQ(extraction.quality, int32_t{bytes.at(apitest::kQualityByte)});

    const size_t keys = bytes.at(apitest::kKeyCountByte);
    ASSERT_LE(keys, 19u);
    EXPECT_EQ(bytes.at(apitest::kKeyCountByte + 1), 0);
    for (size_t key = 0; key < keys; ++key) {
        const size_t from = apitest::kFirstKey + apitest::kKeyBytes * key;
        EXPECT_LT(ZeroBytes(bytes, from, from + apitest::kKeyBytes), 7) << "key " << key;
    }
    ExpectZeros(bytes, apitest::kFirstKey + apitest::kKeyBytes * keys, apitest::kChecksumByte);

    EXPECT_EQ(bytes.at(510) + 256u * bytes.at(511), apitest::ByteSum(bytes));
}

TEST(ExtractTemplate, HasTheFormOfAFinishedTemplate) {
    const int32_t sizes[][2] = {{256, 360}, {256, 288}, {224, 304}, {160, 160}, {120, 120}};
    for (const auto& size : sizes) {
        for (uint64_t seed = 1; seed <= 2; ++seed) {
            SCOPED_TRACE("finger " + std::to_string(seed) + ", " + std::to_string(size[0]) + " x " +
                         std::to_string(size[1]));
            const Extraction extraction =
                apitest::Extract(apitest::FingerOf(seed, size[0], size[1]));
            ASSERT_EQ(extraction.result, QORFP_OK);
            ExpectFinishedTemplate(extraction, size[0], size[1]);
        }
    }
}

TEST(ExtractTemplate, HasMinutiaeAllOverTheFinger) {
    const Extraction extraction = apitest::Extract(apitest::FingerOf(1));
    const apitest::Minutiae minutiae = apitest::ReadTemplate(extraction.bytes);
    std::set<int32_t> types;
    std::set<int32_t> quarters;
    std::set<int32_t> directions;
    for (const apitest::HandMinutia& minutia : minutiae) {
        types.insert(minutia.type);
        quarters.insert(minutia.x / 128 + 2 * (minutia.y / 180));
        directions.insert(minutia.direction / 60);
    }
    EXPECT_GE(minutiae.size(), 30u);  // the drawing has about 50 dislocations
    EXPECT_EQ(types.size(), 2u);
    EXPECT_EQ(quarters.size(), 4u);
    EXPECT_EQ(directions.size(), 4u);
}

// Images of exactly 152 x 200 come from a coarser sensor and are scaled to 212 x 279; the minutiae
// stand in the scaled frame.
TEST(ExtractTemplate, SmallSensorImagesAreScaled) {
    bool isBeyondWidth = false;
    bool isBeyondHeight = false;
    for (uint64_t seed = 1; seed <= 4; ++seed) {
        SCOPED_TRACE("finger " + std::to_string(seed));
        const Extraction extraction = apitest::Extract(apitest::FingerOf(seed, 152, 200));
        ASSERT_EQ(extraction.result, QORFP_OK);
        ExpectFinishedTemplate(extraction, 212, 279);
        for (const apitest::HandMinutia& minutia : apitest::ReadTemplate(extraction.bytes)) {
            isBeyondWidth = isBeyondWidth || minutia.x > 152 - 9;
            isBeyondHeight = isBeyondHeight || minutia.y > 200 - 9;
        }
    }
    EXPECT_TRUE(isBeyondWidth);
    EXPECT_TRUE(isBeyondHeight);
}

TEST(ExtractTemplate, NeighbouringSizesAreNotScaled) {
    const int32_t sizes[][2] = {{148, 200}, {156, 200}, {152, 196}, {152, 204}, {200, 152}};
    for (const auto& size : sizes) {
        for (uint64_t seed = 1; seed <= 2; ++seed) {
            SCOPED_TRACE("finger " + std::to_string(seed) + ", " + std::to_string(size[0]) + " x " +
                         std::to_string(size[1]));
            const Extraction extraction =
                apitest::Extract(apitest::FingerOf(seed, size[0], size[1]));
            ASSERT_EQ(extraction.result, QORFP_OK);
            ExpectFinishedTemplate(extraction, size[0], size[1]);
        }
    }
}

// Whatever the image: a finished template, or none and the quality left alone.
TEST(ExtractTemplate, AnyImageGivesAFinishedTemplateOrNone) {
    testsupport::Random random(11);
    const Grid images[] = {testsupport::NoiseImage(256, 360, random),
                           testsupport::BinaryNoise(256, 360, random, 50),
                           testsupport::BinaryNoise(252, 356, random, 10),
                           testsupport::Checkerboard(256, 360, 4, 0, 255),
                           testsupport::Checkerboard(240, 240, 7, 0, 255),
                           testsupport::RingImage(256, 360, 8.0, 128, 180),
                           testsupport::SpiralImage(256, 360, 9.0, 3),
                           testsupport::Binarised(apitest::FingerOf(5))};
    int32_t templates = 0;
    for (const Grid& image : images) {
        SCOPED_TRACE("image " + std::to_string(&image - images));
        const Extraction extraction = apitest::Extract(image);
        if (extraction.result == QORFP_OK) {
            ExpectFinishedTemplate(extraction, image.width, image.height);
            ++templates;
        } else {
            EXPECT_EQ(extraction.result, QORFP_FAILED);
            EXPECT_EQ(extraction.quality, apitest::GuardedNumber::kFill);
        }
    }
    EXPECT_GE(templates, 1);  // the binarised finger at least
}

TEST(ExtractTemplate, IsTheSameEachTime) {
    const Grid image = apitest::FingerOf(3);
    const Extraction first = apitest::Extract(image);
    ASSERT_EQ(first.result, QORFP_OK);
    for (int32_t k = 0; k < 3; ++k) {
        const Extraction again = apitest::Extract(image);
        EXPECT_EQ(again.bytes, first.bytes);
        EXPECT_EQ(again.quality, first.quality);
    }
}

TEST(ExtractTemplate, DoesNotDependOnAlignment) {
    const Grid image = apitest::FingerOf(3);
    const Extraction first = apitest::Extract(image);
    for (size_t offset = 1; offset <= 3; ++offset) {
        Bytes pixels(offset + image.cells.size());
        std::copy(image.cells.begin(), image.cells.end(),
                  pixels.begin() + static_cast<std::ptrdiff_t>(offset));
        Bytes room(offset + apitest::kTemplateBytes);
        int32_t quality = 0;
        EXPECT_EQ(QORFP_Extract(pixels.data() + offset, image.width, image.height,
                                room.data() + offset, &quality),
                  QORFP_OK);
        EXPECT_EQ(Bytes(room.begin() + static_cast<std::ptrdiff_t>(offset), room.end()),
                  first.bytes)
            << offset;
        EXPECT_EQ(quality, first.quality);
    }
}

TEST(ExtractTemplate, DoesNotDependOnWhatTheOutputHeld) {
    const Grid image = apitest::FingerOf(4, 160, 160);
    const Extraction first = apitest::Extract(image);
    ASSERT_EQ(first.result, QORFP_OK);
    for (const uint8_t fill : {uint8_t{0}, uint8_t{255}}) {
        Bytes bytes(apitest::kTemplateBytes, fill);
        int32_t quality = fill;
        EXPECT_EQ(
            QORFP_Extract(image.cells.data(), image.width, image.height, bytes.data(), &quality),
            QORFP_OK);
        EXPECT_EQ(bytes, first.bytes);
    }
}

TEST(ExtractTemplate, FingersDiffer) {
    const Bytes first = apitest::TemplateOf(1);
    const Bytes second = apitest::TemplateOf(2);
    int32_t score = -1;
    EXPECT_EQ(QORFP_Verify(first.data(), first.data(), 5, &score), QORFP_OK);
    EXPECT_EQ(score, 2047);
    EXPECT_EQ(QORFP_Verify(first.data(), second.data(), 1, &score), QORFP_FAILED);
    EXPECT_LT(score, 150);
}

// A window of the same finger a few pixels further on has the same minutiae in another place.
TEST(ExtractTemplate, ImpressionsOfOneFingerMatch) {
    const Grid image = apitest::FingerOf(1);
    const auto window = [&image](int32_t left, int32_t top) {
        Grid part(224, 320);
        for (int32_t y = 0; y < part.height; ++y) {
            for (int32_t x = 0; x < part.width; ++x) {
                part.At(x, y) = image.At(left + x, top + y);
            }
        }
        return part;
    };
    const Extraction first = apitest::Extract(window(0, 0));
    const Extraction second = apitest::Extract(window(27, 33));
    ASSERT_EQ(first.result, QORFP_OK);
    ASSERT_EQ(second.result, QORFP_OK);
    int32_t score = -1;
    EXPECT_EQ(QORFP_Verify(first.bytes.data(), second.bytes.data(), 5, &score), QORFP_OK);
    EXPECT_GE(score, 210);
}

}  // namespace
