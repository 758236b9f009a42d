// SPDX-License-Identifier: Apache-2.0
//
// Images without end of ridges, with none, and with as many minutiae as can be drawn.
#include <cmath>
#include <memory>

#include "bench/worst/Cases.h"
#include "include/QORFPApi.h"
#include "tests/support/TestImages.h"

namespace worst {
namespace {

using model::Grid;
using testsupport::Random;

struct Drawing {
    std::string name;
    std::function<Grid()> draw;
};

constexpr double kPi = 3.14159265358979323846;
constexpr double kBoundOfImages = 4;

uint8_t Grey(double wave) {
    return static_cast<uint8_t>(127.5 + 127.0 * std::fmax(-1.0, std::fmin(1.0, wave)));
}

// `wave(x, y)`, from -1 to 1.
template <class Wave>
Grid Drawn(int32_t width, int32_t height, Wave wave) {
    Grid image(width, height);
    for (int32_t y = 0; y < height; ++y) {
        for (int32_t x = 0; x < width; ++x) {
            image.At(x, y) = Grey(wave(x, y));
        }
    }
    return image;
}

// Stripes with `count` places where a ridge ends, each a turn of the phase.
Grid Dislocated(int32_t width, int32_t height, double period, int32_t count) {
    struct Place {
        double x, y, sign;
    };
    Random random(1);
    std::vector<Place> places;
    for (int32_t i = 0; i < count; ++i) {
        places.push_back(
            {random.Below(width) + 0.5, random.Below(height) + 0.5, random.OneIn(2) ? 1.0 : -1.0});
    }
    return Drawn(width, height, [&](int32_t x, int32_t y) {
        double phase = 2 * kPi * y / period;
        for (const Place& place : places) {
            phase += place.sign * std::atan2(y - place.y, x - place.x);
        }
        return std::cos(phase);
    });
}

// Stripes cut into dashes, each row of them shifted against the next.
Grid Dashes(int32_t width, int32_t height, int32_t period, int32_t length) {
    return Drawn(width, height, [=](int32_t x, int32_t y) {
        const int32_t row = y / period;
        const bool isGap = (x + row * (length / 2 + 1)) % (length + 4) < 4;
        return isGap ? 1.0 : std::cos(2 * kPi * y / period);
    });
}

Grid Honeycomb(int32_t width, int32_t height, double period, double sign) {
    return Drawn(width, height, [=](int32_t x, int32_t y) {
        double sum = 0;
        for (int32_t k = 0; k < 3; ++k) {
            const double angle = k * kPi / 3;
            sum += std::cos(2 * kPi * (x * std::cos(angle) + y * std::sin(angle)) / period);
        }
        return sign * sum / 1.5;
    });
}

Grid BlockNoise(int32_t width, int32_t height, int32_t cell) {
    Random random(1);
    const Grid cells = testsupport::NoiseImage(width / cell + 1, height / cell + 1, random);
    Grid image(width, height);
    for (int32_t y = 0; y < height; ++y) {
        for (int32_t x = 0; x < width; ++x) {
            image.At(x, y) = cells.At(x / cell, y / cell);
        }
    }
    return image;
}

void AddStripes(int32_t width, int32_t height, std::vector<Drawing>* drawings) {
    for (int32_t period = 2; period <= 24; period += period < 12 ? 1 : 4) {
        for (int32_t direction = 0; direction < 120; direction += 5) {
            drawings->push_back({"stripes of period " + std::to_string(period) + ", direction " +
                                     std::to_string(direction),
                                 [=] {
                                     return testsupport::StripeImage(width, height, period,
                                                                     direction, 0, 255);
                                 }});
        }
    }
}

void AddCurves(int32_t width, int32_t height, std::vector<Drawing>* drawings) {
    for (const int32_t period : {3, 5, 6, 7, 8, 9, 10, 12, 16}) {
        const std::string ofPeriod = " of period " + std::to_string(period);
        drawings->push_back(
            {"rings" + ofPeriod,
             [=] { return testsupport::RingImage(width, height, period, width / 2, height / 2); }});
        for (const int32_t arms : {1, 2, 5, 8}) {
            drawings->push_back({"spiral" + ofPeriod + ", arms " + std::to_string(arms), [=] {
                                     return testsupport::SpiralImage(width, height, period, arms);
                                 }});
        }
        drawings->push_back(
            {"honeycomb" + ofPeriod, [=] { return Honeycomb(width, height, period, 1); }});
        drawings->push_back(
            {"dots" + ofPeriod, [=] { return Honeycomb(width, height, period, -1); }});
    }
    drawings->push_back({"zone plate", [=] {
                             return Drawn(width, height, [=](int32_t x, int32_t y) {
                                 const double dx = x - width / 2;
                                 const double dy = y - height / 2;
                                 return std::cos((dx * dx + dy * dy) * kPi / width / 3);
                             });
                         }});
}

void AddMinutiae(int32_t width, int32_t height, std::vector<Drawing>* drawings) {
    for (const int32_t period : {5, 7, 9, 12}) {
        const std::string ofPeriod = " of period " + std::to_string(period);
        for (const int32_t length : {6, 10, 16, 30}) {
            drawings->push_back({"dashes" + ofPeriod + ", length " + std::to_string(length),
                                 [=] { return Dashes(width, height, period, length); }});
        }
        for (const int32_t count : {20, 40}) {
            drawings->push_back({"stripes" + ofPeriod + " with " + std::to_string(count) + " ends",
                                 [=] { return Dislocated(width, height, period, count); }});
        }
    }
}

void AddNoise(int32_t width, int32_t height, std::vector<Drawing>* drawings) {
    for (const uint8_t grey : {uint8_t{0}, uint8_t{128}, uint8_t{255}}) {
        drawings->push_back({"grey " + std::to_string(grey),
                             [=] { return testsupport::UniformImage(width, height, grey); }});
    }
    for (const int32_t percent : {2, 10, 30, 50, 70, 90, 98}) {
        drawings->push_back({"black dots on " + std::to_string(percent) + " %", [=] {
                                 Random random(1);
                                 return testsupport::BinaryNoise(width, height, random, percent);
                             }});
    }
    for (const int32_t cell : {1, 2, 3, 4, 5, 6, 8, 12}) {
        drawings->push_back({"noise in cells of " + std::to_string(cell),
                             [=] { return BlockNoise(width, height, cell); }});
    }
    for (const int32_t cell : {1, 2, 3, 4, 5, 6, 7, 8, 10, 12, 16}) {
        drawings->push_back({"checkerboard of " + std::to_string(cell), [=] {
                                 return testsupport::Checkerboard(width, height, cell, 0, 255);
                             }});
    }
}

std::vector<Drawing> Adversarial(int32_t width, int32_t height) {
    std::vector<Drawing> drawings;
    AddNoise(width, height, &drawings);
    AddStripes(width, height, &drawings);
    AddCurves(width, height, &drawings);
    AddMinutiae(width, height, &drawings);
    return drawings;
}

Grid MiddleOf(const Grid& image, int32_t width, int32_t height) {
    Grid middle(width, height);
    for (int32_t y = 0; y < height; ++y) {
        for (int32_t x = 0; x < width; ++x) {
            middle.At(x, y) =
                image.At((image.width - width) / 2 + x, (image.height - height) / 2 + y);
        }
    }
    return middle;
}

void Extract(const Grid& image) {
    uint8_t bytes[QORFP_TEMPLATE_BYTES];
    int32_t quality = 0;
    QORFP_Extract(image.cells.data(), image.width, image.height, bytes, &quality);
}

void CheckFinger(const Grid& image) {
    QORFP_CheckFinger(image.cells.data(), static_cast<uint32_t>(image.width), image.height);
}

Call CallOnImages(const std::string& name, const Captures& captures, int32_t width, int32_t height,
                  void (*call)(const Grid&)) {
    Call onImages = {
        name + ", " + std::to_string(width) + " x " + std::to_string(height), kBoundOfImages, {}};
    const auto add = [&](const std::string& input, bool isOrdinary, std::function<Grid()> draw) {
        onImages.inputs.push_back({input, isOrdinary, [draw, call] {
                                       const auto image = std::make_shared<const Grid>(draw());
                                       return Prepared{[image, call] { call(*image); }};
                                   }});
    };
    for (const Grid& image : captures.images) {
        add("finger", true, [&image, width, height] { return MiddleOf(image, width, height); });
    }
    for (const Drawing& drawing : Adversarial(width, height)) {
        add(drawing.name, false, drawing.draw);
    }
    return onImages;
}

}  // namespace

std::vector<Call> ImageCalls(const Captures& captures) {
    return {CallOnImages("QORFP_Extract", captures, 256, 360, Extract),
            CallOnImages("QORFP_Extract", captures, 152, 200, Extract),
            CallOnImages("QORFP_CheckFinger", captures, 256, 360, CheckFinger)};
}

}  // namespace worst
