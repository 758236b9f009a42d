// SPDX-License-Identifier: Apache-2.0
//
// tiff-...: the header, all blocks of pixels, the tables, and the directory or directories.
#include <algorithm>
#include <functional>
#include <map>
#include <stdexcept>

#include "tests/cli/FixtureFiles.h"

namespace fixture {
namespace {

constexpr uint32_t kShort = 3;
constexpr uint32_t kLong = 4;
using Samples = std::vector<uint32_t>;

struct TiffShape {
    uint32_t bits = 8;
    uint32_t photometric = 1;  // 0 white is 0, 1 black is 0, 2 RGB, 3 palette, 5 CMYK
    std::function<Samples(uint32_t)> samples = [](uint32_t grey) { return Samples{grey}; };
    uint32_t perPixel = 1;
    int extra = -1;  // meaning of the last sample: 0 none, 1 multiplied opacity, 2 opacity
    uint32_t orientation = 1;  // 2 mirrored, 3 turned round, 4 upside down, 6 turned by a quarter
    uint32_t format = 1;       // 3 floating point
    uint32_t planes = 1;       // 2: apart
    uint32_t blockWidth = 0;   // of tiles
    uint32_t blockHeight = 0;  // of tiles or strips
    int secondPage = -1;       // its kind: 0 an image, 1 a thumbnail
    bool isBigEndian = false;
    bool has64BitOffsets = false;
};

class TiffWriter {
  public:
    TiffWriter(const TiffShape& shape, const Picture& picture) : shape_(shape), picture_(picture) {}

    Bytes Write() {
        const uint32_t width = static_cast<uint32_t>(picture_.width);
        const uint32_t height = static_cast<uint32_t>(picture_.height);
        const bool isTiled = shape_.blockWidth > 0;
        const uint32_t blockWidth = isTiled ? shape_.blockWidth : width;
        const uint32_t blockHeight = shape_.blockHeight > 0 ? shape_.blockHeight : height;
        bytes_ = shape_.isBigEndian ? Bytes{'M', 'M'} : Bytes{'I', 'I'};
        Put(shape_.has64BitOffsets ? 43 : 42, 2);
        if (shape_.has64BitOffsets) {
            Put(8, 2);
            Put(0, 2);
        }
        const size_t firstLink = bytes_.size();
        Put(0, OffsetBytes());
        std::vector<uint64_t> offsets;
        std::vector<uint64_t> counts;
        for (uint32_t top = 0; top < height; top += blockHeight) {
            for (uint32_t left = 0; left < width; left += blockWidth) {
                offsets.push_back(bytes_.size());
                PutBlock(left, top, blockWidth,
                         isTiled ? blockHeight : std::min(blockHeight, height - top));
                counts.push_back(bytes_.size() - offsets.back());
            }
        }
        Add(256, kLong, {width});
        Add(257, kLong, {height});
        Add(258, kShort, std::vector<uint64_t>(shape_.perPixel, shape_.bits));
        Add(259, kShort, {1});  // not packed
        Add(262, kShort, {shape_.photometric});
        Add(274, kShort, {shape_.orientation});
        Add(277, kShort, {shape_.perPixel});
        Add(284, kShort, {shape_.planes});
        Add(339, kShort, std::vector<uint64_t>(shape_.perPixel, shape_.format));
        if (shape_.extra >= 0) {
            Add(338, kShort, {static_cast<uint64_t>(shape_.extra)});
        }
        if (shape_.photometric == 3) {
            AddPalette();
        }
        if (isTiled) {
            Add(322, kLong, {blockWidth});
            Add(323, kLong, {blockHeight});
        } else {
            Add(278, kLong, {blockHeight});
        }
        Add(isTiled ? 324 : 273, kLong, offsets);
        Add(isTiled ? 325 : 279, kLong, counts);
        const size_t link = PutDirectory(firstLink);
        if (shape_.secondPage >= 0) {
            Add(254, kLong, {static_cast<uint64_t>(shape_.secondPage)});
            PutDirectory(link);
        }
        return bytes_;
    }

  private:
    struct Entry {
        uint32_t type = 0;
        std::vector<uint64_t> values;
    };

    size_t OffsetBytes() const { return shape_.has64BitOffsets ? 8 : 4; }

    void Set(size_t at, uint64_t value, size_t count) {
        for (size_t i = 0; i < count; ++i) {
            const size_t shift = 8 * (shape_.isBigEndian ? count - 1 - i : i);
            bytes_.at(at + i) = static_cast<uint8_t>(value >> shift & 0xFF);
        }
    }

    void Put(uint64_t value, size_t count) {
        bytes_.resize(bytes_.size() + count);
        Set(bytes_.size() - count, value, count);
    }

    void Add(uint32_t tag, uint32_t type, const std::vector<uint64_t>& values) {
        directory_[tag] = {type, values};
    }

    // Three tables of 16-bit values, grey in the middle of each byte's range.
    void AddPalette() {
        std::vector<uint64_t> values;
        for (int table = 0; table < 3; ++table) {
            for (uint64_t grey = 0; grey < 256; ++grey) {
                values.push_back(grey * 257);
            }
        }
        Add(320, kShort, values);
    }

    // The grey that lies at a place of the file.
    uint32_t Stored(uint32_t x, uint32_t y) const {
        const bool isMirrored = shape_.orientation == 2 || shape_.orientation == 3;
        const bool isUpsideDown = shape_.orientation == 3 || shape_.orientation == 4;
        return picture_.At(isMirrored ? picture_.width - 1 - x : x,
                           isUpsideDown ? picture_.height - 1 - y : y);
    }

