// SPDX-License-Identifier: Apache-2.0
//
// What every sub-command takes as input: a finger image in a size the engine accepts, or a stored
// template. The options --fit and --dpi belong to images only.
#pragma once

#include <optional>
#include <string>

#include "tools/qorfp/GreyImage.h"
#include "tools/qorfp/TemplateView.h"

namespace CLI {
class App;
}

namespace qorfp::cli {

struct ImageOptions {
    bool fit = false;
    int dpi = 508;
};

/// Adds --fit and --dpi to a sub-command.
void AddImageOptions(CLI::App& command, ImageOptions& options);

/// Reads an image and brings it to a size that the engine takes; throws ToolError saying why not.
GreyImage LoadFinger(const std::string& path, const ImageOptions& options);

/// Reads a stored template; throws ToolError unless the engine could take it as one.
TemplateBytes LoadTemplate(const std::string& path);

/// What an argument that may be an image or a template has given.
struct FingerOrTemplate {
    std::optional<GreyImage> finger;  // of legal size
    bool hasTemplate = true;          // not when the image gives none
    TemplateBytes bytes = {};
};

/// The image or template in the file; what an image gives none of is left to the caller.
FingerOrTemplate LoadAnyFingerOrTemplate(const std::string& path, const ImageOptions& options);

/// Throws ToolError saying why when there is no template.
void RequireTemplate(const std::string& path, const FingerOrTemplate& input,
                     const ImageOptions& options);

/// Both.
FingerOrTemplate LoadFingerOrTemplate(const std::string& path, const ImageOptions& options);

/// The template in the file, or the one extracted from the image in the file.
TemplateBytes LoadOrExtractTemplate(const std::string& path, const ImageOptions& options);

}  // namespace qorfp::cli
