// SPDX-License-Identifier: Apache-2.0
//
// A skeleton drawn for a test, with its block maps: background everywhere, all blocks reliable,
// until the test draws. The arrays have exactly their size, so that an address checker sees any
// access outside.
#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "extract/Minutiae.h"
#include "tests/model/ModelMinutiae.h"
#include "tests/model/ModelTypes.h"

namespace testsupport {

struct Spot {
    int32_t x;
    int32_t y;
};

class DrawnSkeleton {
  public:
    DrawnSkeleton(int32_t width, int32_t height)
        : pixels(width, height, 255),
          directions((width - 1) / 4, (height - 1) / 4, 0),
          periods((width - 1) / 4, (height - 1) / 4, 0) {}

    DrawnSkeleton(const model::Grid& pixelGrid, const model::Grid& directionMap,
                  const model::Grid& periodMap)
        : pixels(pixelGrid), directions(directionMap), periods(periodMap) {}

    /// `count` ridge pixels from (x, y) on, each `step` further. Returns the last one.
    Spot Line(Spot from, Spot step, int32_t count) {
        Spot here = from;
        for (int32_t k = 0; k < count; ++k) {
            here = {from.x + k * step.x, from.y + k * step.y};
            pixels.At(here.x, here.y) = 0;
        }
        return here;
    }

    /// Rows of text whose first character stands at (x, y): '#' ridge, '.' background,
    /// 'v' visited (254), 'p' painted (1).
    void Text(int32_t x, int32_t y, const std::vector<std::string>& rows) {
        for (size_t row = 0; row < rows.size(); ++row) {
            for (size_t column = 0; column < rows[row].size(); ++column) {
                pixels.At(x + static_cast<int32_t>(column), y + static_cast<int32_t>(row)) =
                    ValueOf(rows[row][column]);
            }
        }
    }

    /// The other way round: the pixels as such text.
    std::vector<std::string> TextOf(int32_t x, int32_t y, int32_t width, int32_t height) const {
        std::vector<std::string> rows;
        for (int32_t row = y; row < y + height; ++row) {
            std::string text;
            for (int32_t column = x; column < x + width; ++column) {
                text.push_back(LetterOf(pixels.At(column, row)));
            }
            rows.push_back(text);
        }
        return rows;
    }

    /// As the library's detection takes it.
    qorfp::Skeleton View() {
        return {pixels.cells.data(),  pixels.width,     pixels.height,    directions.cells.data(),
                periods.cells.data(), directions.width, directions.height};
    }

    model::Grid pixels;
    model::Grid directions;
    model::Grid periods;

  private:
    static uint8_t ValueOf(char letter) {
        return letter == '#' ? 0 : letter == 'v' ? 254 : letter == 'p' ? 1 : 255;
    }
    static char LetterOf(uint8_t value) {
        return value == 0 ? '#' : value == 254 ? 'v' : value == 1 ? 'p' : value == 255 ? '.' : '?';
    }
};

/// The library's list of these candidates. What lies behind the last one is not zero.
inline qorfp::CandidateList ListOf(const model::Candidates& candidates) {
    qorfp::CandidateList list;
    std::memset(&list, 0x5A, sizeof(list));
    list.count = static_cast<int32_t>(candidates.size());
    for (size_t k = 0; k < candidates.size(); ++k) {
        list.items[k] = {static_cast<int16_t>(candidates[k].x),
                         static_cast<int16_t>(candidates[k].y),
                         static_cast<uint8_t>(candidates[k].type),
                         static_cast<uint8_t>(candidates[k].direction)};
    }
    return list;
}

inline model::Candidates CandidatesOf(const qorfp::CandidateList& list) {
    model::Candidates candidates;
    for (int32_t k = 0; k < list.count; ++k) {
        const qorfp::Candidate& item = list.items[k];
        candidates.push_back({item.x, item.y, item.type, item.direction});
    }
    return candidates;
}

inline std::string Describe(const model::Candidates& candidates) {
    std::string text;
    for (const model::Candidate& candidate : candidates) {
        text += "(" + std::to_string(candidate.x) + ", " + std::to_string(candidate.y) + ") type " +
                std::to_string(candidate.type) + " direction " +
                std::to_string(candidate.direction) + "\n";
    }
    return text;
}

/// What the library's scan finds.
inline model::Candidates Scan(DrawnSkeleton& drawing) {
    qorfp::CandidateList list = ListOf({});
    qorfp::ScanCandidates(drawing.View(), &list);
    return CandidatesOf(list);
}

}  // namespace testsupport
