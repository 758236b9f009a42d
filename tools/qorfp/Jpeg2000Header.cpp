// SPDX-License-Identifier: Apache-2.0
//
// A JP2 file is a list of boxes, of which "jp2h" describes the colours and "jp2c" is the codestream.
// That begins with the markers "start" and "size"; behind some others come the tiles, each in one or
// more parts. The decoder leaves tiles that are missing black, so they are looked for here. Numbers
// are big-endian.
#include "tools/qorfp/Jpeg2000Header.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "tools/qorfp/ImageFile.h"
#include "tools/qorfp/ToolError.h"

namespace qorfp::cli {
namespace {

constexpr uint8_t kCodestreamStart[] = {0xFF, 0x4F, 0xFF, 0x51};
constexpr size_t kComponentsAt = 40;  // in the codestream
constexpr size_t kComponentBytes = 3;
constexpr uint64_t kMaxTiles = 4096;
constexpr uint32_t kMaxComponents = 4;
constexpr uint32_t kMaxBits = 16;
constexpr uint64_t kNamedColours = 1;  // how a "colr" box tells them; others are profiles
constexpr uint64_t kRgb = 16;
constexpr uint64_t kGrey = 17;
constexpr uint64_t kTilePart = 0xFF90;  // markers
constexpr uint64_t kEnd = 0xFFD9;

class HeaderParser {
  public:
    HeaderParser(const std::string& path, const Bytes& bytes) : path_(path), bytes_(bytes) {}

    Jpeg2000Size Parse() {
        const size_t start = IsCodestream(bytes_) ? 0 : FindCodestream();
        if (bytes_.size() - start < kComponentsAt + 2) {
            throw ToolError(path_, "truncated: the JPEG 2000 header is incomplete");
        }
        if (std::memcmp(bytes_.data() + start, kCodestreamStart, sizeof(kCodestreamStart)) != 0) {
            throw ToolError(path_, "damaged JPEG 2000: no codestream");
        }
        return ReadSize(start);
    }

  private:
    [[noreturn]] void Refuse(const std::string& what) const {
        throw ToolError(path_, "JPEG 2000 " + what + "; save it as 8-bit grey");
    }

    uint64_t Number(size_t at, size_t count) const {
        uint64_t value = 0;
        for (size_t i = 0; i < count; ++i) {
            value = value << 8 | bytes_[at + i];
        }
        return value;
    }

    struct Box {
        size_t content = 0;
        size_t end = 0;
        std::string type;
    };

    Box ReadBox(size_t at, size_t end) const {
        constexpr size_t kShortHeader = 8;  // length, type
        constexpr size_t kLongHeader = 16;  // 1, type, length
        const uint64_t left = end - at;
        uint64_t length = left >= kShortHeader ? Number(at, 4) : 0;
        size_t header = kShortHeader;
        if (length == 1 && left >= kLongHeader) {
            length = Number(at + kShortHeader, 8);
            header = kLongHeader;
        } else if (length == 0) {
            length = left;  // to the end
        }
        if (length < header || length > left) {
            throw ToolError(path_, "truncated: a part of the JPEG 2000 file has " +
                                       std::to_string(length) + " bytes, " + std::to_string(left) +
                                       " are left");
        }
        return {at + header, at + static_cast<size_t>(length),
                std::string(bytes_.begin() + static_cast<std::ptrdiff_t>(at) + 4,
                            bytes_.begin() + static_cast<std::ptrdiff_t>(at) + 8)};
    }

    size_t FindCodestream() const {
        for (size_t at = 0; at < bytes_.size();) {
            const Box box = ReadBox(at, bytes_.size());
            if (box.type == "jp2c") {
                return box.content;
            }
            if (box.type == "jp2h") {
                CheckColours(box);
            }
            at = box.end;
        }
        throw ToolError(path_, "truncated: the JPEG 2000 file ends before its pixels");
    }

    void CheckColours(const Box& header) const {
        for (size_t at = header.content; at < header.end;) {
            const Box box = ReadBox(at, header.end);
            if (box.type == "pclr") {
                Refuse("with a palette is not read");
            }
            constexpr size_t kColoursBytes = 7;  // way, two of no use, name
            if (box.type == "colr" && box.end - box.content >= kColoursBytes &&
                Number(box.content, 1) == kNamedColours) {
                const uint64_t colours = Number(box.content + 3, 4);
                if (colours != kRgb && colours != kGrey) {
                    Refuse("with colours of kind " + std::to_string(colours) +
                           ", neither grey nor RGB, is not read");
                }
            }
            at = box.end;
        }
    }

