// SPDX-License-Identifier: Apache-2.0
//
// TIFF through libtiff: grey, palette and RGB of 1 to 16 bits, in strips or tiles, by every packing
// that libtiff knows. Samples are taken as they stand and become grey by the rule of all formats, so
// libtiff's own conversion, which cuts 16 bits, is not used. What libtiff says of a file goes to the
// one message of a refusal; a warning while pixels are unpacked is one, too, since it tells that some
// were made up.
#include <tiffio.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <memory>

#include "tools/qorfp/ImageFile.h"
#include "tools/qorfp/ToolError.h"

namespace qorfp::cli {
namespace {

constexpr size_t kMaxChannels = 4;
constexpr tmsize_t kMaxAllocation =
    300 * 1024 * 1024;              // above 32 megapixels of four 16-bit samples
constexpr uint32_t kTileStep = 16;  // of the sides of a tile
constexpr int kMaxThumbnails = 8;

/// The file and what libtiff has said of it.
struct TiffInput {
    const uint8_t* data = nullptr;
    uint64_t size = 0;
    uint64_t offset = 0;   // may lie behind the end
    bool isShort = false;  // libtiff has asked for bytes behind the end
    bool warningsCount = false;
    char message[200] = {};  // the first one
};

TiffInput& InputOf(thandle_t handle) {
    return *static_cast<TiffInput*>(handle);
}

tmsize_t OnRead(thandle_t handle, void* target, tmsize_t count) {
    TiffInput& input = InputOf(handle);
    const uint64_t left = input.offset < input.size ? input.size - input.offset : 0;
    const auto taken = static_cast<size_t>(std::min(left, static_cast<uint64_t>(count)));
    if (taken > 0) {
        std::memcpy(target, input.data + input.offset, taken);
    }
    input.offset += taken;
    input.isShort = input.isShort || taken < static_cast<uint64_t>(count);
    return static_cast<tmsize_t>(taken);
}

tmsize_t OnWrite(thandle_t, void*, tmsize_t) {
    return 0;
}

toff_t OnSeek(thandle_t handle, toff_t offset, int whence) {
    if (whence != SEEK_SET) {
        return static_cast<toff_t>(-1);  // libtiff has no use for others when it reads
    }
    InputOf(handle).offset = offset;
    return offset;
}

int OnClose(thandle_t) {
    return 0;
}

toff_t OnSize(thandle_t handle) {
    return InputOf(handle).size;
}

int OnError(TIFF*, void* data, const char*, const char* format, va_list arguments) {
    TiffInput& input = InputOf(data);
    if (input.message[0] == '\0') {
        std::vsnprintf(input.message, sizeof(input.message), format, arguments);
    }
    return 1;  // nobody else is to be told
}

int OnWarning(TIFF* tiff, void* data, const char* module, const char* format, va_list arguments) {
    return InputOf(data).warningsCount ? OnError(tiff, data, module, format, arguments) : 1;
}

using Tiff = std::unique_ptr<TIFF, decltype(&TIFFClose)>;

Tiff Open(TiffInput& input) {
    const std::unique_ptr<TIFFOpenOptions, decltype(&TIFFOpenOptionsFree)> options(
        TIFFOpenOptionsAlloc(), TIFFOpenOptionsFree);
    TIFF* tiff = nullptr;
    if (options != nullptr) {
        TIFFOpenOptionsSetMaxSingleMemAlloc(options.get(), kMaxAllocation);
        TIFFOpenOptionsSetErrorHandlerExtR(options.get(), OnError, &input);
        TIFFOpenOptionsSetWarningHandlerExtR(options.get(), OnWarning, &input);
        // "m": by the functions above, not by a map of the memory, which libtiff might write to.
        tiff = TIFFClientOpenExt("", "rm", &input, OnRead, OnWrite, OnSeek, OnClose, OnSize,
                                 nullptr, nullptr, options.get());
    }
    return Tiff(tiff, TIFFClose);
}

enum class Opacity { kNone, kApart, kMultiplied };

/// What the first page says of its pixels.
struct Sheet {
    uint32_t width = 0;
    uint32_t height = 0;
    uint16_t photometric = 0;
    uint16_t bits = 0;
    uint16_t samples = 0;   // of a pixel, as stored
    uint16_t channels = 0;  // of them, those that tell the colour
    uint16_t orientation = 0;
    Opacity opacity = Opacity::kNone;  // what the sample behind them is
    uint32_t blockWidth = 0;           // of a tile; of a strip the image's
    uint32_t blockHeight = 0;
    bool isTiled = false;

