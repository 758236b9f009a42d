// SPDX-License-Identifier: Apache-2.0
//
// Deterministic images for tests.
#include "tests/support/TestImages.h"

#include <cmath>
#include <cstdlib>

namespace testsupport {

namespace {

const double kTurn = 2.0 * std::acos(-1.0);

// A triangle wave over the phase in turns: low at 0, high at 1/2.
uint8_t WaveGrey(double phase, uint8_t low, uint8_t high) {
    const double fraction = phase - std::floor(phase);
    const double height = fraction < 0.5 ? 2.0 * fraction : 2.0 - 2.0 * fraction;
    return static_cast<uint8_t>(std::lround(low + height * (high - low)));
}

// The direction of a point from the corner of another pixel, in turns, for all offsets within an
// image of the largest size. FingerImage looks each of them up some twenty times an image.
class TurnTable {
  public:
    TurnTable() {
        for (int32_t dy = -kHeight; dy < kHeight; ++dy) {
            for (int32_t dx = -kWidth; dx < kWidth; ++dx) {
                turns_.push_back(std::atan2(dy + 0.5, dx + 0.5) / kTurn);
            }
        }
    }

    // Half a pixel is added to both.
    double At(int32_t dy, int32_t dx) const {
        return turns_.at(static_cast<size_t>((dy + kHeight) * 2 * kWidth + dx + kWidth));
    }

