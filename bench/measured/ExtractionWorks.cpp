// SPDX-License-Identifier: Apache-2.0
//
// Calls that take an image.

#include <filesystem>

#include "bench/measured/Work.h"
#include "include/QORFPApi.h"

namespace measure {

namespace {

Work Extraction(const std::vector<Impression>& impressions) {
    Work work;
    work.cases = static_cast<int>(impressions.size());
    work.run = [&impressions](int i) {
        const Image& image = impressions[static_cast<size_t>(i)].image;
        Template bytes;
        int32_t quality = 0;
        QORFP_Extract(image.pixels.data(), image.width, image.height, bytes.data(), &quality);
    };
    return work;
}

Work FingerCheck(const std::vector<Impression>& impressions) {
    Work work;
    work.cases = static_cast<int>(impressions.size());
    work.run = [&impressions](int i) {
        const Image& image = impressions[static_cast<size_t>(i)].image;
        QORFP_CheckFinger(image.pixels.data(), static_cast<uint32_t>(image.width), image.height);
    };
    return work;
}

}  // namespace

void AddExtraction(Inputs& inputs, std::vector<NamedWork>* works) {
    works->push_back({"extract/256x360", [&inputs] { return Extraction(inputs.Ordinary()); }});
    works->push_back({"extract/152x200", [&inputs] { return Extraction(inputs.Sensor()); }});
    for (const std::string& folder : inputs.Options().folders) {
        const std::string name = std::filesystem::path(folder).filename().string();
        works->push_back(
            {"extract/" + name, [&inputs, folder] { return Extraction(inputs.In(folder)); }});
    }
    works->push_back(
        {"check-finger/256x360", [&inputs] { return FingerCheck(inputs.Ordinary()); }});
}

}  // namespace measure
