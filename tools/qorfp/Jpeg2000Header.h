// SPDX-License-Identifier: Apache-2.0
//
// What a JPEG 2000 file says of its size, read before the decoder, which allocates by it, and whether
// it holds all of its tiles.
#pragma once

#include <string>

#include "tools/qorfp/FileIo.h"

namespace qorfp::cli {

struct Jpeg2000Size {
    uint32_t width = 0;
    uint32_t height = 0;
    uint32_t components = 0;  // 1..4, unsigned, 1 to 16 bits, one sample a pixel
};

/// Whether these are the bytes of a codestream without a file around it.
bool IsCodestream(const Bytes& bytes);

/// Throws ToolError when the file is damaged, too large, or of a kind that is not read.
Jpeg2000Size ReadJpeg2000Size(const std::string& path, const Bytes& bytes);

}  // namespace qorfp::cli
