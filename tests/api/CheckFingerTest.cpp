// SPDX-License-Identifier: Apache-2.0
//
// QORFP_CheckFinger: every branch of the decision, with images built block by block.
//
// The blocks are 8 x 8 pixels from (16, 16) on, as long as they start before the last 16 columns
// and rows. A block is ridged when the spread of the sums of its 2 x 2 cells exceeds a limit
// (192,000 for 256 x 288, 65,536 for any other size), else dark when its mean is below 128, else
// background. A finger is there when more than 54 per cent of the blocks are ridged or dark, and
// not too many of those dark.
#include <gtest/gtest.h>

#include <climits>
#include <string>
#include <vector>

#include "include/QORFPApi.h"
#include "tests/api/FencedBytes.h"
#include "tests/api/TestFingers.h"

namespace {

using apitest::FencedBytes;
using apitest::Grid;

uint32_t Check(const Grid& image) {
    const FencedBytes pixels(image.cells);
    return QORFP_CheckFinger(pixels.Data(), static_cast<uint32_t>(image.width), image.height);
}

// A block whose cells are alternately of one grey and of the other. The spread of its cell sums is
// 64 x (difference of the greys) squared.
struct Block {
    int32_t grey;
    int32_t otherGrey;
};

constexpr Block kRidged = {250, 100};
constexpr Block kDark = {100, 100};
constexpr Block kLight = {250, 250};

int32_t BlocksAlong(int32_t pixels) {
    int32_t count = 0;
    for (int32_t at = 16; at < pixels - 16; at += 8) {
        ++count;
    }
    return count;
}

class BlockImage {
  public:
    BlockImage(int32_t width, int32_t height, Block margin = kLight)
        : image_(width, height, static_cast<uint8_t>(margin.grey)) {
        for (int32_t k = 0; k < Count(); ++k) {
            Paint(k, kLight);
        }
    }

    int32_t Count() const { return BlocksAlong(image_.width) * BlocksAlong(image_.height); }

    void Paint(int32_t block, Block kind) {
        const int32_t columns = BlocksAlong(image_.width);
        const int32_t left = 16 + block % columns * 8;
        const int32_t top = 16 + block / columns * 8;
        for (int32_t y = 0; y < 8; ++y) {
            for (int32_t x = 0; x < 8; ++x) {
                const bool isOther = (x / 2 + y / 2) % 2 != 0;
                image_.At(left + x, top + y) =
                    static_cast<uint8_t>(isOther ? kind.otherGrey : kind.grey);
            }
        }
    }

    void PaintNext(int32_t count, Block kind) {
        for (int32_t k = 0; k < count; ++k) {
            Paint(next_++, kind);
        }
    }

    const Grid& Image() const { return image_; }

