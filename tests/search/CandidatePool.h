// SPDX-License-Identifier: Apache-2.0
//
// Templates for 1:N searches, with what the naive models say about each. A list entry is put
// together from the minutiae of one template and the index area of another: the full match looks at
// the first only and the index score at the second only, so a few of each give any number of
// different entries, ranked independently of how well they match.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "tests/support/TestMinutiae.h"

namespace searchtest {

using testsupport::Random;
using testsupport::TemplateBytes;

/// Bytes 0..369 of a template.
struct Head {
    TemplateBytes bytes;
    int32_t score = 0;    ///< of the full match with the probe
    bool decodes = true;  ///< an undecodable head of a valid version and count scores 0
};

/// Bytes 370..509 of a template.
struct Area {
    std::vector<uint8_t> bytes;
    int32_t indexScore = 0;  ///< against the probe
};

struct Entry {
    size_t head = 0;
    size_t area = 0;
};

/// How a list is made up. Strangers score below 100, near heads 140 to 224, certain ones more.
enum class Shape {
    kMixed,        ///< strangers, near and a few certain heads, any area
    kNear,         ///< strangers and near heads: nothing ends the search early
    kStrangers,    ///< nothing reaches a threshold
    kWhole,        ///< whole templates: heads with their own areas
    kAllEqual,     ///< one near entry, over and over
    kAscending,    ///< near and strangers, by increasing index score
    kDescending,   ///< the same by decreasing index score
    kFewAreas,     ///< near and strangers with three areas: many ties in the ranking
    kNoKeys,       ///< near and strangers without index keys: every index score is 0
    kUndecodable,  ///< mixed, every fourth head undecodable
    kSpoilt,       ///< mixed, but the one with the highest index score does not decode
    kBuried,       ///< strangers, and near heads without index keys, so ranked last
};

constexpr Shape kAllShapes[] = {Shape::kMixed,       Shape::kNear,     Shape::kStrangers,
                                Shape::kWhole,       Shape::kAllEqual, Shape::kAscending,
                                Shape::kDescending,  Shape::kFewAreas, Shape::kNoKeys,
                                Shape::kUndecodable, Shape::kSpoilt,   Shape::kBuried};

std::string NameOf(Shape shape);

struct CandidatePool {
    TemplateBytes probe;
    std::vector<Head> heads;
    std::vector<Area> areas;
    std::vector<Entry> whole;  ///< heads with the areas that belong to them

    // Numbers of heads and areas.
    std::vector<size_t> strangers;
    std::vector<size_t> near;  ///< at least two between each two thresholds
    std::vector<size_t> certain;
    std::vector<size_t> undecodable;
    size_t areaWithoutKeys = 0;
    size_t areaOfProbe = 0;  ///< its index score is above all others

    TemplateBytes TemplateOf(const Entry& entry) const;
    std::vector<TemplateBytes> TemplatesOf(const std::vector<Entry>& entries) const;
    std::vector<Entry> MakeList(Shape shape, size_t count, Random& random) const;
};

/// The pool that all tests share; made at the first call.
const CandidatePool& Pool();

}  // namespace searchtest
