// SPDX-License-Identifier: Apache-2.0
//
// Choice of the image reader, and the refusals that all readers share.
#include "tools/qorfp/ImageFile.h"

#include "tools/qorfp/ToolError.h"

namespace qorfp::cli {

void CheckFileSize(const std::string& path, uint64_t width, uint64_t height) {
    if (width == 0 || height == 0 || width > kMaxFileSide || height > kMaxFileSide ||
        width * height > kMaxFilePixels) {
        throw ToolError(path, "absurd size " + std::to_string(width) + " x " +
                                  std::to_string(height) + " (1 to " +
                                  std::to_string(kMaxFileSide) + " a side, 32 megapixels at most)");
    }
}

std::string OneLine(const char* message) {
    std::string text;
    for (; *message != '\0' && *message != '\n'; ++message) {
        text += *message >= ' ' && *message <= '~' ? *message : '?';
    }
    return text;
}

GreyImage DecodeImage(const std::string& path, const Bytes& bytes) {
    if (LooksLikePng(bytes)) {
        return DecodePng(path, bytes);
    }
    if (LooksLikePgm(bytes)) {
        return DecodePgm(path, bytes);
    }
    if (LooksLikeBmp(bytes)) {
        return DecodeBmp(path, bytes);
    }
    if (LooksLikeTiff(bytes)) {
        return DecodeTiff(path, bytes);
    }
    if (LooksLikeJpeg2000(bytes)) {
        return DecodeJpeg2000(path, bytes);
    }
    throw ToolError(path, "is not an image this tool reads (PGM, PNG, BMP, TIFF or JPEG 2000)");
}

}  // namespace qorfp::cli
