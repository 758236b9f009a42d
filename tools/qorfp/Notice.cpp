// SPDX-License-Identifier: Apache-2.0
//
// Lines on the standard error stream.
#include "tools/qorfp/Notice.h"

#include <cstdio>

namespace qorfp::cli {

std::string Printable(std::string text) {
    constexpr unsigned char kFirstPrintable = 0x20;
    constexpr unsigned char kDelete = 0x7F;
    for (char& letter : text) {
        const unsigned char code = static_cast<unsigned char>(letter);
        if (code < kFirstPrintable || code == kDelete) {
            letter = '?';
        }
    }
    return text;
}

void PrintNotice(const std::string& message) {
    std::fflush(stdout);  // keeps the order of both streams where they go to one place
    std::fprintf(stderr, "qorfp: %s\n", Printable(message).c_str());
}

std::string CountText(size_t count, const std::string& noun) {
    return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

}  // namespace qorfp::cli
