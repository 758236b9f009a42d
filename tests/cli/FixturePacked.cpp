// SPDX-License-Identifier: Apache-2.0
//
// tiff-packed-..., jp2-... and j2k-...: by the encoders of libtiff and OpenJPEG. Their own messages on
// the standard error stream are good enough here.
#include <openjpeg.h>
#include <tiffio.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <map>
#include <memory>
#include <stdexcept>

#include "tests/cli/FixtureFiles.h"

namespace fixture {
namespace {

void Require(bool condition, const char* what) {
    if (!condition) {
        throw std::runtime_error(what);
    }
}

/// A file that the encoders write to and look back into.
struct MemoryFile {
    Bytes bytes;
    size_t offset = 0;

    size_t Write(const void* from, size_t count) {
        bytes.resize(std::max(bytes.size(), offset + count));
        std::memcpy(bytes.data() + offset, from, count);
        offset += count;
        return count;
    }
    size_t Read(void* to, size_t count) {
        const size_t taken = std::min(count, bytes.size() - std::min(bytes.size(), offset));
        std::memcpy(to, bytes.data() + offset, taken);
        offset += taken;
        return taken;
    }
};

MemoryFile& FileOf(void* handle) {
    return *static_cast<MemoryFile*>(handle);
}

tmsize_t OnTiffRead(thandle_t file, void* to, tmsize_t count) {
    return static_cast<tmsize_t>(FileOf(file).Read(to, static_cast<size_t>(count)));
}

tmsize_t OnTiffWrite(thandle_t file, void* from, tmsize_t count) {
    return static_cast<tmsize_t>(FileOf(file).Write(from, static_cast<size_t>(count)));
}

toff_t OnTiffSeek(thandle_t file, toff_t offset, int whence) {
    const toff_t base = whence == SEEK_END   ? FileOf(file).bytes.size()
                        : whence == SEEK_CUR ? FileOf(file).offset
                                             : 0;
    FileOf(file).offset = base + offset;
    return FileOf(file).offset;
}

int OnTiffClose(thandle_t) {
    return 0;
}

toff_t OnTiffSize(thandle_t file) {
    return FileOf(file).bytes.size();
}

OPJ_SIZE_T OnJp2Write(void* from, OPJ_SIZE_T count, void* file) {
    return FileOf(file).Write(from, count);
}

OPJ_OFF_T OnJp2Skip(OPJ_OFF_T count, void* file) {
    FileOf(file).offset = static_cast<size_t>(static_cast<OPJ_OFF_T>(FileOf(file).offset) + count);
    return count;
}

OPJ_BOOL OnJp2Seek(OPJ_OFF_T offset, void* file) {
    FileOf(file).offset = static_cast<size_t>(offset);
    return OPJ_TRUE;
}

/// What distinguishes one JPEG 2000 file from another; `samples` gives those of one pixel.
struct Jpeg2000Shape {
    uint32_t bits = 8;
    std::function<std::vector<int32_t>(int32_t)> samples;
    COLOR_SPACE colours = OPJ_CLRSPC_GRAY;
    bool hasOpacity = false;  // in the last component
    bool isSigned = false;
    bool isHalved = false;  // the last component, across
    uint32_t tileSide = 0;
    uint32_t edge = 0;  // of the image on its grid, left and top
};

Jpeg2000Shape FindJpeg2000Shape(const std::string& name) {
    using Samples = std::vector<int32_t>;
    const auto grey = [](int32_t value) { return Samples{value}; };
    const auto colour = [](int32_t value) { return Samples{value, value, value}; };
    const std::map<std::string, Jpeg2000Shape> kShapes = {
        {"grey1", {1, [](int32_t value) { return Samples{value >> 7}; }}},
        {"grey4", {4, [](int32_t value) { return Samples{value >> 4}; }}},
        {"grey8", {8, grey}},
        {"grey16", {16, [](int32_t value) { return Samples{value * 257}; }}},
        {"grey20", {20, grey}},
        {"signed",
         {8, [](int32_t value) { return Samples{value - 128}; }, OPJ_CLRSPC_GRAY, false, true}},
        {"alpha",
         {8,
          [](int32_t value) {
              return Samples{0, 255 - value};
          },
          OPJ_CLRSPC_GRAY, true}},
        {"rgb", {8, colour, OPJ_CLRSPC_SRGB}},
        {"rgba",
         {8,
          [](int32_t value) {
              return Samples{0, 0, 0, 255 - value};
          },
          OPJ_CLRSPC_SRGB, true}},
        {"five", {8, [](int32_t value) { return Samples(5, value); }}},
        {"ycc", {8, colour, OPJ_CLRSPC_SYCC}},
        {"halved", {8, colour, OPJ_CLRSPC_SRGB, false, false, true}},
        {"tiles", {8, grey, OPJ_CLRSPC_GRAY, false, false, false, 24}},
        {"edge", {8, grey, OPJ_CLRSPC_GRAY, false, false, false, 24, 5}},
        {"grains", {8, grey, OPJ_CLRSPC_GRAY, false, false, false, 1}},
    };
    return kShapes.at(name);
}

using Image = std::unique_ptr<opj_image_t, decltype(&opj_image_destroy)>;

Image MakeImage(const Picture& picture, const Jpeg2000Shape& shape) {
    const size_t count = shape.samples(0).size();
    std::vector<opj_image_cmptparm_t> components(count);
    for (size_t i = 0; i < count; ++i) {
        const bool isHalved = shape.isHalved && i + 1 == count;
        components[i].dx = isHalved ? 2 : 1;
        components[i].dy = 1;
        components[i].w = static_cast<uint32_t>(picture.width) / components[i].dx;
        components[i].h = static_cast<uint32_t>(picture.height);
        components[i].prec = shape.bits;
        components[i].sgnd = shape.isSigned ? 1 : 0;
    }
    Image image(opj_image_create(static_cast<uint32_t>(count), components.data(), shape.colours),
                opj_image_destroy);
    Require(image != nullptr, "no image");
    image->x0 = shape.edge;
    image->y0 = shape.edge;
    image->x1 = shape.edge + static_cast<uint32_t>(picture.width);
    image->y1 = shape.edge + static_cast<uint32_t>(picture.height);
    for (size_t i = 0; i < count; ++i) {
        image->comps[i].alpha = shape.hasOpacity && i + 1 == count ? 1 : 0;
        const uint32_t step = components[i].dx;
        for (size_t at = 0; at < size_t{components[i].w} * components[i].h; ++at) {
            image->comps[i].data[at] = shape.samples(picture.pixels.at(at * step)).at(i);
        }
    }
    return image;
}

}  // namespace

Bytes WritePackedTiff(const std::string& name, const Picture& picture) {
    const std::map<std::string, uint16_t> kPackings = {
        {"lzw", COMPRESSION_LZW},           {"deflate", COMPRESSION_ADOBE_DEFLATE},
        {"packbits", COMPRESSION_PACKBITS}, {"zstd", COMPRESSION_ZSTD},
        {"g3", COMPRESSION_CCITTFAX3},      {"g4", COMPRESSION_CCITTFAX4},
    };
    const bool isFax = name[0] == 'g';
    MemoryFile file;
    TIFF* tiff = TIFFClientOpen("", "w", &file, OnTiffRead, OnTiffWrite, OnTiffSeek, OnTiffClose,
                                OnTiffSize, nullptr, nullptr);
    Require(tiff != nullptr, "no TIFF");
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, static_cast<uint32_t>(picture.width));
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, static_cast<uint32_t>(picture.height));
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, isFax ? 1 : 8);
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, 1);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC,
                 isFax ? PHOTOMETRIC_MINISWHITE : PHOTOMETRIC_MINISBLACK);
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, kPackings.at(name));
    TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, 16);
    for (size_t y = 0; y < picture.height; ++y) {
        Bytes row(isFax ? (picture.width + 7) / 8 : picture.width);
        for (size_t x = 0; x < picture.width; ++x) {
            const unsigned grey = picture.At(x, y);
            if (!isFax) {
                row[x] = static_cast<uint8_t>(grey);
            } else if (grey < 128) {
                row[x / 8] = static_cast<uint8_t>(row[x / 8] | 128U >> x % 8);
            }
        }
        Require(TIFFWriteScanline(tiff, row.data(), static_cast<uint32_t>(y), 0) == 1, "no row");
    }
    TIFFClose(tiff);
    return file.bytes;
}

