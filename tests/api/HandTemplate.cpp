// SPDX-License-Identifier: Apache-2.0
//
// Templates by hand, see HandTemplate.h.
#include "tests/api/HandTemplate.h"

#include <cmath>

#include "tests/support/TestImages.h"

namespace apitest {

namespace {

uint8_t LowByte(uint32_t word) {
    return static_cast<uint8_t>(word & 255u);
}

// The value of a field 0..mask, shifted to its place.
uint32_t Field(int32_t value, uint32_t mask, uint32_t shift) {
    return (static_cast<uint32_t>(value) & mask) << shift;
}

int32_t TakeField(uint32_t word, uint32_t mask, uint32_t shift) {
    return static_cast<int32_t>(word >> shift & mask);
}

}  // namespace

Bytes WriteTemplate(const Minutiae& minutiae, const std::string& version) {
    Bytes bytes(kTemplateBytes, 0);
    for (size_t k = 0; k < 3; ++k) {
        bytes.at(k) = static_cast<uint8_t>(version.at(k));
    }
    bytes.at(kCountByte) = static_cast<uint8_t>(minutiae.size());
    size_t at = kFirstMinutia;
    for (const HandMinutia& minutia : minutiae) {
        const uint32_t place = Field(minutia.y + 256, 1023, 0) | Field(minutia.x + 256, 1023, 10) |
                               Field(minutia.type, 3, 20);
        const uint32_t rest = Field(minutia.confidence, 15, 0) | Field(minutia.disorder, 63, 4) |
                              Field(minutia.density, 63, 10);
        for (const uint32_t word : {place, place >> 8, place >> 16, rest, rest >> 8}) {
            bytes.at(at++) = LowByte(word);
        }
        bytes.at(at++) = static_cast<uint8_t>(minutia.direction);
    }
    bytes.at(kQualityByte) = 50;
    WriteByteSum(bytes);
    return bytes;
}

Minutiae ReadTemplate(const Bytes& bytes) {
    Minutiae minutiae;
    for (size_t k = 0; k < bytes.at(kCountByte); ++k) {
        const auto byte = [&](size_t offset) {
            return uint32_t{bytes.at(kFirstMinutia + kMinutiaBytes * k + offset)};
        };
        const uint32_t place = byte(0) | byte(1) << 8 | byte(2) << 16;
        const uint32_t rest = byte(3) | byte(4) << 8;
        HandMinutia minutia;
        minutia.y = TakeField(place, 1023, 0) - 256;
        minutia.x = TakeField(place, 1023, 10) - 256;
        minutia.type = TakeField(place, 15, 20);  // with the two bits that must be zero
        minutia.confidence = TakeField(rest, 15, 0);
        minutia.disorder = TakeField(rest, 63, 4);
        minutia.density = TakeField(rest, 63, 10);
        minutia.direction = static_cast<int32_t>(byte(5));
        minutiae.push_back(minutia);
    }
    return minutiae;
}

uint32_t ByteSum(const Bytes& bytes) {
    uint32_t sum = 0;
    for (size_t k = 0; k < kChecksumByte; ++k) {
        sum += bytes.at(k);
    }
    return sum % 65536;
}

void WriteByteSum(Bytes& bytes) {
    const uint32_t sum = ByteSum(bytes);
    bytes.at(kChecksumByte) = LowByte(sum);
    bytes.at(kChecksumByte + 1) = LowByte(sum >> 8);
}

Minutiae Scatter(uint64_t seed, int32_t count, int32_t extent) {
    constexpr int32_t kTries = 20000;
    testsupport::Random random(seed);
    Minutiae minutiae;
    for (int32_t k = 0; k < kTries && static_cast<int32_t>(minutiae.size()) < count; ++k) {
        HandMinutia minutia;
        minutia.x = 20 + random.Below(extent);
        minutia.y = 20 + random.Below(extent);
        minutia.type = random.Between(1, 2);
        minutia.direction = random.Below(240);
        bool isFree = true;
        for (const HandMinutia& other : minutiae) {
            const int32_t dx = minutia.x - other.x;
            const int32_t dy = minutia.y - other.y;
            isFree = isFree && dx * dx + dy * dy >= 17 * 17;
        }
        if (isFree) {
            minutiae.push_back(minutia);
        }
    }
    return minutiae;
}

Minutiae Shifted(Minutiae minutiae, int32_t dx, int32_t dy) {
    for (HandMinutia& minutia : minutiae) {
        minutia.x += dx;
        minutia.y += dy;
    }
    return minutiae;
}

Minutiae QuarterTurned(Minutiae minutiae, int32_t quarters) {
    for (HandMinutia& minutia : minutiae) {
        for (int32_t k = 0; k < quarters; ++k) {
            const int32_t x = minutia.x;
            minutia.x = 200 - (minutia.y - 200);
            minutia.y = 200 + (x - 200);
            minutia.direction = (minutia.direction + 60) % 240;
        }
    }
    return minutiae;
}

Minutiae Turned(Minutiae minutiae, int32_t steps) {
    const double angle = steps * std::acos(-1.0) / 120.0;
    for (HandMinutia& minutia : minutiae) {
        const double x = minutia.x - 200;
        const double y = minutia.y - 200;
        minutia.x =
            200 + static_cast<int32_t>(std::lround(x * std::cos(angle) - y * std::sin(angle)));
        minutia.y =
            200 + static_cast<int32_t>(std::lround(x * std::sin(angle) + y * std::cos(angle)));
        minutia.direction = (minutia.direction + steps + 240) % 240;
    }
    return minutiae;
}

}  // namespace apitest
