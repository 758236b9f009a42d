// SPDX-License-Identifier: Apache-2.0
//
// make_pinned IMAGES TABLES: writes the pinned tables over the PGM images of one folder into
// another. It is linked with the naive models and not with the library, so that the tables do not
// come from the code that they test.
#include <algorithm>
#include <exception>
#include <filesystem>
#include <iostream>

#include "tests/chain/Pinned.h"
#include "tests/support/Pgm.h"

namespace {

// By name.
std::vector<pinned::NamedImage> ReadImages(const std::string& folder) {
    std::vector<pinned::NamedImage> images;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        if (entry.path().extension() == ".pgm") {
            const support::PgmImage pgm = support::ReadPgm(entry.path().string());
            model::Grid image(pgm.width, pgm.height);
            image.cells = pgm.pixels;
            images.push_back({entry.path().filename().string(), image});
        }
    }
    std::sort(
        images.begin(), images.end(),
        [](const pinned::NamedImage& a, const pinned::NamedImage& b) { return a.name < b.name; });
    return images;
}

}  // namespace

int main(int argumentCount, char** arguments) {
    if (argumentCount != 3) {
        std::cerr << "usage: make_pinned IMAGES TABLES\n";
        return 2;
    }
    try {
        const std::vector<pinned::NamedImage> images = ReadImages(arguments[1]);
        std::filesystem::create_directories(arguments[2]);
        const std::vector<pinned::NamedTemplate> templates =
            pinned::WriteExtractionTables(arguments[2], images);
        pinned::WriteFingerTable(arguments[2], images);
        pinned::WriteMatchingTables(arguments[2], templates);
    } catch (const std::exception& error) {
        std::cerr << "make_pinned: " << error.what() << "\n";
        return 2;
    }
    return 0;
}