  private:
    static constexpr int32_t kWidth = 256;
    static constexpr int32_t kHeight = 360;
    std::vector<double> turns_;
};

std::string SizeText(int32_t width, int32_t height) {
    return std::to_string(width) + " x " + std::to_string(height);
}

}  // namespace

uint64_t Seed() {
    const char* text = std::getenv("SEED");
    return text != nullptr && *text != '\0' ? std::strtoull(text, nullptr, 0) : 20240229;
}

std::string SeedNote(uint64_t seed) {
    return "SEED=" + std::to_string(seed);
}

uint32_t Random::Next() {
    state_ += 0x9E3779B97F4A7C15u;
    uint64_t mixed = state_;
    mixed = (mixed ^ (mixed >> 30)) * 0xBF58476D1CE4E5B9u;
    mixed = (mixed ^ (mixed >> 27)) * 0x94D049BB133111EBu;
    return static_cast<uint32_t>((mixed ^ (mixed >> 31)) >> 32);
}

int32_t Random::Below(int32_t bound) {
    return static_cast<int32_t>((uint64_t{Next()} * static_cast<uint64_t>(bound)) >> 32);
}

int32_t Random::Between(int32_t low, int32_t high) {
    return low + Below(high - low + 1);
}

Grid UniformImage(int32_t width, int32_t height, uint8_t grey) {
    return Grid(width, height, grey);
}

Grid NoiseImage(int32_t width, int32_t height, Random& random) {
    Grid image(width, height);
    for (uint8_t& cell : image.cells) {
        cell = static_cast<uint8_t>(random.Below(256));
    }
    return image;
}

Grid BinaryNoise(int32_t width, int32_t height, Random& random, int32_t zeroPerCent) {
    Grid image(width, height);
    for (uint8_t& cell : image.cells) {
        cell = random.Below(100) < zeroPerCent ? 0 : 255;
    }
    return image;
}

Grid Checkerboard(int32_t width, int32_t height, int32_t cell, uint8_t low, uint8_t high) {
    Grid image(width, height);
    for (int32_t y = 0; y < height; ++y) {
        for (int32_t x = 0; x < width; ++x) {
            image.At(x, y) = (x / cell + y / cell) % 2 == 0 ? low : high;
        }
    }
    return image;
}

Grid StripeImage(int32_t width, int32_t height, double period, int32_t direction240, uint8_t low,
                 uint8_t high) {
    Grid image(width, height);
    const double angle = direction240 * kTurn / 240.0;
    for (int32_t y = 0; y < height; ++y) {
        for (int32_t x = 0; x < width; ++x) {
            const double along = x * std::cos(angle) + y * std::sin(angle);
            image.At(x, y) = WaveGrey(along / period, low, high);
        }
    }
    return image;
}

Grid RingImage(int32_t width, int32_t height, double period, int32_t centreX, int32_t centreY) {
    Grid image(width, height);
    for (int32_t y = 0; y < height; ++y) {
        for (int32_t x = 0; x < width; ++x) {
            const double radius = std::hypot(x - centreX, y - centreY);
            image.At(x, y) = WaveGrey(radius / period, 20, 235);
        }
    }
    return image;
}

Grid SpiralImage(int32_t width, int32_t height, double period, int32_t arms) {
    Grid image(width, height);
    for (int32_t y = 0; y < height; ++y) {
        for (int32_t x = 0; x < width; ++x) {
            const double dx = x - width / 2;
            const double dy = y - height / 2;
            const double phase = std::hypot(dx, dy) / period + arms * std::atan2(dy, dx) / kTurn;
            image.At(x, y) = WaveGrey(phase, 20, 235);
        }
    }
    return image;
}

Grid RampImage(int32_t width, int32_t height) {
    Grid image(width, height);
    for (int32_t y = 0; y < height; ++y) {
        for (int32_t x = 0; x < width; ++x) {
            const int32_t grey = 255 * x / width;
            image.At(x, y) = static_cast<uint8_t>(2 * y < height ? grey : 255 - grey);
        }
    }
    return image;
}

Grid FingerImage(int32_t width, int32_t height, Random& random) {
    // Rings around a point below the middle; each added turn of phase around a point is a minutia.
    struct Dislocation {
        int32_t x, y;
        double sign;
    };
    static const TurnTable turns;
    std::vector<Dislocation> dislocations;
    const int32_t count = 4 + width * height / 2000;
    for (int32_t index = 0; index < count; ++index) {
        dislocations.push_back(
            {random.Below(width), random.Below(height), random.OneIn(2) ? 1.0 : -1.0});
    }
    const double centreX = width / 2.0 + random.Between(-width / 8, width / 8);
    const double centreY = height / 2.0 + random.Between(0, height / 4);
    const double period = 7.0 + random.Below(30) / 10.0;
    Grid image(width, height);
    for (int32_t y = 0; y < height; ++y) {
        for (int32_t x = 0; x < width; ++x) {
            const double fromMiddleX = (x - width / 2.0) / (0.46 * width);
            const double fromMiddleY = (y - height / 2.0) / (0.48 * height);
            int32_t clean = 235;
            if (fromMiddleX * fromMiddleX + fromMiddleY * fromMiddleY < 1.0) {
                double phase = std::hypot(x - centreX, (y - centreY) * 0.8) / period;
                for (const Dislocation& dislocation : dislocations) {
                    phase += dislocation.sign * turns.At(y - dislocation.y, x - dislocation.x);
                }
                clean = WaveGrey(phase, 40, 200);
            }
            const int32_t noisy = clean + random.Between(-20, 20);
            image.At(x, y) = static_cast<uint8_t>(noisy < 0 ? 0 : noisy > 255 ? 255 : noisy);
        }
    }
    return image;
}

Grid Binarised(const Grid& image) {
    Grid result = image;
    for (uint8_t& cell : result.cells) {
        cell = cell < 128 ? 0 : 255;
    }
    return result;
}

Grid Transposed(const Grid& image) {
    Grid result(image.height, image.width);
    for (int32_t y = 0; y < image.height; ++y) {
        for (int32_t x = 0; x < image.width; ++x) {
            result.At(y, x) = image.At(x, y);
        }
    }
    return result;
}

Grid RandomDirectionMap(int32_t columns, int32_t rows, Random& random, bool hostile) {
    Grid map(columns, rows);
    for (uint8_t& cell : map.cells) {
        const int32_t byte =
            hostile ? random.Below(256) : random.Below(120) + (random.OneIn(4) ? 128 : 0);
        cell = static_cast<uint8_t>(byte);
    }
    return map;
}

std::vector<NamedImage> TinyImages(uint64_t seed) {
    Random random(seed);
    std::vector<NamedImage> images;
    for (int32_t height = 1; height <= 18; ++height) {
        for (int32_t width = 1; width <= 18; ++width) {
            const std::string size = SizeText(width, height);
            const int32_t kind = random.Below(3);
            if (kind == 0) {
                images.push_back({"noise " + size, NoiseImage(width, height, random)});
            } else {
                const int32_t zeros = kind == 1 ? 50 : random.Below(101);
                images.push_back(
                    {"binary noise " + size, BinaryNoise(width, height, random, zeros)});
            }
        }
    }
    return images;
}

std::vector<NamedImage> MediumImages(uint64_t seed) {
    Random random(seed + 1);
    std::vector<NamedImage> images;
    const auto add = [&images](const std::string& name, const Grid& image) {
        images.push_back({name + " " + SizeText(image.width, image.height), image});
    };
    add("noise", NoiseImage(41, 57, random));
    add("noise", NoiseImage(37, 33, random));
    add("noise", NoiseImage(163, 170, random));
    add("binary noise", BinaryNoise(64, 65, random, 50));
    add("binary noise", BinaryNoise(65, 64, random, 30));
    add("binary noise", BinaryNoise(53, 54, random, 80));
    add("sparse dots", BinaryNoise(47, 61, random, 97));
    add("black", UniformImage(44, 45, 0));
    add("grey", UniformImage(45, 44, 117));
    add("white", UniformImage(161, 161, 255));
    add("squares of 1", Checkerboard(66, 45, 1, 0, 255));
    add("squares of 4", Checkerboard(49, 50, 4, 30, 220));
    add("squares of 7", Checkerboard(61, 85, 7, 0, 255));
    for (int32_t direction = 0; direction < 120; direction += 15) {
        const int32_t width = 44 + random.Below(40);
        const int32_t height = 44 + random.Below(40);
        const double period = random.Between(40, 140) / 10.0;
        add("stripes of " + std::to_string(period) + " at " + std::to_string(direction),
            StripeImage(width, height, period, direction, 0, 255));
    }
    add("faint stripes", StripeImage(57, 71, 9.0, 20, 120, 131));
    add("rings", RingImage(93, 101, 8.0, 40, 55));
    add("rings", RingImage(160, 162, 9.5, 10, 150));
    add("spiral", SpiralImage(90, 87, 8.5, 2));
    add("ramp", RampImage(73, 52));
    add("finger", FingerImage(97, 133, random));
    add("finger", FingerImage(165, 163, random));
    return images;
}

std::vector<NamedImage> LargeImages(uint64_t seed) {
    Random random(seed + 2);
    std::vector<NamedImage> images;
    images.push_back({"finger 256 x 360", FingerImage(256, 360, random)});
    images.push_back({"binary noise 253 x 359", BinaryNoise(253, 359, random, 50)});
    images.push_back({"finger 212 x 279", FingerImage(212, 279, random)});
    images.push_back({"spiral 255 x 358", SpiralImage(255, 358, 10.0, 1)});
    return images;
}

std::string FirstDifference(const Grid& expected, const Grid& actual) {
    if (expected.width != actual.width || expected.height != actual.height) {
        return "shapes differ: " + SizeText(expected.width, expected.height) + " and " +
               SizeText(actual.width, actual.height);
    }
    size_t count = 0;
    std::string first;
    for (int32_t y = 0; y < expected.height; ++y) {
        for (int32_t x = 0; x < expected.width; ++x) {
            if (expected.At(x, y) == actual.At(x, y)) {
                continue;
            }
            if (count == 0) {
                first = "(" + std::to_string(x) + ", " + std::to_string(y) + ") is " +
                        std::to_string(actual.At(x, y)) + ", expected " +
                        std::to_string(expected.At(x, y));
            }
            ++count;
        }
    }
    return count == 0 ? std::string() : first + "; " + std::to_string(count) + " cells differ";
}

}  // namespace testsupport
