// SPDX-License-Identifier: Apache-2.0
//
// Inputs of the commands on stored templates: from a path to a template that is fit for the call.
#pragma once

#include <string>

#include "tools/qorfp/FingerInput.h"
#include "tools/qorfp/TemplateView.h"

namespace qorfp::cli {

/// Throws ToolError naming `path` when the template's minutiae cannot be matched.
void RequireMatchable(const std::string& path, const TemplateBytes& bytes);

/// The template in the file or of the image, upgraded (in memory) when it is of the older version,
/// which searching and improving do not take. Throws ToolError when it cannot be matched.
TemplateBytes LoadCurrentTemplate(const std::string& path, const ImageOptions& options);

}  // namespace qorfp::cli