    // Tiles that reach over the edges are filled up with 85, which is no part of the image.
    void PutBlock(uint32_t left, uint32_t top, uint32_t width, uint32_t height) {
        for (uint32_t y = top; y < top + height; ++y) {
            uint32_t pending = 0;
            uint32_t pendingBits = 0;
            for (uint32_t x = left; x < left + width; ++x) {
                const bool isInside = x < picture_.width && y < picture_.height;
                for (const uint32_t sample : shape_.samples(isInside ? Stored(x, y) : 85)) {
                    if (shape_.bits >= 8) {
                        Put(sample, shape_.bits / 8);
                        continue;
                    }
                    pending = pending << shape_.bits | sample >> (8 - shape_.bits);
                    pendingBits += shape_.bits;
                    if (pendingBits == 8) {
                        Put(pending & 0xFF, 1);
                        pendingBits = 0;
                    }
                }
            }
            if (pendingBits > 0) {
                Put(pending << (8 - pendingBits) & 0xFF, 1);
            }
        }
    }

    /// Returns where the link to the next one is.
    size_t PutDirectory(size_t link) {
        std::map<uint32_t, uint64_t> places;
        for (const auto& [tag, entry] : directory_) {
            const size_t size = entry.type == kShort ? 2 : 4;
            if (size * entry.values.size() > OffsetBytes()) {
                bytes_.resize(bytes_.size() + bytes_.size() % 2);
                places[tag] = bytes_.size();
                PutValues(entry, size);
            }
        }
        bytes_.resize(bytes_.size() + bytes_.size() % 2);
        Set(link, bytes_.size(), OffsetBytes());
        Put(directory_.size(), shape_.has64BitOffsets ? 8 : 2);
        for (const auto& [tag, entry] : directory_) {
            Put(tag, 2);
            Put(entry.type, 2);
            Put(entry.values.size(), OffsetBytes());
            const size_t at = bytes_.size();
            if (places.count(tag) > 0) {
                Put(places[tag], OffsetBytes());
            } else {
                PutValues(entry, entry.type == kShort ? 2 : 4);
                bytes_.resize(at + OffsetBytes());
            }
        }
        Put(0, OffsetBytes());
        return bytes_.size() - OffsetBytes();
    }

    void PutValues(const Entry& entry, size_t size) {
        for (const uint64_t value : entry.values) {
            Put(value, size);
        }
    }

    const TiffShape& shape_;
    const Picture& picture_;
    Bytes bytes_;
    std::map<uint32_t, Entry> directory_;
};

TiffShape FindTiffShape(const std::string& name) {
    const auto grey16 = [](uint32_t grey) { return Samples{grey * 257}; };
    const auto negative = [](uint32_t grey) { return Samples{255 - grey}; };
    const auto alpha = [](uint32_t grey) { return Samples{0, 255 - grey}; };
    const auto colour = [](uint32_t grey) { return Samples{grey, grey, grey}; };
    const auto colour16 = [](uint32_t grey) { return Samples{grey * 257, grey * 257, grey * 257}; };
    const auto colourAlpha = [](uint32_t grey) { return Samples{0, 0, 0, 255 - grey}; };
    const auto ink = [](uint32_t grey) { return Samples{0, 0, 0, 255 - grey}; };
    const auto changed = [](void (*change)(TiffShape&)) {
        TiffShape shape;
        change(shape);
        return shape;
    };
    const std::map<std::string, TiffShape> kShapes = {
        {"grey1", {1}},
        {"grey2", {2}},
        {"grey4", {4}},
        {"grey8", {8}},
        {"grey16", {16, 1, grey16}},
        {"white1", {1, 0, negative}},
        {"white8", {8, 0, negative}},
        {"grey-alpha", {8, 1, alpha, 2, 2}},
        {"grey-multiplied", {8, 1, alpha, 2, 1}},
        {"grey-extra",
         {8, 1,
          [](uint32_t grey) {
              return Samples{grey, 77};
          },
          2, 0}},
        {"rgb", {8, 2, colour, 3}},
        {"rgb16", {16, 2, colour16, 3}},
        {"rgba", {8, 2, colourAlpha, 4, 2}},
        {"palette", {8, 3}},
        {"cmyk", {8, 5, ink, 4}},
        {"planes", {8, 2, colour, 3, -1, 1, 1, 2}},
        {"float", {16, 1, grey16, 1, -1, 1, 3}},
        {"mirrored", changed([](TiffShape& shape) { shape.orientation = 2; })},
        {"turned", changed([](TiffShape& shape) { shape.orientation = 3; })},
        {"upside-down", changed([](TiffShape& shape) { shape.orientation = 4; })},
        {"quarter", changed([](TiffShape& shape) { shape.orientation = 6; })},
        {"strips", changed([](TiffShape& shape) { shape.blockHeight = 7; })},
        {"tiles", changed([](TiffShape& shape) { shape.blockWidth = 48, shape.blockHeight = 16; })},
        {"odd-tiles",
         changed([](TiffShape& shape) { shape.blockWidth = 8, shape.blockHeight = 8; })},
        {"pages", changed([](TiffShape& shape) { shape.secondPage = 0; })},
        {"thumbnail", changed([](TiffShape& shape) { shape.secondPage = 1; })},
        {"64", changed([](TiffShape& shape) { shape.has64BitOffsets = true; })},
    };
    return kShapes.at(name);
}

}  // namespace

Bytes WriteTiff(const std::string& name, const Picture& picture) {
    const std::string bigEndian = "big-";
    const bool isBigEndian = name.rfind(bigEndian, 0) == 0;
    TiffShape shape = FindTiffShape(isBigEndian ? name.substr(bigEndian.size()) : name);
    shape.isBigEndian = isBigEndian;
    return TiffWriter(shape, picture).Write();
}

}  // namespace fixture
