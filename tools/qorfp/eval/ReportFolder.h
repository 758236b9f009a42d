// SPDX-License-Identifier: Apache-2.0
//
// Files of a report.
#pragma once

#include <filesystem>
#include <string>

#include "tools/qorfp/FileIo.h"

namespace qorfp::cli {

/// Replaces the file `name` in `folder`.
inline void WriteReport(const std::string& folder, const char* name, const std::string& text) {
    WriteFile((std::filesystem::path(folder) / name).string(), Bytes(text.begin(), text.end()));
}

}  // namespace qorfp::cli
