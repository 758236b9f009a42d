// SPDX-License-Identifier: Apache-2.0
//
// What fusion and improvement are worth: false non-matches at level 3 before and after.

#include <cstdio>
#include <vector>

#include "bench/enrolment/FingerFolder.h"
#include "include/QORFPApi.h"
#include "match/Thresholds.h"

namespace enrolment {

namespace {

constexpr int kEnrolled = 3;      // impressions 1..3
constexpr int kProbes = 2;        // impressions 4 and 5
constexpr int kImprovements = 5;  // impressions 6..10, as far as there are
constexpr int kLevel = 3;

bool Fuse(const Impressions& impressions, Template* fused) {
    std::vector<uint8_t> inputs;
    for (int i = 1; i <= kEnrolled; ++i) {
        const auto found = impressions.find(i);
        if (found == impressions.end()) {
            return false;
        }
        inputs.insert(inputs.end(), found->second.begin(), found->second.end());
    }
    int32_t quality = 0;
    return QORFP_Enroll(inputs.data(), kEnrolled, fused->data(), &quality) == QORFP_OK;
}

struct Misses {
    int probes = 0;
    int missed = 0;

    void Add(const Template& enrolled, const Impressions& impressions) {
        for (int i = kEnrolled + 1; i <= kEnrolled + kProbes; ++i) {
            const auto probe = impressions.find(i);
            if (probe != impressions.end()) {
                ++probes;
                missed += ScoreOf(enrolled, probe->second) < gnMatchThr[kLevel] ? 1 : 0;
            }
        }
    }

    void Print(const char* name) const {
        std::printf("  false non-matches at level %d, %s: %s\n", kLevel, name,
                    Share(missed, probes).c_str());
    }
};

}  // namespace

void MeasureEnrolment(const Fingers& all) {
    int fusions = 0;
    int fused = 0;
    int samples = 0;
    int updates = 0;
    Misses single;
    Misses afterFusion;
    Misses afterImprovement;
    for (const auto& finger : all.fingers) {
        const Impressions& impressions = finger.second;
        Template enrolled;
        ++fusions;
        if (!Fuse(impressions, &enrolled)) {
            continue;
        }
        ++fused;
        // Only fingers whose fusion succeeded are compared, so that all three look at the same ones.
        single.Add(impressions.at(1), impressions);
        afterFusion.Add(enrolled, impressions);
        const int first = kEnrolled + kProbes + 1;
        for (int i = first; i < first + kImprovements; ++i) {
            const auto sample = impressions.find(i);
            if (sample != impressions.end()) {
                ++samples;
                updates += QORFP_Improve(sample->second.data(), enrolled.data()) == QORFP_OK;
            }
        }
        afterImprovement.Add(enrolled, impressions);
    }
    std::printf("enrolment: fusion of three succeeds for %s fingers\n",
                Share(fused, fusions).c_str());
    single.Print("one template");
    afterFusion.Print("fused template");
    if (samples == 0) {
        std::printf("  improvement: not measured, which takes impressions from the 6th on\n");
        return;
    }
    std::printf("  improvements: %s samples update the fused template\n",
                Share(updates, samples).c_str());
    afterImprovement.Print("improved template");
}

}  // namespace enrolment
