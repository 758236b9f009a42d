// SPDX-License-Identifier: Apache-2.0
//
// Windows bitmaps through the stb decoder, restricted to that one format. The decoder takes missing
// bytes for zeros, so the file's own measures are compared with its length before it is called.
#include <cstdlib>
#include <cstring>
#include <memory>

#define STB_IMAGE_IMPLEMENTATION
#define STB_IMAGE_STATIC
#define STBI_ONLY_BMP
#define STBI_NO_STDIO
#define STBI_NO_LINEAR
#define STBI_NO_HDR
#include <stb/stb_image.h>

#include "tools/qorfp/ImageFile.h"
#include "tools/qorfp/ToolError.h"

namespace qorfp::cli {
namespace {

constexpr size_t kFileHeaderBytes = 14;
constexpr size_t kCoreHeaderBytes = 12;
constexpr uint32_t kRunLength8 = 1;
constexpr uint32_t kRunLength4 = 2;

uint32_t Word16(const Bytes& bytes, size_t at) {
    return static_cast<uint32_t>(bytes[at]) | static_cast<uint32_t>(bytes[at + 1]) << 8;
}

uint32_t Word32(const Bytes& bytes, size_t at) {
    return Word16(bytes, at) | Word16(bytes, at + 2) << 16;
}

// File header: "BM", length, reserved, offset of the pixels at 10. Information header from 14: its
// length, width at 18, height at 22 (negative: top row first), bits a pixel at 28, packing at 30.
// The old core header has 16-bit sides at 18 and 20 and the bits a pixel at 24.
void CheckMeasures(const std::string& path, const Bytes& bytes) {
    const bool isCore = bytes.size() >= kFileHeaderBytes + kCoreHeaderBytes &&
                        Word32(bytes, kFileHeaderBytes) == kCoreHeaderBytes;
    if (bytes.size() < kFileHeaderBytes + (isCore ? kCoreHeaderBytes : 40)) {
        throw ToolError(path, "truncated: the BMP header is incomplete");
    }
    const uint64_t width = isCore ? Word16(bytes, 18) : Word32(bytes, 18);
    const uint32_t storedHeight = isCore ? Word16(bytes, 20) : Word32(bytes, 22);
    const bool topFirst = !isCore && (storedHeight & 0x80000000U) != 0;
    const uint64_t height = topFirst ? 0x100000000U - uint64_t{storedHeight} : storedHeight;
    CheckFileSize(path, width, height);
    const uint32_t packing = isCore ? 0 : Word32(bytes, 30);
    if (packing == kRunLength8 || packing == kRunLength4) {
        throw ToolError(path, "run-length packed BMP is not read; save it unpacked or as PNG");
    }
    const uint64_t bitsPerPixel = Word16(bytes, isCore ? 24 : 28);
    const uint64_t rowBytes = (width * bitsPerPixel + 31) / 32 * 4;
    const uint64_t needed = Word32(bytes, 10) + rowBytes * height;
    if (needed > bytes.size()) {
        throw ToolError(path, "truncated: " + std::to_string(needed) + " bytes expected, " +
                                  std::to_string(bytes.size()) + " found");
    }
}

}  // namespace

bool LooksLikeBmp(const Bytes& bytes) {
    return bytes.size() >= 2 && bytes[0] == 'B' && bytes[1] == 'M';
}

GreyImage DecodeBmp(const std::string& path, const Bytes& bytes) {
    CheckMeasures(path, bytes);
    constexpr int kChannels = 4;
    int width = 0;
    int height = 0;
    int storedChannels = 0;
    const std::unique_ptr<stbi_uc, decltype(&std::free)> samples(
        stbi_load_from_memory(bytes.data(), static_cast<int>(bytes.size()), &width, &height,
                              &storedChannels, kChannels),
        std::free);
    if (samples == nullptr) {
        throw ToolError(path, std::string("damaged or unusual BMP: ") + stbi_failure_reason());
    }
    GreyImage image(width, height);
    for (size_t i = 0; i < image.pixels.size(); ++i) {
        const stbi_uc* pixel = samples.get() + i * kChannels;
        image.pixels[i] = GreyOnWhite(GreyOfColour(pixel[0], pixel[1], pixel[2]), pixel[3]);
    }
    return image;
}

}  // namespace qorfp::cli
