// SPDX-License-Identifier: Apache-2.0
//
// UTF-8 by its lead and continuation bytes.
#include "tools/qorfp/Utf8Text.h"

namespace qorfp::cli {
namespace {

bool IsContinuation(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
}

/// The length of the UTF-8 sequence at `at`, 0 when it is none.
size_t SequenceLength(const std::string& text, size_t at) {
    const auto lead = static_cast<unsigned char>(text[at]);
    const size_t length = lead < 0x80 ? 1 : lead < 0xC2 ? 0 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 0;
    if (length == 0 || at + length > text.size()) {
        return 0;
    }
    for (size_t i = 1; i < length; ++i) {
        if (!IsContinuation(text[at + i])) {
            return 0;
        }
    }
    return length;
}

}  // namespace

std::string PrintableUtf8(const std::string& text) {
    std::string result;
    for (size_t at = 0; at < text.size();) {
        const size_t length = SequenceLength(text, at);
        const auto byte = static_cast<unsigned char>(text[at]);
        const bool isControl = length == 1 && (byte < 0x20 || byte == 0x7F);
        result += length == 0 || isControl ? std::string("?") : text.substr(at, length);
        at += length == 0 ? 1 : length;
    }
    return result;
}

void DropLastCharacter(std::string& text) {
    while (text.size() > 1 && IsContinuation(text.back())) {
        text.pop_back();
    }
    text.pop_back();
}

}  // namespace qorfp::cli
