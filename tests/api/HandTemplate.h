// SPDX-License-Identifier: Apache-2.0
//
// Templates written by hand, straight from the byte format, and the way back. Nothing here calls
// the library.
//
//   byte 0      "301" (older form "300")
//   byte 3      number of minutiae, 6..60 in a usable template
//   byte 4      minutiae of 6 bytes: 24 bits, low byte first: y + 256 (bits 0-9), x + 256
//               (bits 10-19), type (bits 20-21), two zeros; 16 bits, low byte first: confidence
//               (bits 0-3), disorder (bits 4-9), density (bits 10-15); 8 bits: direction
//   byte 369    quality, 0..100
//   byte 370    index area: number of keys (0..19), a zero, keys of 7 bytes
//   byte 510    sum of bytes 0..509, low byte first
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace apitest {

using Bytes = std::vector<uint8_t>;

constexpr size_t kTemplateBytes = 512;
constexpr size_t kCountByte = 3;
constexpr size_t kFirstMinutia = 4;
constexpr size_t kMinutiaBytes = 6;
constexpr size_t kQualityByte = 369;
constexpr size_t kKeyCountByte = 370;
constexpr size_t kFirstKey = 372;
constexpr size_t kKeyBytes = 7;
constexpr size_t kChecksumByte = 510;

struct HandMinutia {
    int32_t x = 0;          ///< -256..767
    int32_t y = 0;          ///< -256..767
    int32_t type = 1;       ///< 1 ending, 2 bifurcation; 0 and 3 do not decode
    int32_t direction = 0;  ///< 0..239, 1/240 turn; up to 255 in a hostile template
    int32_t density = 20;   ///< 0..63
    int32_t disorder = 20;  ///< 0..63
    int32_t confidence = 8;
};

using Minutiae = std::vector<HandMinutia>;

/// A template without index keys, quality 50, with its checksum. At most 60 minutiae.
Bytes WriteTemplate(const Minutiae& minutiae, const std::string& version = "301");

/// The minutiae of a template of at most 60; their count is that of the template.
Minutiae ReadTemplate(const Bytes& bytes);

/// Sum of bytes 0..509 modulo 65536.
uint32_t ByteSum(const Bytes& bytes);

/// Renews the checksum.
void WriteByteSum(Bytes& bytes);

/// Points of any type and direction in [20, 20 + extent), no two closer than 17 pixels; as many
/// as fit, at most `count`. Densities and disorders are all 20.
Minutiae Scatter(uint64_t seed, int32_t count, int32_t extent);

Minutiae Shifted(Minutiae minutiae, int32_t dx, int32_t dy);

/// Turned by quarters from the x axis towards the y axis about (200, 200).
Minutiae QuarterTurned(Minutiae minutiae, int32_t quarters);

/// Turned by 1/240 turns in the same sense, positions rounded.
Minutiae Turned(Minutiae minutiae, int32_t steps);

}  // namespace apitest
