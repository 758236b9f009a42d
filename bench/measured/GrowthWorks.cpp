// SPDX-License-Identifier: Apache-2.0
//
// How cost grows: extraction with the size of the image, comparison with the number of minutiae,
// search with the length of the list.

#include <cstring>
#include <memory>

#include "bench/measured/Gallery.h"
#include "bench/measured/TemplateMixer.h"
#include "bench/measured/Work.h"
#include "engine/FPEngine.h"
#include "include/QORFPApi.h"

namespace measure {

namespace {

constexpr int kLevel = 3;
constexpr uint32_t kStrictest = 5;
constexpr int32_t kPairs = 24;

struct Size {
    int32_t width;
    int32_t height;
};

constexpr Size kSizes[] = {{96, 136}, {128, 180}, {160, 224}, {192, 272}, {224, 316}, {256, 360}};
constexpr int32_t kCounts[] = {10, 20, 30, 40, 50, 60};
constexpr int32_t kLengths[] = {1000, 3000, 10000, 30000, 100000, 300000, 1000000};

Image CentreOf(const Image& image, Size size) {
    Image centre;
    centre.width = size.width;
    centre.height = size.height;
    const int32_t left = (image.width - size.width) / 2;
    const int32_t top = (image.height - size.height) / 2;
    for (int32_t y = 0; y < size.height; ++y) {
        const uint8_t* row = image.pixels.data() + (top + y) * image.width + left;
        centre.pixels.insert(centre.pixels.end(), row, row + size.width);
    }
    return centre;
}

Work Extraction(Inputs& inputs, Size size) {
    auto images = std::make_shared<std::vector<Image>>();
    for (const Impression& impression : inputs.Ordinary()) {
        images->push_back(CentreOf(impression.image, size));
    }
    Work work;
    work.cases = static_cast<int>(images->size());
    work.run = [images](int i) {
        const Image& image = (*images)[static_cast<size_t>(i)];
        Template bytes;
        int32_t quality = 0;
        QORFP_Extract(image.pixels.data(), image.width, image.height, bytes.data(), &quality);
    };
    return work;
}

Work Verification(Inputs& inputs, int32_t minutiae) {
    std::vector<MinutiaSet> sources;
    for (const Impression& impression : inputs.Ordinary()) {
        sources.push_back(DecodedSet(impression.bytes));
    }
    TemplateMixer mixer(sources);
    std::vector<Template> templates;
    for (int32_t i = 0; i < 2 * kPairs; ++i) {
        templates.push_back(mixer.Next(minutiae));
    }
    Work work;
    work.callsPerCase = kPairs;
    work.run = [templates](int) {
        for (size_t i = 0; i < templates.size(); i += 2) {
            int32_t score = 0;
            QORFP_Verify(templates[i].data(), templates[i + 1].data(), kLevel, &score);
        }
    };
    return work;
}

Work Search(Inputs& inputs, int32_t length) {
    auto gallery = std::make_shared<Gallery>(
        MakeGallery(inputs, inputs.ListLength(length), Arrangement::kAsTheyCome));
    Work work;
    work.run = [gallery](int) {
        uint32_t index = 0;
        int32_t score = 0;
        QORFP_Search(gallery->probe.data(), gallery->list.data(),
                     static_cast<uint32_t>(gallery->count), kStrictest, &index, &score);
    };
    return work;
}

}  // namespace

void AddGrowth(Inputs& inputs, std::vector<NamedWork>* works) {
    for (const Size& size : kSizes) {
        works->push_back(
            {"growth/extract/" + std::to_string(size.width) + "x" + std::to_string(size.height),
             [&inputs, size] { return Extraction(inputs, size); }});
    }
    for (const int32_t count : kCounts) {
        works->push_back({"growth/verify/" + std::to_string(count),
                          [&inputs, count] { return Verification(inputs, count); }});
    }
    for (const int32_t length : kLengths) {
        works->push_back({"growth/search/" + std::to_string(length),
                          [&inputs, length] { return Search(inputs, length); }});
    }
}

}  // namespace measure
