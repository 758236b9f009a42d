// SPDX-License-Identifier: Apache-2.0
//
// The template codec.

#include "engine/Template.h"

#include <string.h>

#include "extract/FixedMath.h"

namespace {

using namespace qorfp;

constexpr int32_t kCoordinateOffset = 256;  // stored = coordinate + 256
constexpr int32_t kCoordinateSpan = 1024;   // 10 bits
constexpr int32_t kLowestCoordinate = -kCoordinateOffset;
constexpr int32_t kHighestCoordinate = kCoordinateSpan - 1 - kCoordinateOffset;

struct Range {
    int32_t low;
    int32_t high;
};

void Widen(Range* range, int32_t value) {
    if (value < range->low) {
        range->low = value;
    }
    if (value > range->high) {
        range->high = value;
    }
}

// Coordinates are any 32-bit numbers. A span that wraps passes this test, but then some minutia
// fails IsStorable.
bool SpanFits(const Range& range) {
    return WrapSub32(range.high, range.low) < kCoordinateSpan;
}

// How far to move a range so that it lies in -256..767; the low side takes precedence.
int32_t ShiftInto(const Range& range) {
    if (range.low < kLowestCoordinate) {
        return WrapSub32(kLowestCoordinate, range.low);
    }
    if (range.high > kHighestCoordinate) {
        return WrapSub32(kHighestCoordinate, range.high);
    }
    return 0;
}

void ShiftMinutiae(MinutiaSet* set, int32_t shiftX, int32_t shiftY) {
    for (int32_t i = 0; i < set->count; ++i) {
        Minutia* minutia = &set->minutiae[i];
        minutia->x = WrapAdd32(minutia->x, shiftX);
        minutia->y = WrapAdd32(minutia->y, shiftY);
    }
}

bool IsStorable(const Minutia& minutia) {
    return minutia.x >= kLowestCoordinate && minutia.x <= kHighestCoordinate &&
           minutia.y >= kLowestCoordinate && minutia.y <= kHighestCoordinate;
}

void PackMinutia(const Minutia& minutia, uint8_t confidence, uint8_t* entry) {
    const uint32_t position = static_cast<uint32_t>(minutia.y + kCoordinateOffset) |
                              static_cast<uint32_t>(minutia.x + kCoordinateOffset) << 10 |
                              static_cast<uint32_t>(minutia.type) << 20;
    // Only the low 12 bits of the attributes have room.
    const uint32_t quality = (minutia.attributes & 0xFFFu) << 4 | (confidence & 15u);
    entry[0] = static_cast<uint8_t>(position & 255);
    entry[1] = static_cast<uint8_t>(position >> 8 & 255);
    entry[2] = static_cast<uint8_t>(position >> 16 & 255);
    entry[3] = static_cast<uint8_t>(quality & 255);
    entry[4] = static_cast<uint8_t>(quality >> 8 & 255);
    entry[5] = minutia.direction;
}

bool HasVersion(const uint8_t* bytes, const char* text) {
    return memcmp(bytes, text, 3) == 0;
}

}  // namespace

bool qorfp::IsVersion301(const uint8_t* bytes) {
    return HasVersion(bytes, "301");
}

bool qorfp::IsVersion300(const uint8_t* bytes) {
    return HasVersion(bytes, "300");
}

void qorfp::WriteChecksum(uint8_t* bytes) {
    uint32_t sum = 0;
    for (int32_t i = 0; i < kChecksumOffset; ++i) {
        sum += bytes[i];
    }
    bytes[kChecksumOffset] = static_cast<uint8_t>(sum & 255);
    bytes[kChecksumOffset + 1] = static_cast<uint8_t>(sum >> 8 & 255);
}

int32_t EncodeTemplate(MinutiaSet* set, const uint8_t* confidence, uint8_t* bytes) {
    if (set->count < kMinMinutiae || set->count > kMaxMinutiae) {
        return 1;
    }
    Range x = {set->minutiae[0].x, set->minutiae[0].x};
    Range y = {set->minutiae[0].y, set->minutiae[0].y};
    for (int32_t i = 1; i < set->count; ++i) {
        Widen(&x, set->minutiae[i].x);
        Widen(&y, set->minutiae[i].y);
    }
    if (!SpanFits(x) || !SpanFits(y)) {
        return 1;
    }
    ShiftMinutiae(set, ShiftInto(x), ShiftInto(y));

    memset(bytes, 0, kTemplateHeadBytes);
    memcpy(bytes, "301", 3);
    bytes[kCountOffset] = static_cast<uint8_t>(set->count);
    uint8_t* entry = bytes + kEntriesOffset;
    for (int32_t i = 0; i < set->count; ++i) {
        if (!IsStorable(set->minutiae[i])) {
            return 1;
        }
        PackMinutia(set->minutiae[i], confidence != nullptr ? confidence[i] : kInitialConfidence,
                    entry);
        entry += kEntryBytes;
    }
    return 0;
}

int32_t DecodeTemplate(const uint8_t* bytes, MinutiaSet* set, uint8_t* confidence) {
    memset(set, 0, sizeof(*set));
    set->count = bytes[kCountOffset];
    if (set->count < kMinMinutiae || set->count > kMaxMinutiae) {
        return 1;
    }
    const uint8_t* entry = bytes + kEntriesOffset;
    for (int32_t i = 0; i < set->count; ++i) {
        Minutia* minutia = &set->minutiae[i];
        const int32_t position = entry[0] | entry[1] << 8 | entry[2] << 16;
        minutia->type = static_cast<uint8_t>(position >> 20 & 3);
        minutia->y = (position & 1023) - kCoordinateOffset;
        minutia->x = (position >> 10 & 1023) - kCoordinateOffset;
        if (minutia->type != kEnding && minutia->type != kBifurcation) {
            return 1;
        }
        const int32_t quality = entry[3] | entry[4] << 8;
        minutia->direction = entry[5];
        minutia->attributes = static_cast<uint32_t>(quality >> 4);
        if (confidence != nullptr) {
            confidence[i] = static_cast<uint8_t>(quality & 15);
        }
        entry += kEntryBytes;
    }
    return 0;
}
