// SPDX-License-Identifier: Apache-2.0
//
// Tools of fusion: reconciling the two match lists of a pair of templates, and the convex outline
// of a set of positions.

#include <string.h>

#include "extract/FixedMath.h"
#include "match/FPMatch.h"

namespace {

using namespace qorfp;

constexpr int16_t kNobody = -1;

bool IsMinutiaNumber(int16_t number) {
    return number >= 0 && number < kMaxMinutiae;
}

int32_t PairCountOf(const MatchResult& record) {
    return Clamp(record.pairCount, 0, kMaxMatchPairs);
}

// Partners by the reverse list; a later pair overwrites an earlier one.
void BuildLookups(const MatchResult& reverse, ArrangeScratch* work) {
    for (int32_t i = 0; i < kMaxMinutiae; ++i) {
        work->partnerOfB[i] = kNobody;
        work->partnerOfA[i] = kNobody;
        work->isFlagged[i] = 0;
    }
    for (int32_t k = 0; k < PairCountOf(reverse); ++k) {
        const int16_t b = reverse.referenceIndices[k];
        const int16_t a = reverse.probeIndices[k];
        if (IsMinutiaNumber(a) && IsMinutiaNumber(b)) {
            work->partnerOfB[b] = a;
            work->partnerOfA[a] = b;
        }
    }
}

void AppendPair(MatchResult* reverse, int16_t b, int16_t a, ArrangeScratch* work) {
    const int32_t count = PairCountOf(*reverse);
    if (count == kMaxMatchPairs) {
        return;
    }
    reverse->referenceIndices[count] = b;
    reverse->probeIndices[count] = a;
    reverse->pairCount = count + 1;
    work->partnerOfB[b] = a;
    work->partnerOfA[a] = b;
}

void AddConflict(ConflictList* conflicts, int16_t b, int16_t a) {
    conflicts->b[conflicts->count] = b;
    conflicts->a[conflicts->count] = a;
    ++conflicts->count;
}

// Compares a pair of the forward list with the reverse list as it now stands.
void ReconcilePair(ArrangeScratch* work, MatchResult* reverse, int16_t a, int16_t b,
                   ConflictList* conflicts) {
    const int16_t otherA = work->partnerOfB[b];
    const int16_t otherB = work->partnerOfA[a];
    if (otherA == a) {
        return;
    }
    if (otherA == kNobody && otherB == kNobody) {
        AppendPair(reverse, b, a, work);
    } else if (otherA != kNobody) {
        AddConflict(conflicts, b, a);
        AddConflict(conflicts, b, otherA);
        work->isFlagged[otherA] = 1;
    } else {
        AddConflict(conflicts, b, a);
        AddConflict(conflicts, otherB, a);
        work->isFlagged[a] = 1;
    }
}

void DropFlagged(const ArrangeScratch& work, MatchResult* reverse) {
    int32_t kept = 0;
    for (int32_t k = 0; k < PairCountOf(*reverse); ++k) {
        const int16_t a = reverse->probeIndices[k];
        if (IsMinutiaNumber(a) && work.isFlagged[a] != 0) {
            continue;
        }
        reverse->referenceIndices[kept] = reverse->referenceIndices[k];
        reverse->probeIndices[kept] = a;
        ++kept;
    }
    reverse->pairCount = kept;
}

struct Point {
    int32_t x;
    int32_t y;
};

Point PointAt(const HullContext& hull, int32_t index) {
    return {hull.x[index], hull.y[index]};
}

bool Coincide(Point p, Point q) {
    return p.x == q.x && p.y == q.y;
}

// Negative where q lies on the outer side of the line from p to c.
int32_t CrossProduct(Point p, Point c, Point q) {
    return WrapSub32(WrapMul32(WrapSub32(c.x, p.x), WrapSub32(q.y, p.y)),
                     WrapMul32(WrapSub32(c.y, p.y), WrapSub32(q.x, p.x)));
}

int32_t DotProduct(Point p, Point c, Point q) {
    return WrapAdd32(WrapMul32(WrapSub32(c.x, p.x), WrapSub32(q.x, p.x)),
                     WrapMul32(WrapSub32(c.y, p.y), WrapSub32(q.y, p.y)));
}

// Sum of the absolute coordinate differences.
int64_t CityDistance(Point p, Point q) {
    const int64_t dx = static_cast<int64_t>(q.x) - p.x;
    const int64_t dy = static_cast<int64_t>(q.y) - p.y;
    return (dx < 0 ? -dx : dx) + (dy < 0 ? -dy : dy);
}

// The leftmost point, the topmost among equals.
int32_t StartOf(const HullContext& hull) {
    int32_t start = 0;
    for (int32_t i = 1; i < hull.count; ++i) {
        if (hull.x[i] < hull.x[start] ||
            (hull.x[i] == hull.x[start] && hull.y[i] < hull.y[start])) {
            start = i;
        }
    }
    return start;
}

int32_t FirstCandidate(const HullContext& hull, Point p) {
    for (int32_t i = 0; i < hull.count; ++i) {
        if (hull.isUsed[i] == 0 && !Coincide(p, PointAt(hull, i))) {
            return i;
        }
    }
    return kNobody;
}

int32_t FirstOuter(const HullContext& hull, Point p, Point candidate) {
    for (int32_t i = 0; i < hull.count; ++i) {
        const Point q = PointAt(hull, i);
        if (!Coincide(p, q) && CrossProduct(p, candidate, q) < 0) {
            return i;
        }
    }
    return kNobody;
}

// Of the points on the ray from p through the candidate, the nearest.
int32_t NearestOnRay(const HullContext& hull, Point p, int32_t candidate) {
    const Point c = PointAt(hull, candidate);
    int32_t nearest = candidate;
    for (int32_t i = 0; i < hull.count; ++i) {
        const Point q = PointAt(hull, i);
        if (!Coincide(p, q) && CrossProduct(p, c, q) == 0 && DotProduct(p, c, q) > 0 &&
            CityDistance(p, q) < CityDistance(p, PointAt(hull, nearest))) {
            nearest = i;
        }
    }
    return nearest;
}

// The corner that follows p, or kNobody. Each outer point lies further round than the one before,
// so the search passes each point once at most.
int32_t NextCorner(const HullContext& hull, Point p) {
    int32_t candidate = FirstCandidate(hull, p);
    if (candidate == kNobody) {
        return kNobody;
    }
    for (int32_t tries = 0; tries < hull.count; ++tries) {
        const int32_t outer = FirstOuter(hull, p, PointAt(hull, candidate));
        if (outer == kNobody) {
            break;
        }
        candidate = outer;
    }
    return NearestOnRay(hull, p, candidate);
}

}  // namespace

