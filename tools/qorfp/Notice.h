// SPDX-License-Identifier: Apache-2.0
//
// Lines on the standard error stream for commands that go on after a fault: one line each, with the
// program's name, whatever the file names in it hold.
#pragma once

#include <cstddef>
#include <string>

namespace qorfp::cli {

/// `text` with control characters replaced, so that it stays one line and leaves the terminal alone.
std::string Printable(std::string text);

/// "qorfp: `message`" as one line.
void PrintNotice(const std::string& message);

/// "1 file", "2 files"; `noun` takes an s.
std::string CountText(size_t count, const std::string& noun);

}  // namespace qorfp::cli
