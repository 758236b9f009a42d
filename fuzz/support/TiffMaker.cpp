// SPDX-License-Identifier: Apache-2.0
#include "fuzz/support/TiffMaker.h"

#include <algorithm>
#include <map>

namespace fuzz {

namespace {

using Bytes = std::vector<uint8_t>;
using Values = std::vector<uint32_t>;

enum Tag : uint32_t {
    kKind = 254,
    kWidth = 256,
    kHeight = 257,
    kBits = 258,
    kPacking = 259,
    kPhotometric = 262,
    kFillOrder = 266,
    kOffsets = 273,
    kOrientation = 274,
    kSamples = 277,
    kRows = 278,
    kCounts = 279,
    kPlanes = 284,
    kPredictor = 317,
    kPalette = 320,
    kTileWidth = 322,
    kTileHeight = 323,
    kTileOffsets = 324,
    kTileCounts = 325,
    kExtra = 338,
    kFormat = 339,
};

constexpr uint32_t kPixelsAt = 8;

void Append(Bytes& file, uint32_t value, int32_t bytes) {
    for (int32_t i = 0; i < bytes; ++i) {
        file.push_back(static_cast<uint8_t>(value >> 8 * i));
    }
}

// The pixels right behind the head, then what entries have no room for, then the directory, which
// tells all numbers in 32 bits, or, of the palette, in 16.
Bytes Assemble(const std::map<uint32_t, Values>& entries, const Bytes& pixels, uint32_t next) {
    Bytes file(pixels.size() + kPixelsAt);
    file[0] = file[1] = 'I';
    file[2] = 42;
    std::copy(pixels.begin(), pixels.end(), file.begin() + kPixelsAt);
    file.resize(file.size() + file.size() % 2);
    Bytes directory;
    Append(directory, static_cast<uint32_t>(entries.size()), 2);
    for (const auto& [tag, values] : entries) {
        const int32_t size = tag == kPalette ? 2 : 4;
        Append(directory, tag, 2);
        Append(directory, size == 2 ? 3 : 4, 2);
        Append(directory, static_cast<uint32_t>(values.size()), 4);
        if (values.size() == 1) {
            Append(directory, values[0], 4);
            continue;
        }
        Append(directory, static_cast<uint32_t>(file.size()), 4);
        for (const uint32_t value : values) {
            Append(file, value, size);
        }
    }
    Append(directory, next, 4);
    for (uint32_t i = 0; i < 4; ++i) {
        file[4 + i] = static_cast<uint8_t>(file.size() >> 8 * i);
    }
    file.insert(file.end(), directory.begin(), directory.end());
    return file;
}

}  // namespace

Bytes TiffOf(uint32_t width, uint32_t height, const Bytes& pixels) {
    const auto count = static_cast<uint32_t>(pixels.size());
    return Assemble({{kWidth, {width}},
                     {kHeight, {height}},
                     {kBits, {8}},
                     {kPhotometric, {1}},
                     {kOffsets, {kPixelsAt}},
                     {kCounts, {count}}},
                    pixels, 0);
}

Bytes ReadTiff(ByteReader& reader) {
    const uint8_t choice = reader.Byte();
    const bool isLarge = choice % 16 == 0;
    const bool isTiled = choice % 4 == 1;
    std::map<uint32_t, Values> entries;
    entries[kWidth] = {isLarge ? reader.Number32() : reader.Byte() % 64u};
    entries[kHeight] = {isLarge ? reader.Number32() : reader.Byte() % 64u};
    entries[kPhotometric] = {reader.Byte() % 7u};
    const uint32_t samples = reader.Byte() % 6u;
    const uint8_t bits = reader.Byte();
    entries[kSamples] = {samples};
    entries[kBits] = Values(samples > 0 ? samples : 1, bits % 8 == 7 ? bits : 1u << bits % 8);
    constexpr uint32_t kPackings[] = {1, 2, 3, 4, 5, 6, 7, 8, 32773, 34712, 50000, 34925};
    entries[kPacking] = {kPackings[reader.Below(12)]};
    const uint32_t rows = reader.Byte() % 64u;
    const uint32_t columns = reader.Byte() % 4u;
    const uint32_t blocks = 1 + reader.Byte() % 8u;
    constexpr uint32_t kOthers[] = {kKind,  kOrientation, kPlanes,    kPredictor,
                                    kExtra, kFormat,      kFillOrder, 700};
    for (int32_t count = reader.Below(8); count > 0; --count) {
        const uint32_t tag = kOthers[reader.Below(8)];
        entries[tag] = {reader.Byte()};
    }
    if (entries[kPhotometric][0] == 3 && bits % 8 <= 3) {
        Values palette(size_t{3} << (1u << bits % 8));
        for (size_t i = 0; i < palette.size(); ++i) {
            palette[i] = static_cast<uint32_t>(i * 7919 * (bits + 1u)) & 0xFFFF;
        }
        entries[kPalette] = palette;
    }
    const Bytes pixels = reader.Rest();
    const auto size = static_cast<uint32_t>(pixels.size());
    Values offsets;
    for (uint32_t i = 0; i < blocks; ++i) {
        offsets.push_back(kPixelsAt + i * (size / blocks));
    }
    const Values counts(blocks, size / blocks);
    if (isTiled) {
        entries[kTileWidth] = {columns * 16};
        entries[kTileHeight] = {rows};
        entries[kTileOffsets] = offsets;
        entries[kTileCounts] = counts;
    } else {
        entries[kRows] = {rows};
        entries[kOffsets] = offsets;
        entries[kCounts] = counts;
    }
    return Assemble(entries, pixels, choice >= 240 ? kPixelsAt : 0);
}

}  // namespace fuzz
