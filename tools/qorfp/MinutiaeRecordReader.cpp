// SPDX-License-Identifier: Apache-2.0
//
// The reader of finger minutiae records. It trusts no length and no count: every byte is asked for
// where it is needed, and refused by its offset when it is not there or out of its range.
#include <algorithm>
#include <cstring>

#include "tools/qorfp/MinutiaeRecord.h"
#include "tools/qorfp/ToolError.h"

namespace qorfp::cli {
namespace {

constexpr size_t kFormatBytes = 4;
constexpr size_t kLengthAt = 8;
constexpr size_t kAreaHeadBytes = 4;
constexpr uint32_t kMaxShortLength = 0xFFFF;
constexpr uint32_t kLongLengthExtra = 4;  // bytes that the long form takes more

class RecordReader {
  public:
    RecordReader(const std::string& path, const Bytes& bytes) : path_(path), bytes_(bytes) {}

    size_t At() const { return at_; }

    /// The next `count` bytes, at most 4, as a number.
    uint32_t Number(size_t count, const char* what) {
        Require(count, what);
        uint32_t number = 0;
        for (size_t i = 0; i < count; ++i) {
            number = number << 8 | bytes_[at_++];
        }
        return number;
    }

    /// A number of `count` bytes that must be in a range.
    int NumberIn(size_t count, int least, int most, const char* what) {
        const size_t start = at_;
        const uint32_t number = Number(count, what);
        if (number < static_cast<uint32_t>(least) || number > static_cast<uint32_t>(most)) {
            Refuse(start, std::string(what) + " " + std::to_string(number) + " is not " +
                              std::to_string(least) + " to " + std::to_string(most));
        }
        return static_cast<int>(number);
    }

    /// One byte: 0 to 100, or what stands there when the quality is not known.
    int Quality(const char* what) {
        const size_t start = at_;
        const auto quality = static_cast<int>(Number(1, what));
        if (quality > kMaxRecordQuality && quality < kQualityNotAttempted) {
            Refuse(start, std::string(what) + " " + std::to_string(quality) +
                              " is not 0 to 100, 254 or 255");
        }
        return quality;
    }

    void Zero(size_t count, const char* what) {
        const size_t start = at_;
        if (Number(count, what) != 0) {
            Refuse(start, std::string(what) + " is not zero");
        }
    }

    void Text(const char* text, const char* refusal) {
        Require(kFormatBytes, "header");
        if (std::memcmp(bytes_.data() + at_, text, kFormatBytes) != 0) {
            Refuse(at_, refusal);
        }
        at_ += kFormatBytes;
    }

    Bytes Content(size_t count, const char* what) {
        Require(count, what);
        Bytes content(bytes_.begin() + static_cast<std::ptrdiff_t>(at_),
                      bytes_.begin() + static_cast<std::ptrdiff_t>(at_ + count));
        at_ += count;
        return content;
    }

    [[noreturn]] void Refuse(size_t at, const std::string& reason) const {
        throw ToolError(path_, "byte " + std::to_string(at) + ": " + reason);
    }

  private:
    void Require(size_t count, const char* what) const {
        if (bytes_.size() - at_ < count) {
            Refuse(at_, std::string("the file ends within the ") + what);
        }
    }

