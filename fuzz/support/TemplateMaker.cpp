// SPDX-License-Identifier: Apache-2.0
#include "fuzz/support/TemplateMaker.h"

#include <algorithm>

#include "tests/model/ModelIndexKeys.h"
#include "tests/support/TestMinutiae.h"

namespace fuzz {

namespace {

constexpr size_t kTemplateBytes = 512;
constexpr size_t kIndexAt = 370;
constexpr size_t kIndexBytes = 140;

// Index area and checksum, where the minutiae decode.
void Finish(TemplateBytes& bytes) {
    std::vector<uint8_t> area(kIndexBytes, 0);
    if (model::CreateIndexArea(bytes, area) == 0) {
        std::copy(area.begin(), area.end(), bytes.begin() + kIndexAt);
    }
    model::WriteChecksum(bytes);
}

TemplateBytes BytesOf301(ByteReader& reader) {
    TemplateBytes bytes = {'3', '0', '1'};
    const std::vector<uint8_t> rest = reader.Bytes(kTemplateBytes - 3);
    bytes.insert(bytes.end(), rest.begin(), rest.end());
    return bytes;
}

// 0 to 63 minutiae; all of a known type unless the version byte says otherwise.
TemplateBytes Minutiae(ByteReader& reader) {
    TemplateBytes bytes(kTemplateBytes, 0);
    const size_t count = static_cast<size_t>(reader.Below(64));
    const uint8_t version = reader.Byte();
    bytes[0] = '3';
    bytes[1] = '0';
    bytes[2] = (version & 1) != 0 ? '0' : '1';
    bytes[3] = static_cast<uint8_t>(count);
    for (size_t i = 0; i < count && i < 60; ++i) {
        std::vector<uint8_t> entry = reader.Bytes(6);
        const bool hasKnownType = (entry[2] & 0x30) == 0x10 || (entry[2] & 0x30) == 0x20;
        if ((version & 2) == 0 && !hasKnownType) {
            entry[2] ^= 0x10;
        }
        std::copy(entry.begin(), entry.end(), bytes.data() + 4 + 6 * i);
    }
    bytes[369] = reader.Byte();
    Finish(bytes);
    return bytes;
}

TemplateBytes RandomMinutiae(ByteReader& reader) {
    const testsupport::Layout layout = testsupport::kAllLayouts[reader.Below(static_cast<int32_t>(
        sizeof(testsupport::kAllLayouts) / sizeof(testsupport::kAllLayouts[0])))];
    const int32_t count = reader.Between(6, 60);
    testsupport::Random random(reader.Number16());
    return testsupport::FinishedTemplate(testsupport::RandomSet(random, layout, count));
}

TemplateBytes Impression(const TemplateBytes& earlier, ByteReader& reader) {
    testsupport::Random random(reader.Number16());
    model::MinutiaSet set;
    if (model::DecodeTemplate(earlier, set) != 0) {
        return earlier;
    }
    const testsupport::Impression impression = testsupport::RandomImpression(random);
    return testsupport::FinishedTemplate(testsupport::TakeImpression(set, impression, random));
}

TemplateBytes Edited(TemplateBytes bytes, ByteReader& reader) {
    for (int32_t edits = reader.Below(17); edits > 0; --edits) {
        const size_t place =
            static_cast<size_t>(reader.Below(static_cast<int32_t>(kTemplateBytes)));
        bytes[place] = reader.Byte();
    }
    return bytes;
}

TemplateBytes WithOtherKeys(TemplateBytes bytes, ByteReader& reader) {
    const std::vector<uint8_t> area = reader.Bytes(kIndexBytes);
    std::copy(area.begin(), area.end(), bytes.begin() + kIndexAt);
    return bytes;
}

}  // namespace

TemplateBytes TemplateMaker::Earlier(ByteReader& reader) const {
    if (made_.empty()) {
        return RandomMinutiae(reader);
    }
    return made_[static_cast<size_t>(reader.Byte()) % made_.size()];
}

TemplateBytes TemplateMaker::Make(ByteReader& reader) {
    switch (reader.Below(kTemplateKinds)) {
        case kBytes:
            return reader.Bytes(kTemplateBytes);
        case kBytesOf301:
            return BytesOf301(reader);
        case kMinutiae:
            return Minutiae(reader);
        case kRandomMinutiae:
            return RandomMinutiae(reader);
        case kImpression:
            return Impression(Earlier(reader), reader);
        case kEdited:
            return Edited(Earlier(reader), reader);
        case kCopy:
            return Earlier(reader);
        default:
            return WithOtherKeys(Earlier(reader), reader);
    }
}

TemplateBytes TemplateMaker::Next(ByteReader& reader) {
    made_.push_back(Make(reader));
    return made_.back();
}

std::vector<TemplateBytes> TemplateMaker::List(ByteReader& reader, int32_t count) {
    std::vector<TemplateBytes> list;
    for (int32_t i = 0; i < count; ++i) {
        list.push_back(Next(reader));
    }
    return list;
}

std::vector<uint8_t> Joined(const std::vector<TemplateBytes>& templates) {
    std::vector<uint8_t> bytes;
    for (const TemplateBytes& one : templates) {
        bytes.insert(bytes.end(), one.begin(), one.end());
    }
    return bytes;
}

}  // namespace fuzz
