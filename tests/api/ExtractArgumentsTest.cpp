// SPDX-License-Identifier: Apache-2.0
//
// QORFP_Extract: which arguments are refused (result 5), which are taken without any image in them
// (a size of 0 or below: result 1), and what the call leaves alone.
#include <gtest/gtest.h>

#include <climits>
#include <string>

#include "include/QORFPApi.h"
#include "tests/api/FencedBytes.h"
#include "tests/api/GuardedBytes.h"
#include "tests/api/TestFingers.h"

namespace {

using apitest::Bytes;
using apitest::Extraction;
using apitest::FencedBytes;
using apitest::Grid;
using apitest::GuardedBytes;
using apitest::GuardedNumber;

std::string SizeText(int32_t width, int32_t height) {
    return std::to_string(width) + " x " + std::to_string(height);
}

// The call with an image that may not be read; expects that the outputs stay as they are.
uint32_t ExtractUnread(int32_t width, int32_t height) {
    GuardedBytes bytes(apitest::kTemplateBytes);
    GuardedNumber quality;
    const uint32_t result =
        QORFP_Extract(apitest::UnreadableAddress(), width, height, bytes.Data(), &quality.value);
    EXPECT_TRUE(bytes.Untouched()) << SizeText(width, height);
    EXPECT_TRUE(quality.Untouched()) << SizeText(width, height);
    return result;
}

TEST(ExtractArguments, NullPointersAreRefusedAloneAndTogether) {
    const Grid image = apitest::FingerOf(1);
    for (int32_t given = 0; given < 7; ++given) {  // a bit each; all three given is the good call
        GuardedBytes bytes(apitest::kTemplateBytes);
        GuardedNumber quality;
        const uint32_t result = QORFP_Extract(
            (given & 1) != 0 ? image.cells.data() : nullptr, image.width, image.height,
            (given & 2) != 0 ? bytes.Data() : nullptr, (given & 4) != 0 ? &quality.value : nullptr);
        EXPECT_EQ(result, QORFP_BAD_ARGUMENT) << "pointers given: " << given;
        EXPECT_TRUE(bytes.Untouched());
        EXPECT_TRUE(quality.Untouched());
    }
    EXPECT_EQ(apitest::Extract(image).result, QORFP_OK);
}

TEST(ExtractArguments, NullPointersAreRefusedAtAnySize) {
    uint8_t bytes[apitest::kTemplateBytes];
    int32_t quality = 0;
    const uint8_t* const unreadable = apitest::UnreadableAddress();
    for (const int32_t size : {0, -4, INT_MIN, 4, 256, 260, 3, INT_MAX}) {
        EXPECT_EQ(QORFP_Extract(nullptr, size, size, bytes, &quality), QORFP_BAD_ARGUMENT);
        EXPECT_EQ(QORFP_Extract(unreadable, size, size, nullptr, &quality), QORFP_BAD_ARGUMENT);
        EXPECT_EQ(QORFP_Extract(unreadable, size, size, bytes, nullptr), QORFP_BAD_ARGUMENT);
    }
}

TEST(ExtractArguments, SizesAboveTheLimitsAreRefused) {
    for (const int32_t width : {257, 258, 260, 264, 512, 65536, 65792, INT_MAX - 3, INT_MAX}) {
        for (const int32_t height : {360, 4, 0, -4, INT_MIN}) {
            EXPECT_EQ(ExtractUnread(width, height), QORFP_BAD_ARGUMENT) << SizeText(width, height);
        }
    }
    for (const int32_t height : {361, 362, 364, 368, 720, 65536, 65896, INT_MAX - 3, INT_MAX}) {
        for (const int32_t width : {256, 4, 0, -4, INT_MIN}) {
            EXPECT_EQ(ExtractUnread(width, height), QORFP_BAD_ARGUMENT) << SizeText(width, height);
        }
    }
}

TEST(ExtractArguments, SizesThatAreNoMultipleOfFourAreRefused) {
    for (int32_t size = -9; size <= 257; ++size) {
        if (size % 4 != 0) {
            EXPECT_EQ(ExtractUnread(size, 200), QORFP_BAD_ARGUMENT) << size;
            EXPECT_EQ(ExtractUnread(152, size), QORFP_BAD_ARGUMENT) << size;
            EXPECT_EQ(ExtractUnread(size, size), QORFP_BAD_ARGUMENT) << size;
            EXPECT_EQ(ExtractUnread(size, 0), QORFP_BAD_ARGUMENT) << size;
        }
    }
    EXPECT_EQ(ExtractUnread(254, 360), QORFP_BAD_ARGUMENT);
    EXPECT_EQ(ExtractUnread(256, 358), QORFP_BAD_ARGUMENT);
    EXPECT_EQ(ExtractUnread(INT_MIN + 1, 360), QORFP_BAD_ARGUMENT);
    EXPECT_EQ(ExtractUnread(256, INT_MIN + 2), QORFP_BAD_ARGUMENT);
}

// There is no lower limit: such a call runs and finds nothing, without a look at the image.
TEST(ExtractArguments, SizesOfZeroOrBelowFailUnread) {
    const int32_t empty[] = {0, -4, -8, -256, -360, -65536, INT_MIN, INT_MIN + 4};
    for (const int32_t size : empty) {
        for (const int32_t other : {4, 100, 256}) {
            EXPECT_EQ(ExtractUnread(size, other), QORFP_FAILED) << SizeText(size, other);
            EXPECT_EQ(ExtractUnread(other, size), QORFP_FAILED) << SizeText(other, size);
        }
        for (const int32_t other : empty) {  // products above 0 among them
            EXPECT_EQ(ExtractUnread(size, other), QORFP_FAILED) << SizeText(size, other);
        }
    }
}

TEST(ExtractArguments, TheLargestImageIsTaken) {
    const Extraction extraction = apitest::Extract(apitest::FingerOf(1, 256, 360));
    EXPECT_EQ(extraction.result, QORFP_OK);
}

// All minutiae of so small an image would lie within 20 pixels of each other, and an ordinary
// minutia has at most four others that close; so no six can be left.
TEST(ExtractArguments, TheSmallestImagesGiveNoTemplate) {
    testsupport::Random random(3);
    for (int32_t height = 4; height <= 28; height += 4) {
        for (int32_t width = 4; width <= 28; width += 4) {
            for (const Grid& image : {apitest::FingerOf(7, width, height),
                                      testsupport::NoiseImage(width, height, random),
                                      testsupport::BinaryNoise(width, height, random, 50)}) {
                const FencedBytes pixels(image.cells);
                GuardedBytes bytes(apitest::kTemplateBytes);
                GuardedNumber quality;
                EXPECT_EQ(QORFP_Extract(pixels.Data(), width, height, bytes.Data(), &quality.value),
                          QORFP_FAILED)
                    << SizeText(width, height);
                EXPECT_TRUE(bytes.GuardsIntact());
                EXPECT_TRUE(quality.Untouched());
            }
        }
    }
}

TEST(ExtractArguments, SmallImagesWorkOrFailCleanly) {
    for (int32_t height = 4; height <= 40; height += 4) {
        for (int32_t width = 4; width <= 40; width += 4) {
            const FencedBytes pixels(apitest::FingerOf(9, width, height).cells);
            GuardedBytes bytes(apitest::kTemplateBytes);
            GuardedNumber quality;
            const uint32_t result =
                QORFP_Extract(pixels.Data(), width, height, bytes.Data(), &quality.value);
            ASSERT_TRUE(result == QORFP_OK || result == QORFP_FAILED) << SizeText(width, height);
            EXPECT_TRUE(bytes.GuardsIntact());
            EXPECT_EQ(quality.Untouched(), result == QORFP_FAILED) << SizeText(width, height);
        }
    }
}

TEST(ExtractArguments, LongThinImagesFailCleanly) {
    const int32_t sizes[][2] = {{4, 360}, {8, 360}, {12, 360}, {16, 360},
                                {256, 4}, {256, 8}, {256, 12}, {256, 16}};
    for (const auto& size : sizes) {
        const FencedBytes pixels(apitest::FingerOf(2, size[0], size[1]).cells);
        GuardedBytes bytes(apitest::kTemplateBytes);
        GuardedNumber quality;
        // A minutia keeps 8 pixels from every border: none fits.
        EXPECT_EQ(QORFP_Extract(pixels.Data(), size[0], size[1], bytes.Data(), &quality.value),
                  QORFP_FAILED)
            << SizeText(size[0], size[1]);
        EXPECT_TRUE(bytes.GuardsIntact());
        EXPECT_TRUE(quality.Untouched());
    }
}

TEST(ExtractArguments, ImagesWithoutRidgesFailAndLeaveTheQuality) {
    const int32_t sizes[][2] = {{256, 360}, {152, 200}, {64, 64}, {4, 4}};
    for (const auto& size : sizes) {
        for (const uint8_t grey : {uint8_t{0}, uint8_t{128}, uint8_t{255}}) {
            const Extraction extraction = apitest::Extract(Grid(size[0], size[1], grey));
            EXPECT_EQ(extraction.result, QORFP_FAILED) << SizeText(size[0], size[1]);
            EXPECT_EQ(extraction.quality, GuardedNumber::kFill);
        }
        const Extraction ramp = apitest::Extract(testsupport::RampImage(size[0], size[1]));
        EXPECT_EQ(ramp.result, QORFP_FAILED) << SizeText(size[0], size[1]);
        EXPECT_EQ(ramp.quality, GuardedNumber::kFill);
    }
}

TEST(ExtractArguments, StraightStripesHaveTooFewMinutiae) {
    const Extraction extraction =
        apitest::Extract(testsupport::StripeImage(256, 360, 9.0, 20, 40, 200));
    EXPECT_EQ(extraction.result, QORFP_FAILED);
    EXPECT_EQ(extraction.quality, GuardedNumber::kFill);
}

TEST(ExtractArguments, ReadsOnlyTheImageAndChangesNothingOfIt) {
    const int32_t sizes[][2] = {{256, 360}, {152, 200}, {160, 160}};
    for (const auto& size : sizes) {
        const Grid image = apitest::FingerOf(1, size[0], size[1]);
        const FencedBytes pixels(image.cells);
        GuardedBytes bytes(apitest::kTemplateBytes);
        GuardedNumber quality;
        EXPECT_EQ(QORFP_Extract(pixels.Data(), size[0], size[1], bytes.Data(), &quality.value),
                  QORFP_OK);
        EXPECT_EQ(bytes.Copy(), apitest::Extract(image).bytes);
    }
}

}  // namespace
