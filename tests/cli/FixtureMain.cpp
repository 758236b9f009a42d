// SPDX-License-Identifier: Apache-2.0
//
// fixture FORMAT PATTERN WIDTH HEIGHT FILE: writes one test image.
#include <cstdio>
#include <exception>
#include <fstream>

#include "tests/cli/Fixture.h"

int main(int argumentCount, char** arguments) {
    if (argumentCount != 6) {
        std::fprintf(stderr, "fixture FORMAT PATTERN WIDTH HEIGHT FILE\n");
        return 2;
    }
    try {
        const fixture::Picture picture =
            fixture::MakePattern(arguments[2], std::stoul(arguments[3]), std::stoul(arguments[4]));
        const std::vector<uint8_t> bytes = fixture::WriteFormat(arguments[1], picture);
        std::ofstream file(arguments[5], std::ios::binary);
        file.write(reinterpret_cast<const char*>(bytes.data()),
                   static_cast<std::streamsize>(bytes.size()));
        return file.flush() ? 0 : 2;
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "fixture: %s\n", failure.what());
        return 2;
    }
}
