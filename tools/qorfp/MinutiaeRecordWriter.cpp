// SPDX-License-Identifier: Apache-2.0
//
// The writer of finger minutiae records.
#include "tools/qorfp/MinutiaeRecord.h"

namespace qorfp::cli {
namespace {

constexpr size_t kMaxShortLength = 0xFFFF;
constexpr size_t kLengthAt = 8;

/// The last `count` bytes of a whole number of any type.
template <class Number>
void Append(Bytes& bytes, Number number, unsigned count) {
    for (unsigned i = count; i-- > 0;) {
        bytes.push_back(static_cast<uint8_t>(static_cast<uint64_t>(number) >> 8 * i));
    }
}

void AppendText(Bytes& bytes, const char* text) {
    bytes.insert(bytes.end(), text, text + 4);  // the zero too
}

void AppendView(Bytes& bytes, const RecordView& view) {
    Append(bytes, view.finger, 1);
    Append(bytes, view.number << 4 | view.impression, 1);
    Append(bytes, view.quality, 1);
    Append(bytes, view.minutiae.size(), 1);
    for (const RecordMinutia& minutia : view.minutiae) {
        Append(bytes, minutia.type << 14 | minutia.x, 2);
        Append(bytes, minutia.y, 2);
        Append(bytes, minutia.angle, 1);
        Append(bytes, minutia.quality, 1);
    }
    Bytes areas;
    for (const RecordArea& area : view.areas) {
        Append(areas, area.type, 2);
        Append(areas, area.content.size() + 4, 2);
        areas.insert(areas.end(), area.content.begin(), area.content.end());
    }
    Append(bytes, areas.size(), 2);
    bytes.insert(bytes.end(), areas.begin(), areas.end());
}

// The length counts itself.
Bytes LengthField(RecordFormat format, size_t otherBytes) {
    Bytes field;
    if (format == RecordFormat::kIso19794) {
        Append(field, otherBytes + 4, 4);
    } else if (otherBytes + 2 <= kMaxShortLength) {
        Append(field, otherBytes + 2, 2);
    } else {
        Append(field, otherBytes + 6, 6);
    }
    return field;
}

}  // namespace

Bytes WriteRecord(const MinutiaeRecord& record) {
    Bytes bytes;
    AppendText(bytes, "FMR");
    AppendText(bytes, " 20");
    if (record.format == RecordFormat::kAnsi378) {
        Append(bytes, record.product, 4);
    }
    Append(bytes, record.equipment, 2);
    Append(bytes, record.width, 2);
    Append(bytes, record.height, 2);
    Append(bytes, record.xPerCentimetre, 2);
    Append(bytes, record.yPerCentimetre, 2);
    Append(bytes, record.views.size(), 1);
    Append(bytes, 0, 1);
    for (const RecordView& view : record.views) {
        AppendView(bytes, view);
    }
    const Bytes length = LengthField(record.format, bytes.size());
    bytes.insert(bytes.begin() + kLengthAt, length.begin(), length.end());
    return bytes;
}

}  // namespace qorfp::cli
