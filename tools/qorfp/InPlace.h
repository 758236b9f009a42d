// SPDX-License-Identifier: Apache-2.0
//
// Rewriting a file of stored templates where it lies.
#pragma once

#include <string>

#include "tools/qorfp/FileIo.h"

namespace qorfp::cli {

/// Replaces the existing file `path` in one step. The new file is open to nobody who could not read
/// or write the old one: templates are personal data.
void RewriteFile(const std::string& path, const Bytes& bytes);

}  // namespace qorfp::cli
