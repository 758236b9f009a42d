// SPDX-License-Identifier: Apache-2.0

#include "bench/measured/Inputs.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <stdexcept>

#include "bench/measured/Work.h"
#include "engine/FPEngine.h"
#include "engine/Template.h"
#include "include/QORFPApi.h"

namespace measure {

namespace {

constexpr uint8_t kQuality = 90;
constexpr int32_t kShortestList = 20;

}  // namespace

std::vector<Impression> ReadImpressions(const std::string& folder, int mostFingers) {
    std::vector<Impression> impressions;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        Impression impression = {};
        if (entry.path().extension() != ".pgm" ||
            std::sscanf(entry.path().stem().c_str(), "%d_%d", &impression.finger,
                        &impression.number) != 2 ||
            impression.finger > mostFingers) {
            continue;
        }
        impression.image = support::ReadPgm(entry.path().string());
        int32_t quality = 0;
        if (QORFP_Extract(impression.image.pixels.data(), impression.image.width,
                          impression.image.height, impression.bytes.data(), &quality) == QORFP_OK) {
            impression.minutiae = impression.bytes[qorfp::kCountOffset];
            impressions.push_back(std::move(impression));
        }
    }
    Require(!impressions.empty(), folder + ": no usable images named <finger>_<impression>.pgm");
    std::sort(impressions.begin(), impressions.end(), [](const Impression& a, const Impression& b) {
        return std::pair(a.finger, a.number) < std::pair(b.finger, b.number);
    });
    return impressions;
}

const std::vector<Impression>& Inputs::In(const std::string& folder) {
    auto found = read_.find(folder);
    if (found == read_.end()) {
        found = read_.emplace(folder, ReadImpressions(folder, options_.mostFingers)).first;
    }
    return found->second;
}

std::map<int, std::vector<const Impression*>> Inputs::OrdinaryByFinger() {
    std::map<int, std::vector<const Impression*>> fingers;
    for (const Impression& impression : Ordinary()) {
        fingers[impression.finger].push_back(&impression);
    }
    return fingers;
}

int32_t Inputs::ListLength(int32_t length) const {
    return std::max(length / options_.listDivisor, kShortestList);
}

MinutiaSet DecodedSet(const Template& bytes) {
    MinutiaSet set;
    Require(DecodeTemplate(bytes.data(), &set, nullptr) == 0, "a template does not decode");
    return set;
}

Template FinishedTemplate(MinutiaSet set) {
    static WorkBuffer work;
    Template bytes = {};
    Require(EncodeTemplate(&set, nullptr, bytes.data()) == 0, "a minutia set does not encode");
    Require(ICreateIndex(work.Bytes(), bytes.data(), bytes.data() + qorfp::kIndexOffset) == 0,
            "a template cannot be indexed");
    bytes[qorfp::kQualityOffset] = kQuality;
    qorfp::WriteChecksum(bytes.data());
    return bytes;
}

void Require(bool condition, const std::string& message) {
    if (!condition) {
        throw std::runtime_error(message);
    }
}

std::vector<NamedWork> AllWorks(Inputs& inputs) {
    std::vector<NamedWork> works;
    AddExtraction(inputs, &works);
    AddMatching(inputs, &works);
    AddSearching(inputs, &works);
    AddStages(inputs, &works);
    AddSorting(inputs, &works);
    AddGrowth(inputs, &works);
    return works;
}

}  // namespace measure
