// SPDX-License-Identifier: Apache-2.0
//
// Finger images from files: the format is told by the first bytes, never by the name. Each reader
// refuses what is damaged; none guesses pixels that are not there.
#pragma once

#include <string>

#include "tools/qorfp/FileIo.h"
#include "tools/qorfp/GreyImage.h"

namespace qorfp::cli {

/// PGM, PNG, BMP, TIFF or JPEG 2000 as 8-bit grey. Throws ToolError naming `path` and the reason.
GreyImage DecodeImage(const std::string& path, const Bytes& bytes);

/// Throws unless both sides are 1..kMaxFileSide and the area is at most kMaxFilePixels.
void CheckFileSize(const std::string& path, uint64_t width, uint64_t height);

/// The first line of what a decoder says, without what would disturb a terminal.
std::string OneLine(const char* message);

bool LooksLikePgm(const Bytes& bytes);
bool LooksLikePng(const Bytes& bytes);
bool LooksLikeBmp(const Bytes& bytes);
bool LooksLikeTiff(const Bytes& bytes);
bool LooksLikeJpeg2000(const Bytes& bytes);

GreyImage DecodePgm(const std::string& path, const Bytes& bytes);
GreyImage DecodePng(const std::string& path, const Bytes& bytes);
GreyImage DecodeBmp(const std::string& path, const Bytes& bytes);
GreyImage DecodeTiff(const std::string& path, const Bytes& bytes);
GreyImage DecodeJpeg2000(const std::string& path, const Bytes& bytes);

}  // namespace qorfp::cli
