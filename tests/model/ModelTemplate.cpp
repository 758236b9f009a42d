// SPDX-License-Identifier: Apache-2.0
//
// Naive model of the stored template, see ModelTemplate.h.
#include "tests/model/ModelTemplate.h"

#include <algorithm>

#include "tests/model/ModelMaths.h"

namespace model {
namespace {

/// How far a coordinate range has to move to lie in -256..767; the low side takes precedence.
int64_t ShiftIntoRange(int64_t lowest, int64_t highest) {
    if (lowest < -256) {
        return Wrap32(-256 - lowest);
    }
    if (highest >= 768) {
        return 767 - highest;
    }
    return 0;
}

}  // namespace

int32_t EncodeTemplate(MinutiaSet& set, bool withConfidence, TemplateBytes& bytes) {
    if (set.count < 6 || set.count > 60) {
        return 1;
    }
    const size_t count = static_cast<size_t>(set.count);
    std::vector<int64_t> columns;
    std::vector<int64_t> rows;
    for (size_t i = 0; i < count; ++i) {
        columns.push_back(set.minutiae.at(i).x);
        rows.push_back(set.minutiae.at(i).y);
    }
    const int64_t minX = *std::min_element(columns.begin(), columns.end());
    const int64_t maxX = *std::max_element(columns.begin(), columns.end());
    const int64_t minY = *std::min_element(rows.begin(), rows.end());
    const int64_t maxY = *std::max_element(rows.begin(), rows.end());
    if (Wrap32(maxX - minX) >= 1024 || Wrap32(maxY - minY) >= 1024) {
        return 1;
    }
    const int64_t shiftX = ShiftIntoRange(minX, maxX);
    const int64_t shiftY = ShiftIntoRange(minY, maxY);
    for (size_t i = 0; i < count; ++i) {
        Minutia& minutia = set.minutiae.at(i);
        minutia.x = Wrap32(minutia.x + shiftX);
        minutia.y = Wrap32(minutia.y + shiftY);
    }
    for (size_t i = 0; i < 370; ++i) {
        bytes.at(i) = 0;
    }
    bytes.at(0) = '3';
    bytes.at(1) = '0';
    bytes.at(2) = '1';
    bytes.at(3) = static_cast<uint8_t>(count);
    for (size_t i = 0; i < count; ++i) {
        const size_t entry = 4 + 6 * i;
        const Minutia& minutia = set.minutiae.at(i);
        const int64_t x = Wrap32(int64_t{minutia.x} + 256);
        const int64_t y = Wrap32(int64_t{minutia.y} + 256);
        if (x < 0 || x > 1023 || y < 0 || y > 1023) {
            return 1;
        }
        const int64_t place = y + x * 1024 + int64_t{minutia.type} * 1024 * 1024;
        bytes.at(entry) = static_cast<uint8_t>(place % 256);
        bytes.at(entry + 1) = static_cast<uint8_t>(place / 256 % 256);
        bytes.at(entry + 2) = static_cast<uint8_t>(place / 65536 % 256);
        const int64_t confidence = withConfidence ? set.confidence.at(i) % 16 : 8;
        const int64_t rest = int64_t{minutia.attributes} * 16 + confidence;
        bytes.at(entry + 3) = static_cast<uint8_t>(rest % 256);
        bytes.at(entry + 4) = static_cast<uint8_t>(rest / 256 % 256);
        bytes.at(entry + 5) = minutia.direction;
    }
    return 0;
}

int32_t DecodeTemplate(const TemplateBytes& bytes, MinutiaSet& set) {
    set = MinutiaSet();
    set.count = bytes.at(3);
    if (set.count < 6 || set.count > 60) {
        return 1;
    }
    for (size_t i = 0; i < static_cast<size_t>(set.count); ++i) {
        const size_t entry = 4 + 6 * i;
        const int32_t place =
            bytes.at(entry) + 256 * bytes.at(entry + 1) + 65536 * bytes.at(entry + 2);
        Minutia minutia;
        minutia.type = static_cast<uint8_t>(place / (1024 * 1024) % 4);
        minutia.y = place % 1024 - 256;
        minutia.x = place / 1024 % 1024 - 256;
        if (minutia.type == 0 || minutia.type == 3) {
            set.minutiae.push_back(minutia);
            return 1;
        }
        const int32_t rest = bytes.at(entry + 3) + 256 * bytes.at(entry + 4);
        minutia.direction = bytes.at(entry + 5);
        minutia.attributes = static_cast<uint32_t>(rest / 16);
        set.minutiae.push_back(minutia);
        set.confidence.push_back(static_cast<uint8_t>(rest % 16));
    }
    return 0;
}

uint16_t Checksum(const TemplateBytes& bytes) {
    int64_t sum = 0;
    for (size_t i = 0; i < 510; ++i) {
        sum += bytes.at(i);
    }
    return static_cast<uint16_t>(sum % 65536);
}

void WriteChecksum(TemplateBytes& bytes) {
    const uint16_t sum = Checksum(bytes);
    bytes.at(510) = static_cast<uint8_t>(sum % 256);
    bytes.at(511) = static_cast<uint8_t>(sum / 256);
}

int32_t TemplateQuality(const TemplateBytes& bytes) {
    static const std::vector<int32_t> kQualityOfCount4To44 = {
        6,  8,  11, 13, 15, 18, 20, 22,      // 4..11
        24, 27, 29, 31, 33, 36, 38, 40,      // 12..19
        43, 45, 47, 49, 52, 54, 56, 59,      // 20..27
        61, 63, 65, 68, 70, 73, 75, 77,      // 28..35
        79, 82, 84, 86, 88, 91, 93, 95, 98,  // 36..44
    };
    if (bytes.at(0) != '3' || bytes.at(1) != '0' || (bytes.at(2) != '0' && bytes.at(2) != '1')) {
        return 0;
    }
    const size_t count = bytes.at(3);
    if (count > 60) {
        return 0;
    }
    if (bytes.at(369) != 0) {
        return bytes.at(369);
    }
    if (count < 4) {
        return 0;
    }
    return count > 44 ? 100 : kQualityOfCount4To44.at(count - 4);
}

}  // namespace model
