// SPDX-License-Identifier: Apache-2.0
//
// Naive model of fusion geometry, see ModelFusionGeometry.h.
#include "tests/model/ModelFusionGeometry.h"

#include <algorithm>
#include <cstddef>
#include <map>
#include <optional>
#include <set>

namespace model {
namespace {

constexpr size_t kMaxPairs = 120;

std::optional<int32_t> Find(const std::map<int32_t, int32_t>& partners, int32_t number) {
    const auto found = partners.find(number);
    if (found == partners.end()) {
        return std::nullopt;
    }
    return found->second;
}

bool Coincide(const Point& p, const Point& q) {
    return p.x == q.x && p.y == q.y;
}

/// Positive where c and then q turn the inner way round p, negative the outer way.
int64_t Cross(const Point& p, const Point& c, const Point& q) {
    return (int64_t{c.x} - p.x) * (int64_t{q.y} - p.y) -
           (int64_t{c.y} - p.y) * (int64_t{q.x} - p.x);
}

int64_t Dot(const Point& p, const Point& c, const Point& q) {
    return (int64_t{c.x} - p.x) * (int64_t{q.x} - p.x) +
           (int64_t{c.y} - p.y) * (int64_t{q.y} - p.y);
}

int64_t StreetDistance(const Point& p, const Point& q) {
    const int64_t dx = int64_t{q.x} - p.x;
    const int64_t dy = int64_t{q.y} - p.y;
    return (dx < 0 ? -dx : dx) + (dy < 0 ? -dy : dy);
}

/// The first point with no other on its outer side as seen from `current`, starting with
/// `candidate`; each time the first outer point in input order takes its place.
size_t OutermostFrom(const std::vector<Point>& points, const Point& current, size_t candidate) {
    for (;;) {
        std::optional<size_t> outer;
        for (size_t q = 0; q < points.size() && !outer; ++q) {
            if (!Coincide(points.at(q), current) &&
                Cross(current, points.at(candidate), points.at(q)) < 0) {
                outer = q;
            }
        }
        if (!outer) {
            return candidate;
        }
        candidate = *outer;
    }
}

/// Of the points on the ray from `current` through the candidate, the nearest.
size_t NearestOnRay(const std::vector<Point>& points, const Point& current, size_t candidate) {
    const Point ray = points.at(candidate);
    size_t nearest = candidate;
    for (size_t q = 0; q < points.size(); ++q) {
        const Point& point = points.at(q);
        if (Coincide(point, current) || Cross(current, ray, point) != 0 ||
            Dot(current, ray, point) <= 0) {
            continue;
        }
        if (StreetDistance(current, point) < StreetDistance(current, points.at(nearest))) {
            nearest = q;
        }
    }
    return nearest;
}

}  // namespace

IndexPairs ReconcilePairs(IndexPairs& reverse, IndexPairs& forward) {
    std::map<int32_t, int32_t> partnerOfB;
    std::map<int32_t, int32_t> partnerOfA;
    for (const auto& [b, a] : reverse) {
        partnerOfB[b] = a;
        partnerOfA[a] = b;
    }
    IndexPairs conflicts;
    std::set<int32_t> flagged;
    for (const auto& [a, b] : forward) {
        const std::optional<int32_t> otherA = Find(partnerOfB, b);
        const std::optional<int32_t> otherB = Find(partnerOfA, a);
        if (otherA == a) {
            continue;
        }
        if (!otherA && !otherB) {
            if (reverse.size() < kMaxPairs) {
                reverse.emplace_back(b, a);
                partnerOfB[b] = a;
                partnerOfA[a] = b;
            }
        } else if (otherA) {
            conflicts.emplace_back(b, a);
            conflicts.emplace_back(b, *otherA);
            flagged.insert(*otherA);
        } else {
            conflicts.emplace_back(b, a);
            conflicts.emplace_back(*otherB, a);
            flagged.insert(a);
        }
    }
    IndexPairs surviving;
    for (const auto& pair : reverse) {
        if (flagged.count(pair.second) == 0) {
            surviving.push_back(pair);
        }
    }
    reverse = surviving;
    forward.clear();
    for (const auto& [b, a] : reverse) {
        forward.emplace_back(a, b);
    }
    return conflicts;
}

std::vector<Point> ConvexHull(const std::vector<Point>& points) {
    if (points.size() < 3) {
        return points;
    }
    size_t start = 0;
    for (size_t i = 1; i < points.size(); ++i) {
        const Point& point = points.at(i);
        const Point& best = points.at(start);
        if (point.x < best.x || (point.x == best.x && point.y < best.y)) {
            start = i;
        }
    }
    std::vector<Point> hull = {points.at(start)};
    std::set<size_t> used = {start};
    while (hull.size() < points.size()) {
        const Point current = hull.back();
        std::optional<size_t> candidate;
        for (size_t i = 0; i < points.size() && !candidate; ++i) {
            if (used.count(i) == 0 && !Coincide(points.at(i), current)) {
                candidate = i;
            }
        }
        if (!candidate) {
            break;
        }
        const size_t chosen =
            NearestOnRay(points, current, OutermostFrom(points, current, *candidate));
        if (Coincide(points.at(chosen), points.at(start))) {
            break;
        }
        hull.push_back(points.at(chosen));
        used.insert(chosen);
    }
    return hull;
}

bool IsOutsidePolygon(const std::vector<Point>& polygon, int32_t x, int32_t y) {
    if (polygon.size() < 3) {
        return true;
    }
    for (size_t k = 0; k < polygon.size(); ++k) {
        const Point& from = polygon.at(k);
        const Point& to = polygon.at((k + 1) % polygon.size());
        if (Cross(from, to, {x, y}) < 0) {
            return true;
        }
    }
    return false;
}

}  // namespace model
