// SPDX-License-Identifier: Apache-2.0
//
// PNG of every colour type and depth through libpng. Samples are taken as they stand (no gamma, no
// colour profile): a sensor's grey values must reach the engine unchanged. libpng reports errors by
// longjmp, so the functions that call it keep nothing on their stack that would need a destructor.
#include <png.h>

#include <csetjmp>
#include <cstring>

#include "tools/qorfp/ImageFile.h"
#include "tools/qorfp/ToolError.h"

namespace qorfp::cli {
namespace {

constexpr size_t kSignatureBytes = 8;

/// All that the reading needs, alive over the longjmps.
struct PngInput {
    png_structp png = nullptr;
    png_infop info = nullptr;
    const uint8_t* data = nullptr;
    size_t size = 0;
    size_t offset = 0;
    png_uint_32 width = 0;
    png_uint_32 height = 0;
    size_t channels = 0;
    size_t sampleBytes = 0;
    char message[120] = {};

    PngInput() = default;
    ~PngInput() { png_destroy_read_struct(&png, &info, nullptr); }
    PngInput(const PngInput&) = delete;
    PngInput& operator=(const PngInput&) = delete;
};

void OnRead(png_structp png, png_bytep target, size_t count) {
    auto* input = static_cast<PngInput*>(png_get_io_ptr(png));
    if (count > input->size - input->offset) {
        png_error(png, "truncated");
    }
    std::memcpy(target, input->data + input->offset, count);
    input->offset += count;
}

[[noreturn]] void OnError(png_structp png, png_const_charp message) {
    auto* input = static_cast<PngInput*>(png_get_error_ptr(png));
    std::strncpy(input->message, message, sizeof(input->message) - 1);
    png_longjmp(png, 1);
}

void OnWarning(png_structp, png_const_charp) {
    // Damage that leaves the pixels readable (a text chunk's checksum, say) is of no interest here.
}

bool ReadHeader(PngInput& input) {
    if (setjmp(png_jmpbuf(input.png)) != 0) {  // NOLINT(cert-err52-cpp)
        return false;
    }
    png_set_read_fn(input.png, &input, OnRead);
    png_set_user_limits(input.png, PNG_UINT_31_MAX, PNG_UINT_31_MAX);  // checked by the caller
    png_read_info(input.png, input.info);
    input.width = png_get_image_width(input.png, input.info);
    input.height = png_get_image_height(input.png, input.info);
    return true;
}

// Palettes become colours, transparency becomes an alpha channel, 1 to 4 bits become 8.
bool PrepareRows(PngInput& input) {
    if (setjmp(png_jmpbuf(input.png)) != 0) {  // NOLINT(cert-err52-cpp)
        return false;
    }
    png_set_expand(input.png);
    png_set_interlace_handling(input.png);
    png_read_update_info(input.png, input.info);
    input.channels = png_get_channels(input.png, input.info);
    input.sampleBytes = png_get_bit_depth(input.png, input.info) == 16 ? 2 : 1;
    return true;
}

bool ReadRows(PngInput& input, png_bytepp rows) {
    if (setjmp(png_jmpbuf(input.png)) != 0) {  // NOLINT(cert-err52-cpp)
        return false;
    }
    png_read_image(input.png, rows);
    png_read_end(input.png, nullptr);
    return true;
}

/// One pixel of 1 to 4 channels (grey or colour, with or without alpha) as grey.
uint8_t GreyOfPixel(const uint8_t* pixel, size_t channels, size_t sampleBytes) {
    uint8_t sample[4] = {};
    for (size_t i = 0; i < channels; ++i) {
        const uint8_t* bytes = pixel + i * sampleBytes;
        sample[i] = sampleBytes == 1
                        ? bytes[0]
                        : GreyOfSample((static_cast<uint32_t>(bytes[0]) << 8) + bytes[1], 65535);
    }
    return GreyOfSamples(sample, channels);
}

[[noreturn]] void Fail(const std::string& path, const PngInput& input) {
    throw ToolError(path, std::strcmp(input.message, "truncated") == 0
                              ? std::string("truncated: the PNG ends too early")
                              : std::string("damaged PNG: ") + input.message);
}

}  // namespace

bool LooksLikePng(const Bytes& bytes) {
    return bytes.size() >= kSignatureBytes && png_sig_cmp(bytes.data(), 0, kSignatureBytes) == 0;
}

GreyImage DecodePng(const std::string& path, const Bytes& bytes) {
    PngInput input;
    input.data = bytes.data();
    input.size = bytes.size();
    input.png = png_create_read_struct(PNG_LIBPNG_VER_STRING, &input, OnError, OnWarning);
    input.info = input.png != nullptr ? png_create_info_struct(input.png) : nullptr;
    if (input.info == nullptr) {
        throw ToolError(path, "the PNG library could not be started");
    }
    if (!ReadHeader(input)) {
        Fail(path, input);
    }
    CheckFileSize(path, input.width, input.height);
    if (!PrepareRows(input)) {
        Fail(path, input);
    }
    const size_t pixelBytes = input.channels * input.sampleBytes;
    const size_t rowBytes = pixelBytes * input.width;
    Bytes samples(rowBytes * input.height);
    std::vector<png_bytep> rows(input.height);
    for (size_t y = 0; y < rows.size(); ++y) {
        rows[y] = samples.data() + y * rowBytes;
    }
    if (!ReadRows(input, rows.data())) {
        Fail(path, input);
    }
    GreyImage image(static_cast<int32_t>(input.width), static_cast<int32_t>(input.height));
    for (size_t i = 0; i < image.pixels.size(); ++i) {
        image.pixels[i] =
            GreyOfPixel(samples.data() + i * pixelBytes, input.channels, input.sampleBytes);
    }
    return image;
}

}  // namespace qorfp::cli
