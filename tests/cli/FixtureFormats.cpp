// SPDX-License-Identifier: Apache-2.0
//
// Formats: p5 p2 p5-16 p2-16, bmp8 bmp24 bmp32 bmp24-top (top row first) bmp-core (old header), and
// PNG: png-grey1 -grey2 -grey4 -grey8 -grey16 -interlaced -grey-key (one grey transparent: 255)
// -grey-alpha -rgb -rgb16 -rgba -rgba16 -palette -palette-alpha (entry 255 transparent black).
// TIFF and JPEG 2000: see FixtureTiff.cpp and FixturePacked.cpp.
// Files with alpha hold black with opacity 255 - grey: on white paper they show the picture.
#include <png.h>

#include <cstring>
#include <functional>
#include <stdexcept>

#include "tests/cli/FixtureFiles.h"

namespace fixture {
namespace {

void AppendText(Bytes& bytes, const std::string& text) {
    bytes.insert(bytes.end(), text.begin(), text.end());
}

void AppendLittle(Bytes& bytes, uint64_t value, size_t count) {
    for (size_t i = 0; i < count; ++i) {
        bytes.push_back(static_cast<uint8_t>(value >> (8 * i) & 0xFF));
    }
}

Bytes WritePgm(const Picture& picture, bool isText, bool isWide) {
    Bytes bytes;
    AppendText(bytes, (isText ? "P2\n" : "P5\n") + std::string("# made for a test\n") +
                          std::to_string(picture.width) + " " + std::to_string(picture.height) +
                          (isWide ? "\n65535\n" : "\n255\n"));
    for (size_t i = 0; i < picture.pixels.size(); ++i) {
        const unsigned sample = picture.pixels[i] * (isWide ? 257U : 1U);
        if (isText) {
            AppendText(bytes, std::to_string(sample) + (i % 12 == 11 ? "\n" : " "));
        } else if (isWide) {
            bytes.push_back(static_cast<uint8_t>(sample >> 8));
            bytes.push_back(static_cast<uint8_t>(sample & 0xFF));
        } else {
            bytes.push_back(static_cast<uint8_t>(sample));
        }
    }
    return bytes;
}

struct BmpShape {
    size_t bits = 24;
    bool isTopFirst = false;
    bool isCore = false;
};

void AppendBmpHeader(Bytes& bytes, const Picture& picture, const BmpShape& shape, size_t offset,
                     size_t fileBytes) {
    AppendText(bytes, "BM");
    AppendLittle(bytes, fileBytes, 4);
    AppendLittle(bytes, 0, 4);
    AppendLittle(bytes, offset, 4);
    if (shape.isCore) {
        AppendLittle(bytes, 12, 4);
        AppendLittle(bytes, picture.width, 2);
        AppendLittle(bytes, picture.height, 2);
    } else {
        AppendLittle(bytes, 40, 4);
        AppendLittle(bytes, picture.width, 4);
        AppendLittle(bytes,
                     shape.isTopFirst ? uint64_t{0x100000000} - picture.height : picture.height, 4);
    }
    AppendLittle(bytes, 1, 2);
    AppendLittle(bytes, shape.bits, 2);
    if (!shape.isCore) {
        bytes.resize(bytes.size() + 24);
    }
}

Bytes WriteBmp(const Picture& picture, const BmpShape& shape) {
    const size_t paletteBytes = shape.bits == 8 ? 256 * 4 : 0;
    const size_t offset = 14 + (shape.isCore ? 12 : 40) + paletteBytes;
    const size_t rowBytes = (picture.width * shape.bits + 31) / 32 * 4;
    Bytes bytes;
    AppendBmpHeader(bytes, picture, shape, offset, offset + rowBytes * picture.height);
    for (size_t i = 0; i < paletteBytes / 4; ++i) {
        AppendLittle(bytes, i * 0x010101, 4);
    }
    for (size_t i = 0; i < picture.height; ++i) {
        const size_t y = shape.isTopFirst ? i : picture.height - 1 - i;
        const size_t rowStart = bytes.size();
        for (size_t x = 0; x < picture.width; ++x) {
            const size_t grey = picture.At(x, y);
            const uint64_t word = shape.bits == 8 ? grey : grey * 0x010101 + 0xFF000000U;
            AppendLittle(bytes, word, shape.bits / 8);
        }
        bytes.resize(rowStart + rowBytes);
    }
    return bytes;
}

/// What distinguishes one PNG from another; `sample` gives the row bytes of one pixel of 8 or 16
/// bits, packed formats go by `bits` alone.
struct PngShape {
    int colourType = PNG_COLOR_TYPE_GRAY;
    int bits = 8;
    int interlace = PNG_INTERLACE_NONE;
    bool hasGreyPalette = false;
    bool hasTransparency = false;
    std::function<Bytes(uint8_t)> sample;
};

void OnWrite(png_structp png, png_bytep data, size_t count) {
    auto* bytes = static_cast<Bytes*>(png_get_io_ptr(png));
    bytes->insert(bytes->end(), data, data + count);
}

void OnFlush(png_structp) {}

std::vector<Bytes> PngRows(const Picture& picture, const PngShape& shape) {
    std::vector<Bytes> rows;
    for (size_t y = 0; y < picture.height; ++y) {
        Bytes row;
        if (shape.bits < 8) {
            const auto bits = static_cast<size_t>(shape.bits);
            row.resize((picture.width * bits + 7) / 8);
            for (size_t x = 0; x < picture.width; ++x) {
                const size_t value = picture.At(x, y) >> (8 - bits);
                row[x * bits / 8] =
                    static_cast<uint8_t>(row[x * bits / 8] | value << (8 - bits - x * bits % 8));
            }
        } else {
            for (size_t x = 0; x < picture.width; ++x) {
                const Bytes pixel = shape.sample(picture.At(x, y));
                row.insert(row.end(), pixel.begin(), pixel.end());
            }
        }
        rows.push_back(row);
    }
    return rows;
}

void SetPalette(png_structp png, png_infop info, const PngShape& shape) {
    png_color palette[256];
    png_byte alpha[256];
    for (int i = 0; i < 256; ++i) {
        const auto grey = static_cast<png_byte>(i);
        palette[i] = {grey, grey, grey};
        alpha[i] = 255;
    }
    if (shape.hasTransparency) {
        palette[255] = {0, 0, 0};
        alpha[255] = 0;
        png_set_tRNS(png, info, alpha, 256, nullptr);
    }
    png_set_PLTE(png, info, palette, 256);
}

Bytes WritePng(const Picture& picture, const PngShape& shape) {
    Bytes bytes;
    std::vector<Bytes> rows = PngRows(picture, shape);
    std::vector<png_bytep> rowPointers;
    for (Bytes& row : rows) {
        rowPointers.push_back(row.data());
    }
    // libpng's own error handling (a message and abort) is good enough here.
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    png_set_write_fn(png, &bytes, OnWrite, OnFlush);
    png_set_IHDR(png, info, static_cast<png_uint_32>(picture.width),
                 static_cast<png_uint_32>(picture.height), shape.bits, shape.colourType,
                 shape.interlace, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    if (shape.hasGreyPalette) {
        SetPalette(png, info, shape);
    } else if (shape.hasTransparency) {
        png_color_16 key = {};
        key.gray = 255;
        png_set_tRNS(png, info, nullptr, 0, &key);
    }
    png_write_info(png, info);
    png_write_image(png, rowPointers.data());
    png_write_end(png, nullptr);
    png_destroy_write_struct(&png, &info);
    return bytes;
}

Bytes Grey(uint8_t grey) {
    return {grey};
}
Bytes Grey16(uint8_t grey) {
    return {grey, grey};
}
Bytes GreyAlpha(uint8_t grey) {
    return {0, static_cast<uint8_t>(255 - grey)};
}
Bytes Colour(uint8_t grey) {
    return {grey, grey, grey};
}
Bytes Colour16(uint8_t grey) {
    return {grey, grey, grey, grey, grey, grey};
}
Bytes ColourAlpha(uint8_t grey) {
    return {0, 0, 0, static_cast<uint8_t>(255 - grey)};
}
Bytes ColourAlpha16(uint8_t grey) {
    const auto alpha = static_cast<uint8_t>(255 - grey);
    return {0, 0, 0, 0, 0, 0, alpha, alpha};
}

PngShape FindPngShape(const std::string& name) {
    if (name == "grey1" || name == "grey2" || name == "grey4") {
        return {PNG_COLOR_TYPE_GRAY, name[4] - '0', PNG_INTERLACE_NONE, false, false, Grey};
    }
    const struct {
        const char* name;
        PngShape shape;
    } kShapes[] = {
        {"grey8", {PNG_COLOR_TYPE_GRAY, 8, PNG_INTERLACE_NONE, false, false, Grey}},
        {"grey16", {PNG_COLOR_TYPE_GRAY, 16, PNG_INTERLACE_NONE, false, false, Grey16}},
        {"interlaced", {PNG_COLOR_TYPE_GRAY, 8, PNG_INTERLACE_ADAM7, false, false, Grey}},
        {"grey-key", {PNG_COLOR_TYPE_GRAY, 8, PNG_INTERLACE_NONE, false, true, Grey}},
        {"grey-alpha", {PNG_COLOR_TYPE_GRAY_ALPHA, 8, PNG_INTERLACE_NONE, false, false, GreyAlpha}},
        {"rgb", {PNG_COLOR_TYPE_RGB, 8, PNG_INTERLACE_NONE, false, false, Colour}},
        {"rgb16", {PNG_COLOR_TYPE_RGB, 16, PNG_INTERLACE_NONE, false, false, Colour16}},
        {"rgba", {PNG_COLOR_TYPE_RGB_ALPHA, 8, PNG_INTERLACE_NONE, false, false, ColourAlpha}},
        {"rgba16", {PNG_COLOR_TYPE_RGB_ALPHA, 16, PNG_INTERLACE_NONE, false, false, ColourAlpha16}},
        {"palette", {PNG_COLOR_TYPE_PALETTE, 8, PNG_INTERLACE_NONE, true, false, Grey}},
        {"palette-alpha", {PNG_COLOR_TYPE_PALETTE, 8, PNG_INTERLACE_NONE, true, true, Grey}},
    };
    for (const auto& entry : kShapes) {
        if (name == entry.name) {
            return entry.shape;
        }
    }
    throw std::runtime_error("unknown PNG format " + name);
}

}  // namespace

std::vector<uint8_t> WriteFormat(const std::string& format, const Picture& picture) {
    if (format == "p5" || format == "p2") {
        return WritePgm(picture, format == "p2", false);
    }
    if (format == "p5-16" || format == "p2-16") {
        return WritePgm(picture, format == "p2-16", true);
    }
    if (format == "bmp8" || format == "bmp24" || format == "bmp32") {
        return WriteBmp(picture, {std::stoul(format.substr(3)), false, false});
    }
    if (format == "bmp24-top") {
        return WriteBmp(picture, {24, true, false});
    }
    if (format == "bmp-core") {
        return WriteBmp(picture, {24, false, true});
    }
    if (format.rfind("png-", 0) == 0) {
        return WritePng(picture, FindPngShape(format.substr(4)));
    }
    const std::string packedTiff = "tiff-packed-";
    if (format.rfind(packedTiff, 0) == 0) {
        return WritePackedTiff(format.substr(packedTiff.size()), picture);
    }
    if (format.rfind("tiff-", 0) == 0) {
        return WriteTiff(format.substr(5), picture);
    }
    if (format.rfind("jp2-", 0) == 0 || format.rfind("j2k-", 0) == 0) {
        return WriteJpeg2000(format.substr(4), picture, format[2] == 'k');
    }
    throw std::runtime_error("unknown format " + format);
}

}  // namespace fixture
