// SPDX-License-Identifier: Apache-2.0

#include "bench/measured/TemplateMixer.h"

#include <algorithm>
#include <cstdlib>

#include "bench/measured/Work.h"

namespace measure {

namespace {

constexpr uint32_t kSeed = 20200820;
constexpr int32_t kCentreX = 128;
constexpr int32_t kCentreY = 180;
constexpr int32_t kFarthestCut = 60;  // of the line from the centre, pixels
constexpr int32_t kNearest = 8;       // between two minutiae in one axis at least, pixels
constexpr int32_t kJitter = 4;        // pixels
constexpr int32_t kTurnJitter = 5;    // 1/240 turn
constexpr int32_t kTurn = 240;

bool IsFree(const std::vector<Minutia>& taken, const Minutia& minutia) {
    return std::none_of(taken.begin(), taken.end(), [&](const Minutia& other) {
        return std::abs(other.x - minutia.x) < kNearest && std::abs(other.y - minutia.y) < kNearest;
    });
}

}  // namespace

TemplateMixer::TemplateMixer(std::vector<MinutiaSet> sources)
    : sources_(std::move(sources)), random_(kSeed) {
    Require(sources_.size() >= 2, "too few templates to mix");
}

int32_t TemplateMixer::Below(int32_t bound) {
    return static_cast<int32_t>(random_() % static_cast<uint32_t>(bound));
}

int32_t TemplateMixer::Between(int32_t low, int32_t high) {
    return low + Below(high - low + 1);
}

const MinutiaSet& TemplateMixer::RandomSource() {
    return sources_[static_cast<size_t>(Below(static_cast<int32_t>(sources_.size())))];
}

Template TemplateMixer::Next() {
    return Next(RandomSource().count);
}

TemplateMixer::Halves TemplateMixer::TwoHalves() {
    // The line: a normal vector of any direction, and its distance from the centre.
    const int32_t normalX = Between(-100, 100);
    const int32_t normalY = Between(-100, 100);
    const int32_t cut =
        Between(-kFarthestCut, kFarthestCut) * std::max(std::abs(normalX), std::abs(normalY));
    Halves halves;
    for (const bool isBelow : {true, false}) {
        const MinutiaSet& source = RandomSource();
        for (int32_t i = 0; i < source.count; ++i) {
            const Minutia& minutia = source.minutiae[i];
            const int32_t along =
                (minutia.x - kCentreX) * normalX + (minutia.y - kCentreY) * normalY;
            const bool isTaken = (along < cut) == isBelow && IsFree(halves.taken, minutia);
            (isTaken ? halves.taken : halves.spare).push_back(minutia);
        }
    }
    return halves;
}

void TemplateMixer::FillUp(int32_t count, Halves* halves) {
    std::shuffle(halves->spare.begin(), halves->spare.end(), random_);
    while (static_cast<int32_t>(halves->taken.size()) < count) {
        if (halves->spare.empty()) {  // two fingers do not hold as many
            const MinutiaSet& more = RandomSource();
            halves->spare.assign(more.minutiae, more.minutiae + more.count);
        }
        if (IsFree(halves->taken, halves->spare.back())) {
            halves->taken.push_back(halves->spare.back());
        }
        halves->spare.pop_back();
    }
}

void TemplateMixer::Thin(int32_t count, std::vector<Minutia>* taken) {
    while (static_cast<int32_t>(taken->size()) > count) {
        taken->erase(taken->begin() + Below(static_cast<int32_t>(taken->size())));
    }
}

Minutia TemplateMixer::Jittered(Minutia minutia) {
    minutia.x += Between(-kJitter, kJitter);
    minutia.y += Between(-kJitter, kJitter);
    minutia.direction = static_cast<uint8_t>(
        (minutia.direction + Between(-kTurnJitter, kTurnJitter) + kTurn) % kTurn);
    return minutia;
}

Template TemplateMixer::Next(int32_t count) {
    Halves halves = TwoHalves();
    FillUp(count, &halves);
    Thin(count, &halves.taken);
    MinutiaSet set = {};
    for (const Minutia& minutia : halves.taken) {
        set.minutiae[set.count] = Jittered(minutia);
        ++set.count;
    }
    return FinishedTemplate(set);
}

}  // namespace measure
