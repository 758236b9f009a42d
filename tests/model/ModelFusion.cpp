// SPDX-License-Identifier: Apache-2.0
//
// Naive model of fusion and improvement, see ModelFusion.h.
#include "tests/model/ModelFusion.h"

#include <algorithm>
#include <cstddef>
#include <map>
#include <set>

#include "tests/model/ModelAlignment.h"
#include "tests/model/ModelFusionGeometry.h"
#include "tests/model/ModelIndexKeys.h"
#include "tests/model/ModelMaths.h"
#include "tests/model/ModelTemplateCheck.h"

namespace model {
namespace {

constexpr size_t kMaxMinutiae = 60;
constexpr int32_t kFusionThreshold = 210;
constexpr int32_t kImprovementThreshold = 225;

const Minutia& At(const MinutiaSet& set, int32_t number) {
    return set.minutiae.at(static_cast<size_t>(number));
}

int64_t SquaredDistance(const Minutia& p, const Minutia& q) {
    const int64_t dx = int64_t{p.x} - q.x;
    const int64_t dy = int64_t{p.y} - q.y;
    return dx * dx + dy * dy;
}

int64_t HighAttribute(const Minutia& minutia) {
    return minutia.attributes / 64 % 64;
}

int64_t LowAttribute(const Minutia& minutia) {
    return minutia.attributes % 64;
}

uint32_t PackAttributes(int64_t high, int64_t low) {
    return static_cast<uint32_t>(high * 64 + low);
}

// ------------------------------------------------------------------------------------- Merging

/// Two values: halved towards zero. Three: a third, to the nearest.
int64_t MeanOf(const std::vector<int64_t>& values) {
    int64_t sum = 0;
    for (const int64_t value : values) {
        sum += value;
    }
    if (values.size() == 2) {
        return sum / 2;
    }
    return sum >= 0 ? (sum + 1) / 3 : (sum - 1) / 3;
}

int64_t MeanDirection(std::vector<int64_t> directions) {
    const int64_t smallest = *std::min_element(directions.begin(), directions.end());
    const int64_t largest = *std::max_element(directions.begin(), directions.end());
    if (largest - smallest < 120) {
        return MeanOf(directions);
    }
    for (int64_t& direction : directions) {
        if (direction >= 120) {
            direction -= 240;
        }
    }
    const int64_t mean = MeanOf(directions);
    return mean < 0 ? mean + 240 : mean;
}

// -------------------------------------------------------------------------------------- Fusion

/// The six ordered pairs of the three templates.
struct PairRecords {
    std::map<std::pair<size_t, size_t>, IndexPairs> lists;
    std::map<std::pair<size_t, size_t>, int32_t> scores;
};

PairRecords CompareAll(const std::array<MinutiaSet, 3>& sets) {
    PairRecords records;
    for (size_t i = 0; i < 3; ++i) {
        for (size_t j = 0; j < 3; ++j) {
            if (i == j) {
                continue;
            }
            AlignmentResult result;
            const Reference reference = PrepareReference(sets.at(i));
            if (reference.prepared) {
                Probe probe;
                probe.set = sets.at(j);
                Align(reference, probe, result, true);
            }
            records.lists[{i, j}] = result.pairs;
            records.scores[{i, j}] = result.score;
        }
    }
    for (size_t i = 0; i < 3; ++i) {
        for (size_t j = i + 1; j < 3; ++j) {
            ReconcilePairs(records.lists.at({j, i}), records.lists.at({i, j}));
        }
    }
    return records;
}

/// The base template: 0, 1, 2, or 3 where none qualifies.
size_t ChooseBase(const PairRecords& records) {
    size_t base = 3;
    int32_t bestSum = 0;
    for (size_t b = 0; b < 3; ++b) {
        const int32_t s1 = records.scores.at({b, b == 0 ? size_t{1} : size_t{0}});
        const int32_t s2 = records.scores.at({b, b == 2 ? size_t{1} : size_t{2}});
        if (s1 < kFusionThreshold || s2 < kFusionThreshold) {
            continue;
        }
        if (base == 3 || s1 + s2 > bestSum) {
            base = b;
            bestSum = s1 + s2;
        }
    }
    return base;
}

/// The growing result and what of the three inputs is already in it.
struct FusionState {
    std::array<MinutiaSet, 3> inputs;  // first (the base), second, third, in the base's frame
    std::array<std::set<int32_t>, 3> used;
    std::vector<Minutia> merged;

