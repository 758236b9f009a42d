// SPDX-License-Identifier: Apache-2.0
#include "fuzz/support/PngMaker.h"

#include <algorithm>
#include <string>

#include "tests/support/Crc32.h"

namespace fuzz {

namespace {

using Bytes = std::vector<uint8_t>;

void AppendBigEndian(Bytes& file, uint32_t value) {
    for (int32_t shift = 24; shift >= 0; shift -= 8) {
        file.push_back(static_cast<uint8_t>(value >> shift));
    }
}

Bytes Signature() {
    return {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
}

void AppendChunk(Bytes& file, const std::string& type, const Bytes& data) {
    AppendBigEndian(file, static_cast<uint32_t>(data.size()));
    Bytes body(type.begin(), type.end());
    body.insert(body.end(), data.begin(), data.end());
    file.insert(file.end(), body.begin(), body.end());
    AppendBigEndian(file, support::Crc32(body.data(), body.size()));
}

Bytes Header(uint32_t width, uint32_t height, uint8_t depth, uint8_t colour, uint8_t interlace) {
    Bytes header;
    AppendBigEndian(header, width);
    AppendBigEndian(header, height);
    header.insert(header.end(), {depth, colour, 0, 0, interlace});
    return header;
}

uint32_t Adler32(const Bytes& data) {
    uint32_t low = 1;
    uint32_t high = 0;
    for (const uint8_t byte : data) {
        low = (low + byte) % 65521;
        high = (high + low) % 65521;
    }
    return high << 16 | low;
}

// A zlib stream of stored blocks.
Bytes Stored(const Bytes& data) {
    constexpr size_t kLargestBlock = 65535;
    Bytes stream = {0x78, 0x01};
    size_t done = 0;
    do {
        const size_t count = std::min(kLargestBlock, data.size() - done);
        const uint8_t low = static_cast<uint8_t>(count & 255);
        const uint8_t high = static_cast<uint8_t>(count >> 8);
        const uint8_t isLast = done + count == data.size() ? 1 : 0;
        stream.insert(stream.end(), {isLast, low, high, static_cast<uint8_t>(low ^ 255),
                                     static_cast<uint8_t>(high ^ 255)});
        const uint8_t* const from = data.data() + done;
        stream.insert(stream.end(), from, from + count);
        done += count;
    } while (done < data.size());
    AppendBigEndian(stream, Adler32(data));
    return stream;
}

}  // namespace

Bytes PngOf(uint32_t width, uint32_t height, const Bytes& pixels) {
    Bytes rows;
    for (size_t y = 0; y < height; ++y) {
        rows.push_back(0);  // no filter
        const uint8_t* const row = pixels.data() + y * width;
        rows.insert(rows.end(), row, row + width);
    }
    Bytes file = Signature();
    AppendChunk(file, "IHDR", Header(width, height, 8, 0, 0));
    AppendChunk(file, "IDAT", Stored(rows));
    AppendChunk(file, "IEND", {});
    return file;
}

Bytes ReadPng(ByteReader& reader) {
    static const char* const kTypes[] = {"IDAT", "PLTE", "tRNS", "gAMA", "sBIT", "tEXt",
                                         "IEND", "IHDR", "cHRM", "bKGD", "iCCP", "zTXt"};
    constexpr int32_t kTypeCount = sizeof(kTypes) / sizeof(kTypes[0]);
    Bytes file = Signature();
    const uint8_t choice = reader.Byte();
    const bool isLarge = choice % 16 == 0;
    const uint32_t width = isLarge ? reader.Number32() : reader.Byte() % 64u;
    const uint32_t height = isLarge ? reader.Number32() : reader.Byte() % 64u;
    const uint8_t depth = static_cast<uint8_t>(1u << reader.Below(6));
    const uint8_t colour = static_cast<uint8_t>(reader.Below(8));
    AppendChunk(file, "IHDR", Header(width, height, depth, colour, choice >= 128 ? 1 : 0));
    while (reader.Left() > 0) {
        const int32_t type = reader.Below(kTypeCount + 8);  // pixels most often
        const Bytes data = reader.Bytes(reader.Number16() % 1024);
        const std::string name = type < kTypeCount ? kTypes[type] : kTypes[0];
        const bool isPacked = name == kTypes[0] && (choice & 2) == 0;
        AppendChunk(file, name, isPacked ? Stored(data) : data);
    }
    AppendChunk(file, "IEND", {});
    return file;
}

}  // namespace fuzz