    // Of the codestream: right and bottom edge of the image at 8 and 12, left and top at 16 and 20;
    // sides of a tile at 24 and 28, the first one's edges at 32 and 36; number of components at 40, and
    // for each bits less one (128: signed), and pixels a sample across and down.
    Jpeg2000Size ReadSize(size_t start) const {
        const auto edge = [&](size_t at) { return Number(start + at, 4); };
        if (edge(8) < edge(16) || edge(12) < edge(20) || edge(24) == 0 || edge(28) == 0 ||
            edge(32) > edge(16) || edge(36) > edge(20)) {
            throw ToolError(path_, "damaged JPEG 2000: an image of no size");
        }
        const uint64_t width = edge(8) - edge(16);
        const uint64_t height = edge(12) - edge(20);
        CheckFileSize(path_, width, height);
        const uint64_t tiles = ((edge(8) - edge(32) + edge(24) - 1) / edge(24)) *
                               ((edge(12) - edge(36) + edge(28) - 1) / edge(28));
        if (tiles > kMaxTiles) {
            Refuse("in " + std::to_string(tiles) + " tiles is not read");
        }
        const auto components = static_cast<uint32_t>(Number(start + kComponentsAt, 2));
        if (components == 0 || components > kMaxComponents) {
            Refuse("of " + std::to_string(components) + " components is not read");
        }
        if (width * height * components > kMaxFilePixels) {
            Refuse("of " + std::to_string(components) + " times " + std::to_string(width) + " x " +
                   std::to_string(height) + " samples is too large (32 million in all)");
        }
        CheckComponents(start + kComponentsAt + 2, components);
        CheckTiles(start, static_cast<size_t>(tiles));
        return {static_cast<uint32_t>(width), static_cast<uint32_t>(height), components};
    }

    void CheckComponents(size_t at, uint32_t components) const {
        if (bytes_.size() - at < components * kComponentBytes) {
            throw ToolError(path_, "truncated: the JPEG 2000 header is incomplete");
        }
        for (uint32_t i = 0; i < components; ++i) {
            const uint8_t* component = bytes_.data() + at + i * kComponentBytes;
            const uint32_t bits = (component[0] & 0x7FU) + 1;
            if ((component[0] & 0x80) != 0) {
                Refuse("with signed samples is not read");
            }
            if (bits > kMaxBits) {
                Refuse("with " + std::to_string(bits) + "-bit samples is not read");
            }
            if (component[1] != 1 || component[2] != 1) {
                Refuse("with components of different sizes is not read");
            }
        }
    }

    [[noreturn]] void FailTruncated() const {
        throw ToolError(path_, "truncated: the JPEG 2000 file ends before its last tile");
    }

    /// `count` bytes at `at`, which may lie behind the end.
    uint64_t NumberOrFail(size_t at, size_t count) const {
        if (at > bytes_.size() || bytes_.size() - at < count) {
            FailTruncated();
        }
        return Number(at, count);
    }

    /// Where the first tile begins: behind the markers of the whole image, which have lengths.
    size_t FindFirstTile(size_t start) const {
        size_t at = start + 2;
        while (NumberOrFail(at, 2) != kTilePart) {
            const uint64_t length = NumberOrFail(at + 2, 2);
            if (bytes_[at] != 0xFF || length < 2) {
                throw ToolError(path_,
                                "damaged JPEG 2000: no marker at byte " + std::to_string(at));
            }
            at += 2 + static_cast<size_t>(length);
        }
        return at;
    }

    // Of a part: marker, 2 bytes of no use, tile at 4, length at 6 (0: to the end), number of the
    // part at 10, number of all parts of the tile at 11, which may be told once or never (0).
    void CheckTiles(size_t start, size_t tiles) const {
        struct Tile {
            uint64_t seen = 0;
            uint64_t all = 0;
        };
        constexpr size_t kHeadBytes = 12;
        std::vector<Tile> found(tiles);
        size_t at = FindFirstTile(start);
        while (bytes_.size() - at >= 2 && Number(at, 2) == kTilePart) {
            const uint64_t left = bytes_.size() - at;
            const uint64_t length = NumberOrFail(at + 6, 4) == 0 ? left : Number(at + 6, 4);
            const auto tile = static_cast<size_t>(Number(at + 4, 2));
            if (tile >= tiles || length < kHeadBytes) {
                throw ToolError(path_, "damaged JPEG 2000: a tile at byte " + std::to_string(at));
            }
            if (length > left) {
                FailTruncated();
            }
            ++found[tile].seen;
            found[tile].all = std::max(found[tile].all, Number(at + 11, 1));
            at += static_cast<size_t>(length);
        }
        for (const Tile& tile : found) {
            if (tile.seen == 0 || tile.seen < tile.all) {
                FailTruncated();
            }
        }
        if (at < bytes_.size() && NumberOrFail(at, 2) != kEnd) {
            throw ToolError(path_, "damaged JPEG 2000: no marker at byte " + std::to_string(at));
        }
    }

    const std::string& path_;
    const Bytes& bytes_;
};

}  // namespace

bool IsCodestream(const Bytes& bytes) {
    return bytes.size() >= sizeof(kCodestreamStart) &&
           std::memcmp(bytes.data(), kCodestreamStart, sizeof(kCodestreamStart)) == 0;
}

Jpeg2000Size ReadJpeg2000Size(const std::string& path, const Bytes& bytes) {
    return HeaderParser(path, bytes).Parse();
}

}  // namespace qorfp::cli
