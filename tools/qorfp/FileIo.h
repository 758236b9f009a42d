// SPDX-License-Identifier: Apache-2.0
//
// Whole files in and out. Reading refuses what cannot be a finger file (directories, endless
// streams); writing goes to a temporary file beside the target that is then renamed over it, so a
// reader never sees half a file and a failed write leaves the old one as it was.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace qorfp::cli {

using Bytes = std::vector<uint8_t>;

/// The whole content of `path`. Throws ToolError naming the file and the reason.
Bytes ReadFile(const std::string& path);

/// Replaces `path` by `bytes` in one step; the permissions of a file that is replaced stay, since
/// templates are personal data. A device or a pipe is written to directly.
void WriteFile(const std::string& path, const Bytes& bytes);

/// Throws ToolError when writing `output` would replace `input`, by whatever names.
void RefuseToReplace(const std::string& input, const std::string& output);

/// Makes `path` a directory if it is not one yet, parents included.
void MakeDirectory(const std::string& path);

/// The last component of `path`, for captions.
std::string BaseName(const std::string& path);

/// The ending of its name with the dot, in small letters; empty when there is none.
std::string EndingOf(const std::string& path);

}  // namespace qorfp::cli