    const std::string& path_;
    const Bytes& bytes_;
    size_t at_ = 0;
};

// Both formats begin alike. The length field, which lies at the same place, tells them apart: read as
// the other format's it gives another number, for no record is shorter than its header.
RecordFormat ReadLength(RecordReader& reader, const Bytes& bytes) {
    const uint32_t high = reader.Number(2, "length");
    if (high == bytes.size()) {
        return RecordFormat::kAnsi378;
    }
    const uint32_t low = reader.Number(2, "length");
    if ((high << 16 | low) == bytes.size()) {
        return RecordFormat::kIso19794;
    }
    if (high == 0 && (low << 16 | reader.Number(2, "length")) == bytes.size()) {
        if (bytes.size() > kMaxShortLength + kLongLengthExtra) {
            return RecordFormat::kAnsi378;
        }
        reader.Refuse(kLengthAt, "the length takes 6 bytes in a record where 2 are enough");
    }
    reader.Refuse(kLengthAt,
                  "the length is not that of the file, " + std::to_string(bytes.size()) + " bytes");
}

RecordMinutia ReadMinutia(RecordReader& reader, const MinutiaeRecord& record) {
    constexpr unsigned kTypeShift = 14;
    RecordMinutia minutia;
    const size_t start = reader.At();
    const uint32_t typeAndX = reader.Number(2, "minutia");
    minutia.type = static_cast<int>(typeAndX >> kTypeShift);
    minutia.x = static_cast<int>(typeAndX & kMaxRecordCoordinate);
    if (minutia.type > kRecordBifurcation) {
        reader.Refuse(start, "the type of the minutia is 3");
    }
    if (minutia.x >= record.width) {
        reader.Refuse(start, "the minutia's x " + std::to_string(minutia.x) +
                                 " is beyond the image's width " + std::to_string(record.width));
    }
    const uint32_t y = reader.Number(2, "minutia");
    if (y > kMaxRecordCoordinate) {
        reader.Refuse(start + 2, "the two bits before the minutia's y are not zero");
    }
    minutia.y = static_cast<int>(y);
    if (minutia.y >= record.height) {
        reader.Refuse(start + 2, "the minutia's y " + std::to_string(minutia.y) +
                                     " is beyond the image's height " +
                                     std::to_string(record.height));
    }
    minutia.angle = reader.NumberIn(1, 0, AngleSteps(record.format) - 1, "the minutia's angle");
    minutia.quality = reader.Quality("the minutia's quality");
    return minutia;
}

void ReadAreas(RecordReader& reader, RecordView& view) {
    size_t left = reader.Number(2, "length of the extended data");
    while (left > 0) {
        if (left < kAreaHeadBytes) {
            reader.Refuse(reader.At(), "the extended data end within the head of an area");
        }
        RecordArea area;
        area.type = static_cast<int>(reader.Number(2, "extended data"));
        const size_t lengthAt = reader.At();
        const size_t length = reader.Number(2, "extended data");
        if (length < kAreaHeadBytes || length > left) {
            reader.Refuse(lengthAt, "the length " + std::to_string(length) +
                                        " of the extended area is not 4 to " +
                                        std::to_string(left));
        }
        area.content = reader.Content(length - kAreaHeadBytes, "extended data");
        view.areas.push_back(std::move(area));
        left -= length;
    }
}

RecordView ReadView(RecordReader& reader, const MinutiaeRecord& record) {
    RecordView view;
    view.finger = reader.NumberIn(1, 0, kMaxRecordFinger, "finger position");
    const uint32_t numbers = reader.Number(1, "view number");
    view.number = static_cast<int>(numbers >> 4);
    view.impression = static_cast<int>(numbers & 15);
    view.quality = reader.Quality("finger quality");
    const uint32_t count = reader.Number(1, "number of minutiae");
    for (uint32_t i = 0; i < count; ++i) {
        view.minutiae.push_back(ReadMinutia(reader, record));
    }
    ReadAreas(reader, view);
    return view;
}

}  // namespace

int AngleSteps(RecordFormat format) {
    return format == RecordFormat::kIso19794 ? 256 : 180;
}

const char* FormatName(RecordFormat format) {
    return format == RecordFormat::kIso19794 ? "ISO/IEC 19794-2:2005" : "ANSI INCITS 378-2004";
}

MinutiaeRecord ReadRecord(const std::string& path, const Bytes& bytes) {
    constexpr int kMaxWord = 0xFFFF;
    RecordReader reader(path, bytes);
    reader.Text("FMR", "is not a finger minutiae record: it does not begin with \"FMR\" and zero");
    reader.Text(" 20",
                "another edition than ISO/IEC 19794-2:2005 or ANSI INCITS 378-2004: the "
                "version is not \" 20\" and zero");
    MinutiaeRecord record;
    record.format = ReadLength(reader, bytes);
    if (record.format == RecordFormat::kAnsi378) {
        record.product = reader.Number(4, "header");
    }
    record.equipment = static_cast<int>(reader.Number(2, "header"));
    record.width = reader.NumberIn(2, 1, kMaxWord, "the image's width");
    record.height = reader.NumberIn(2, 1, kMaxWord, "the image's height");
    record.xPerCentimetre = reader.NumberIn(2, 1, kMaxWord, "the resolution along x");
    record.yPerCentimetre = reader.NumberIn(2, 1, kMaxWord, "the resolution along y");
    const int views = reader.NumberIn(1, 1, 255, "number of views");
    reader.Zero(1, "the byte behind the number of views");
    for (int i = 0; i < views; ++i) {
        record.views.push_back(ReadView(reader, record));
    }
    if (reader.At() != bytes.size()) {
        reader.Refuse(reader.At(), "more bytes behind the last view");
    }
    return record;
}

}  // namespace qorfp::cli
