// SPDX-License-Identifier: Apache-2.0
//
// Templates and images for threads, see Captures.h.
#include "tests/threads/Captures.h"

namespace threadtest {
namespace {

using model::MinutiaSet;
using testsupport::FinishedTemplate;
using testsupport::Random;
using testsupport::TemplateBytes;

TemplateBytes WithoutLast(MinutiaSet set, size_t lost) {
    set.minutiae.resize(set.minutiae.size() - lost);
    set.confidence.resize(set.minutiae.size());
    set.count = static_cast<int32_t>(set.minutiae.size());
    return FinishedTemplate(set);
}

}  // namespace

Captures::Captures(uint64_t seed) {
    Random random(seed);
    const MinutiaSet set = testsupport::RandomSet(random, testsupport::Layout::kSpread, 40);
    testsupport::Impression moved;
    moved.turn = random.Between(1, 12);
    moved.shiftX = random.Between(-12, 12);
    genuine[0] = WithoutLast(set, 3);
    genuine[1] = FinishedTemplate(set);
    genuine[2] = FinishedTemplate(testsupport::TakeImpression(set, moved, random));
    poorer = WithoutLast(set, 10);
    undecodable = genuine[0];
    undecodable.at(3) = 5;
    for (int32_t count = 10; count <= 50; count += 5) {
        strangers.push_back(
            FinishedTemplate(testsupport::RandomSet(random, testsupport::Layout::kSpread, count)));
    }
    finger = testsupport::FingerImage(160, 160, random);
    sensorFinger = testsupport::FingerImage(152, 200, random);
}

}  // namespace threadtest
