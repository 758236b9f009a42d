// SPDX-License-Identifier: Apache-2.0
//
// look: judges the pictures that the tool wrote, by means of its own.
//   look size FILE.png              prints "WIDTH x HEIGHT grey" or "... colour"
//   look busy FILE.png              fails when one colour takes 97 % of the pixels or more, or when
//                                   there are fewer than three colours (two for grey)
//   look same FILE.png FILE.pgm     fails unless the PNG holds exactly the pixels of the P5 file
//   look alike FILE.png OTHER.png PERCENT [ROWS]
//                                   fails when more of the pixels (of the first rows) differ by
//                                   more than what fewer colours make of a picture
//   look marks FILE.png TEMPLATE SCALE [LEFT]
//                                   fails unless every minutia of the template is marked: orange
//                                   for endings, blue for bifurcations, a tick in its direction;
//                                   LEFT: where the finger begins
//   look joined FILE.png TEMPLATE SCALE COLUMN
//                                   fails unless a coloured line crosses the column at every
//                                   minutia's height, and none elsewhere
#include <png.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using Bytes = std::vector<uint8_t>;

struct Pixels {
    long width = 0;
    long height = 0;
    bool isGrey = false;
    Bytes rgb;

    uint32_t At(long x, long y) const {
        const auto at = static_cast<size_t>(y * width + x) * 3;
        return static_cast<uint32_t>(rgb.at(at) << 16 | rgb.at(at + 1) << 8 | rgb.at(at + 2));
    }
    bool Holds(long x, long y) const { return x >= 0 && x < width && y >= 0 && y < height; }
};

// libpng's simplified interface: another way into the library than the tool's.
Pixels ReadPng(const std::string& path) {
    png_image image = {};
    image.version = PNG_IMAGE_VERSION;
    if (png_image_begin_read_from_file(&image, path.c_str()) == 0) {
        throw std::runtime_error(path + ": " + image.message);
    }
    Pixels pixels;
    pixels.width = image.width;
    pixels.height = image.height;
    pixels.isGrey = (image.format & PNG_FORMAT_FLAG_COLOR) == 0;
    image.format = PNG_FORMAT_RGB;
    pixels.rgb.resize(PNG_IMAGE_SIZE(image));
    if (png_image_finish_read(&image, nullptr, pixels.rgb.data(), 0, nullptr) == 0) {
        throw std::runtime_error(path + ": " + image.message);
    }
    return pixels;
}

