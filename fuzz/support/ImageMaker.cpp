// SPDX-License-Identifier: Apache-2.0
#include "fuzz/support/ImageMaker.h"

#include <algorithm>
#include <vector>

#include "tests/support/TestImages.h"

namespace fuzz {

namespace {

using model::Grid;

constexpr int32_t kKinds = 10;
constexpr int32_t kMostEdits = 64;

Grid PixelsOf(const std::vector<uint8_t>& bytes, Size size) {
    Grid image(size.width, size.height);
    for (size_t i = 0; i < image.cells.size() && !bytes.empty(); ++i) {
        image.cells[i] = bytes[i % bytes.size()];
    }
    return image;
}

// Grey levels from few choices.
Grid Palette(ByteReader& reader, Size size) {
    std::vector<uint8_t> levels = reader.Bytes(static_cast<size_t>(reader.Between(1, 6)));
    testsupport::Random random(reader.Number16());
    Grid image(size.width, size.height);
    for (uint8_t& cell : image.cells) {
        cell = levels[static_cast<size_t>(random.Below(static_cast<int32_t>(levels.size())))];
    }
    return image;
}

// A drawing takes its time: larger images repeat it.
constexpr int32_t kDrawnSide = 128;

Grid DrawnFinger(Size size, testsupport::Random& random) {
    const Grid finger = testsupport::FingerImage(std::min(size.width, kDrawnSide),
                                                 std::min(size.height, kDrawnSide), random);
    Grid image(size.width, size.height);
    for (int32_t y = 0; y < size.height; ++y) {
        for (int32_t x = 0; x < size.width; ++x) {
            image.At(x, y) = finger.At(x % finger.width, y % finger.height);
        }
    }
    return image;
}

Grid Pattern(uint8_t kind, ByteReader& reader, Size size) {
    const int32_t width = size.width;
    const int32_t height = size.height;
    switch (kind) {
        case 1:
            return testsupport::UniformImage(width, height, reader.Byte());
        case 2: {
            testsupport::Random random(reader.Number16());
            return testsupport::NoiseImage(width, height, random);
        }
        case 3: {
            testsupport::Random random(reader.Number16());
            return testsupport::BinaryNoise(width, height, random, reader.Below(101));
        }
        case 4: {
            const int32_t cell = reader.Between(1, 24);
            const uint8_t low = reader.Byte();
            return testsupport::Checkerboard(width, height, cell, low, reader.Byte());
        }
        case 5: {
            const double period = reader.Between(20, 240) / 10.0;
            const int32_t direction = reader.Below(240);
            const uint8_t low = reader.Byte();
            return testsupport::StripeImage(width, height, period, direction, low, reader.Byte());
        }
        case 6: {
            const double period = reader.Between(20, 240) / 10.0;
            const int32_t x = reader.Below(256);
            return testsupport::RingImage(width, height, period, x, reader.Below(256));
        }
        case 7: {
            const double period = reader.Between(20, 240) / 10.0;
            return testsupport::SpiralImage(width, height, period, reader.Between(1, 9));
        }
        case 8: {
            testsupport::Random random(reader.Number16());
            return DrawnFinger(size, random);
        }
        default:
            return Palette(reader, size);
    }
}

// Rectangles of one grey level, from all bytes that are left.
void Edit(ByteReader& reader, Grid& image) {
    for (int32_t i = 0; i < kMostEdits && reader.Left() > 0; ++i) {
        const int32_t left = reader.Below(image.width);
        const int32_t top = reader.Below(image.height);
        const int32_t sides = reader.Byte();
        const uint8_t grey = reader.Byte();
        const int32_t right = std::min(image.width - 1, left + sides % 16);
        const int32_t bottom = std::min(image.height - 1, top + sides / 16);
        for (int32_t y = top; y <= bottom; ++y) {
            for (int32_t x = left; x <= right; ++x) {
                image.At(x, y) = grey;
            }
        }
    }
}

}  // namespace

Size ReadLegalSize(ByteReader& reader, int32_t mostPixels) {
    const int32_t choice = reader.Byte();
    if (choice == 255) {
        return {152, 200};
    }
    if (choice == 254) {
        return {256, 288};
    }
    const int32_t width = 4 * (1 + choice % 64);
    const int32_t highest = std::clamp(mostPixels / width / 4, 1, 90);
    return {width, 4 * (1 + reader.Below(90) % highest)};
}

Size ReadStageSize(ByteReader& reader, int32_t mostPixels) {
    const int32_t choice = reader.Byte();
    int32_t width = 0;
    switch (choice % 4) {
        case 0:
            width = 4 * (1 + choice / 4);
            break;
        case 1:
            width = 1 + choice / 4;
            break;
        case 2:  // around a multiple of a vector
            width = 16 * (1 + choice / 4 % 32) + reader.Between(-3, 3);
            break;
        default:
            width = reader.Between(1, 512);
            break;
    }
    width = std::min(width, 512);
    const int32_t highest = std::clamp(mostPixels / width, 1, 1024);
    return {width, 1 + reader.Below(highest)};
}

Grid ReadImage(ByteReader& reader, Size size) {
    const uint8_t kind = static_cast<uint8_t>(reader.Below(kKinds));
    if (kind == kPixelsOfInput) {
        return PixelsOf(reader.Rest(), size);
    }
    Grid image = Pattern(kind, reader, size);
    if (!image.cells.empty()) {
        Edit(reader, image);
    }
    return image;
}

}  // namespace fuzz
