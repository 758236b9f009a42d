// SPDX-License-Identifier: Apache-2.0
//
// Broken-ridge repair: two endings that face each other across a short gap are no minutiae. The gap
// is painted into the skeleton, so that later traces run across it.

#include <assert.h>

#include "extract/FPTable.h"
#include "extract/FixedMath.h"
#include "extract/Minutiae.h"

namespace {

using namespace qorfp;

constexpr uint8_t kPainted = 1;
constexpr int32_t kWidestGap = 15;           // pixels
constexpr int32_t kGapSquaredLimit = 226;    // (kWidestGap)^2 + 1
constexpr int32_t kOppositeDirections = 97;  // must differ by more, 1.5 degrees a step

// The straight segment between two pixels, without its ends: one pixel a step along the longer
// axis, the other coordinate carried by an error term in hundredths of a pixel.
class Segment {
  public:
    Segment(const Candidate& from, const Candidate& to) : x_(from.x), y_(from.y) {
        const int32_t dx = to.x - from.x;
        const int32_t dy = to.y - from.y;
        isWide_ = Absolute(dx) >= Absolute(dy);
        const int32_t major = isWide_ ? dx : dy;
        const int32_t minor = isWide_ ? dy : dx;
        length_ = Absolute(major);
        assert(length_ > 0);  // two different pixels
        majorStep_ = major < 0 ? -1 : 1;
        ratio_ = minor * 100 / length_;
    }

    /// Steps from end to end, 1 or more; the pixels between are one fewer.
    int32_t Length() const { return length_; }

    /// Moves to the next pixel.
    void Advance() {
        int32_t minorStep = 0;
        error_ += ratio_;
        if (error_ >= 50) {
            minorStep = 1;
            error_ -= 100;
        } else if (error_ <= -50) {
            minorStep = -1;
            error_ += 100;
        }
        x_ += isWide_ ? majorStep_ : minorStep;
        y_ += isWide_ ? minorStep : majorStep_;
    }

    int32_t Offset(int32_t width) const { return y_ * width + x_; }

  private:
    int32_t x_;
    int32_t y_;
    bool isWide_;
    int32_t length_;
    int32_t majorStep_;
    int32_t ratio_;
    int32_t error_ = 0;
};

bool FaceEachOther(const Candidate& i, const Candidate& j) {
    const int32_t dx = j.x - i.x;
    const int32_t dy = j.y - i.y;
    const int32_t distSquared = Square(dx) + Square(dy);
    if (distSquared >= kGapSquaredLimit ||
        AngleDistance240(i.direction, j.direction) <= kOppositeDirections) {
        return false;
    }
    const int32_t gap = Clamp(sqrtA(distSquared), 1, kWidestGap);
    const int32_t tolerance = gnJA[gap - 1];
    const int32_t direction = atanB(0, 0, dx, dy);
    return AngleDistance240(direction, i.direction) >= tolerance &&
           AngleDistance240(direction + kHalfTurn, j.direction) >= tolerance;
}

// Paints the gap between two endings unless a ridge crosses it. True when the two are one ridge.
bool Join(const Skeleton& skeleton, const Candidate& i, const Candidate& j) {
    if (i.x == j.x && i.y == j.y) {
        return true;
    }
    Segment probe(i, j);
    Segment brush(i, j);
    for (int32_t step = 1; step < probe.Length(); ++step) {
        probe.Advance();
        if (skeleton.pixels[probe.Offset(skeleton.width)] == 0) {
            return false;
        }
    }
    for (int32_t step = 1; step < brush.Length(); ++step) {
        brush.Advance();
        skeleton.pixels[brush.Offset(skeleton.width)] = kPainted;
    }
    return true;
}

bool IsLiveEnding(const Candidate& candidate) {
    return candidate.type == kEnding && candidate.direction != kDeleted;
}

}  // namespace

void qorfp::RepairBrokenRidges(const Skeleton& skeleton, CandidateList* list) {
    for (int32_t i = 0; i < list->count; ++i) {
        Candidate* first = &list->items[i];
        for (int32_t j = i + 1; j < list->count && IsLiveEnding(*first); ++j) {
            Candidate* second = &list->items[j];
            if (IsLiveEnding(*second) && FaceEachOther(*first, *second) &&
                Join(skeleton, *first, *second)) {
                first->direction = kDeleted;
                second->direction = kDeleted;
            }
        }
    }
}
