// SPDX-License-Identifier: Apache-2.0
//
// A reader of the 512-byte template for people: all fields as numbers, nothing repaired, nothing
// hidden. It judges a template only so far as the engine does before matching.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "tools/qorfp/FileIo.h"

namespace qorfp::cli {

constexpr size_t kTemplateBytes = 512;
constexpr int kMinMinutiae = 6;
constexpr int kMaxMinutiae = 60;
constexpr int kMaxKeys = 19;
using TemplateBytes = std::array<uint8_t, kTemplateBytes>;

constexpr uint8_t kEnding = 1;
constexpr uint8_t kBifurcation = 2;

struct MinutiaView {
    int x = 0;  // -256..767, pixels
    int y = 0;
    uint8_t type = 0;     // kEnding, kBifurcation; 0 and 3 are invalid
    int direction = 0;    // 1/240 turn, from the x axis towards the y axis (rows grow downwards)
    int confidence = 0;   // 0..15
    int ridgePeriod = 0;  // 0..63: ridge period around, 8 a pixel above 4 pixels; 62: more
    int disorder = 0;     // 0..63: how much the ridge orientation changes around
};

/// An index key: a minutia and its nearest neighbour in three sectors around it.
struct KeyView {
    std::array<int, 3> neighbourDirection = {};  // 0..29, 12-degree steps
    std::array<int, 3> bearing = {};             // 0..14, 12-degree steps, offset by sector
    std::array<int, 3> distance = {};            // 0..15, 8-pixel steps above 20 pixels
    int minutia = 0;
    int direction = 0;  // 1/240 turn
};

struct TemplateView {
    std::string version;  // "300" or "301"
    int count = 0;
    int quality = 0;  // the stored byte; 0: not stored
    std::vector<MinutiaView> minutiae;
    bool hasIndex = false;  // version 300 has neither index nor checksum
    int keyCount = 0;       // as stored
    std::vector<KeyView> keys;
    unsigned storedChecksum = 0;
    unsigned computedChecksum = 0;
    std::string problem;  // why the engine cannot match it; empty when it can

    int CountOfType(uint8_t type) const;
};

/// Told by length and version text, for arguments that may be an image or a template.
bool LooksLikeTemplate(const Bytes& bytes);

/// The bytes as a template; throws ToolError when length, version or count are wrong.
TemplateBytes CheckTemplate(const std::string& path, const Bytes& bytes);

/// `bytes` must have passed CheckTemplate.
TemplateView ReadTemplate(const TemplateBytes& bytes);

/// Whether a template has room for the minutia's coordinates.
bool IsStorable(const MinutiaView& minutia);

/// Minutiae and quality as a template of version 300, which JudgeTemplate upgrades. All numbers must
/// be in their ranges.
TemplateBytes WriteOldTemplate(const TemplateView& view);

}  // namespace qorfp::cli
