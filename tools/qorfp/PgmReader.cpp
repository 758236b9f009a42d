// SPDX-License-Identifier: Apache-2.0
//
// Portable grey maps: P5 (binary) and P2 (text), any maximum value up to 65535. Comments may stand
// anywhere in the header, and in P2 also between the pixels.
#include <limits>
#include <optional>

#include "tools/qorfp/ImageFile.h"
#include "tools/qorfp/ToolError.h"

namespace qorfp::cli {
namespace {

bool IsBlank(uint8_t byte) {
    return byte == ' ' || (byte >= '\t' && byte <= '\r');
}

bool IsDigit(uint8_t byte) {
    return byte >= '0' && byte <= '9';
}

class PgmParser {
  public:
    PgmParser(const std::string& path, const Bytes& bytes) : path_(path), bytes_(bytes) {}

    GreyImage Parse() {
        const bool isText = bytes_[1] == '2';
        const uint64_t width = HeaderNumber("width");
        const uint64_t height = HeaderNumber("height");
        maximum_ = HeaderNumber("maximum grey value");
        CheckFileSize(path_, width, height);
        if (maximum_ == 0 || maximum_ > 65535) {
            throw ToolError(path_, "maximum grey value " + std::to_string(maximum_) +
                                       " is not within 1 to 65535");
        }
        GreyImage image(static_cast<int32_t>(width), static_cast<int32_t>(height));
        if (isText) {
            ReadText(image);
        } else {
            ReadBinary(image);
        }
        return image;
    }

  private:
    void SkipBlanksAndComments() {
        while (position_ < bytes_.size()) {
            if (bytes_[position_] == '#') {
                while (position_ < bytes_.size() && bytes_[position_] != '\n') {
                    ++position_;
                }
            } else if (IsBlank(bytes_[position_])) {
                ++position_;
            } else {
                return;
            }
        }
    }

    /// The next number, or nothing at the end of the file.
    std::optional<uint64_t> Number() {
        SkipBlanksAndComments();
        if (position_ == bytes_.size()) {
            return std::nullopt;
        }
        if (!IsDigit(bytes_[position_])) {
            throw ToolError(
                path_, "damaged PGM: a number was expected at byte " + std::to_string(position_));
        }
        constexpr uint64_t kMaxNumber = std::numeric_limits<uint64_t>::max() / 10 - 1;
        const size_t start = position_;
        uint64_t value = 0;
        while (position_ < bytes_.size() && IsDigit(bytes_[position_])) {
            if (value > kMaxNumber) {
                throw ToolError(path_,
                                "damaged PGM: an endless number at byte " + std::to_string(start));
            }
            value = value * 10 + (bytes_[position_] - uint64_t{'0'});
            ++position_;
        }
        return value;
    }

    uint64_t HeaderNumber(const char* what) {
        const std::optional<uint64_t> number = Number();
        if (!number) {
            throw ToolError(path_,
                            std::string("truncated: the PGM header ends before the ") + what);
        }
        return *number;
    }

    uint8_t Grey(uint64_t sample) const {
        if (sample > maximum_) {
            throw ToolError(path_, "damaged PGM: pixel value " + std::to_string(sample) +
                                       " is above the maximum " + std::to_string(maximum_));
        }
        return GreyOfSample(static_cast<uint32_t>(sample), static_cast<uint32_t>(maximum_));
    }

    void ReadText(GreyImage& image) {
        for (size_t i = 0; i < image.pixels.size(); ++i) {
            const std::optional<uint64_t> sample = Number();
            if (!sample) {
                throw ToolError(path_, "truncated: " + std::to_string(image.pixels.size()) +
                                           " pixels expected, " + std::to_string(i) + " found");
            }
            image.pixels[i] = Grey(*sample);
        }
    }

    void ReadBinary(GreyImage& image) {
        if (position_ < bytes_.size() && IsBlank(bytes_[position_])) {
            ++position_;  // exactly one blank parts the header from the pixels
        }
        const size_t sampleBytes = maximum_ > 255 ? 2 : 1;
        const size_t needed = image.pixels.size() * sampleBytes;
        const size_t found = bytes_.size() - position_;
        if (found < needed) {
            throw ToolError(path_, "truncated: " + std::to_string(needed) +
                                       " bytes of pixels expected, " + std::to_string(found) +
                                       " found");
        }
        const uint8_t* source = bytes_.data() + position_;
        for (size_t i = 0; i < image.pixels.size(); ++i) {
            const uint64_t sample =
                sampleBytes == 1 ? source[i] : (uint64_t{source[2 * i]} << 8) + source[2 * i + 1];
            image.pixels[i] = Grey(sample);
        }
    }

    const std::string& path_;
    const Bytes& bytes_;
    size_t position_ = 2;  // behind the two letters of the format
    uint64_t maximum_ = 0;
};

}  // namespace

bool LooksLikePgm(const Bytes& bytes) {
    return bytes.size() >= 3 && bytes[0] == 'P' && (bytes[1] == '2' || bytes[1] == '5') &&
           (IsBlank(bytes[2]) || bytes[2] == '#');
}

GreyImage DecodePgm(const std::string& path, const Bytes& bytes) {
    return PgmParser(path, bytes).Parse();
}

}  // namespace qorfp::cli
