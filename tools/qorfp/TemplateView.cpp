// SPDX-License-Identifier: Apache-2.0
//
// Layout read and written here, all words little-endian:
//
//     0   3  version text        369    1  quality
//     3   1  minutia count       370    1  key count, 371 zero
//     4  6n  minutiae            372  7k  keys
//                                510    2  sum of bytes 0..509
#include "tools/qorfp/TemplateView.h"

#include <algorithm>
#include <cstring>

#include "tools/qorfp/ToolError.h"

namespace qorfp::cli {
namespace {

constexpr size_t kVersionBytes = 3;
constexpr size_t kCountAt = 3;
constexpr size_t kMinutiaeAt = 4;
constexpr size_t kMinutiaBytes = 6;
constexpr size_t kQualityAt = 369;
constexpr size_t kKeyCountAt = 370;
constexpr size_t kKeysAt = 372;
constexpr size_t kKeyBytes = 7;
constexpr size_t kChecksumAt = 510;
constexpr int kCoordinateOrigin = 256;
constexpr int kCoordinateSpan = 1024;

uint32_t Word(const uint8_t* bytes, size_t count) {
    uint32_t word = 0;
    for (size_t i = count; i-- > 0;) {
        word = word << 8 | bytes[i];
    }
    return word;
}

int Bits(uint32_t word, unsigned shift, unsigned count) {
    return static_cast<int>(word >> shift & ((1U << count) - 1));
}

bool HasVersion(const uint8_t* bytes, const char* version) {
    return std::memcmp(bytes, version, kVersionBytes) == 0;
}

MinutiaView ReadMinutia(const uint8_t* entry) {
    const uint32_t place = Word(entry, 3);
    const uint32_t rest = Word(entry + 3, 2);
    MinutiaView minutia;
    minutia.y = Bits(place, 0, 10) - kCoordinateOrigin;
    minutia.x = Bits(place, 10, 10) - kCoordinateOrigin;
    minutia.type = static_cast<uint8_t>(Bits(place, 20, 2));
    minutia.confidence = Bits(rest, 0, 4);
    minutia.disorder = Bits(rest, 4, 6);
    minutia.ridgePeriod = Bits(rest, 10, 6);
    minutia.direction = entry[5];
    return minutia;
}

void WriteWord(uint8_t* bytes, int word, size_t count) {
    for (size_t i = 0; i < count; ++i) {
        bytes[i] = static_cast<uint8_t>(word >> 8 * i & 0xFF);
    }
}

void WriteMinutia(const MinutiaView& minutia, uint8_t* entry) {
    WriteWord(entry,
              minutia.type << 20 | (minutia.x + kCoordinateOrigin) << 10 |
                  (minutia.y + kCoordinateOrigin),
              3);
    WriteWord(entry + 3, minutia.ridgePeriod << 10 | minutia.disorder << 4 | minutia.confidence, 2);
    entry[5] = static_cast<uint8_t>(minutia.direction);
}

KeyView ReadKey(const uint8_t* entry) {
    const uint32_t directions = Word(entry, 2);
    const uint32_t places = Word(entry + 2, 3);
    KeyView key;
    for (unsigned slot = 0; slot < 3; ++slot) {
        key.neighbourDirection[slot] = Bits(directions, 5 * slot, 5);
        key.distance[slot] = Bits(places, 4 * slot, 4);
        key.bearing[slot] = Bits(places, 12 + 4 * slot, 4);
    }
    key.minutia = entry[5];
    key.direction = entry[6];
    return key;
}

std::string FindProblem(const TemplateView& view) {
    if (view.count < kMinMinutiae) {
        return "fewer than 6 minutiae";
    }
    for (size_t i = 0; i < view.minutiae.size(); ++i) {
        const uint8_t type = view.minutiae[i].type;
        if (type != kEnding && type != kBifurcation) {
            return "minutia " + std::to_string(i) + " has the unknown type " + std::to_string(type);
        }
    }
    return "";
}

}  // namespace

int TemplateView::CountOfType(uint8_t type) const {
    return static_cast<int>(std::count_if(minutiae.begin(), minutiae.end(),
                                          [type](const MinutiaView& m) { return m.type == type; }));
}

bool LooksLikeTemplate(const Bytes& bytes) {
    return bytes.size() == kTemplateBytes &&
           (HasVersion(bytes.data(), "300") || HasVersion(bytes.data(), "301"));
}

TemplateBytes CheckTemplate(const std::string& path, const Bytes& bytes) {
    const bool hasVersionText = bytes.size() >= kVersionBytes && (HasVersion(bytes.data(), "300") ||
                                                                  HasVersion(bytes.data(), "301"));
    if (!hasVersionText) {
        throw ToolError(path, "is not a template: it does not begin with \"300\" or \"301\"");
    }
    if (bytes.size() != kTemplateBytes) {
        throw ToolError(
            path, "is not a template: " + std::to_string(bytes.size()) + " bytes instead of 512");
    }
    if (bytes[kCountAt] > kMaxMinutiae) {
        throw ToolError(
            path, "damaged template: " + std::to_string(bytes[kCountAt]) + " minutiae, 60 at most");
    }
    TemplateBytes result = {};
    std::copy(bytes.begin(), bytes.end(), result.begin());
    return result;
}

TemplateView ReadTemplate(const TemplateBytes& bytes) {
    TemplateView view;
    view.version.assign(bytes.begin(), bytes.begin() + kVersionBytes);
    view.count = bytes[kCountAt];
    view.quality = bytes[kQualityAt];
    for (int i = 0; i < view.count; ++i) {
        view.minutiae.push_back(
            ReadMinutia(bytes.data() + kMinutiaeAt + static_cast<size_t>(i) * kMinutiaBytes));
    }
    view.hasIndex = view.version == "301";
    if (view.hasIndex) {
        view.keyCount = bytes[kKeyCountAt];
        for (int i = 0; i < std::min(view.keyCount, kMaxKeys); ++i) {
            view.keys.push_back(
                ReadKey(bytes.data() + kKeysAt + static_cast<size_t>(i) * kKeyBytes));
        }
        view.storedChecksum = Word(bytes.data() + kChecksumAt, 2);
        for (size_t i = 0; i < kChecksumAt; ++i) {
            view.computedChecksum += bytes[i];
        }
        view.computedChecksum &= 0xFFFF;
    }
    view.problem = FindProblem(view);
    return view;
}

bool IsStorable(const MinutiaView& minutia) {
    const auto isInRange = [](int coordinate) {
        return coordinate >= -kCoordinateOrigin && coordinate < kCoordinateSpan - kCoordinateOrigin;
    };
    return isInRange(minutia.x) && isInRange(minutia.y);
}

TemplateBytes WriteOldTemplate(const TemplateView& view) {
    TemplateBytes bytes = {'3', '0', '0'};
    bytes[kCountAt] = static_cast<uint8_t>(view.minutiae.size());
    for (size_t i = 0; i < view.minutiae.size(); ++i) {
        WriteMinutia(view.minutiae[i], bytes.data() + kMinutiaeAt + i * kMinutiaBytes);
    }
    bytes[kQualityAt] = static_cast<uint8_t>(view.quality);
    return bytes;
}

}  // namespace qorfp::cli
