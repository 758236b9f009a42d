// SPDX-License-Identifier: Apache-2.0
//
// Naive model of the bars, see ModelBars.h. The neighbour relation is a full matrix of squared
// distances whose rows are edited one by one; -1 says "not, or no longer, a neighbour".
#include "tests/model/ModelBars.h"

#include <algorithm>
#include <cstddef>

#include "tests/model/ModelMaths.h"

namespace model {
namespace {

constexpr int64_t kNoNeighbour = -1;
constexpr size_t kNeighboursKept = 10;

using Matrix = std::vector<std::vector<int64_t>>;

int64_t Absolute(int64_t value) {
    return value < 0 ? -value : value;
}

Matrix NeighbourDistances(const MinutiaSet& set) {
    const size_t count = set.minutiae.size();
    Matrix squared(count, std::vector<int64_t>(count, kNoNeighbour));
    for (size_t i = 0; i < count; ++i) {
        for (size_t j = i + 1; j < count; ++j) {
            const int64_t dx = int64_t{set.minutiae.at(j).x} - set.minutiae.at(i).x;
            const int64_t dy = int64_t{set.minutiae.at(j).y} - set.minutiae.at(i).y;
            if (dx < -200 || dx > 200 || dy < -200 || dy > 200) {
                continue;
            }
            const int64_t distance = dx * dx + dy * dy;
            if (distance >= 225 && distance <= 40000) {
                squared.at(i).at(j) = distance;
                squared.at(j).at(i) = distance;
            }
        }
    }
    return squared;
}

size_t CountNeighbours(const std::vector<int64_t>& row) {
    size_t count = 0;
    for (const int64_t distance : row) {
        count += distance != kNoNeighbour ? 1 : 0;
    }
    return count;
}

int32_t LengthOf(int64_t squaredDistance) {
    return SqrtA(static_cast<int32_t>(squaredDistance));
}

/// Removes the farthest neighbour by squared distance, the lowest-numbered of equals.
void RemoveFarthest(std::vector<int64_t>& row) {
    const int64_t farthest = *std::max_element(row.begin(), row.end());
    *std::find(row.begin(), row.end(), farthest) = kNoNeighbour;
}

/// Crowded minutiae: the cut is made by whole-pixel length, not by squared distance.
void KeepTenByLength(std::vector<int64_t>& row) {
    std::vector<int32_t> lengths;  // -1 where there is no neighbour
    for (const int64_t distance : row) {
        lengths.push_back(distance == kNoNeighbour ? -1 : LengthOf(distance));
    }
    int32_t cut = 15;
    for (;; ++cut) {
        const auto within = std::count_if(lengths.begin(), lengths.end(), [cut](int32_t length) {
            return length >= 15 && length <= cut;
        });
        if (within >= static_cast<std::ptrdiff_t>(kNeighboursKept)) {
            break;
        }
    }
    for (size_t j = 0; j < row.size(); ++j) {
        if (lengths.at(j) > cut) {
            row.at(j) = kNoNeighbour;
        }
    }
    for (size_t j = row.size(); j-- > 0;) {
        if (CountNeighbours(row) <= kNeighboursKept) {
            break;
        }
        if (lengths.at(j) == cut) {
            row.at(j) = kNoNeighbour;
        }
    }
}

void ThinNeighbours(Matrix& squared) {
    for (std::vector<int64_t>& row : squared) {
        const size_t count = CountNeighbours(row);
        if (count > 19) {
            KeepTenByLength(row);
        } else if (count > kNeighboursKept) {
            for (size_t removed = 0; removed < count - kNeighboursKept; ++removed) {
                RemoveFarthest(row);
            }
        }
    }
}

int32_t DirectionOfLine(int64_t dx, int64_t dy, int64_t length) {
    if (Absolute(dx) >= 128 || Absolute(dy) >= 128) {
        dx = dx * 127 / length;
        dy = dy * 127 / length;
    }
    const int32_t entry =
        AtanBEntry(static_cast<int32_t>(Absolute(dy)), static_cast<int32_t>(Absolute(dx)));
    int32_t angle = 0;
    if (dx > 0 && dy >= 0) {
        angle = entry;
    } else if (dx > 0) {
        angle = 240 - entry;
    } else if (dy > 0) {
        angle = 120 - entry;
    } else {
        angle = 120 + entry;
    }
    return angle == 240 ? 0 : angle;
}

Bar DescribePair(const MinutiaSet& set, size_t i, size_t j, int64_t squaredDistance) {
    const Minutia& first = set.minutiae.at(i);
    const Minutia& second = set.minutiae.at(j);
    Bar bar;
    bar.first = static_cast<int32_t>(i);
    bar.second = static_cast<int32_t>(j);
    bar.length = LengthOf(squaredDistance);
    bar.direction =
        DirectionOfLine(int64_t{second.x} - first.x, int64_t{second.y} - first.y, bar.length);
    bar.angleFirst = Modulo240(int64_t{bar.direction} - first.direction);
    bar.angleSecond = Modulo240(int64_t{bar.direction} + 120 - second.direction);
    return bar;
}

/// The pairs in order of generation, at most `limit`.
std::vector<Bar> GenerateBars(const MinutiaSet& set, size_t limit) {
    std::vector<Bar> bars;
    if (set.minutiae.size() < 3) {
        return bars;
    }
    Matrix squared = NeighbourDistances(set);
    ThinNeighbours(squared);
    for (size_t i = 0; i < squared.size(); ++i) {
        for (size_t j = 0; j < squared.size(); ++j) {
            if (j == i || squared.at(i).at(j) == kNoNeighbour) {
                continue;
            }
            bars.push_back(DescribePair(set, i, j, squared.at(i).at(j)));
            squared.at(j).at(i) = kNoNeighbour;
            if (bars.size() == limit) {
                return bars;
            }
        }
    }
    return bars;
}

Bar ReverseOf(const Bar& bar) {
    Bar reverse;
    reverse.first = bar.second;
    reverse.second = bar.first;
    reverse.length = bar.length;
    reverse.direction = bar.direction >= 120 ? bar.direction - 120 : bar.direction + 120;
    reverse.angleFirst = bar.angleSecond;
    reverse.angleSecond = bar.angleFirst;
    return reverse;
}

/// The sectors of an angle minus and plus 10 steps; they may be the same.
std::array<int32_t, 2> SectorsNear(int32_t angle) {
    return {Modulo240(int64_t{angle} - 10) / 20, Modulo240(int64_t{angle} + 10) / 20};
}

}  // namespace

int32_t Modulo240(int64_t value) {
    const int64_t remainder = value % 240;
    return static_cast<int32_t>(remainder < 0 ? remainder + 240 : remainder);
}

int32_t AngleBetween(int64_t a, int64_t b) {
    const int32_t difference = Modulo240(a - b);
    return difference > 120 ? 240 - difference : difference;
}

Centre CentreOf(const MinutiaSet& set) {
    if (set.minutiae.empty()) {
        return {};
    }
    std::vector<int64_t> columns;
    std::vector<int64_t> rows;
    for (const Minutia& minutia : set.minutiae) {
        columns.push_back(minutia.x);
        rows.push_back(minutia.y);
    }
    std::sort(columns.begin(), columns.end());
    std::sort(rows.begin(), rows.end());
    return {static_cast<int32_t>((columns.front() + columns.back()) / 2),
            static_cast<int32_t>((rows.front() + rows.back()) / 2)};
}

std::vector<Bar> MakeProbeBars(const MinutiaSet& set) {
    return GenerateBars(set, kMaxProbeBars);
}

std::vector<Bar> MakeReferenceBars(const MinutiaSet& set) {
    const std::vector<Bar> generated = GenerateBars(set, kMaxReferencePairs);
    std::vector<Bar> ordered;
    for (int32_t length = 15; length <= 200; ++length) {
        for (size_t p = generated.size(); p-- > 0;) {
            if (generated.at(p).length == length) {
                ordered.push_back(generated.at(p));
                ordered.push_back(ReverseOf(generated.at(p)));
            }
        }
    }
    return ordered;
}

Reference PrepareReference(const MinutiaSet& set) {
    Reference reference;
    reference.set = set;
    if (set.minutiae.empty()) {
        return reference;
    }
    reference.centre = CentreOf(set);
    reference.bars = MakeReferenceBars(set);
    for (size_t bar = 0; bar < reference.bars.size(); bar += 2) {
        const std::array<int32_t, 2> firsts = SectorsNear(reference.bars.at(bar).angleFirst);
        const std::array<int32_t, 2> seconds = SectorsNear(reference.bars.at(bar).angleSecond);
        for (const int32_t s : firsts) {
            for (const int32_t t : seconds) {
                reference.sectors.at(static_cast<size_t>(kBarSectors * s + t))
                    .push_back(static_cast<int32_t>(bar));
            }
        }
        for (const int32_t s : firsts) {
            for (const int32_t t : seconds) {
                reference.sectors.at(static_cast<size_t>(kBarSectors * t + s))
                    .push_back(static_cast<int32_t>(bar) + 1);
            }
        }
    }
    reference.prepared = !reference.bars.empty();
    return reference;
}

}  // namespace model
