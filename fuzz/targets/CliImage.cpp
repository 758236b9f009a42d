// SPDX-License-Identifier: Apache-2.0
//
// The command line's image readers: any bytes as a file, PGM, BMP, PNG and TIFF files in pieces. A file is
// refused with a reason or gives an image of the size it says, the same when read again; and what is
// written as PGM, PNG or TIFF is read as it was, but refused when its end is missing.
#include <optional>
#include <string>

#include "fuzz/support/ByteReader.h"
#include "fuzz/support/Expect.h"
#include "fuzz/support/PngMaker.h"
#include "fuzz/support/Target.h"
#include "fuzz/support/TiffMaker.h"
#include "tools/qorfp/ImageFile.h"
#include "tools/qorfp/ToolError.h"

namespace {

using namespace fuzz;
using qorfp::cli::Bytes;
using qorfp::cli::GreyImage;

const std::string kPath = "picture";

/// The image, or nothing when the reader has refused the file.
std::optional<GreyImage> Decode(const Bytes& bytes) {
    try {
        return qorfp::cli::DecodeImage(kPath, bytes);
    } catch (const qorfp::cli::ToolError& error) {
        const std::string text = error.what();
        Expect(text.compare(0, kPath.size(), kPath) == 0 && text.size() > kPath.size() + 2,
               "a refusal names the file and a reason");
        return std::nullopt;
    }
}

void ExpectSound(const GreyImage& image) {
    Expect(image.width >= 1 && image.height >= 1, "an image has pixels");
    ExpectEqual(int64_t{image.width} * image.height, static_cast<int64_t>(image.pixels.size()),
                "number of pixels");
    Expect(image.pixels.size() <= qorfp::cli::kMaxFilePixels, "an image is not too large");
}

void Check(const Bytes& bytes) {
    const std::optional<GreyImage> image = Decode(bytes);
    const std::optional<GreyImage> again = Decode(bytes);
    Expect(image.has_value() == again.has_value(), "a file is refused twice or not at all");
    if (image) {
        ExpectSound(*image);
        ExpectEqual(image->width, again->width, "width read again");
        ExpectEqual(image->pixels, again->pixels, "pixels read again");
    }
}

void Append(Bytes& file, const std::string& text) {
    file.insert(file.end(), text.begin(), text.end());
}

void CheckPgm(ByteReader& reader) {
    static const char* const kGaps[] = {" ", "\n", "\t \r\n", "\n# text\n", "", "#", "\v", "-"};
    const auto gap = [&] { return std::string(kGaps[reader.Below(8)]); };
    Bytes file;
    const uint8_t choice = reader.Byte();
    Append(file, choice % 2 == 0 ? "P5" : "P2");
    for (int32_t i = 0; i < 3; ++i) {
        Append(file, gap() + std::to_string(choice < 16 ? reader.Number32() : reader.Byte()));
    }
    Append(file, gap());
    const Bytes rest = reader.Rest();
    for (const uint8_t byte : rest) {
        if (choice % 2 == 0 || choice % 4 == 1) {
            file.push_back(byte);
        } else {
            Append(file, std::to_string(byte) + " ");
        }
    }
    Check(file);
}

void AppendLittleEndian(Bytes& file, uint32_t value, int32_t bytes) {
    for (int32_t i = 0; i < bytes; ++i) {
        file.push_back(static_cast<uint8_t>(value >> 8 * i));
    }
}

// The headers of all ages, with the fields that decide from the input.
void CheckBmp(ByteReader& reader) {
    constexpr uint32_t kHeaders[] = {12, 40, 52, 56, 64, 108, 124, 16};
    const uint32_t header = kHeaders[reader.Below(8)];
    const uint8_t choice = reader.Byte();
    const bool isLarge = choice % 16 == 0;
    const uint32_t width = isLarge ? reader.Number32() : reader.Byte();
    uint32_t height = isLarge ? reader.Number32() : reader.Byte();
    if (choice % 4 == 1) {
        height = 0 - height;  // top row first
    }
    constexpr uint32_t kDepths[] = {1, 4, 8, 16, 24, 32, 2, 0};
    const uint32_t depth = kDepths[reader.Below(8)];
    Bytes file = {'B', 'M'};
    AppendLittleEndian(file, reader.Byte(), 4);
    AppendLittleEndian(file, 0, 4);
    AppendLittleEndian(file, choice % 8 == 2 ? reader.Number32() : 14 + header + reader.Byte(), 4);
    AppendLittleEndian(file, header, 4);
    const int32_t sideBytes = header == 12 ? 2 : 4;
    AppendLittleEndian(file, width, sideBytes);
    AppendLittleEndian(file, height, sideBytes);
    AppendLittleEndian(file, 1, 2);
    AppendLittleEndian(file, depth, 2);
    if (header != 12) {
        AppendLittleEndian(file, reader.Byte() % 8u, 4);  // packing
    }
    const Bytes rest = reader.Rest();
    file.insert(file.end(), rest.begin(), rest.end());
    if (choice >= 64) {
        file.resize(file.size() + size_t{choice} * 64, choice);  // pixels for headers of few bytes
    }
    Check(file);
}

void CheckRoundTrip(ByteReader& reader) {
    const int32_t width = reader.Between(1, 40);
    const int32_t height = reader.Between(1, 40);
    const Bytes pixels = reader.Bytes(static_cast<size_t>(width) * static_cast<size_t>(height));
    Bytes pgm;
    Append(pgm, "P5\n" + std::to_string(width) + " " + std::to_string(height) + "\n255\n");
    pgm.insert(pgm.end(), pixels.begin(), pixels.end());
    const Bytes png = PngOf(static_cast<uint32_t>(width), static_cast<uint32_t>(height), pixels);
    const Bytes tiff = TiffOf(static_cast<uint32_t>(width), static_cast<uint32_t>(height), pixels);
    const size_t missing = reader.Number16();
    for (Bytes file : {pgm, png, tiff}) {
        const std::optional<GreyImage> image = Decode(file);
        Expect(image.has_value(), "a sound file is read");
        ExpectEqual(width, image->width, "width of a sound file");
        ExpectEqual(pixels, image->pixels, "pixels of a sound file");
        file.resize(file.size() - 1 - missing % file.size());
        Expect(!Decode(file).has_value(), "a file without its end is refused");
    }
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    ByteReader reader(data, size);
    const uint8_t choice = reader.Byte();
    if (choice >= 250) {  // the other kinds are told by the remainder
        Check(ReadTiff(reader));
        return 0;
    }
    switch (choice % 5) {
        case 0:
            Check(reader.Rest());
            break;
        case 1:
            CheckPgm(reader);
            break;
        case 2:
            CheckBmp(reader);
            break;
        case 3:
            Check(ReadPng(reader));
            break;
        default:
            CheckRoundTrip(reader);
            break;
    }
    return 0;
}
