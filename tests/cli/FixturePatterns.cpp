// SPDX-License-Identifier: Apache-2.0
//
// A finger here is a wave whose phase grows with the distance from a point below the image, plus a
// turn around each of a few points: every such point makes one ridge more on its one side than on
// its other, which is a minutia.
#include <cmath>
#include <stdexcept>

#include "tests/cli/Fixture.h"

namespace fixture {
namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr double kRidgePeriod = 9;  // pixels

struct Turn {
    double x;
    double y;
    int sign;
};

struct Finger {
    double centreX;
    double centreY;
    std::vector<Turn> turns;
};

// In pixels from the middle of the image.
const Finger kFinger1 = {20,
                         190,
                         {{-60, -70, 1},
                          {10, -85, -1},
                          {55, -50, 1},
                          {-30, -35, -1},
                          {25, -20, 1},
                          {-75, 5, 1},
                          {70, 10, -1},
                          {-15, 15, 1},
                          {-50, 45, -1},
                          {35, 40, -1},
                          {0, 70, 1},
                          {60, 75, 1},
                          {-40, 90, -1},
                          {15, -125, 1},
                          {-30, 130, 1},
                          {-85, -30, -1}}};
const Finger kFinger2 = {-90,
                         150,
                         {{-40, -95, -1},
                          {35, -75, 1},
                          {-70, -40, 1},
                          {0, -30, -1},
                          {65, -25, 1},
                          {-35, 0, 1},
                          {30, 20, -1},
                          {80, 40, 1},
                          {-60, 55, -1},
                          {-5, 60, 1},
                          {45, 80, -1},
                          {-25, 110, 1},
                          {70, -110, -1},
                          {10, 120, -1}}};

double Phase(const Finger& finger, double x, double y) {
    double phase = 2 * kPi / kRidgePeriod * std::hypot(x - finger.centreX, y - finger.centreY);
    for (const Turn& turn : finger.turns) {
        phase += turn.sign * std::atan2(y - turn.y, x - turn.x);
    }
    return phase;
}

uint8_t FingerGrey(const Finger& finger, double x, double y, double radiusX, double radiusY) {
    const double inside = 1 - (x * x / (radiusX * radiusX) + y * y / (radiusY * radiusY));
    const double strength = std::fmin(1, std::fmax(0, inside * 8));
    const double ridge = 0.5 - 0.5 * std::cos(Phase(finger, x, y));
    return static_cast<uint8_t>(std::lround(245 - strength * 200 * ridge));
}

Picture FingerPicture(const Finger& finger, size_t width, size_t height, double moveX,
                      double moveY) {
    Picture picture{width, height, {}};
    const double middleX = static_cast<double>(width) / 2 + moveX;
    const double middleY = static_cast<double>(height) / 2 + moveY;
    for (size_t y = 0; y < height; ++y) {
        for (size_t x = 0; x < width; ++x) {
            picture.pixels.push_back(FingerGrey(finger, static_cast<double>(x) - middleX,
                                                static_cast<double>(y) - middleY, 118, 160));
        }
    }
    return picture;
}

/// -40..40, the same for a place on every machine, without pattern.
int NoiseAt(size_t x, size_t y) {
    uint32_t word = static_cast<uint32_t>(x) * 0x9E3779B1U + static_cast<uint32_t>(y) * 0x85EBCA77U;
    word ^= word >> 15;
    word *= 0x2C1B3C6DU;
    word ^= word >> 13;
    return static_cast<int>(word % 81) - 40;
}

void AddNoise(Picture& picture, int strength) {
    for (size_t i = 0; i < picture.pixels.size(); ++i) {
        const int grey =
            picture.pixels[i] + strength * NoiseAt(i % picture.width, i / picture.width);
        picture.pixels[i] = static_cast<uint8_t>(grey < 0 ? 0 : grey > 255 ? 255 : grey);
    }
}

uint8_t PlainGrey(const std::string& name, size_t x, size_t y) {
    if (name == "ramp") {
        return static_cast<uint8_t>((3 * x + 7 * y) & 0xFF);
    }
    if (name == "levels") {
        return static_cast<uint8_t>(85 * ((x / 5 + y / 3) % 4));
    }
    if (name == "levels1") {
        return static_cast<uint8_t>(255 * ((x / 5 + y / 3) % 2));
    }
    if (name.rfind("grey", 0) == 0) {
        return static_cast<uint8_t>(std::stoi(name.substr(4)));
    }
    throw std::runtime_error("unknown pattern " + name);
}

}  // namespace

Picture MakePattern(const std::string& name, size_t width, size_t height) {
    if (name.rfind("finger", 0) == 0) {
        const size_t at = name.find('@');
        const size_t comma = name.find(',');
        const bool isMoved = at != std::string::npos && comma != std::string::npos;
        const double moveX = isMoved ? std::stod(name.substr(at + 1)) : 0;
        const double moveY = isMoved ? std::stod(name.substr(comma + 1)) : 0;
        const std::string which = name.substr(0, at);
        if (which == "finger1") {
            return FingerPicture(kFinger1, width, height, moveX, moveY);
        }
        if (which == "finger2") {
            return FingerPicture(kFinger2, width, height, moveX, moveY);
        }
    }
    if (name == "noisy1" || name == "drowned1") {
        Picture noisy = FingerPicture(kFinger1, width, height, 0, 0);
        AddNoise(noisy, name == "noisy1" ? 1 : 10);
        return noisy;
    }
    Picture picture{width, height, {}};
    for (size_t y = 0; y < height; ++y) {
        for (size_t x = 0; x < width; ++x) {
            picture.pixels.push_back(PlainGrey(name, x, y));
        }
    }
    return picture;
}

}  // namespace fixture
