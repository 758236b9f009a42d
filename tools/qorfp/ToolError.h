// SPDX-License-Identifier: Apache-2.0
//
// The one exception of the command line: a message for the user. It ends the command with exit
// status 2 and becomes one line on the standard error stream, so it names the file and the reason.
#pragma once

#include <stdexcept>
#include <string>

namespace qorfp::cli {

class ToolError : public std::runtime_error {
  public:
    explicit ToolError(const std::string& message) : std::runtime_error(message) {}
    ToolError(const std::string& path, const std::string& reason)
        : std::runtime_error(path + ": " + reason) {}
};

}  // namespace qorfp::cli
