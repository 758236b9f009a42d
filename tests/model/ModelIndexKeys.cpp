// SPDX-License-Identifier: Apache-2.0
//
// Naive model of the index keys, see ModelIndexKeys.h.
#include "tests/model/ModelIndexKeys.h"

#include <algorithm>
#include <cstdlib>

#include "tests/model/ModelMaths.h"
#include "tests/model/ModelSort.h"

namespace model {
namespace {

int32_t TrueModulus240(int32_t value) {
    return (value % 240 + 240) % 240;
}

struct Neighbour {
    int32_t number = -1;  // minutia number, -1 none
    int32_t distance = 0;
    int32_t angle = 0;  // direction of the line from the central minutia to it
};

/// The line from minutia i to minutia j; number -1 when they are no neighbours.
Neighbour LineTo(const MinutiaSet& set, int32_t i, int32_t j) {
    // The angle is always computed from the lower to the higher number and turned for the other.
    const int32_t low = std::min(i, j);
    const int32_t high = std::max(i, j);
    const Minutia& from = set.minutiae.at(static_cast<size_t>(low));
    const Minutia& to = set.minutiae.at(static_cast<size_t>(high));
    const int32_t dx = to.x - from.x;
    const int32_t dy = to.y - from.y;
    const int32_t squared = dx * dx + dy * dy;
    Neighbour line;
    if (squared < 400 || squared > 19600) {
        return line;
    }
    line.number = j;
    line.distance = std::clamp(SqrtA(squared), 20, 140);
    line.angle = AtanA(dx, dy);
    if (i > j) {
        line.angle = line.angle >= 120 ? line.angle - 120 : line.angle + 120;
    }
    return line;
}

int32_t SectorOf(int32_t relativeAngle) {
    if (relativeAngle <= 30 || relativeAngle >= 211) {
        return 0;
    }
    if (relativeAngle <= 90) {
        return 1;
    }
    return relativeAngle <= 150 ? 2 : 3;
}

/// The position angle as seen from the slot, 0..119 before the division by 8.
int32_t AngleInSlot(int32_t relativeAngle, size_t slot) {
    int32_t shifted = 0;
    if (slot == 0) {
        shifted = relativeAngle <= 120 ? relativeAngle + 30 : relativeAngle - 210;
    } else if (slot == 1) {
        shifted = relativeAngle - 30;
    } else {
        shifted = relativeAngle - 90;
    }
    return std::min(shifted, 119);
}

/// The nearest neighbour in each of the four sectors around minutia i.
std::vector<Neighbour> NearestBySector(const MinutiaSet& set, int32_t i) {
    std::vector<Neighbour> nearest(4);
    const int32_t direction = set.minutiae.at(static_cast<size_t>(i)).direction;
    for (int32_t j = 0; j < set.count; ++j) {
        if (j == i) {
            continue;
        }
        const Neighbour line = LineTo(set, i, j);
        if (line.number < 0) {
            continue;
        }
        const int32_t sector = SectorOf(TrueModulus240(line.angle - direction));
        Neighbour& best = nearest.at(static_cast<size_t>(sector));
        if (best.number < 0 || line.distance < best.distance) {
            best = line;
        }
    }
    return nearest;
}

/// The neighbours for slots 0..2, or fewer than three when minutia i gets no key.
std::vector<Neighbour> ChooseThree(const std::vector<Neighbour>& nearest) {
    std::vector<Neighbour> chosen;
    for (const Neighbour& neighbour : nearest) {
        if (neighbour.number >= 0) {
            chosen.push_back(neighbour);
        }
    }
    if (chosen.size() == 4) {
        size_t farthest = 0;
        for (size_t k = 1; k < 4; ++k) {
            if (chosen.at(k).distance > chosen.at(farthest).distance) {
                farthest = k;
            }
        }
        chosen.erase(chosen.begin() + static_cast<std::ptrdiff_t>(farthest));
    }
    return chosen;
}

}  // namespace

int32_t CircularLevelDifference(int32_t difference) {
    const int32_t size = std::abs(difference);
    return std::min(size, 30 - size);
}

int32_t AbsoluteLevelDifference(int32_t difference) {
    return std::abs(difference);
}

std::vector<int32_t> OrderFromCentre(const MinutiaSet& set) {
    std::vector<int32_t> columns;
    std::vector<int32_t> rows;
    for (int32_t i = 0; i < set.count; ++i) {
        columns.push_back(set.minutiae.at(static_cast<size_t>(i)).x);
        rows.push_back(set.minutiae.at(static_cast<size_t>(i)).y);
    }
    const int32_t centreX = (*std::min_element(columns.begin(), columns.end()) +
                             *std::max_element(columns.begin(), columns.end())) /
                            2;
    const int32_t centreY = (*std::min_element(rows.begin(), rows.end()) +
                             *std::max_element(rows.begin(), rows.end())) /
                            2;
    std::vector<int32_t> squares;
    std::vector<int32_t> numbers;
    for (int32_t i = 0; i < set.count; ++i) {
        const int32_t dx = columns.at(static_cast<size_t>(i)) - centreX;
        const int32_t dy = rows.at(static_cast<size_t>(i)) - centreY;
        squares.push_back(dx * dx + dy * dy);
        numbers.push_back(i);
    }
    QuickSortEx(squares, numbers);
    return numbers;
}

std::vector<IndexKey> MakeIndexKeys(const MinutiaSet& set) {
    std::vector<IndexKey> keys;
    for (const int32_t i : OrderFromCentre(set)) {
        if (keys.size() == 30) {
            break;
        }
        const std::vector<Neighbour> chosen = ChooseThree(NearestBySector(set, i));
        if (chosen.size() < 3) {
            continue;
        }
        const Minutia& centre = set.minutiae.at(static_cast<size_t>(i));
        IndexKey key;
        for (size_t slot = 0; slot < 3; ++slot) {
            const Neighbour& line = chosen.at(slot);
            const int32_t direction = set.minutiae.at(static_cast<size_t>(line.number)).direction;
            const int32_t relative = TrueModulus240(line.angle - centre.direction);
            key.a.at(slot) = static_cast<uint8_t>(TrueModulus240(direction - line.angle) / 8);
            key.b.at(slot) = static_cast<uint8_t>(AngleInSlot(relative, slot) / 8);
            key.c.at(slot) = static_cast<uint8_t>((line.distance - 20) / 8);
        }
        key.index = static_cast<uint8_t>(i);
        key.direction = centre.direction;
        keys.push_back(key);
    }
    return keys;
}

int32_t KeyDissimilarity(const IndexKey& first, const IndexKey& second) {
    int32_t agreeing = 0;
    int32_t sum = 0;
    for (size_t slot = 0; slot < 3; ++slot) {
        const int32_t a = CircularLevelDifference(first.a.at(slot) - second.a.at(slot));
        const int32_t b = AbsoluteLevelDifference(first.b.at(slot) - second.b.at(slot));
        const int32_t c = AbsoluteLevelDifference(first.c.at(slot) - second.c.at(slot));
        if (a <= 2 && b <= 2 && c <= 2) {
            ++agreeing;
            sum += a + b + 2 * c;
        }
    }
    return agreeing < 2 ? 36 : 36 - (12 * agreeing - sum);
}

std::vector<IndexKey> ThinIndexKeys(const std::vector<IndexKey>& keys) {
    if (keys.size() < 20) {
        return keys;
    }
    std::vector<bool> removed(keys.size(), false);
    size_t remaining = keys.size();
    for (size_t i = keys.size(); i-- > 0 && remaining > 19;) {
        if (removed.at(i)) {
            continue;
        }
        size_t nearest = keys.size();
        int32_t least = 0;
        for (size_t j = keys.size(); j-- > 0;) {
            if (j == i) {
                continue;
            }
            const int32_t dissimilarity = KeyDissimilarity(keys.at(i), keys.at(j));
            if (nearest == keys.size() || dissimilarity < least) {
                nearest = j;
                least = dissimilarity;
            }
        }
        if (least <= 35 && !removed.at(nearest)) {
            removed.at(std::max(i, nearest)) = true;
            --remaining;
        }
    }
    std::vector<IndexKey> kept;
    for (size_t i = 0; i < keys.size() && kept.size() < 19; ++i) {
        if (!removed.at(i)) {
            kept.push_back(keys.at(i));
        }
    }
    return kept;
}

std::vector<uint8_t> PackIndexKeys(const std::vector<IndexKey>& keys) {
    std::vector<uint8_t> area(140, 0);
    area.at(0) = static_cast<uint8_t>(keys.size());
    for (size_t k = 0; k < keys.size(); ++k) {
        const IndexKey& key = keys.at(k);
        const size_t place = 2 + 7 * k;
        int32_t directions = 0;
        int32_t positions = 0;
        for (size_t slot = 0; slot < 3; ++slot) {
            const int shift = static_cast<int>(slot);
            directions |= (key.a.at(slot) % 32) << (5 * shift);
            positions |= (key.c.at(slot) % 16) << (4 * shift);
            positions |= (key.b.at(slot) % 16) << (12 + 4 * shift);
        }
        area.at(place) = static_cast<uint8_t>(directions % 256);
        area.at(place + 1) = static_cast<uint8_t>(directions / 256);
        area.at(place + 2) = static_cast<uint8_t>(positions % 256);
        area.at(place + 3) = static_cast<uint8_t>(positions / 256 % 256);
        area.at(place + 4) = static_cast<uint8_t>(positions / 65536);
        area.at(place + 5) = key.index;
        area.at(place + 6) = key.direction;
    }
    return area;
}

int32_t CreateIndexForProbe(const TemplateBytes& bytes, std::vector<IndexKey>& keys) {
    keys.clear();
    MinutiaSet set;
    const int32_t result = DecodeTemplate(bytes, set);
    if (result == 0) {
        keys = MakeIndexKeys(set);
    }
    return result;
}

int32_t CreateIndexArea(const TemplateBytes& bytes, std::vector<uint8_t>& area) {
    std::vector<IndexKey> keys;
    const int32_t result = CreateIndexForProbe(bytes, keys);
    if (result == 0) {
        area = PackIndexKeys(ThinIndexKeys(keys));
    }
    return result;
}

}  // namespace model
