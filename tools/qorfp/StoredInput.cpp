// SPDX-License-Identifier: Apache-2.0
//
// Inputs of the commands on stored templates.
#include "tools/qorfp/StoredInput.h"

#include "tools/qorfp/Stored.h"
#include "tools/qorfp/ToolError.h"

namespace qorfp::cli {

void RequireMatchable(const std::string& path, const TemplateBytes& bytes) {
    const std::string problem = ReadTemplate(bytes).problem;
    if (!problem.empty()) {
        throw ToolError(path, "not a usable template: " + problem);
    }
}

TemplateBytes LoadCurrentTemplate(const std::string& path, const ImageOptions& options) {
    const TemplateBytes bytes = LoadOrExtractTemplate(path, options);
    RequireMatchable(path, bytes);
    // Index keys that are missing or damaged only make the ranking worse; the engine lets them pass.
    return JudgeTemplate(bytes).bytes;
}

}  // namespace qorfp::cli