    size_t BlockRowBytes() const { return (size_t{blockWidth} * samples * bits + 7) / 8; }
};

class TiffParser {
  public:
    TiffParser(const std::string& path, const Bytes& bytes) : path_(path) {
        input_.data = bytes.data();
        input_.size = bytes.size();
    }

    GreyImage Parse() {
        tiff_ = Open(input_);
        if (tiff_ == nullptr) {
            Fail();
        }
        ReadSheet();
        input_.message[0] = '\0';
        input_.warningsCount = true;
        GreyImage image(static_cast<int32_t>(sheet_.width), static_cast<int32_t>(sheet_.height));
        ReadBlocks(image);
        input_.warningsCount = false;
        RefuseMorePages();
        if (input_.isShort) {  // what is missing is not pixels, but nobody knows what
            Fail();
        }
        return image;
    }

  private:
    [[noreturn]] void Fail() const {
        throw ToolError(path_, input_.isShort ? "truncated: the TIFF ends too early"
                                              : "damaged TIFF: " + OneLine(input_.message));
    }

    [[noreturn]] void Refuse(const std::string& what) const {
        throw ToolError(path_, "TIFF " + what + "; save it as 8-bit grey");
    }

    uint16_t Field16(uint32_t tag) const {
        uint16_t value = 0;
        TIFFGetFieldDefaulted(tiff_.get(), tag, &value);
        return value;
    }

    uint32_t Field32(uint32_t tag) const {
        uint32_t value = 0;
        TIFFGetFieldDefaulted(tiff_.get(), tag, &value);
        return value;
    }

    void ReadSheet() {
        sheet_.width = Field32(TIFFTAG_IMAGEWIDTH);
        sheet_.height = Field32(TIFFTAG_IMAGELENGTH);
        CheckFileSize(path_, sheet_.width, sheet_.height);
        ReadColours();
        ReadOpacity();
        ReadBlockSize();
        sheet_.orientation = Field16(TIFFTAG_ORIENTATION);
        if (sheet_.orientation < ORIENTATION_TOPLEFT || sheet_.orientation > ORIENTATION_BOTLEFT) {
            throw ToolError(path_, "TIFF with orientation " + std::to_string(sheet_.orientation) +
                                       " is not read; save it upright");
        }
    }

    void ReadColours() {
        uint16_t photometric = 0;
        if (TIFFGetField(tiff_.get(), TIFFTAG_PHOTOMETRIC, &photometric) == 0) {
            throw ToolError(path_, "damaged TIFF: does not say what its samples mean");
        }
        sheet_.photometric = photometric;
        sheet_.bits = Field16(TIFFTAG_BITSPERSAMPLE);
        sheet_.samples = Field16(TIFFTAG_SAMPLESPERPIXEL);
        sheet_.channels = photometric == PHOTOMETRIC_RGB ? 3 : 1;
        if (photometric > PHOTOMETRIC_PALETTE) {
            Refuse("with colours of kind " + std::to_string(photometric) +
                   ", neither grey nor palette nor RGB, is not read");
        }
        const uint16_t format = Field16(TIFFTAG_SAMPLEFORMAT);
        const bool isKnownDepth = sheet_.bits == 1 || sheet_.bits == 2 || sheet_.bits == 4 ||
                                  sheet_.bits == 8 ||
                                  (sheet_.bits == 16 && photometric != PHOTOMETRIC_PALETTE);
        if (!isKnownDepth || (format != SAMPLEFORMAT_UINT && format != SAMPLEFORMAT_VOID)) {
            Refuse("with " + std::to_string(sheet_.bits) + "-bit samples" +
                   (format == SAMPLEFORMAT_UINT ? "" : " that are not plain numbers") +
                   " is not read");
        }
        if (sheet_.samples < sheet_.channels || sheet_.samples > sheet_.channels + 1) {
            Refuse("with " + std::to_string(sheet_.samples) + " samples a pixel is not read");
        }
        if (sheet_.samples > 1 && Field16(TIFFTAG_PLANARCONFIG) != PLANARCONFIG_CONTIG) {
            Refuse("with its colours apart from each other is not read");
        }
        if (photometric == PHOTOMETRIC_PALETTE) {
            ReadPalette();
        }
    }

