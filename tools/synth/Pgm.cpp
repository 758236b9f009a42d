// SPDX-License-Identifier: Apache-2.0
// PGM encoding and writing of files.
#include "tools/synth/Pgm.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <stdexcept>

namespace qorfp::synth {

std::string EncodePgm(const std::vector<uint8_t>& pixels, int width, int height) {
    std::string bytes = "P5\n" + std::to_string(width) + " " + std::to_string(height) + "\n255\n";
    bytes.append(pixels.begin(), pixels.end());
    return bytes;
}

void WriteFile(const std::string& path, const std::string& bytes) {
    int error = 0;
    std::FILE* file = std::fopen(path.c_str(), "wb");
    if (file == nullptr) {
        error = errno;
    } else {
        if (std::fwrite(bytes.data(), 1, bytes.size(), file) != bytes.size()) {
            error = errno;
        }
        if (std::fclose(file) != 0 && error == 0) {
            error = errno;
        }
    }
    if (error != 0) {
        throw std::runtime_error("cannot write " + path + ": " + std::strerror(error));
    }
}

}  // namespace qorfp::synth
