// SPDX-License-Identifier: Apache-2.0
//
// CRC-32 (IEEE 802.3, as in PNG and gzip): reflected polynomial EDB88320, all ones before and after.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace support {

/// What eight steps of the division make of each remainder of one byte.
constexpr std::array<uint32_t, 256> MakeCrcTable() {
    std::array<uint32_t, 256> table{};
    for (uint32_t byte = 0; byte < 256; ++byte) {
        uint32_t remainder = byte;
        for (int bit = 0; bit < 8; ++bit) {
            remainder = (remainder >> 1) ^ ((remainder & 1U) != 0 ? 0xEDB88320U : 0U);
        }
        table[byte] = remainder;
    }
    return table;
}

template <typename Byte>
constexpr uint32_t Crc32(const Byte* bytes, size_t count) {
    static_assert(sizeof(Byte) == 1, "a CRC is taken over bytes");
    constexpr std::array<uint32_t, 256> kTable = MakeCrcTable();
    uint32_t remainder = 0xFFFFFFFFU;
    for (size_t k = 0; k < count; ++k) {
        remainder = (remainder >> 8) ^ kTable[(remainder ^ static_cast<uint8_t>(bytes[k])) & 0xFFU];
    }
    return ~remainder;
}

// The check value of this CRC in every table of polynomials.
static_assert(Crc32("123456789", 9) == 0xCBF43926U, "CRC-32 of the digits");

}  // namespace support