Bytes WriteJpeg2000(const std::string& name, const Picture& picture, bool isBare) {
    const Jpeg2000Shape shape = FindJpeg2000Shape(name);
    const Image image = MakeImage(picture, shape);
    opj_cparameters_t parameters = {};
    opj_set_default_encoder_parameters(&parameters);
    parameters.tcp_numlayers = 1;
    parameters.cp_disto_alloc = 1;
    parameters.numresolution = 3;
    if (shape.tileSide > 0) {
        parameters.tile_size_on = OPJ_TRUE;
        parameters.cp_tdx = static_cast<int>(shape.tileSide);
        parameters.cp_tdy = static_cast<int>(shape.tileSide);
        parameters.numresolution = shape.tileSide < 8 ? 1 : 3;
    }
    MemoryFile file;
    const std::unique_ptr<opj_codec_t, decltype(&opj_destroy_codec)> codec(
        opj_create_compress(isBare ? OPJ_CODEC_J2K : OPJ_CODEC_JP2), opj_destroy_codec);
    const std::unique_ptr<opj_stream_t, decltype(&opj_stream_destroy)> stream(
        opj_stream_default_create(OPJ_STREAM_WRITE), opj_stream_destroy);
    opj_stream_set_write_function(stream.get(), OnJp2Write);
    opj_stream_set_skip_function(stream.get(), OnJp2Skip);
    opj_stream_set_seek_function(stream.get(), OnJp2Seek);
    opj_stream_set_user_data(stream.get(), &file, nullptr);
    Require(opj_setup_encoder(codec.get(), &parameters, image.get()) == OPJ_TRUE &&
                opj_start_compress(codec.get(), image.get(), stream.get()) == OPJ_TRUE &&
                opj_encode(codec.get(), stream.get()) == OPJ_TRUE &&
                opj_end_compress(codec.get(), stream.get()) == OPJ_TRUE,
            "no JPEG 2000");
    return file.bytes;
}

}  // namespace fixture
