// SPDX-License-Identifier: Apache-2.0
//
// Bit rows against the picture of their layout, pixel by pixel.
#include "extract/BitRows.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "tests/support/TestImages.h"

namespace {

using qorfp::BitRowLine;
using qorfp::BitRows;

// Two bit rows with guards around them.
class RowsOfTwo {
  public:
    explicit RowsOfTwo(int32_t width)
        : bytes_(2 * (qorfp::kMaxSegment + 2) + 2, kGuard),
          rows{bytes_.data() + 1, qorfp::SegmentOf(width)},
          used_(static_cast<size_t>(2 * (rows.segment + 2))) {}

    bool GuardsIntact() const { return bytes_.front() == kGuard && bytes_.at(used_ + 1) == kGuard; }

  private:
    static constexpr uint8_t kGuard = 0x5A;
    std::vector<uint8_t> bytes_;

  public:
    BitRows rows;

  private:
    size_t used_;
};

// The bit of pixel x, by the picture in the header.
int32_t BitOf(const BitRows& rows, int32_t y, int32_t x) {
    return rows.Row(y)[x % rows.segment] >> (x / rows.segment) & 1;
}

std::vector<uint8_t> RandomPixels(int32_t width, testsupport::Random& random) {
    std::vector<uint8_t> pixels(static_cast<size_t>(width));
    for (uint8_t& pixel : pixels) {
        pixel = random.OneIn(2) ? 255 : 0;
    }
    return pixels;
}

TEST(BitRows, SegmentsAreWholeVectors) {
    EXPECT_EQ(qorfp::SegmentOf(1), 16);
    EXPECT_EQ(qorfp::SegmentOf(128), 16);
    EXPECT_EQ(qorfp::SegmentOf(129), 32);
    EXPECT_EQ(qorfp::SegmentOf(256), 32);
    EXPECT_EQ(qorfp::SegmentOf(257), 48);
    EXPECT_EQ(qorfp::SegmentOf(512), 64);
}

TEST(BitRows, HoldEveryPixelAndGiveItBack) {
    const uint64_t seed = testsupport::Seed();
    SCOPED_TRACE(testsupport::SeedNote(seed));
    testsupport::Random random(seed);
    for (int32_t width = 1; width <= qorfp::kMaxStageWidth; ++width) {
        SCOPED_TRACE("width " + std::to_string(width));
        const std::vector<uint8_t> above = RandomPixels(width, random);
        const std::vector<uint8_t> pixels = RandomPixels(width, random);
        RowsOfTwo two(width);
        BitRowLine line;
        ASSERT_TRUE(qorfp::PackBitRow(above.data(), width, &line, two.rows, 0));
        ASSERT_TRUE(qorfp::PackBitRow(pixels.data(), width, &line, two.rows, 1));
        const int32_t segment = two.rows.segment;
        for (int32_t x = 0; x < 8 * segment; ++x) {
            const int32_t expected = x >= width || pixels[static_cast<size_t>(x)] == 255 ? 1 : 0;
            ASSERT_EQ(BitOf(two.rows, 1, x), expected) << "pixel " << x;
        }
        // Beyond the ends: the last pixel of the segment before, the first of the one behind.
        for (int32_t k = 1; k < 8; ++k) {
            const uint8_t* row = two.rows.Row(1);
            ASSERT_EQ(row[-1] >> k & 1, BitOf(two.rows, 1, k * segment - 1)) << "segment " << k;
            ASSERT_EQ(row[segment] >> (k - 1) & 1, BitOf(two.rows, 1, k * segment));
        }
        ASSERT_TRUE(two.GuardsIntact());

        std::vector<uint8_t> out(pixels.size() + 1, 0x77);
        qorfp::UnpackBitRows(two.rows, 1, 2, &line, width, out.data());
        ASSERT_EQ(out.back(), 0x77) << "behind the row";
        out.pop_back();
        ASSERT_EQ(out, pixels);

        std::vector<uint8_t> both = above;
        both.insert(both.end(), pixels.begin(), pixels.end());
        out.assign(both.size() + 1, 0x77);
        qorfp::UnpackBitRows(two.rows, 0, 2, &line, width, out.data());
        ASSERT_EQ(out.back(), 0x77) << "behind the rows";
        out.pop_back();
        ASSERT_EQ(out, both);
    }
}

TEST(BitRows, FrameIsTheEndsAndAllBehind) {
    for (int32_t width = 1; width <= qorfp::kMaxStageWidth; ++width) {
        SCOPED_TRACE("width " + std::to_string(width));
        RowsOfTwo two(width);
        qorfp::MarkFrame(width, two.rows.segment, two.rows.Row(0));
        for (int32_t x = 0; x < 8 * two.rows.segment; ++x) {
            ASSERT_EQ(BitOf(two.rows, 0, x), x == 0 || x >= width - 1 ? 1 : 0) << "pixel " << x;
        }
        ASSERT_TRUE(two.GuardsIntact());
    }
}

TEST(BitRows, ImagesLieInTheBufferOneAfterTheOther) {
    static_assert(qorfp::BitImageAt(1) + qorfp::kBitImageBytes == qorfp::kWorkBytes);
    static_assert(qorfp::BitImageAt(0) + qorfp::kBitImageBytes == qorfp::BitImageAt(1));
    const int32_t room = qorfp::BitImageAt(0) - 97768;
    EXPECT_TRUE(qorfp::HasBitImages(256, 360, 97768, static_cast<size_t>(room)));
    EXPECT_FALSE(qorfp::HasBitImages(256, 360, 97768, static_cast<size_t>(room) + 1));
    EXPECT_FALSE(qorfp::HasBitImages(256, 360, qorfp::kWorkBytes, 1));
    EXPECT_TRUE(qorfp::HasBitImages(129, qorfp::kBitImageBytes / 34, 0, 1));
    EXPECT_FALSE(qorfp::HasBitImages(129, qorfp::kBitImageBytes / 34 + 1, 0, 1));
}

TEST(BitRows, RefuseEveryOtherValueInEveryPlace) {
    BitRowLine line;
    RowsOfTwo two(140);
    for (int32_t x = 0; x < 140; ++x) {
        std::vector<uint8_t> pixels(140, x % 2 == 0 ? 0 : 255);
        ASSERT_TRUE(qorfp::PackBitRow(pixels.data(), 140, &line, two.rows, 0));
        pixels[static_cast<size_t>(x)] = static_cast<uint8_t>(1 + x);
        ASSERT_FALSE(qorfp::PackBitRow(pixels.data(), 140, &line, two.rows, 0)) << x;
    }
    for (int32_t value = 1; value < 255; ++value) {
        std::vector<uint8_t> pixels(140, 255);
        pixels[100] = static_cast<uint8_t>(value);
        ASSERT_FALSE(qorfp::PackBitRow(pixels.data(), 140, &line, two.rows, 0)) << value;
    }
}

}  // namespace
