// SPDX-License-Identifier: Apache-2.0
//
// File names may hold any bytes; pictures and pages need text.
#pragma once

#include <string>

namespace qorfp::cli {

/// `text` as UTF-8. Bytes that are none, control characters, and sequences of four bytes, for which
/// no font here has anything, become question marks.
std::string PrintableUtf8(const std::string& text);

/// Without the last character of UTF-8 text that is not empty.
void DropLastCharacter(std::string& text);

}  // namespace qorfp::cli
