// SPDX-License-Identifier: Apache-2.0
#include "fuzz/soak/Pool.h"

#include "fuzz/support/ByteReader.h"
#include "fuzz/support/ImageMaker.h"
#include "fuzz/support/TemplateMaker.h"

namespace soak {
namespace {

constexpr int32_t kImages = 100;
constexpr int32_t kMostPixels = 128 * 128;
constexpr int32_t kTemplates = 150;
constexpr int32_t kFingers = 12;
constexpr int32_t kCaptures = 5;
constexpr size_t kDescriptionBytes = 1500;

std::vector<uint8_t> RandomBytes(Random& random) {
    std::vector<uint8_t> bytes(kDescriptionBytes);
    for (uint8_t& byte : bytes) {
        byte = static_cast<uint8_t>(random.Below(256));
    }
    return bytes;
}

template <class Element>
const Element& Any(const std::vector<Element>& elements, Random& random) {
    return elements[static_cast<size_t>(random.Below(static_cast<int32_t>(elements.size())))];
}

}  // namespace

Pool::Pool(uint64_t seed) {
    Random random(seed);
    while (images_.size() < kImages) {
        const std::vector<uint8_t> bytes = RandomBytes(random);
        fuzz::ByteReader reader(bytes.data(), bytes.size());
        const fuzz::Size size = fuzz::ReadLegalSize(reader, kMostPixels);
        images_.push_back(fuzz::ReadImage(reader, size));
    }
    for (const fuzz::Size size : {fuzz::Size{152, 200}, {160, 160}, {256, 288}, {256, 360}}) {
        images_.push_back(testsupport::FingerImage(size.width, size.height, random));
    }
    fuzz::TemplateMaker maker;
    while (kept_.size() < kTemplates) {
        const std::vector<uint8_t> bytes = RandomBytes(random);
        fuzz::ByteReader reader(bytes.data(), bytes.size());
        kept_.push_back(maker.Next(reader));
    }
    for (int32_t finger = 0; finger < kFingers; ++finger) {
        const model::MinutiaSet set =
            testsupport::RandomSet(random, testsupport::Layout::kSpread, random.Between(20, 45));
        std::vector<TemplateBytes> captures = {testsupport::FinishedTemplate(set)};
        while (captures.size() < kCaptures) {
            testsupport::Impression impression;
            impression.turn = random.Between(0, 12);
            impression.shiftX = random.Between(-15, 15);
            impression.shiftY = random.Between(-15, 15);
            impression.jitter = random.Below(3);
            impression.lostPerCent = random.Below(20);
            impression.added = random.Below(4);
            captures.push_back(testsupport::FinishedTemplate(
                testsupport::TakeImpression(set, impression, random)));
        }
        kept_.insert(kept_.end(), captures.begin(), captures.end());
        fingers_.push_back(captures);
    }
    changing_ = kept_;
}

const model::Grid& Pool::AnyImage(Random& random) const {
    // The drawn fingers are the last ones.
    const int32_t drawn = static_cast<int32_t>(images_.size()) - kImages;
    return random.OneIn(3) ? images_[static_cast<size_t>(kImages + random.Below(drawn))]
                           : Any(images_, random);
}

TemplateBytes Pool::AnyTemplate(Random& random) const {
    const TemplateBytes& bytes = Any(random.OneIn(2) ? kept_ : changing_, random);
    return random.OneIn(4) ? testsupport::Damaged(bytes, random) : bytes;
}

TemplateBytes Pool::Capture(Random& random) const {
    if (random.OneIn(4)) {
        return AnyTemplate(random);
    }
    // Calls that take several captures ask in a row: mostly for those of the first fingers.
    const int32_t finger = random.OneIn(3) ? random.Below(kFingers) : 0;
    return Any(fingers_[static_cast<size_t>(finger)], random);
}

void Pool::Put(const TemplateBytes& bytes, Random& random) {
    changing_[static_cast<size_t>(random.Below(static_cast<int32_t>(changing_.size())))] = bytes;
}

}  // namespace soak
