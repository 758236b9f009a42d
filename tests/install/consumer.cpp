// SPDX-License-Identifier: Apache-2.0
//
// consumer A.pgm B.pgm, from C++: the score of two images, and the version text. What a project
// sees that has only the installed files.
#include <QORFPApi.h>

#include <array>
#include <cstdint>
#include <fstream>
#include <iostream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using Template = std::array<std::uint8_t, QORFP_TEMPLATE_BYTES>;

Template ReadTemplate(const char* path) {
    std::ifstream file(path, std::ios::binary);
    std::string magic;
    std::int32_t width = 0, height = 0, white = 0, quality = 0;
    file >> magic >> width >> height >> white;
    file.get();
    const std::vector<std::uint8_t> image{std::istreambuf_iterator<char>(file), {}};
    Template finger{};
    if (magic != "P5" || image.size() != static_cast<std::size_t>(width) * height ||
        QORFP_Extract(image.data(), width, height, finger.data(), &quality) != QORFP_OK) {
        throw std::runtime_error(std::string(path) + ": no template");
    }
    return finger;
}

}  // namespace

int main(int argc, char** argv) {
    QORFP_Initial(0);
    if (argc != 3) {
        return 1;
    }
    const Template fresh = ReadTemplate(argv[1]);
    const Template stored = ReadTemplate(argv[2]);
    std::array<char, QORFP_VERSION_BYTES> version{};
    std::int32_t score = 0;
    if (QORFP_Version(version.data()) != QORFP_OK ||
        QORFP_Verify(fresh.data(), stored.data(), 3, &score) != QORFP_OK) {
        return 1;
    }
    std::cout << version.data() << " score " << score << '\n';
    return 0;
}
