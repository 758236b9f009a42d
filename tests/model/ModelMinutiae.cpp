// SPDX-License-Identifier: Apache-2.0
//
// Naive model of minutiae detection, see ModelMinutiae.h.
#include "tests/model/ModelMinutiae.h"

#include <algorithm>
#include <cstdlib>

#include "tests/model/ModelMaths.h"
#include "tests/model/ModelSkeleton.h"

namespace model {
namespace {

constexpr int32_t kEndingType = 1;
constexpr int32_t kBifurcationType = 2;
constexpr int32_t kJunctionMark = 64;

bool IsUnreliable(uint8_t block) {
    return block >= 128;
}

int32_t SquaredDistance(const Candidate& a, const Candidate& b) {
    const int32_t dx = b.x - a.x;
    const int32_t dy = b.y - a.y;
    return dx * dx + dy * dy;
}

/// Difference of two directions on the circle, 0..120.
int32_t CircularDifference(int32_t a, int32_t b) {
    const int32_t difference = std::abs(a - b);
    return difference > 120 ? 240 - difference : difference;
}

/// How far two directions are from opposite: 0 exactly opposite, 120 the same.
int32_t DifferenceFromOpposite(int32_t a, int32_t b) {
    return std::abs(((a - b) % 240 + 240) % 240 - 120);
}

bool IsDeleted(const Candidate& candidate) {
    return candidate.direction == kNoDirection;
}

void Delete(Candidate& candidate) {
    candidate.direction = kNoDirection;
}

/// The branches that leave a bifurcation. All marks are still on the skeleton.
struct Branches {
    std::vector<Point> firstPixels;
    std::vector<Trace> traces;
};

/// Traces the first three branches of `seed`, whose code must have at least three runs.
Branches TraceBranches(Grid& skeleton, Point seed, int32_t limit) {
    Branches branches;
    const auto runs = RidgeRuns(NeighbourCode(skeleton, seed));
    for (size_t k = 0; k < 3; ++k) {
        const Point step = StepInto(runs.at(k));
        branches.firstPixels.push_back({seed.x + step.x, seed.y + step.y});
    }
    skeleton.At(seed.x, seed.y) = 254;
    for (const Point& first : branches.firstPixels) {
        skeleton.At(first.x, first.y) = 254;
    }
    for (const Point& first : branches.firstPixels) {
        branches.traces.push_back(TraceRidge(skeleton, first, limit));
    }
    return branches;
}

void UnmarkBranch(Grid& skeleton, const Branches& branches, size_t k) {
    Unmark(skeleton, branches.firstPixels.at(k));
    for (const Point& pixel : branches.traces.at(k).visited) {
        Unmark(skeleton, pixel);
    }
}

int32_t DirectionOfTrace(Point seed, const Trace& trace, int32_t fewestSteps) {
    return trace.steps < fewestSteps ? kNoDirection
                                     : AtanB(seed.x, seed.y, trace.last.x, trace.last.y);
}

/// What the scan makes of a seed with one branch.
Candidate ScanEnding(Grid& skeleton, Point seed) {
    const Trace trace = TraceRidge(skeleton, seed, 10);
    for (const Point& pixel : trace.visited) {
        Unmark(skeleton, pixel);
    }
    return {seed.x, seed.y, kEndingType, DirectionOfTrace(seed, trace, 4)};
}

/// What the scan makes of a seed with three branches; may erase two short branches.
Candidate ScanBifurcation(Grid& skeleton, Point seed) {
    const Branches branches = TraceBranches(skeleton, seed, 10);
    std::vector<int32_t> directions;
    std::vector<size_t> shortOnes;
    std::vector<size_t> longOnes;
    for (size_t k = 0; k < 3; ++k) {
        const Trace& trace = branches.traces.at(k);
        directions.push_back(DirectionOfTrace(seed, trace, 4));
        const int32_t length = trace.steps + (trace.ranIntoJunction ? kJunctionMark : 0);
        (length < 4 ? shortOnes : longOnes).push_back(k);
    }
    if (shortOnes.size() == 2 && branches.traces.at(longOnes.at(0)).steps >= 10) {
        UnmarkBranch(skeleton, branches, longOnes.at(0));
        Unmark(skeleton, seed);
        return {seed.x, seed.y, kEndingType, directions.at(longOnes.at(0))};
    }
    for (size_t k = 0; k < 3; ++k) {
        UnmarkBranch(skeleton, branches, k);
    }
    Unmark(skeleton, seed);
    Candidate candidate = {seed.x, seed.y, kBifurcationType, directions.at(0)};
    if (std::count(directions.begin(), directions.end(), kNoDirection) > 0) {
        Delete(candidate);
    }
    return candidate;
}

bool AllNineReliable(const Grid& directionMap, int32_t blockX, int32_t blockY) {
    for (int32_t y = blockY - 1; y <= blockY + 1; ++y) {
        for (int32_t x = blockX - 1; x <= blockX + 1; ++x) {
            if (IsUnreliable(directionMap.At(x, y))) {
                return false;
            }
        }
    }
    return true;
}

/// The pixels strictly between two points, stepped along the major axis from the first.
std::vector<Point> PixelsBetween(Point from, Point to) {
    const int32_t dx = to.x - from.x;
    const int32_t dy = to.y - from.y;
    const bool alongX = std::abs(dx) >= std::abs(dy);
    const int32_t major = alongX ? dx : dy;
    const int32_t minor = alongX ? dy : dx;
    const int32_t majorStep = major > 0 ? 1 : -1;
    const int32_t ratio = minor * 100 / std::abs(major);
    std::vector<Point> pixels;
    int32_t error = 0;
    int32_t minorMoved = 0;
    for (int32_t k = 1; k < std::abs(major); ++k) {
        error += ratio;
        if (error >= 50) {
            ++minorMoved;
            error -= 100;
        } else if (error <= -50) {
            --minorMoved;
            error += 100;
        }
        const int32_t majorMoved = k * majorStep;
        pixels.push_back(alongX ? Point{from.x + majorMoved, from.y + minorMoved}
                                : Point{from.x + minorMoved, from.y + majorMoved});
    }
    return pixels;
}

/// True when two endings look like the two sides of a broken ridge, whatever lies between.
bool FaceEachOther(const Candidate& i, const Candidate& j) {
    static const std::vector<int32_t> kTolerance = {92, 92,  93,  93,  93,  94,  95,  96,
                                                    98, 100, 102, 103, 104, 105, 105, 105};
    const int32_t squared = SquaredDistance(i, j);
    if (squared >= 226 || CircularDifference(i.direction, j.direction) <= 97) {
        return false;
    }
    const int32_t angle = AtanB(0, 0, j.x - i.x, j.y - i.y);
    const int32_t reverse = angle < 120 ? angle + 120 : angle - 120;
    const int32_t gap = std::clamp(SqrtA(squared), 1, 15);
    const int32_t tolerance = kTolerance.at(static_cast<size_t>(gap - 1));
    return CircularDifference(angle, i.direction) >= tolerance &&
           CircularDifference(reverse, j.direction) >= tolerance;
}

/// Paints the gap and deletes both, unless a ridge lies in between.
void JoinEndings(Grid& skeleton, Candidate& i, Candidate& j) {
    const bool samePixel = i.x == j.x && i.y == j.y;
    if (!samePixel) {
        const std::vector<Point> pixels = PixelsBetween({i.x, i.y}, {j.x, j.y});
        for (const Point& pixel : pixels) {
            if (skeleton.At(pixel.x, pixel.y) == 0) {
                return;
            }
        }
        for (const Point& pixel : pixels) {
            skeleton.At(pixel.x, pixel.y) = 1;
        }
    }
    Delete(i);
    Delete(j);
}

/// True when more than a fifth of the blocks around are unreliable.
bool IsNearBackground(const Grid& directionMap, const Candidate& candidate) {
    int32_t all = 0;
    int32_t unreliable = 0;
    // The candidate is at least 8 pixels inside, so plain division is the floor.
    const int32_t lastRow = std::min((candidate.y + 6) / 4, directionMap.height - 1);
    const int32_t lastColumn = std::min((candidate.x + 6) / 4, directionMap.width - 1);
    for (int32_t y = (candidate.y - 8) / 4; y <= lastRow; ++y) {
        for (int32_t x = (candidate.x - 8) / 4; x <= lastColumn; ++x) {
            ++all;
            unreliable += IsUnreliable(directionMap.At(x, y)) ? 1 : 0;
        }
    }
    return all < 5 * unreliable;
}

int32_t RefineEnding(Grid& skeleton, Point seed) {
    const Trace trace = TraceRidge(skeleton, seed, 20);
    for (const Point& pixel : trace.visited) {
        Unmark(skeleton, pixel);
    }
    return DirectionOfTrace(seed, trace, 11);
}

/// The direction half way between two, on the shorter side.
int32_t MidDirection(int32_t p, int32_t q) {
    const int32_t difference = std::abs(p - q);
    if (difference <= 120) {
        return (p + q) / 2;
    }
    const int32_t sum = std::max(p, q) + (240 - difference) / 2;
    return sum >= 240 ? sum - 240 : sum;
}

int32_t RefineBifurcation(Grid& skeleton, Point seed) {
    if (BranchCount(NeighbourCode(skeleton, seed)) < 3) {
        return kNoDirection;
    }
    const Branches branches = TraceBranches(skeleton, seed, 20);
    std::vector<int32_t> directions;
    for (size_t k = 0; k < 3; ++k) {
        directions.push_back(DirectionOfTrace(seed, branches.traces.at(k), 10));
        UnmarkBranch(skeleton, branches, k);
    }
    Unmark(skeleton, seed);
    if (std::count(directions.begin(), directions.end(), kNoDirection) > 0) {
        return kNoDirection;
    }
    int32_t closest = 241;
    int32_t widest = -1;
    int32_t fork = kNoDirection;
    for (size_t p = 0; p < 3; ++p) {
        for (size_t q = p + 1; q < 3; ++q) {
            const int32_t difference = CircularDifference(directions.at(p), directions.at(q));
            widest = std::max(widest, difference);
            if (difference < closest) {
                closest = difference;
                fork = MidDirection(directions.at(p), directions.at(q));
            }
        }
    }
    return closest == 0 || widest <= 59 ? kNoDirection : fork;
}

uint32_t RidgeDensityAttribute(const Grid& periodMap, int32_t blockX, int32_t blockY) {
    int32_t sum = 4;
    for (int32_t y = blockY - 1; y <= blockY + 1; ++y) {
        for (int32_t x = blockX - 1; x <= blockX + 1; ++x) {
            sum += periodMap.At(x, y);
        }
    }
    const int32_t mean = sum / 9;
    return static_cast<uint32_t>(mean < 32 ? 2 * mean : 62);
}

uint32_t DisorderAttribute(const Grid& directionMap, int32_t blockX, int32_t blockY) {
    const int32_t reference = directionMap.At(blockX, blockY) % 128;
    int32_t sum = 0;
    int32_t counted = 0;
    for (int32_t y = blockY - 3; y <= blockY + 3; ++y) {
        for (int32_t x = blockX - 3; x <= blockX + 3; ++x) {
            if (!directionMap.Contains(x, y) || directionMap.At(x, y) >= 120) {
                continue;
            }
            const int32_t difference = std::abs(directionMap.At(x, y) - reference);
            sum += difference >= 61 ? 120 - difference : difference;
            ++counted;
        }
    }
    if (counted == 0) {
        return 0;
    }
    const int32_t value = sum * 255 / (counted * 60);
    return static_cast<uint32_t>(value < 128 ? value / 2 : 63);
}

}  // namespace

Candidates ScanCandidates(Grid& skeleton, const Grid& directionMap) {
    Candidates candidates;
    for (int32_t blockY = 1; blockY <= directionMap.height - 2; ++blockY) {
        for (int32_t blockX = 1; blockX <= directionMap.width - 2; ++blockX) {
            if (!AllNineReliable(directionMap, blockX, blockY)) {
                continue;
            }
            for (int32_t y = 4 * blockY + 1; y <= 4 * blockY + 4; ++y) {
                for (int32_t x = 4 * blockX + 1; x <= 4 * blockX + 4; ++x) {
                    if (skeleton.At(x, y) != 0) {
                        continue;
                    }
                    Candidate candidate;
                    const int32_t branches = BranchCount(NeighbourCode(skeleton, {x, y}));
                    if (branches == 1) {
                        candidate = ScanEnding(skeleton, {x, y});
                    } else if (branches == 3) {
                        candidate = ScanBifurcation(skeleton, {x, y});
                    }
                    if (!IsDeleted(candidate)) {
                        candidates.push_back(candidate);
                    }
                    if (candidates.size() == 200) {
                        return candidates;
                    }
                }
            }
        }
    }
    return candidates;
}

void RepairBrokenRidges(Grid& skeleton, Candidates& candidates) {
    if (candidates.size() < 2) {
        return;
    }
    for (size_t i = 0; i < candidates.size(); ++i) {
        for (size_t j = i + 1; j < candidates.size(); ++j) {
            Candidate& first = candidates.at(i);
            Candidate& second = candidates.at(j);
            if (first.type == kEndingType && second.type == kEndingType && !IsDeleted(first) &&
                !IsDeleted(second) && FaceEachOther(first, second)) {
                JoinEndings(skeleton, first, second);
            }
        }
    }
}

void RefineCandidates(Grid& skeleton, const Grid& directionMap, Candidates& candidates) {
    for (Candidate& candidate : candidates) {
        if (IsDeleted(candidate)) {
            continue;
        }
        const bool isInside = candidate.y >= 8 && candidate.y <= skeleton.height - 9 &&
                              candidate.x >= 8 && candidate.x <= skeleton.width - 9;
        if (!isInside || IsNearBackground(directionMap, candidate)) {
            Delete(candidate);
        } else if (candidate.type == kEndingType) {
            candidate.direction = RefineEnding(skeleton, {candidate.x, candidate.y});
        } else {
            candidate.direction = RefineBifurcation(skeleton, {candidate.x, candidate.y});
        }
    }
}

void CompactCandidates(Candidates& candidates) {
    Candidates kept;
    for (const Candidate& candidate : candidates) {
        if (!IsDeleted(candidate)) {
            kept.push_back(candidate);
        }
    }
    candidates = kept;
}

void DeleteCrowded(Candidates& candidates) {
    const Candidates all = candidates;
    for (size_t i = 0; i < all.size(); ++i) {
        int32_t neighbours = 0;
        for (size_t j = 0; j < all.size(); ++j) {
            neighbours += j != i && SquaredDistance(all.at(i), all.at(j)) < 400 ? 1 : 0;
        }
        if (neighbours > 4) {
            Delete(candidates.at(i));
        }
    }
}

void DeleteClosePairs(Candidates& candidates) {
    for (size_t i = 0; i < candidates.size(); ++i) {
        for (size_t j = 0; j < candidates.size(); ++j) {
            Candidate& first = candidates.at(i);
            Candidate& second = candidates.at(j);
            if (j == i || IsDeleted(first) || IsDeleted(second)) {
                continue;
            }
            const int32_t squared = SquaredDistance(first, second);
            if (squared >= 36) {
                continue;
            }
            const int32_t opposite = DifferenceFromOpposite(first.direction, second.direction);
            const bool bothFork = first.type == kBifurcationType && second.type == kBifurcationType;
            if ((bothFork && (squared <= 8 || opposite <= 18)) || (squared < 20 && opposite < 19)) {
                Delete(first);
                Delete(second);
            }
        }
    }
}

MinutiaSet AssembleMinutiae(const Candidates& candidates, const Grid& directionMap,
                            const Grid& periodMap) {
    MinutiaSet set;
    for (const Candidate& candidate : candidates) {
        if (IsDeleted(candidate) || set.count == 60) {
            continue;
        }
        const int32_t blockX = std::clamp((candidate.x - 1) / 4, 0, directionMap.width - 1);
        const int32_t blockY = std::clamp((candidate.y - 1) / 4, 0, directionMap.height - 1);
        Minutia minutia;
        minutia.attributes = DisorderAttribute(directionMap, blockX, blockY) +
                             64 * RidgeDensityAttribute(periodMap, blockX, blockY);
        minutia.x = candidate.x;
        minutia.y = candidate.y;
        minutia.type = static_cast<uint8_t>(candidate.type);
        minutia.direction = static_cast<uint8_t>(candidate.direction);
        set.minutiae.push_back(minutia);
        ++set.count;
    }
    return set;
}

Detection DetectMinutiae(const Grid& skeleton, const Grid& directionMap, const Grid& periodMap) {
    Detection detection;
    detection.skeleton = skeleton;
    if (directionMap.height - 1 < 2) {
        return detection;
    }
    detection.scanned = ScanCandidates(detection.skeleton, directionMap);
    detection.repaired = detection.scanned;
    RepairBrokenRidges(detection.skeleton, detection.repaired);
    detection.refined = detection.repaired;
    RefineCandidates(detection.skeleton, directionMap, detection.refined);
    detection.compacted = detection.refined;
    CompactCandidates(detection.compacted);
    detection.survivors = detection.compacted;
    DeleteCrowded(detection.survivors);
    DeleteClosePairs(detection.survivors);
    CompactCandidates(detection.survivors);
    detection.set = AssembleMinutiae(detection.survivors, directionMap, periodMap);
    detection.result = detection.set.count < 6 ? 1 : 0;
    return detection;
}

}  // namespace model