    bool IsFull() const { return merged.size() >= kMaxMinutiae; }
    bool IsUsed(size_t input, int32_t number) const { return used.at(input).count(number) != 0; }
};

const std::pair<int32_t, int32_t>* FirstWith(const IndexPairs& pairs, int32_t first) {
    for (const auto& pair : pairs) {
        if (pair.first == first) {
            return &pair;
        }
    }
    return nullptr;
}

void MergeAgreeing(FusionState& state, const IndexPairs& firstSecond, const IndexPairs& firstThird,
                   const IndexPairs& secondThird) {
    for (const auto& [a, b] : firstSecond) {
        if (state.IsFull()) {
            return;
        }
        state.used.at(0).insert(a);
        state.used.at(1).insert(b);
        std::vector<Minutia> observations = {At(state.inputs.at(0), a), At(state.inputs.at(1), b)};
        const auto* third = FirstWith(firstThird, a);
        if (third != nullptr) {
            state.used.at(2).insert(third->second);
            observations.push_back(At(state.inputs.at(2), third->second));
        }
        state.merged.push_back(MergeMinutiae(observations));
    }
    for (const auto& [a, c] : firstThird) {
        if (state.IsFull()) {
            return;
        }
        if (state.IsUsed(0, a)) {
            continue;
        }
        state.used.at(0).insert(a);
        state.used.at(2).insert(c);
        state.merged.push_back(
            MergeMinutiae({At(state.inputs.at(0), a), At(state.inputs.at(2), c)}));
    }
    for (const auto& [b, c] : secondThird) {
        if (state.IsFull()) {
            return;
        }
        if (state.IsUsed(1, b)) {
            state.used.at(2).insert(c);
            continue;
        }
        if (state.IsUsed(2, c)) {
            state.used.at(1).insert(b);
            continue;
        }
        state.used.at(1).insert(b);
        state.used.at(2).insert(c);
        state.merged.push_back(
            MergeMinutiae({At(state.inputs.at(1), b), At(state.inputs.at(2), c)}));
    }
}

/// Whether a minutia of the base lies too near one of the result's.
bool IsRejectedFirst(const Minutia& minutia, const Minutia& present) {
    const int64_t distance = SquaredDistance(minutia, present);
    return distance <= 40 ||
           (distance < 226 && AngleBetween(minutia.direction, present.direction) < 13);
}

bool IsRejectedOther(const Minutia& minutia, const Minutia& present) {
    return SquaredDistance(minutia, present) < 145;
}

/// Adds the unused minutiae of one input that lie outside the hull and clear of the result.
void WidenWith(FusionState& state, size_t input, const std::vector<Point>& hull) {
    const std::vector<Minutia> present = state.merged;
    const std::vector<Minutia>& minutiae = state.inputs.at(input).minutiae;
    for (size_t i = 0; i < minutiae.size() && !state.IsFull(); ++i) {
        const Minutia& minutia = minutiae.at(i);
        if (state.IsUsed(input, static_cast<int32_t>(i)) ||
            !IsOutsidePolygon(hull, minutia.x, minutia.y)) {
            continue;
        }
        const bool isRejected =
            std::any_of(present.begin(), present.end(), [&](const Minutia& other) {
                return input == 0 ? IsRejectedFirst(minutia, other)
                                  : IsRejectedOther(minutia, other);
            });
        if (!isRejected) {
            state.merged.push_back(minutia);
            state.used.at(input).insert(static_cast<int32_t>(i));
        }
    }
}

/// Appends the positions of the result's minutiae from number `from` on.
void AppendPositions(std::vector<Point>& points, const std::vector<Minutia>& minutiae,
                     size_t from) {
    for (size_t i = from; i < minutiae.size(); ++i) {
        points.push_back({minutiae.at(i).x, minutiae.at(i).y});
    }
}

void WidenCoveredArea(FusionState& state) {
    std::vector<Point> points;
    size_t inHull = 0;
    for (size_t input = 0; input < 3; ++input) {
        AppendPositions(points, state.merged, inHull);
        inHull = state.merged.size();
        points = ConvexHull(points);
        WidenWith(state, input, points);
    }
}

void FillFromBase(FusionState& state) {
    if (state.merged.size() > 9) {
        return;
    }
    const std::vector<Minutia>& minutiae = state.inputs.at(0).minutiae;
    for (size_t i = 0; i < minutiae.size() && state.merged.size() < 12; ++i) {
        if (!state.IsUsed(0, static_cast<int32_t>(i))) {
            state.merged.push_back(minutiae.at(i));
        }
    }
}

// --------------------------------------------------------------------------------- Improvement

struct Bounds {
    int64_t low = 0;
    int64_t high = 0;