Bytes ReadBytes(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        throw std::runtime_error(path + ": cannot be read");
    }
    return Bytes(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

void RequireBusy(const Pixels& pixels) {
    std::map<uint32_t, size_t> counts;
    size_t most = 0;
    for (long y = 0; y < pixels.height; ++y) {
        for (long x = 0; x < pixels.width; ++x) {
            most = std::max(most, ++counts[pixels.At(x, y)]);
        }
    }
    const size_t all = pixels.rgb.size() / 3;
    if (counts.size() < (pixels.isGrey ? 2U : 3U) || most * 100 >= all * 97) {
        throw std::runtime_error("blank: " + std::to_string(counts.size()) +
                                 " colours, the commonest on " + std::to_string(most) + " of " +
                                 std::to_string(all) + " pixels");
    }
}

// The test's own P5 files: "P5", one comment line, width, height, 255.
void RequireSame(const Pixels& pixels, const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::string magic;
    std::string comment;
    long width = 0;
    long height = 0;
    int maximum = 0;
    std::getline(file, magic);
    std::getline(file, comment);
    file >> width >> height >> maximum;
    file.get();
    const Bytes grey((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    if (magic != "P5" || maximum != 255 || grey.size() != static_cast<size_t>(width * height)) {
        throw std::runtime_error(path + ": not a test image");
    }
    if (width != pixels.width || height != pixels.height) {
        throw std::runtime_error("the sizes differ");
    }
    for (long y = 0; y < height; ++y) {
        for (long x = 0; x < width; ++x) {
            const uint32_t expected = grey[static_cast<size_t>(y * width + x)] * 0x010101U;
            if (pixels.At(x, y) != expected) {
                throw std::runtime_error("pixel " + std::to_string(x) + ", " + std::to_string(y) +
                                         " differs");
            }
        }
    }
}

void RequireAlike(const Pixels& first, const Pixels& second, double percent, long rows) {
    constexpr int kFewerColours = 64;
    if (first.width != second.width || first.height != second.height) {
        throw std::runtime_error("the sizes differ");
    }
    long different = 0;
    for (long y = 0; y < rows; ++y) {
        for (long x = 0; x < first.width; ++x) {
            bool isDifferent = false;
            for (int shift = 0; shift < 24; shift += 8) {
                const auto a = static_cast<int>(first.At(x, y) >> shift & 0xFF);
                const auto b = static_cast<int>(second.At(x, y) >> shift & 0xFF);
                isDifferent = isDifferent || std::abs(a - b) > kFewerColours;
            }
            different += isDifferent ? 1 : 0;
        }
    }
    if (static_cast<double>(different) * 100 > percent * static_cast<double>(first.width * rows)) {
        throw std::runtime_error(std::to_string(different) + " pixels differ");
    }
}

bool IsOrange(uint32_t colour) {
    return (colour >> 16) > 180 && (colour >> 16) > 2 * (colour & 0xFF) + 60;
}

bool IsBlue(uint32_t colour) {
    return (colour & 0xFF) > 120 && (colour & 0xFF) > 2 * (colour >> 16) + 40;
}

int CountNear(const Pixels& pixels, double x, double y, double reach, bool wantOrange) {
    int count = 0;
    const auto steps = static_cast<long>(std::ceil(reach));
    for (long dy = -steps; dy <= steps; ++dy) {
        for (long dx = -steps; dx <= steps; ++dx) {
            const long px = std::lround(x - 0.5) + dx;
            const long py = std::lround(y - 0.5) + dy;
            if (pixels.Holds(px, py) && std::hypot(dx, dy) <= reach &&
                (wantOrange ? IsOrange(pixels.At(px, py)) : IsBlue(pixels.At(px, py)))) {
                ++count;
            }
        }
    }
    return count;
}

// The template's layout, read here a second time: count at 3, 6 bytes a minutia from 4 on.
void RequireMarks(const Pixels& pixels, const Bytes& bytes, double scale, double left) {
    if (bytes.size() != 512) {
        throw std::runtime_error("not a template");
    }
    for (size_t i = 0; i < bytes[3]; ++i) {
        const uint8_t* entry = bytes.data() + 4 + 6 * i;
        const int word = entry[0] | entry[1] << 8 | entry[2] << 16;
        const double x = left + ((word >> 10 & 1023) - 256 + 0.5) * scale;
        const double y = ((word & 1023) - 256 + 0.5) * scale;
        const bool isEnding = (word >> 20 & 3) == 1;
        const double angle = entry[5] * std::acos(-1.0) / 120;
        const double tick = 5 * scale;  // well outside the symbol, well inside the tick
        // A neighbour's mark may cover part of this one, hence the modest numbers.
        if (CountNear(pixels, x, y, 2.8 * scale, isEnding) < 6 * scale) {
            throw std::runtime_error("minutia " + std::to_string(i) + " is not marked");
        }
        if (CountNear(pixels, x + tick * std::cos(angle), y + tick * std::sin(angle), 0.8 * scale,
                      isEnding) == 0) {
            throw std::runtime_error("minutia " + std::to_string(i) + " has no tick");
        }
    }
    std::printf("%d minutiae marked\n", bytes[3]);
}

bool IsColoured(uint32_t colour) {
    const auto red = static_cast<int>(colour >> 16);
    const auto green = static_cast<int>(colour >> 8 & 0xFF);
    const auto blue = static_cast<int>(colour & 0xFF);
    return std::max({red, green, blue}) - std::min({red, green, blue}) > 40;
}

void RequireLines(const Pixels& pixels, const Bytes& bytes, double scale, long column) {
    std::vector<bool> isExpected(static_cast<size_t>(pixels.height));
    for (size_t i = 0; i < bytes.at(3); ++i) {
        const uint8_t* entry = bytes.data() + 4 + 6 * i;
        const double y = (((entry[0] | entry[1] << 8) & 1023) - 256 + 0.5) * scale;
        const auto row = std::lround(y - 0.5);
        bool isJoined = false;
        for (long near = row - 1; near <= row + 1; ++near) {
            isJoined = isJoined || IsColoured(pixels.At(column, near));
            isExpected.at(static_cast<size_t>(near)) = true;
        }
        if (!isJoined) {
            throw std::runtime_error("no line at minutia " + std::to_string(i));
        }
    }
    for (long row = 0; row < pixels.height; ++row) {
        if (IsColoured(pixels.At(column, row)) && !isExpected.at(static_cast<size_t>(row))) {
            throw std::runtime_error("a line of no minutia in row " + std::to_string(row));
        }
    }
    std::printf("%d lines\n", bytes[3]);
}

int Run(const std::vector<std::string>& arguments) {
    const std::string& what = arguments.at(0);
    const Pixels pixels = ReadPng(arguments.at(1));
    if (what == "size") {
        std::printf("%ld x %ld %s\n", pixels.width, pixels.height,
                    pixels.isGrey ? "grey" : "colour");
    } else if (what == "busy") {
        RequireBusy(pixels);
    } else if (what == "same") {
        RequireSame(pixels, arguments.at(2));
    } else if (what == "alike") {
        RequireAlike(pixels, ReadPng(arguments.at(2)), std::stod(arguments.at(3)),
                     arguments.size() > 4 ? std::stol(arguments.at(4)) : pixels.height);
    } else if (what == "marks") {
        RequireMarks(pixels, ReadBytes(arguments.at(2)), std::stod(arguments.at(3)),
                     arguments.size() > 4 ? std::stod(arguments.at(4)) : 0);
    } else if (what == "joined") {
        RequireLines(pixels, ReadBytes(arguments.at(2)), std::stod(arguments.at(3)),
                     std::stol(arguments.at(4)));
    } else {
        throw std::runtime_error("unknown question " + what);
    }
    return 0;
}

}  // namespace

int main(int argumentCount, char** arguments) {
    try {
        return Run(std::vector<std::string>(arguments + 1, arguments + argumentCount));
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "look: %s\n", failure.what());
        return 1;
    }
}
