// SPDX-License-Identifier: Apache-2.0
//
// The captures of a folder with their templates: what every evaluation begins with.
#pragma once

#include <string>
#include <vector>

#include "tools/qorfp/Engine.h"
#include "tools/qorfp/FingerInput.h"
#include "tools/qorfp/eval/Captures.h"

namespace CLI {
class App;
}

namespace qorfp::cli {

struct FingerSetOptions {
    std::string folder;
    std::string report;  // folder
    std::string pattern = "{finger}_{impression}";
    int threads = 1;
    ImageOptions imageOptions;
};

/// Lists of the same length, by finger and impression.
struct FingerSet {
    std::vector<Capture> captures;
    std::vector<size_t> fingers;          // of each capture, counted from 0
    std::vector<Extraction> extractions;  // not done: a failure to extract
    size_t skipped = 0;                   // files that are no usable images

    size_t FingerCount() const { return fingers.empty() ? 0 : fingers.back() + 1; }
    size_t Failures() const;
};

/// Adds the folder, -o, --pattern, -j, --fit and --dpi to a sub-command.
void AddFingerSetOptions(CLI::App& command, FingerSetOptions& options);

/// Reads the folder and makes the templates, or takes them from the cache in the report's folder,
/// which is made if new. Tells on standard error what was left out. Throws ToolError when no image
/// remains.
FingerSet LoadFingerSet(const FingerSetOptions& options);

}  // namespace qorfp::cli
