// SPDX-License-Identifier: Apache-2.0
//
// Minutia sets and templates for tests, see TestMinutiae.h.
#include "tests/support/TestMinutiae.h"

#include <algorithm>
#include <cstddef>
#include <sstream>
#include <stdexcept>

#include "tests/model/ModelIndexKeys.h"
#include "tests/model/ModelMaths.h"

namespace testsupport {
namespace {

constexpr size_t kMostMinutiae = 60;
constexpr size_t kFewestMinutiae = 6;

int32_t RoundQ14(int64_t product) {
    return static_cast<int32_t>((product >= 0 ? product + 8192 : product - 8192) / 16384);
}

uint8_t Direction(int64_t steps) {
    return static_cast<uint8_t>(((steps % 240) + 240) % 240);
}

/// A 6-bit field moved by at most `reach` either way.
uint32_t Waver(uint32_t field, int32_t reach, Random& random) {
    const int32_t moved = static_cast<int32_t>(field) + random.Between(-reach, reach);
    return static_cast<uint32_t>(std::clamp(moved, 0, 63));
}

model::Minutia RandomMinutia(Random& random, Layout layout) {
    model::Minutia minutia = MakeMinutia(
        random.Between(8, 247), random.Between(8, 351), random.Below(240), random.Between(1, 2),
        static_cast<uint32_t>(random.Between(10, 40) * 64 + random.Between(0, 24)));
    switch (layout) {
        case Layout::kSpread:
            break;
        case Layout::kCrowded:
            minutia.x = random.Between(-95, -6);
            minutia.y = random.Between(-95, -6);
            break;
        case Layout::kLattice:
            minutia.x = 20 * random.Between(1, 9);
            minutia.y = 20 * random.Between(1, 12);
            minutia.direction = static_cast<uint8_t>(20 * random.Below(12));
            minutia.type = 1;
            minutia.attributes = 20 * 64 + 8;
            break;
        case Layout::kLine:
            minutia.x = random.Between(0, 250);
            minutia.y = minutia.x + 40;
            break;
        case Layout::kFullRange:
            minutia.x = random.Between(-256, 767);
            minutia.y = random.Between(-256, 767);
            minutia.attributes = static_cast<uint32_t>(random.Below(4096));
            break;
        case Layout::kHostile:
            minutia.x = 3 * random.Between(10, 40);
            minutia.y = 3 * random.Between(10, 40);
            minutia.direction = static_cast<uint8_t>(random.Below(256));
            minutia.attributes = static_cast<uint32_t>(random.Below(4096));
            break;
    }
    return minutia;
}

}  // namespace

std::string NameOf(Layout layout) {
    switch (layout) {
        case Layout::kSpread:
            return "spread";
        case Layout::kCrowded:
            return "crowded";
        case Layout::kLattice:
            return "lattice";
        case Layout::kLine:
            return "line";
        case Layout::kFullRange:
            return "full range";
        case Layout::kHostile:
            return "hostile";
    }
    return "unknown";
}

model::Minutia MakeMinutia(int32_t x, int32_t y, int32_t direction, int32_t type,
                           uint32_t attributes) {
    model::Minutia minutia;
    minutia.x = x;
    minutia.y = y;
    minutia.direction = static_cast<uint8_t>(direction);
    minutia.type = static_cast<uint8_t>(type);
    minutia.attributes = attributes;
    return minutia;
}

model::MinutiaSet MakeSet(const std::vector<model::Minutia>& minutiae) {
    model::MinutiaSet set;
    set.count = static_cast<int32_t>(minutiae.size());
    set.minutiae = minutiae;
    set.confidence.assign(minutiae.size(), 8);
    return set;
}

model::MinutiaSet RandomSet(Random& random, Layout layout, int32_t count) {
    std::vector<model::Minutia> minutiae;
    for (int32_t i = 0; i < count; ++i) {
        minutiae.push_back(RandomMinutia(random, layout));
    }
    return MakeSet(minutiae);
}

model::MinutiaSet TakeImpression(const model::MinutiaSet& set, const Impression& impression,
                                 Random& random) {
    const int64_t sine = model::SinEntry(impression.turn % 240);
    const int64_t cosine = model::CosEntry(impression.turn % 240);
    std::vector<model::Minutia> minutiae;
    size_t mayLose =
        set.minutiae.size() > kFewestMinutiae ? set.minutiae.size() - kFewestMinutiae : 0;
    for (const model::Minutia& original : set.minutiae) {
        if (random.Below(100) < impression.lostPerCent && mayLose > 0) {
            --mayLose;
            continue;
        }
        const int32_t reach = impression.jitter;
        const int64_t dx = int64_t{original.x} - 128;
        const int64_t dy = int64_t{original.y} - 180;
        model::Minutia minutia = original;
        minutia.x = 128 + RoundQ14(dx * cosine - dy * sine) + impression.shiftX +
                    random.Between(-reach, reach);
        minutia.y = 180 + RoundQ14(dx * sine + dy * cosine) + impression.shiftY +
                    random.Between(-reach, reach);
        minutia.direction = Direction(int64_t{original.direction} + impression.turn +
                                      random.Between(-reach, reach));
        minutia.attributes = Waver(original.attributes / 64, reach, random) * 64 +
                             Waver(original.attributes % 64, reach, random);
        if (reach > 0 && random.OneIn(12)) {
            minutia.attributes = static_cast<uint32_t>(random.Below(4096));
        }
        if (reach > 0 && random.OneIn(20)) {
            minutia.type = static_cast<uint8_t>(3 - minutia.type);
        }
        minutia.x = std::clamp(minutia.x, -256, 767);
        minutia.y = std::clamp(minutia.y, -256, 767);
        minutiae.push_back(minutia);
    }
    for (int32_t i = 0; i < impression.added && minutiae.size() < kMostMinutiae; ++i) {
        minutiae.push_back(RandomMinutia(random, Layout::kSpread));
    }
    return MakeSet(minutiae);
}

Impression RandomImpression(Random& random) {
    Impression impression;
    impression.turn = (random.Between(-20, 20) + 240) % 240;
    impression.shiftX = random.Between(-30, 30);
    impression.shiftY = random.Between(-30, 30);
    impression.jitter = random.Between(0, 3);
    impression.lostPerCent = random.Between(0, 30);
    impression.added = random.Below(8);
    return impression;
}

TemplateBytes FinishedTemplate(model::MinutiaSet set) {
    TemplateBytes bytes(512, 0);
    std::vector<uint8_t> area(140, 0);
    if (model::EncodeTemplate(set, true, bytes) != 0 || model::CreateIndexArea(bytes, area) != 0) {
        throw std::invalid_argument("not a set for a template");
    }
    std::copy(area.begin(), area.end(), bytes.begin() + 370);
    bytes.at(369) = static_cast<uint8_t>(model::TemplateQuality(bytes));
    model::WriteChecksum(bytes);
    return bytes;
}

TemplateBytes Damaged(TemplateBytes bytes, Random& random) {
    const int32_t places = random.Between(1, 12);
    for (int32_t i = 0; i < places; ++i) {
        // Mostly inside the minutiae and the index; the count byte now and then.
        const int32_t place = random.OneIn(12) ? 3 : random.Between(4, 509);
        bytes.at(static_cast<size_t>(place)) = static_cast<uint8_t>(random.Below(256));
    }
    return bytes;
}

::MinutiaSet ToLibrary(const model::MinutiaSet& set) {
    if (set.minutiae.size() > kMostMinutiae) {
        throw std::invalid_argument("more minutiae than a set holds");
    }
    ::MinutiaSet result = {};
    result.count = static_cast<int32_t>(set.minutiae.size());
    for (size_t i = 0; i < set.minutiae.size(); ++i) {
        const model::Minutia& from = set.minutiae[i];
        ::Minutia& minutia = result.minutiae[i];
        minutia.attributes = from.attributes;
        minutia.x = from.x;
        minutia.y = from.y;
        minutia.type = from.type;
        minutia.direction = from.direction;
    }
    return result;
}

model::MinutiaSet ToModel(const ::MinutiaSet& set) {
    std::vector<model::Minutia> minutiae;
    for (int32_t i = 0; i < std::min<int32_t>(set.count, kMostMinutiae); ++i) {
        const ::Minutia& from = set.minutiae[i];
        minutiae.push_back(MakeMinutia(from.x, from.y, from.direction, from.type, from.attributes));
    }
    return MakeSet(minutiae);
}

std::string Describe(const model::MinutiaSet& set) {
    std::ostringstream text;
    for (const model::Minutia& minutia : set.minutiae) {
        text << minutia.x << ',' << minutia.y << " type " << int32_t{minutia.type} << " direction "
             << int32_t{minutia.direction} << " attributes " << minutia.attributes << '\n';
    }
    return text.str();
}

}  // namespace testsupport