    // Three tables of 16-bit values; some old programs wrote 8-bit ones.
    void ReadPalette() {
        uint16_t* tables[3] = {};
        if (TIFFGetField(tiff_.get(), TIFFTAG_COLORMAP, &tables[0], &tables[1], &tables[2]) == 0) {
            throw ToolError(path_, "damaged TIFF: no palette");
        }
        const size_t count = size_t{1} << sheet_.bits;
        bool isWide = false;
        for (const uint16_t* table : tables) {
            isWide = isWide ||
                     std::any_of(table, table + count, [](uint16_t value) { return value > 255; });
        }
        const uint32_t maximum = isWide ? 65535 : 255;
        for (size_t i = 0; i < count; ++i) {
            palette_[i] = GreyOfColour(GreyOfSample(tables[0][i], maximum),
                                       GreyOfSample(tables[1][i], maximum),
                                       GreyOfSample(tables[2][i], maximum));
        }
    }

    void ReadOpacity() {
        uint16_t count = 0;
        uint16_t* kinds = nullptr;
        if (sheet_.samples == sheet_.channels ||
            TIFFGetField(tiff_.get(), TIFFTAG_EXTRASAMPLES, &count, &kinds) == 0 || count == 0) {
            return;
        }
        if (kinds[0] == EXTRASAMPLE_UNASSALPHA) {
            sheet_.opacity = Opacity::kApart;
        } else if (kinds[0] == EXTRASAMPLE_ASSOCALPHA) {
            sheet_.opacity = Opacity::kMultiplied;
        }
    }

    void ReadBlockSize() {
        sheet_.isTiled = TIFFIsTiled(tiff_.get()) != 0;
        if (!sheet_.isTiled) {
            sheet_.blockWidth = sheet_.width;
            sheet_.blockHeight = std::min(Field32(TIFFTAG_ROWSPERSTRIP), sheet_.height);
            CheckFileSize(path_, sheet_.blockWidth, sheet_.blockHeight);
            return;
        }
        sheet_.blockWidth = Field32(TIFFTAG_TILEWIDTH);
        sheet_.blockHeight = Field32(TIFFTAG_TILELENGTH);
        CheckFileSize(path_, sheet_.blockWidth, sheet_.blockHeight);
        if (sheet_.blockWidth % kTileStep != 0 || sheet_.blockHeight % kTileStep != 0) {
            throw ToolError(path_, "damaged TIFF: tiles of " + std::to_string(sheet_.blockWidth) +
                                       " x " + std::to_string(sheet_.blockHeight) + " pixels");
        }
    }

    void ReadBlocks(GreyImage& image) {
        const size_t rowBytes = sheet_.BlockRowBytes();
        const tmsize_t libraryRowBytes =
            sheet_.isTiled ? TIFFTileRowSize(tiff_.get()) : TIFFScanlineSize(tiff_.get());
        if (static_cast<size_t>(libraryRowBytes) != rowBytes) {
            Refuse("with rows of " + std::to_string(libraryRowBytes) + " bytes is not read");
        }
        Bytes block(rowBytes * sheet_.blockHeight);
        for (uint32_t top = 0; top < sheet_.height; top += sheet_.blockHeight) {
            for (uint32_t left = 0; left < sheet_.width; left += sheet_.blockWidth) {
                ReadBlock(left, top, block);
                const uint32_t rows = std::min(sheet_.blockHeight, sheet_.height - top);
                for (uint32_t y = 0; y < rows; ++y) {
                    CopyRow(block.data() + y * rowBytes, left, top + y, image);
                }
            }
        }
    }

    void ReadBlock(uint32_t left, uint32_t top, Bytes& block) {
        const uint32_t rows =
            sheet_.isTiled ? sheet_.blockHeight : std::min(sheet_.blockHeight, sheet_.height - top);
        const auto wanted = static_cast<tmsize_t>(sheet_.BlockRowBytes() * rows);
        const tmsize_t found =
            sheet_.isTiled
                ? TIFFReadTile(tiff_.get(), block.data(), left, top, 0, 0)
                : TIFFReadEncodedStrip(tiff_.get(), TIFFComputeStrip(tiff_.get(), top, 0),
                                       block.data(), wanted);
        if (input_.message[0] != '\0') {
            Fail();
        }
        if (found != wanted) {
            throw ToolError(path_, "truncated: " + std::to_string(wanted) +
                                       " bytes of pixels expected, " + std::to_string(found) +
                                       " found");
        }
    }

