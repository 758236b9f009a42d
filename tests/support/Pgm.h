// SPDX-License-Identifier: Apache-2.0
//
// Reading of the 8-bit binary PGM files that tests take as input.
#pragma once

#include <cstdint>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace support {

struct PgmImage {
    int32_t width = 0;
    int32_t height = 0;
    std::vector<uint8_t> pixels;
};

/// Throws std::runtime_error when the file is not a whole 8-bit P5 image.
inline PgmImage ReadPgm(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::string magic;
    int32_t highest = 0;
    PgmImage image;
    file >> magic >> image.width >> image.height >> highest;
    file.get();  // the one white space behind the header
    if (!file || magic != "P5" || highest != 255 || image.width < 1 || image.height < 1) {
        throw std::runtime_error(path + ": not an 8-bit P5 image");
    }
    const size_t bytes = static_cast<size_t>(image.width) * static_cast<size_t>(image.height);
    image.pixels.resize(bytes);
    file.read(reinterpret_cast<char*>(image.pixels.data()), static_cast<std::streamsize>(bytes));
    if (!file) {
        throw std::runtime_error(path + ": truncated");
    }
    return image;
}

}  // namespace support
