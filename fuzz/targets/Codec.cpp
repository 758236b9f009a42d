// SPDX-License-Identifier: Apache-2.0
//
// The template codec, both ways, against the naive model: any 512 bytes, and sets of minutiae with
// any 32-bit coordinates. What decodes encodes to the same bytes, and what encodes decodes to the
// same set.
#include <algorithm>

#include "engine/Template.h"
#include "fuzz/support/ByteReader.h"
#include "fuzz/support/Expect.h"
#include "fuzz/support/FencedMemory.h"
#include "fuzz/support/Target.h"
#include "tests/model/ModelTemplate.h"

namespace {

using namespace fuzz;
using model::TemplateBytes;

constexpr size_t kHeadBytes = 370;
constexpr uint8_t kUnused = 0xEE;

// The library's set, unlike the model's, has room for 60 whatever its count.
void ExpectSet(const model::MinutiaSet& expected, const MinutiaSet& actual, const char* what) {
    ExpectEqual(expected.count, actual.count, what);
    for (size_t i = 0; i < qorfp::kMaxMinutiae; ++i) {
        const bool isThere = i < expected.minutiae.size();
        const model::Minutia minutia = isThere ? expected.minutiae[i] : model::Minutia{};
        ExpectEqual(minutia.x, actual.minutiae[i].x, what);
        ExpectEqual(minutia.y, actual.minutiae[i].y, what);
        ExpectEqual(minutia.type, actual.minutiae[i].type, what);
        ExpectEqual(minutia.direction, actual.minutiae[i].direction, what);
        ExpectEqual(minutia.attributes, actual.minutiae[i].attributes, what);
    }
}

struct Decoded {
    int32_t result = 0;
    MinutiaSet set = {};
    std::vector<uint8_t> confidence;
};

// The decoder needs the head only.
Decoded Decode(const TemplateBytes& bytes, Fence fence) {
    Input head(TemplateBytes(bytes.begin(), bytes.begin() + kHeadBytes), fence);
    Output<MinutiaSet> set(1, fence);
    Output<uint8_t> confidence(std::vector<uint8_t>(qorfp::kMaxMinutiae, kUnused), fence);
    Decoded decoded;
    decoded.result = DecodeTemplate(head.Data(), set.Data(), confidence.Data());
    decoded.set = set.Take()[0];
    decoded.confidence = confidence.Take();
    return decoded;
}

struct Encoded {
    int32_t result = 0;
    MinutiaSet set = {};
    TemplateBytes bytes;
};

Encoded Encode(const MinutiaSet& set, const std::vector<uint8_t>* confidence, Fence fence) {
    Output<MinutiaSet> shifted(std::vector<MinutiaSet>{set}, fence);
    Output<uint8_t> bytes(kHeadBytes, fence);
    Encoded encoded;
    encoded.result = EncodeTemplate(
        shifted.Data(), confidence != nullptr ? confidence->data() : nullptr, bytes.Data());
    encoded.set = shifted.Take()[0];
    encoded.bytes = bytes.Take();
    return encoded;
}

// What the decoder does not look at, as the encoder writes it.
TemplateBytes Canonical(const TemplateBytes& bytes) {
    TemplateBytes head(kHeadBytes, 0);
    head[0] = '3';
    head[1] = '0';
    head[2] = '1';
    head[3] = bytes[3];
    for (size_t i = 4; i < 4 + 6 * size_t{bytes[3]}; ++i) {
        head[i] = i % 6 == 0 ? bytes[i] & 0x3F : bytes[i];  // 22 bits of position and type
    }
    return head;
}

void CheckBytes(ByteReader& reader) {
    TemplateBytes bytes = reader.Bytes(512);
    if (reader.Flag()) {
        bytes[3] = static_cast<uint8_t>(6 + bytes[3] % 55);
    }
    const Decoded decoded = Decode(bytes, Fence::kBehind);
    model::MinutiaSet expected;
    ExpectEqual(model::DecodeTemplate(bytes, expected), decoded.result, "result of decoding");
    ExpectSet(expected, decoded.set, "decoded set");
    std::vector<uint8_t> confidence = expected.confidence;
    confidence.resize(qorfp::kMaxMinutiae, kUnused);
    ExpectEqual(confidence, decoded.confidence, "decoded confidences");
    ExpectSet(expected, Decode(bytes, Fence::kBefore).set, "set decoded again");
    if (decoded.result != 0) {
        return;
    }
    const Encoded encoded = Encode(decoded.set, &decoded.confidence, Fence::kBehind);
    ExpectEqual(0, encoded.result, "result of encoding what was decoded");
    ExpectEqual(Canonical(bytes), encoded.bytes, "decoded and encoded bytes");
}

model::Minutia ReadMinutia(ByteReader& reader, bool isNear) {
    model::Minutia minutia;
    minutia.x = isNear ? reader.Between(-700, 1200) : reader.Signed32();
    minutia.y = isNear ? reader.Between(-700, 1200) : reader.Signed32();
    minutia.type = reader.Byte();
    minutia.direction = reader.Byte();
    minutia.attributes = reader.Number16();
    return minutia;
}

void CheckSet(ByteReader& reader) {
    model::MinutiaSet set;
    const int32_t stored = reader.Between(0, qorfp::kMaxMinutiae);
    const uint8_t choice = reader.Byte();
    for (int32_t i = 0; i < stored; ++i) {
        set.minutiae.push_back(ReadMinutia(reader, choice % 4 != 0));
        set.confidence.push_back(reader.Byte());
    }
    // Refused counts say nothing of how many records there are.
    const bool isRefused = choice / 4 % 16 == 0;
    set.count = isRefused ? (stored < 6 ? stored : 61 + reader.Below(100)) : stored;
    MinutiaSet records = {};
    records.count = set.count;
    for (size_t i = 0; i < set.minutiae.size(); ++i) {
        const model::Minutia& from = set.minutiae[i];
        records.minutiae[i] = {from.attributes, from.x, from.y, from.type, from.direction};
    }
    const bool withConfidence = choice >= 128;
    const std::vector<uint8_t>* confidence = withConfidence ? &set.confidence : nullptr;

    const Encoded encoded = Encode(records, confidence, Fence::kBehind);
    TemplateBytes expected(kHeadBytes, Output<uint8_t>::kFill);
    ExpectEqual(model::EncodeTemplate(set, withConfidence, expected), encoded.result,
                "result of encoding");
    ExpectSet(set, encoded.set, "set as the encoder has shifted it");
    ExpectEqual(expected, encoded.bytes, "encoded bytes");
    ExpectEqual(encoded.bytes, Encode(records, confidence, Fence::kBefore).bytes, "encoded again");
    if (encoded.result != 0) {
        return;
    }
    for (model::Minutia& minutia : set.minutiae) {  // what there is room for
        minutia.type &= 3;
        minutia.attributes &= 0xFFF;
        if (minutia.type == 0 || minutia.type == 3) {
            return;
        }
    }
    const Decoded decoded = Decode(encoded.bytes, Fence::kBehind);
    ExpectEqual(0, decoded.result, "result of decoding what was encoded");
    ExpectSet(set, decoded.set, "encoded and decoded set");
    for (size_t i = 0; i < set.minutiae.size(); ++i) {
        ExpectEqual(withConfidence ? set.confidence[i] & 15 : 8, decoded.confidence[i],
                    "encoded and decoded confidence");
    }
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    ByteReader reader(data, size);
    if (reader.Flag()) {
        CheckSet(reader);
    } else {
        CheckBytes(reader);
    }
    return 0;
}
