// SPDX-License-Identifier: Apache-2.0
//
// The command line's finger minutiae records. Any bytes are refused, with the offset of a byte of the
// file or its end, or read; what is read and written again is the same file, and as a template it is
// one that the engine decodes. A template comes back from either format as it was.
#include <algorithm>
#include <cstdlib>
#include <optional>
#include <string>

#include "fuzz/support/Expect.h"
#include "fuzz/support/Target.h"
#include "fuzz/support/TemplateMaker.h"
#include "tests/model/ModelTemplateCheck.h"
#include "tools/qorfp/RecordTemplate.h"
#include "tools/qorfp/ToolError.h"

namespace {

using namespace fuzz;
using qorfp::cli::Bytes;
using qorfp::cli::Losses;
using qorfp::cli::MinutiaeRecord;
using qorfp::cli::RecordFormat;
using qorfp::cli::RecordView;
using qorfp::cli::TemplateView;

const std::string kPath = "record";
constexpr RecordFormat kFormats[] = {RecordFormat::kIso19794, RecordFormat::kAnsi378};

std::optional<MinutiaeRecord> Read(const Bytes& bytes) {
    try {
        return qorfp::cli::ReadRecord(kPath, bytes);
    } catch (const qorfp::cli::ToolError& error) {
        const std::string text = error.what();
        const std::string start = kPath + ": byte ";
        Expect(text.compare(0, start.size(), start) == 0, "a refusal names the file and an offset");
        const long offset = std::strtol(text.c_str() + start.size(), nullptr, 10);
        Expect(offset >= 0 && offset <= static_cast<long>(bytes.size()),
               "the offset is in the file");
        return std::nullopt;
    }
}

// Bytes 0..369 of what WriteOldTemplate makes of a view, which the naive model must be able to decode.
void ExpectDecodable(const TemplateView& view) {
    const qorfp::cli::TemplateBytes bytes = qorfp::cli::WriteOldTemplate(view);
    model::MinutiaSet set;
    Expect(model::DecodeTemplate({bytes.begin(), bytes.end()}, set) == 0, "a template is decoded");
    ExpectEqual(static_cast<int64_t>(view.minutiae.size()),
                static_cast<int64_t>(set.minutiae.size()), "number of minutiae");
    for (size_t i = 0; i < set.minutiae.size(); ++i) {
        ExpectEqual(view.minutiae[i].x, set.minutiae[i].x, "x");
        ExpectEqual(view.minutiae[i].y, set.minutiae[i].y, "y");
        Expect(set.minutiae[i].direction < 240, "a direction is one");
    }
}

void CheckView(const MinutiaeRecord& record, const RecordView& view) {
    if (view.minutiae.size() < qorfp::cli::kMinMinutiae) {
        return;
    }
    Losses losses;
    try {
        ExpectDecodable(qorfp::cli::TemplateOfRecord(kPath, record, view, losses));
    } catch (const qorfp::cli::ToolError& error) {
        Expect(std::string(error.what()).find("too far apart") != std::string::npos,
               "only minutiae far apart are refused");
    }
}

void CheckFile(const Bytes& bytes) {
    const std::optional<MinutiaeRecord> record = Read(bytes);
    if (record) {
        ExpectEqual(bytes, qorfp::cli::WriteRecord(*record), "the record written again");
        for (const RecordView& view : record->views) {
            CheckView(*record, view);
        }
    }
}

// Bytes after a sound header, with the length of the file in its place.
void CheckViews(RecordFormat format, const Bytes& views) {
    MinutiaeRecord record;
    record.format = format;
    record.width = 256;
    record.height = 360;
    record.xPerCentimetre = 200;
    record.yPerCentimetre = 197;
    Bytes bytes = qorfp::cli::WriteRecord(record);
    bytes[bytes.size() - 2] = 1;  // views
    bytes.insert(bytes.end(), views.begin(), views.end());
    const size_t lengthAt = format == RecordFormat::kIso19794 ? 10 : 8;
    bytes[lengthAt] = static_cast<uint8_t>(bytes.size() >> 8);
    bytes[lengthAt + 1] = static_cast<uint8_t>(bytes.size());
    CheckFile(bytes);
}

void CheckTemplate(const TemplateBytes& bytes) {
    model::MinutiaSet set;
    const bool isUsable = model::HasKnownVersion(bytes) && model::DecodeTemplate(bytes, set) == 0;
    const bool hasDirections =
        std::all_of(set.minutiae.begin(), set.minutiae.end(),
                    [](const model::Minutia& minutia) { return minutia.direction < 240; });
    if (!isUsable || !hasDirections || bytes[369] > 100) {
        return;
    }
    qorfp::cli::TemplateBytes array = {};
    std::copy(bytes.begin(), bytes.end(), array.begin());
    const TemplateView view = qorfp::cli::ReadTemplate(array);
    for (const RecordFormat format : kFormats) {
        Losses losses;
        const Bytes written = qorfp::cli::WriteRecord(
            qorfp::cli::RecordOfTemplate(view, format, bytes[4] % 11, false, losses));
        const std::optional<MinutiaeRecord> record = Read(written);
        Expect(record.has_value(), "a written record is read");
        const qorfp::cli::TemplateBytes back = qorfp::cli::WriteOldTemplate(
            qorfp::cli::TemplateOfRecord(kPath, *record, record->views.at(0), losses));
        const auto entriesEnd = static_cast<std::ptrdiff_t>(4 + 6 * view.minutiae.size());
        for (auto at = std::ptrdiff_t{3}; at < entriesEnd; ++at) {
            // Bits 22 and 23 of an entry mean nothing.
            const bool isTop = at >= 4 && (at - 4) % 6 == 2;
            const int mask = isTop ? 0x3F : 0xFF;
            ExpectEqual(bytes[static_cast<size_t>(at)] & mask, back[static_cast<size_t>(at)],
                        "the template that comes back");
        }
        ExpectEqual(bytes[369], back[369], "the quality that comes back");
    }
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    ByteReader reader(data, size);
    TemplateMaker maker;
    switch (reader.Below(4)) {
        case 0:
            CheckFile(reader.Rest());
            break;
        case 1:
            CheckViews(RecordFormat::kIso19794, reader.Rest());
            break;
        case 2:
            CheckViews(RecordFormat::kAnsi378, reader.Rest());
            break;
        default:
            CheckTemplate(maker.Next(reader));
            break;
    }
    return 0;
}