    void CopyRow(const uint8_t* row, uint32_t left, uint32_t y, GreyImage& image) const {
        const bool isMirrored = sheet_.orientation == ORIENTATION_TOPRIGHT ||
                                sheet_.orientation == ORIENTATION_BOTRIGHT;
        const bool isUpsideDown =
            sheet_.orientation == ORIENTATION_BOTRIGHT || sheet_.orientation == ORIENTATION_BOTLEFT;
        uint8_t* const target =
            image.Row(static_cast<int32_t>(isUpsideDown ? sheet_.height - 1 - y : y));
        const uint32_t end = std::min(sheet_.width, left + sheet_.blockWidth);
        for (uint32_t x = left; x < end; ++x) {
            target[isMirrored ? sheet_.width - 1 - x : x] = GreyOfPixel(row, x - left);
        }
    }

    uint32_t Sample(const uint8_t* row, size_t index) const {
        if (sheet_.bits == 16) {  // in the order of this machine
            uint16_t sample = 0;
            std::memcpy(&sample, row + 2 * index, sizeof(sample));
            return sample;
        }
        const size_t bit = index * sheet_.bits;
        const size_t shift = 8 - sheet_.bits - bit % 8;
        return static_cast<uint32_t>(row[bit / 8]) >> shift & ((1U << sheet_.bits) - 1);
    }

    uint8_t GreyOfPixel(const uint8_t* row, size_t x) const {
        const uint32_t maximum = (1U << sheet_.bits) - 1;
        uint32_t raw[kMaxChannels] = {};
        uint8_t sample[kMaxChannels] = {};
        for (size_t i = 0; i < sheet_.samples; ++i) {
            raw[i] = Sample(row, x * sheet_.samples + i);
            sample[i] = GreyOfSample(raw[i], maximum);
        }
        uint8_t grey = sample[0];
        if (sheet_.photometric == PHOTOMETRIC_RGB) {
            grey = GreyOfColour(sample[0], sample[1], sample[2]);
        } else if (sheet_.photometric == PHOTOMETRIC_PALETTE) {
            grey = palette_[raw[0]];
        } else if (sheet_.photometric == PHOTOMETRIC_MINISWHITE) {
            grey = GreyOfSample(maximum - raw[0], maximum);
        }
        const uint8_t alpha = sample[sheet_.channels % kMaxChannels];
        if (sheet_.opacity == Opacity::kApart) {
            return GreyOnWhite(grey, alpha);
        }
        if (sheet_.opacity == Opacity::kMultiplied) {
            return static_cast<uint8_t>(std::min(255, grey + 255 - alpha));
        }
        return grey;
    }

    // Thumbnails may follow; another page would be a finger that nobody sees.
    void RefuseMorePages() {
        for (int i = 0; TIFFLastDirectory(tiff_.get()) == 0; ++i) {
            if (TIFFReadDirectory(tiff_.get()) == 0) {
                Fail();
            }
            if (i == kMaxThumbnails ||
                (Field32(TIFFTAG_SUBFILETYPE) & FILETYPE_REDUCEDIMAGE) == 0) {
                throw ToolError(path_,
                                "holds more than one page; save the finger's as a file of its own");
            }
        }
    }

    const std::string& path_;
    TiffInput input_;  // outlives the next one, whose messages it takes
    Tiff tiff_ = Tiff(nullptr, TIFFClose);
    Sheet sheet_;
    uint8_t palette_[256] = {};
};

}  // namespace

bool LooksLikeTiff(const Bytes& bytes) {
    constexpr char kStarts[][5] = {"II*\0", "MM\0*", "II+\0", "MM\0+"};  // "+": 64-bit offsets
    return bytes.size() >= 4 &&
           std::any_of(std::begin(kStarts), std::end(kStarts),
                       [&](const char* start) { return std::memcmp(bytes.data(), start, 4) == 0; });
}

GreyImage DecodeTiff(const std::string& path, const Bytes& bytes) {
    return TiffParser(path, bytes).Parse();
}

}  // namespace qorfp::cli