void ArrangeMinutiaIndex(ArrangeScratch* work, MatchResult* reverse, MatchResult* forward,
                         ConflictList* conflicts, ConflictList* conflictsCopy) {
    BuildLookups(*reverse, work);
    memset(conflicts, 0, sizeof(*conflicts));
    for (int32_t k = 0; k < PairCountOf(*forward); ++k) {
        const int16_t a = forward->referenceIndices[k];
        const int16_t b = forward->probeIndices[k];
        if (IsMinutiaNumber(a) && IsMinutiaNumber(b)) {
            ReconcilePair(work, reverse, a, b, conflicts);
        }
    }
    DropFlagged(*work, reverse);
    forward->pairCount = reverse->pairCount;
    memcpy(forward->referenceIndices, reverse->probeIndices, sizeof(forward->referenceIndices));
    memcpy(forward->probeIndices, reverse->referenceIndices, sizeof(forward->probeIndices));
    *conflictsCopy = *conflicts;
}

int32_t GetConvexHull(HullContext* hull) {
    if (hull->count < 3 || hull->count > kMaxHullPoints) {
        return hull->count;
    }
    memset(hull->isUsed, 0, sizeof(hull->isUsed));
    int32_t corners = 0;
    int32_t current = StartOf(*hull);
    const Point start = PointAt(*hull, current);
    while (true) {
        hull->isUsed[current] = 1;
        hull->order[corners] = current;
        ++corners;
        if (corners == hull->count) {
            break;
        }
        current = NextCorner(*hull, PointAt(*hull, current));
        if (current == kNobody || Coincide(PointAt(*hull, current), start)) {
            break;
        }
    }
    for (int32_t k = 0; k < corners; ++k) {
        hull->cornerX[k] = hull->x[hull->order[k]];
        hull->cornerY[k] = hull->y[hull->order[k]];
    }
    memcpy(hull->x, hull->cornerX, static_cast<size_t>(corners) * sizeof(hull->x[0]));
    memcpy(hull->y, hull->cornerY, static_cast<size_t>(corners) * sizeof(hull->y[0]));
    hull->count = corners;
    return corners;
}

int32_t GetDistFromPolygon(HullContext* hull, int32_t x, int32_t y) {
    if (hull->count < 3 || hull->count > kMaxHullPoints) {
        return 1;
    }
    for (int32_t k = 0; k < hull->count; ++k) {
        const int32_t next = k + 1 < hull->count ? k + 1 : 0;
        if (CrossProduct(PointAt(*hull, k), PointAt(*hull, next), {x, y}) < 0) {
            return 1;
        }
    }
    return 0;
}