    void Include(int64_t value) {
        low = std::min(low, value);
        high = std::max(high, value);
    }
    bool Contains(int64_t value) const { return value >= low && value <= high; }
};

/// Bounds of x, y, x + y and x - y.
struct Octagon {
    std::array<Bounds, 4> bounds;

    static std::array<int64_t, 4> Measures(const Minutia& minutia) {
        return {minutia.x, minutia.y, int64_t{minutia.x} + minutia.y,
                int64_t{minutia.x} - minutia.y};
    }
    explicit Octagon(const Minutia& minutia) {
        for (size_t k = 0; k < 4; ++k) {
            bounds.at(k) = {Measures(minutia).at(k), Measures(minutia).at(k)};
        }
    }
    void Include(const Minutia& minutia) {
        for (size_t k = 0; k < 4; ++k) {
            bounds.at(k).Include(Measures(minutia).at(k));
        }
    }
    bool Contains(const Minutia& minutia) const {
        for (size_t k = 0; k < 4; ++k) {
            if (!bounds.at(k).Contains(Measures(minutia).at(k))) {
                return false;
            }
        }
        return true;
    }
    Octagon Inner() const {
        Octagon inner = *this;
        for (Bounds& bound : inner.bounds) {
            bound = {(3 * bound.low + bound.high) / 4, (3 * bound.high + bound.low) / 4};
        }
        return inner;
    }
    Octagon Widened(int64_t straight, int64_t diagonal) const {
        Octagon wide = *this;
        for (size_t k = 0; k < 4; ++k) {
            const int64_t margin = k < 2 ? straight : diagonal;
            wide.bounds.at(k).low -= margin;
            wide.bounds.at(k).high += margin;
        }
        return wide;
    }
};

int64_t RoundBackQ14(int64_t product) {
    return (product > 0 ? product + 8192 : product - 8192) / 16384;
}

/// Undoes shift and rotation of an alignment for a minutia of the reference's frame.
Minutia BackIntoProbeFrame(const Minutia& minutia, const AlignmentResult& result, Centre centre) {
    const int64_t sine = SinEntry(result.angle);
    const int64_t cosine = CosEntry(result.angle);
    const int64_t dx = int64_t{minutia.x} - result.xShift - centre.x;
    const int64_t dy = int64_t{minutia.y} - result.yShift - centre.y;
    Minutia moved = minutia;
    moved.x = static_cast<int32_t>(centre.x + RoundBackQ14(dy * sine + dx * cosine));
    moved.y = static_cast<int32_t>(centre.y + RoundBackQ14(dy * cosine - dx * sine));
    moved.direction = static_cast<uint8_t>(Modulo240(int64_t{minutia.direction} - result.angle));
    return moved;
}

/// A quarter of a sum, halves away from zero.
int64_t QuarterOf(int64_t sum) {
    return sum >= 0 ? (sum + 2) / 4 : (sum - 2) / 4;
}

int64_t ThreeToOneDirection(int64_t enrolled, int64_t fresh) {
    const int64_t gap = enrolled > fresh ? enrolled - fresh : fresh - enrolled;
    if (gap > 119) {
        enrolled = enrolled >= 120 ? enrolled - 240 : enrolled;
        fresh = fresh >= 120 ? fresh - 240 : fresh;
    }
    const int64_t mean = QuarterOf(3 * enrolled + fresh);
    return mean < 0 ? mean + 240 : mean;
}

/// Moves an enrolled minutia a quarter of the way to a fresh observation; the type stays.
void MoveTowards(Minutia& enrolled, const Minutia& fresh) {
    enrolled.x = static_cast<int32_t>(QuarterOf(3 * int64_t{enrolled.x} + fresh.x));
    enrolled.y = static_cast<int32_t>(QuarterOf(3 * int64_t{enrolled.y} + fresh.y));
    enrolled.direction =
        static_cast<uint8_t>(ThreeToOneDirection(enrolled.direction, fresh.direction));
    enrolled.attributes =
        PackAttributes((3 * HighAttribute(enrolled) + HighAttribute(fresh) + 2) / 4,
                       (3 * LowAttribute(enrolled) + LowAttribute(fresh) + 2) / 4);
}

void Append(MinutiaSet& set, const Minutia& minutia, uint8_t confidence) {
    set.minutiae.push_back(minutia);
    set.confidence.push_back(confidence);
    set.count = static_cast<int32_t>(set.minutiae.size());
}

/// The enrolled minutiae after the update, and the numbers of the sample's matched ones.
struct UpdatedSet {
    MinutiaSet enrolled;
    std::set<int32_t> matchedFresh;
};

UpdatedSet ApplyObservations(const MinutiaSet& enrolled, const MinutiaSet& fresh,
                             const IndexPairs& pairs) {
    UpdatedSet update;
    update.enrolled = enrolled;
    if (pairs.empty()) {
        return update;
    }
    std::set<int32_t> matchedEnrolled;
    Octagon overlap(At(enrolled, pairs.front().second));
    for (const auto& [p, e] : pairs) {
        Minutia& minutia = update.enrolled.minutiae.at(static_cast<size_t>(e));
        uint8_t& confidence = update.enrolled.confidence.at(static_cast<size_t>(e));
        MoveTowards(minutia, At(fresh, p));
        confidence = static_cast<uint8_t>(std::min(confidence + 3, 15));
        update.matchedFresh.insert(p);
        matchedEnrolled.insert(e);
        overlap.Include(minutia);
    }
    const Octagon inner = overlap.Inner();
    for (size_t e = 0; e < enrolled.minutiae.size(); ++e) {
        const Minutia& minutia = update.enrolled.minutiae.at(e);
        if (matchedEnrolled.count(static_cast<int32_t>(e)) != 0 || !overlap.Contains(minutia)) {
            continue;
        }
        uint8_t& confidence = update.enrolled.confidence.at(e);
        confidence =
            static_cast<uint8_t>(std::max(confidence - (inner.Contains(minutia) ? 2 : 1), 0));
    }
    return update;
}

MinutiaSet ComposeImproved(const UpdatedSet& update, const MinutiaSet& fresh,
                           const Octagon& enrolledArea) {
    MinutiaSet result;
    for (size_t e = 0; e < update.enrolled.minutiae.size(); ++e) {
        if (update.enrolled.confidence.at(e) > 1) {
            Append(result, update.enrolled.minutiae.at(e), update.enrolled.confidence.at(e));
        }
    }
    const std::vector<Minutia> kept = result.minutiae;
    const Octagon widened = enrolledArea.Widened(5, 3);
    for (size_t p = 0; p < fresh.minutiae.size(); ++p) {
        if (result.minutiae.size() >= kMaxMinutiae) {
            return result;
        }
        const Minutia& minutia = fresh.minutiae.at(p);
        if (update.matchedFresh.count(static_cast<int32_t>(p)) != 0 || widened.Contains(minutia)) {
            continue;
        }
        const bool isNearKept = std::any_of(kept.begin(), kept.end(), [&](const Minutia& other) {
            return SquaredDistance(minutia, other) < 122;
        });
        if (!isNearKept) {
            Append(result, minutia, 4);
        }
    }
    if (result.minutiae.size() <= 9) {
        for (const uint8_t confidence : {uint8_t{1}, uint8_t{0}}) {
            for (size_t e = 0; e < update.enrolled.minutiae.size(); ++e) {
                if (update.enrolled.confidence.at(e) == confidence && result.minutiae.size() < 12) {
                    Append(result, update.enrolled.minutiae.at(e), confidence);
                }
            }
        }
    }
    return result;
}

int64_t ConfidenceSum(const TemplateBytes& bytes) {
    int64_t sum = 0;
    const size_t count = std::min<size_t>(bytes.at(3), kMaxMinutiae);
    for (size_t i = 0; i < count; ++i) {
        sum += bytes.at(4 + 6 * i + 3) % 16;
    }
    return sum;
}

}  // namespace

Minutia MergeMinutiae(const std::vector<Minutia>& observations) {
    std::vector<int64_t> columns;
    std::vector<int64_t> rows;
    std::vector<int64_t> directions;
    std::vector<int64_t> highs;
    std::vector<int64_t> lows;
    int32_t endings = 0;
    int32_t bifurcations = 0;
    for (const Minutia& minutia : observations) {
        columns.push_back(minutia.x);
        rows.push_back(minutia.y);
        directions.push_back(minutia.direction);
        highs.push_back(HighAttribute(minutia));
        lows.push_back(LowAttribute(minutia));
        endings += minutia.type == 1 ? 1 : 0;
        bifurcations += minutia.type == 2 ? 1 : 0;
    }
    Minutia merged;
    merged.x = static_cast<int32_t>(MeanOf(columns));
    merged.y = static_cast<int32_t>(MeanOf(rows));
    merged.direction = static_cast<uint8_t>(MeanDirection(directions));
    merged.type = bifurcations > endings ? 2 : 1;
    merged.attributes = PackAttributes(MeanOf(highs), MeanOf(lows));
    return merged;
}

int32_t FuseTemplates(const std::array<TemplateBytes, 3>& templates, TemplateBytes& fused) {
    std::array<MinutiaSet, 3> sets;
    for (size_t i = 0; i < 3; ++i) {
        const int32_t result = DecodeTemplate(templates.at(i), sets.at(i));
        if (result != 0) {
            return result;
        }
    }
    const PairRecords records = CompareAll(sets);
    const size_t base = ChooseBase(records);
    if (base == 3) {
        return 1;
    }
    const size_t second = base == 0 ? 1 : 0;
    const size_t third = base == 2 ? 1 : 2;

    FusionState state;
    state.inputs = {sets.at(base), sets.at(second), sets.at(third)};
    const Reference reference = PrepareReference(sets.at(base));
    for (size_t other = 1; other < 3; ++other) {
        Probe probe;
        probe.set = state.inputs.at(other);
        AlignmentResult result;
        if (Align(reference, probe, result, true) >= 0) {
            state.inputs.at(other) = probe.set;
        }
    }
    MergeAgreeing(state, records.lists.at({base, second}), records.lists.at({base, third}),
                  records.lists.at({second, third}));
    WidenCoveredArea(state);
    FillFromBase(state);
    if (state.merged.size() <= 9) {
        return 1;
    }
    MinutiaSet result;
    for (const Minutia& minutia : state.merged) {
        Append(result, minutia, 8);
    }
    fused.assign(370, 0);
    return EncodeTemplate(result, false, fused);
}

int32_t MatchAndImprove(const TemplateBytes& sample, TemplateBytes& enrolled, bool& updated) {
    updated = false;
    MinutiaSet fresh;
    MinutiaSet stored;
    if (DecodeTemplate(sample, fresh) != 0 || DecodeTemplate(enrolled, stored) != 0) {
        return 0;
    }
    const Reference reference = PrepareReference(fresh);
    if (!reference.prepared) {
        return 0;
    }
    Probe probe;
    probe.set = stored;
    AlignmentResult alignment;
    const int32_t score = Align(reference, probe, alignment, true);
    if (score < kImprovementThreshold) {
        return score;
    }
    for (Minutia& minutia : fresh.minutiae) {
        minutia = BackIntoProbeFrame(minutia, alignment, probe.centre);
    }
    Octagon enrolledArea(stored.minutiae.front());
    for (const Minutia& minutia : stored.minutiae) {
        enrolledArea.Include(minutia);
    }
    const UpdatedSet update = ApplyObservations(stored, fresh, alignment.pairs);
    MinutiaSet result = ComposeImproved(update, fresh, enrolledArea);
    TemplateBytes rewritten = enrolled;
    if (EncodeTemplate(result, true, rewritten) == 0) {
        enrolled = rewritten;
        updated = true;
    }
    return score;
}

bool IsImprovement(const TemplateBytes& before, const TemplateBytes& after) {
    if (before.at(3) < after.at(3)) {
        return true;
    }
    return ConfidenceSum(after) > ConfidenceSum(before) + 4;
}

int32_t GenerateFeature(const TemplateBytes& a, const TemplateBytes& b, const TemplateBytes& c,
                        TemplateBytes& out) {
    TemplateBytes fused;
    if (FuseTemplates({a, b, c}, fused) != 0) {
        return 1;
    }
    fused.resize(512, 0);
    TemplateBytes area(140, 0);
    if (CreateIndexArea(fused, area) != 0) {
        return 1;
    }
    std::copy(area.begin(), area.end(), fused.begin() + 370);
    fused.at(369) =
        static_cast<uint8_t>((TemplateQuality(a) + TemplateQuality(b) + TemplateQuality(c)) / 3);
    WriteChecksum(fused);
    out = fused;
    return 0;
}

int32_t Enroll(const std::vector<TemplateBytes>& templates, TemplateBytes& out, int32_t& quality) {
    if (templates.size() < 2) {
        return 5;
    }
    const TemplateBytes& third = templates.size() == 2 ? templates.at(0) : templates.at(2);
    if (GenerateFeature(templates.at(0), templates.at(1), third, out) != 0) {
        return 1;
    }
    quality = TemplateQuality(out);
    return 0;
}

int32_t Improve(const TemplateBytes& sample, TemplateBytes& enrolled) {
    if (CheckValidity(sample) != 0) {
        return 8;
    }
    if (sample == enrolled) {
        return 1;
    }
    const int32_t quality = TemplateQuality(enrolled);
    TemplateBytes working = enrolled;
    bool updated = false;
    MatchAndImprove(sample, working, updated);
    if (!updated || !IsImprovement(enrolled, working)) {
        return 1;
    }
    std::copy(working.begin(), working.begin() + 370, enrolled.begin());
    TemplateBytes area(140, 0);
    if (CreateIndexArea(enrolled, area) != 0) {
        return 1;
    }
    std::copy(area.begin(), area.end(), enrolled.begin() + 370);
    enrolled.at(369) = static_cast<uint8_t>(quality);
    return 0;
}

}  // namespace model
