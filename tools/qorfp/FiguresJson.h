// SPDX-License-Identifier: Apache-2.0
//
// The figures of fingers as JSON, as every command prints them.
#pragma once

#include <nlohmann/json.hpp>

#include "tools/qorfp/Diagnosis.h"

namespace qorfp::cli {

using Json = nlohmann::ordered_json;

/// What is not known is null.
Json FiguresJson(const FingerFigures& figures);

/// Prints `root` on standard output, indented. File names need not be valid UTF-8; what is not is
/// replaced rather than refused.
void PrintJson(const Json& root);

}  // namespace qorfp::cli
