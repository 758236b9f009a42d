// SPDX-License-Identifier: Apache-2.0
//
// Input files for the tests of the command line: a few patterns, written in every image format and
// colour type. Shares nothing with the tool that reads them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace fixture {

/// Grey, row-major.
struct Picture {
    size_t width = 0;
    size_t height = 0;
    std::vector<uint8_t> pixels;

    uint8_t At(size_t x, size_t y) const { return pixels.at(y * width + x); }
};

/// "finger1", "finger2": ridges of two made-up fingers in the middle of the image; "finger1@9,-6":
/// moved by 9 pixels to the right and 6 up; "noisy1": the first one with noise, "drowned1"
/// with ten times as much; "grey0"
/// to "grey255": uniform; "ramp": all grey values in diagonal stripes;
/// "levels": only 0, 85, 170 and 255, for images of 1, 2 and 4 bits ("levels1": 0 and 255).
/// Throws std::runtime_error for another name.
Picture MakePattern(const std::string& name, size_t width, size_t height);

/// The picture as a file of the named format; see the list in FixtureFormats.cpp.
std::vector<uint8_t> WriteFormat(const std::string& format, const Picture& picture);

}  // namespace fixture
