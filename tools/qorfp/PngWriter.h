// SPDX-License-Identifier: Apache-2.0
//
// PNG output of grey images and drawings. No time, no text chunk: the same pixels give the same
// bytes with the same zlib.
#pragma once

#include <string>

#include "tools/qorfp/FileIo.h"
#include "tools/qorfp/GreyImage.h"

namespace qorfp::cli {

Bytes EncodeGreyPng(const GreyImage& image);

/// `pixels`: red, green and blue bytes, row-major, no gap between rows.
Bytes EncodeColourPng(int32_t width, int32_t height, const Bytes& pixels);

/// Throws ToolError when `path` ends as a file of another kind than PNG is named ("x.jpg").
void RequirePngName(const std::string& path);

}  // namespace qorfp::cli
