// SPDX-License-Identifier: Apache-2.0
//
// PNG output through libpng into memory. Nothing that needs a destructor is made while libpng may
// leave by longjmp; the vectors live with the caller.
#include "tools/qorfp/PngWriter.h"

#include <png.h>

#include <csetjmp>
#include <new>
#include <utility>

#include "tools/qorfp/ToolError.h"

namespace qorfp::cli {
namespace {

constexpr int kZlibLevel = 6;

struct PngOutput {
    png_structp png = nullptr;
    png_infop info = nullptr;
    Bytes bytes;

    PngOutput() = default;
    ~PngOutput() { png_destroy_write_struct(&png, &info); }
    PngOutput(const PngOutput&) = delete;
    PngOutput& operator=(const PngOutput&) = delete;
};

// An exception must not pass through libpng, so running out of memory becomes a libpng error.
void OnWrite(png_structp png, png_bytep data, size_t count) {
    auto* output = static_cast<PngOutput*>(png_get_io_ptr(png));
    bool isStored = true;
    try {
        output->bytes.insert(output->bytes.end(), data, data + count);
    } catch (const std::bad_alloc&) {
        isStored = false;
    }
    if (!isStored) {
        png_error(png, "out of memory");
    }
}

void OnFlush(png_structp) {}

// Quiet: the caller says what failed, on one line.
[[noreturn]] void OnError(png_structp png, png_const_charp) {
    png_longjmp(png, 1);
}

void OnWarning(png_structp, png_const_charp) {}

bool WriteImage(PngOutput& output, int32_t width, int32_t height, int colourType, png_bytepp rows) {
    if (setjmp(png_jmpbuf(output.png)) != 0) {
        return false;
    }
    png_set_write_fn(output.png, &output, OnWrite, OnFlush);
    png_set_compression_level(output.png, kZlibLevel);
    png_set_IHDR(output.png, output.info, static_cast<png_uint_32>(width),
                 static_cast<png_uint_32>(height), 8, colourType, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_write_info(output.png, output.info);
    png_write_image(output.png, rows);
    png_write_end(output.png, nullptr);
    return true;
}

Bytes Encode(int32_t width, int32_t height, size_t channels, const Bytes& pixels) {
    PngOutput output;
    output.png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, OnError, OnWarning);
    output.info = output.png != nullptr ? png_create_info_struct(output.png) : nullptr;
    if (output.info == nullptr) {
        throw ToolError("the PNG library could not be started");
    }
    const size_t rowBytes = static_cast<size_t>(width) * channels;
    std::vector<png_bytep> rows(static_cast<size_t>(height));
    for (size_t y = 0; y < rows.size(); ++y) {
        rows[y] =
            const_cast<png_bytep>(pixels.data() + y * rowBytes);  // libpng does not write here
    }
    const int colourType = channels == 1 ? PNG_COLOR_TYPE_GRAY : PNG_COLOR_TYPE_RGB;
    if (!WriteImage(output, width, height, colourType, rows.data())) {
        throw ToolError("the picture could not be packed as PNG");
    }
    return std::move(output.bytes);
}

}  // namespace

Bytes EncodeGreyPng(const GreyImage& image) {
    return Encode(image.width, image.height, 1, image.pixels);
}

Bytes EncodeColourPng(int32_t width, int32_t height, const Bytes& pixels) {
    return Encode(width, height, 3, pixels);
}

void RequirePngName(const std::string& path) {
    const std::string ending = EndingOf(path);
    if (!ending.empty() && ending != ".png") {
        throw ToolError(path, "the picture is a PNG file; name it .png");
    }
}

}  // namespace qorfp::cli