  private:
    Grid image_;
    int32_t next_ = 0;
};

uint32_t CheckBlocks(int32_t width, int32_t height, int32_t ridged, int32_t dark,
                     Block ridgedKind = kRidged, Block lightKind = kLight) {
    BlockImage blocks(width, height);
    blocks.PaintNext(ridged, ridgedKind);
    blocks.PaintNext(dark, kDark);
    blocks.PaintNext(blocks.Count() - ridged - dark, lightKind);
    return Check(blocks.Image());
}

TEST(CheckFingerCall, RefusesSizesOutOfRange) {
    const uint8_t* const unread = apitest::UnreadableAddress();
    for (const uint32_t width : {257u, 258u, 260u, 512u, 65536u, 0x7FFFFFFCu, 0x80000000u,
                                 0xFFFFFF00u, 0xFFFFFFFCu, 0xFFFFFFFFu, 1u, 2u, 3u, 254u, 255u}) {
        for (const int32_t height : {360, 0, -4}) {
            EXPECT_EQ(QORFP_CheckFinger(unread, width, height), QORFP_BAD_ARGUMENT)
                << width << " x " << height;
        }
    }
    for (const int32_t height : {361, 362, 364, 720, INT_MAX - 3, INT_MAX, 1, 2, 3, 358, 359, -1,
                                 -2, -3, -5, INT_MIN + 1}) {
        for (const uint32_t width : {256u, 0u}) {
            EXPECT_EQ(QORFP_CheckFinger(unread, width, height), QORFP_BAD_ARGUMENT)
                << width << " x " << height;
        }
    }
}

TEST(CheckFingerCall, ImagesWithoutBlocksShowNoFingerUnread) {
    const uint8_t* const unread = apitest::UnreadableAddress();
    for (uint32_t width = 0; width <= 32; width += 4) {
        for (const int32_t height : {0, 4, 32, 36, 100, 360}) {
            EXPECT_EQ(QORFP_CheckFinger(unread, width, height), QORFP_NO_FINGER)
                << width << " x " << height;
        }
    }
    for (const int32_t height : {INT_MIN, INT_MIN + 4, -65536, -360, -4, 0, 4, 28, 32}) {
        for (const uint32_t width : {0u, 4u, 32u, 36u, 100u, 256u}) {
            EXPECT_EQ(QORFP_CheckFinger(unread, width, height), QORFP_NO_FINGER)
                << width << " x " << height;
        }
    }
}

TEST(CheckFingerCall, RefusesANullImageWhereItWouldBeRead) {
    EXPECT_EQ(QORFP_CheckFinger(nullptr, 36, 36), QORFP_BAD_ARGUMENT);
    EXPECT_EQ(QORFP_CheckFinger(nullptr, 256, 288), QORFP_BAD_ARGUMENT);
    EXPECT_EQ(QORFP_CheckFinger(nullptr, 256, 360), QORFP_BAD_ARGUMENT);
    EXPECT_EQ(QORFP_CheckFinger(nullptr, 260, 360), QORFP_BAD_ARGUMENT);
    EXPECT_EQ(QORFP_CheckFinger(nullptr, 32, 32), QORFP_NO_FINGER);
    EXPECT_EQ(QORFP_CheckFinger(nullptr, 0, 0), QORFP_NO_FINGER);
    EXPECT_EQ(QORFP_CheckFinger(nullptr, 256, -4), QORFP_NO_FINGER);
}

TEST(CheckFingerCall, UniformImagesShowNoFinger) {
    const int32_t sizes[][2] = {{256, 360}, {256, 288}, {256, 284}, {152, 200}, {36, 36}, {32, 32}};
    for (const auto& size : sizes) {
        for (const uint8_t grey : {uint8_t{0}, uint8_t{127}, uint8_t{128}, uint8_t{255}}) {
            EXPECT_EQ(Check(Grid(size[0], size[1], grey)), QORFP_NO_FINGER)
                << size[0] << " x " << size[1] << " of " << int32_t{grey};
        }
    }
}

TEST(CheckFingerCall, FingersAreFound) {
    for (uint64_t seed = 1; seed <= 3; ++seed) {
        EXPECT_EQ(Check(apitest::FingerOf(seed, 256, 360)), QORFP_OK);
        EXPECT_EQ(Check(apitest::FingerOf(seed, 256, 288)), QORFP_OK);
        EXPECT_EQ(Check(apitest::FingerOf(seed, 152, 200)), QORFP_OK);
    }
}

TEST(CheckFingerCall, TheSmallestImageHasOneBlock) {
    EXPECT_EQ(CheckBlocks(36, 36, 1, 0), QORFP_OK);
    EXPECT_EQ(CheckBlocks(36, 36, 0, 1), QORFP_NO_FINGER);  // all dark
    EXPECT_EQ(CheckBlocks(36, 36, 0, 0), QORFP_NO_FINGER);
}

TEST(CheckFingerCall, OnlyTheBlocksCount) {
    // Ridges in the margin alone.
    Grid image = testsupport::Checkerboard(108, 108, 2, 0, 255);
    for (int32_t y = 16; y < 96; ++y) {
        for (int32_t x = 16; x < 96; ++x) {
            image.At(x, y) = 255;
        }
    }
    EXPECT_EQ(Check(image), QORFP_NO_FINGER);
    // And the other way round.
    EXPECT_EQ(CheckBlocks(108, 108, 100, 0), QORFP_OK);
}

// 44 pixels hold two blocks: the second one reaches 4 pixels into the margin.
TEST(CheckFingerCall, TheLastBlocksReachIntoTheMargin) {
    EXPECT_EQ(CheckBlocks(44, 36, 1, 0), QORFP_NO_FINGER);  // 50 per cent
    EXPECT_EQ(CheckBlocks(44, 36, 2, 0), QORFP_OK);
    EXPECT_EQ(CheckBlocks(36, 44, 1, 0), QORFP_NO_FINGER);
    EXPECT_EQ(CheckBlocks(36, 44, 2, 0), QORFP_OK);
    BlockImage lastOnly(36, 44);
    lastOnly.Paint(1, kRidged);
    EXPECT_EQ(Check(lastOnly.Image()), QORFP_NO_FINGER);
}

TEST(CheckFingerCall, MoreThan54PerCentIsAFinger) {
    ASSERT_EQ(BlockImage(108, 108).Count(), 100);
    EXPECT_EQ(CheckBlocks(108, 108, 54, 0), QORFP_NO_FINGER);
    EXPECT_EQ(CheckBlocks(108, 108, 55, 0), QORFP_OK);
    EXPECT_EQ(CheckBlocks(108, 108, 40, 14), QORFP_NO_FINGER);  // dark blocks count
    EXPECT_EQ(CheckBlocks(108, 108, 40, 15), QORFP_OK);
    ASSERT_EQ(BlockImage(256, 288).Count(), 896);
    EXPECT_EQ(CheckBlocks(256, 288, 492, 0), QORFP_NO_FINGER);  // 54.9 per cent
    EXPECT_EQ(CheckBlocks(256, 288, 493, 0), QORFP_OK);
    EXPECT_EQ(CheckBlocks(256, 288, 493 - 100, 100), QORFP_OK);
}

TEST(CheckFingerCall, AtMostTwoThirdsMayBeDark) {
    EXPECT_EQ(CheckBlocks(108, 108, 34, 66), QORFP_OK);  // of 100
    EXPECT_EQ(CheckBlocks(108, 108, 33, 67), QORFP_NO_FINGER);
    EXPECT_EQ(CheckBlocks(108, 108, 20, 40), QORFP_OK);  // of 60
    EXPECT_EQ(CheckBlocks(108, 108, 19, 41), QORFP_NO_FINGER);
    EXPECT_EQ(CheckBlocks(108, 108, 21, 41), QORFP_OK);  // of 62: 124 / 3 is 41
    EXPECT_EQ(CheckBlocks(108, 108, 20, 42), QORFP_NO_FINGER);
    EXPECT_EQ(CheckBlocks(108, 108, 20, 41), QORFP_NO_FINGER);  // of 61: 122 / 3 is 40
}

TEST(CheckFingerCall, AtMostHalfMayBeDarkOnTheLargeSensor) {
    EXPECT_EQ(CheckBlocks(256, 288, 448, 448), QORFP_OK);  // of 896, no background
    EXPECT_EQ(CheckBlocks(256, 288, 447, 449), QORFP_NO_FINGER);
    EXPECT_EQ(CheckBlocks(256, 288, 300, 300), QORFP_OK);  // of 600
    EXPECT_EQ(CheckBlocks(256, 288, 299, 301), QORFP_NO_FINGER);
    EXPECT_EQ(CheckBlocks(256, 288, 301, 300), QORFP_OK);  // of 601: 300
    EXPECT_EQ(CheckBlocks(256, 288, 300, 301), QORFP_NO_FINGER);
    // The other sizes allow more.
    ASSERT_EQ(BlockImage(256, 284).Count(), 896);
    EXPECT_EQ(CheckBlocks(256, 284, 299, 301), QORFP_OK);
}

TEST(CheckFingerCall, ABlockIsRidgedAboveTheLimit) {
    const auto checkAll = [](int32_t width, int32_t height, Block kind) {
        return CheckBlocks(width, height, BlockImage(width, height).Count(), 0, kind);
    };
    // 64 x 32 x 32 = 65,536 is not above the limit.
    EXPECT_EQ(checkAll(108, 108, {200, 168}), QORFP_NO_FINGER);
    EXPECT_EQ(checkAll(108, 108, {200, 167}), QORFP_OK);
    EXPECT_EQ(checkAll(108, 108, {167, 200}), QORFP_OK);
    // 64 x 54 x 54 = 186,624 and 64 x 55 x 55 = 193,600.
    EXPECT_EQ(checkAll(256, 288, {200, 146}), QORFP_NO_FINGER);
    EXPECT_EQ(checkAll(256, 288, {200, 145}), QORFP_OK);
    EXPECT_EQ(checkAll(256, 284, {200, 146}), QORFP_OK);
    EXPECT_EQ(checkAll(252, 288, {200, 146}), QORFP_OK);
    EXPECT_EQ(checkAll(256, 292, {200, 146}), QORFP_OK);
    // Where dark blocks are told from light ones, a ridged block is none of both.
    EXPECT_EQ(checkAll(108, 108, {100, 68}), QORFP_NO_FINGER);  // dark
    EXPECT_EQ(checkAll(108, 108, {100, 67}), QORFP_OK);
}

// One block whose cell sums are 600 + or - a deviation. Eight squared deviations that add up to
// 96,000 give a spread of exactly 192,000; those that add up to 32,768 one of 65,536.
Grid OneBlockSpread(int32_t width, int32_t height, const std::vector<int32_t>& deviations) {
    Grid image(width, height, 255);
    for (int32_t row = 0; row < BlocksAlong(height); ++row) {
        for (int32_t column = 0; column < BlocksAlong(width); ++column) {
            for (int32_t cell = 0; cell < 16; ++cell) {
                const int32_t deviation = deviations.at(static_cast<size_t>(cell / 2));
                const int32_t sum = 600 + (cell % 2 == 0 ? deviation : -deviation);
                for (int32_t pixel = 0; pixel < 4; ++pixel) {
                    image.At(16 + 8 * column + cell % 4 * 2 + pixel % 2,
                             16 + 8 * row + cell / 4 * 2 + pixel / 2) =
                        static_cast<uint8_t>(sum / 4 + (pixel < sum % 4 ? 1 : 0));
                }
            }
        }
    }
    return image;
}

TEST(CheckFingerCall, TheLimitsAreExact) {
    EXPECT_EQ(Check(OneBlockSpread(256, 288, {109, 109, 109, 109, 109, 109, 117, 105})),
              QORFP_NO_FINGER);
    EXPECT_EQ(Check(OneBlockSpread(256, 288, {109, 109, 109, 109, 109, 109, 117, 106})), QORFP_OK);
    EXPECT_EQ(Check(OneBlockSpread(256, 284, {64, 64, 64, 64, 64, 64, 64, 64})), QORFP_NO_FINGER);
    EXPECT_EQ(Check(OneBlockSpread(256, 284, {64, 64, 64, 64, 64, 64, 64, 65})), QORFP_OK);
}

// The mean of a block is cut to a whole number: 127.98 is below 128.
TEST(CheckFingerCall, AFlatBlockIsDarkBelow128) {
    const auto check = [](bool isOnePixelDarker, int32_t width, int32_t height) {
        BlockImage blocks(width, height);
        blocks.PaintNext(blocks.Count() / 2, kRidged);
        Grid image = blocks.Image();
        // A tenth of the blocks flat at 128: at the limit, or just below it.
        const int32_t columns = BlocksAlong(width);
        for (int32_t k = blocks.Count() / 2; k < blocks.Count() * 6 / 10; ++k) {
            const int32_t left = 16 + k % columns * 8;
            const int32_t top = 16 + k / columns * 8;
            for (int32_t pixel = 0; pixel < 64; ++pixel) {
                image.At(left + pixel % 8, top + pixel / 8) = 128;
            }
            if (isOnePixelDarker) {
                image.At(left + 7, top + 7) = 127;
            }
        }
        return Check(image);
    };
    EXPECT_EQ(check(false, 108, 108), QORFP_NO_FINGER);
    EXPECT_EQ(check(true, 108, 108), QORFP_OK);
    EXPECT_EQ(check(false, 256, 288), QORFP_NO_FINGER);
    EXPECT_EQ(check(true, 256, 288), QORFP_OK);
}

// On the large sensor a finger must differ from the background by 50 grey levels, darker or
// lighter; where there is no background, nothing is compared.
TEST(CheckFingerCall, TheLargeSensorNeedsContrastToTheBackground) {
    const Block ridged150 = {200, 100};
    const Block ridged200 = {250, 150};
    const auto check = [](int32_t width, int32_t height, Block ridged, int32_t light) {
        return CheckBlocks(width, height, 600, 0, ridged, {light, light});
    };
    EXPECT_EQ(check(256, 288, ridged150, 200), QORFP_OK);
    EXPECT_EQ(check(256, 288, ridged150, 199), QORFP_NO_FINGER);
    EXPECT_EQ(check(256, 288, ridged150, 150), QORFP_NO_FINGER);
    EXPECT_EQ(check(256, 288, ridged200, 151), QORFP_NO_FINGER);
    EXPECT_EQ(check(256, 288, ridged200, 150), QORFP_OK);
    EXPECT_EQ(check(256, 284, ridged150, 199), QORFP_OK);
    EXPECT_EQ(check(256, 284, ridged200, 151), QORFP_OK);
    EXPECT_EQ(CheckBlocks(256, 288, 896, 0, ridged150), QORFP_OK);
    EXPECT_EQ(CheckBlocks(256, 288, 895, 0, ridged150, {160, 160}), QORFP_NO_FINGER);
}

// Dark blocks count in the finger's mean: (300 x 175 + 300 x 100) / 600 = 137, 62 from 199.
TEST(CheckFingerCall, TheContrastTakesDarkBlocksIn) {
    EXPECT_EQ(CheckBlocks(256, 288, 600, 0, kRidged, {199, 199}), QORFP_NO_FINGER);
    EXPECT_EQ(CheckBlocks(256, 288, 300, 300, kRidged, {199, 199}), QORFP_OK);
}

TEST(CheckFingerCall, NeedsNoAlignment) {
    const Grid image = apitest::FingerOf(1, 256, 288);
    for (size_t offset = 1; offset <= 3; ++offset) {
        std::vector<uint8_t> room(offset + image.cells.size(), 255);
        std::copy(image.cells.begin(), image.cells.end(),
                  room.begin() + static_cast<std::ptrdiff_t>(offset));
        EXPECT_EQ(QORFP_CheckFinger(room.data() + offset, 256, 288), QORFP_OK);
    }
}

}  // namespace
