// SPDX-License-Identifier: Apache-2.0
//
// Finger minutiae records, the exchange formats: ISO/IEC 19794-2:2005 (record format) and ANSI INCITS
// 378-2004. They differ in the header and in the unit of angles; here each field keeps the record's
// own unit, and every field of the file has its place, so that writing gives back what was read.
//
// All words are big-endian:
//
//     ISO  ANSI
//       0     0  "FMR", zero; " 20", zero
//       8     8  length of the record: 4 bytes (ISO); 2 bytes, or 2 zeros and 4 bytes (ANSI)
//             10  product: owner and type, 2 bytes each
//      12    14  capture equipment: 4 bits of compliance, 12 bits of type
//      14    16  width and height of the image in pixels, 2 bytes each
//      18    20  pixels a centimetre along x and y, 2 bytes each
//      22    24  number of views, zero
//      24    26  views, each:
//                  finger position; view number (4 bits), impression type (4 bits); quality;
//                  number of minutiae
//                  6 bytes a minutia: type (2 bits), x (14 bits); zero (2 bits), y (14 bits);
//                  angle; quality
//                  length of the extended data, 2 bytes, and as many bytes of areas, each: its type
//                  and its length, these 4 bytes included, 2 bytes each; its content
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tools/qorfp/FileIo.h"

namespace qorfp::cli {

enum class RecordFormat { kIso19794, kAnsi378 };

constexpr int kRecordOther = 0;  // types of minutiae
constexpr int kRecordEnding = 1;
constexpr int kRecordBifurcation = 2;

constexpr int kMaxRecordCoordinate = 0x3FFF;
constexpr int kMaxRecordQuality = 100;
constexpr int kQualityNotAttempted = 254;  // of later editions, and found in records of these
constexpr int kQualityFailed = 255;
constexpr int kMaxRecordFinger = 10;  // 0: unknown, 1 right thumb .. 10 left little finger

struct RecordMinutia {
    int type = kRecordOther;
    int x = 0;        // pixels from the left
    int y = 0;        // pixels from the top
    int angle = 0;    // counter-clockwise from the x axis, AngleSteps() to a turn
    int quality = 0;  // 1..100; 0, 254 and 255: not told
};

struct RecordArea {
    int type = 0;
    Bytes content;
};

struct RecordView {
    int finger = 0;
    int number = 0;      // 0..15, of this finger's views
    int impression = 0;  // 0..15; 0: live scan, plain
    int quality = 0;     // 0..100; 254 and 255: not told
    std::vector<RecordMinutia> minutiae;
    std::vector<RecordArea> areas;
};

struct MinutiaeRecord {
    RecordFormat format = RecordFormat::kIso19794;
    uint32_t product = 0;  // ANSI only; 0: not told
    int equipment = 0;     // 0: not told
    int width = 0;
    int height = 0;
    int xPerCentimetre = 0;
    int yPerCentimetre = 0;
    std::vector<RecordView> views;
};

/// Steps of an angle to a full turn: 256 or 180.
int AngleSteps(RecordFormat format);

/// For people: "ISO/IEC 19794-2:2005".
const char* FormatName(RecordFormat format);

/// Which format the bytes are in is told by the length field. Throws ToolError naming `path`, the
/// offset of the first byte that is wrong, and the reason.
MinutiaeRecord ReadRecord(const std::string& path, const Bytes& bytes);

/// All fields must be in their ranges: those that ReadRecord lets pass.
Bytes WriteRecord(const MinutiaeRecord& record);

}  // namespace qorfp::cli
