// SPDX-License-Identifier: Apache-2.0
//
// The steps of the public calls, less locks and argument checks.
#include "tools/qorfp/eval/WorkEngine.h"

#include <algorithm>

#include "api/Fpm.h"
#include "engine/FPEngine.h"
#include "match/FPMatch.h"
#include "tools/qorfp/FitWindow.h"

namespace qorfp::cli {

WorkEngine::WorkEngine() : buffer_(kWorkBytes / sizeof(uint64_t)) {}

Extraction WorkEngine::Extract(const GreyImage& finger) {
    int32_t width = finger.width;
    int32_t height = finger.height;
    std::copy(finger.pixels.begin(), finger.pixels.end(), Buffer());
    if (IsSensorSize(width, height)) {
        FPM_fpc1011_scale_image(Buffer());
        width = kSensorScaledWidth;
        height = kSensorScaledHeight;
    }
    Extraction extraction;
    uint8_t* bytes = extraction.bytes.data();
    int32_t quality = 0;
    extraction.isDone = ICreateTemplate(Buffer(), width, height, bytes, &quality) == 0 &&
                        ICreateIndex(Buffer(), bytes, bytes + kIndexOffset) == 0;
    if (extraction.isDone) {
        bytes[kQualityOffset] = static_cast<uint8_t>(quality & 255);
        WriteChecksum(bytes);
        extraction.quality = FPM_GetQuality(bytes);
    }
    return extraction;
}

int WorkEngine::Score(const TemplateBytes& first, const TemplateBytes& second) {
    int32_t score = 0;
    IMatch(Buffer(), first.data(), second.data(), &score);
    return score;
}

int WorkEngine::ScoreNext(const TemplateBytes& second) {
    int32_t score = 0;
    IMatch(Buffer(), nullptr, second.data(), &score);
    return score;
}

std::vector<int32_t> WorkEngine::RankList(const TemplateBytes& probe,
                                          const std::vector<TemplateBytes>& list) {
    std::vector<int32_t> scores(list.size());
    std::vector<int32_t> order(list.size());
    ISetIndex(Buffer(), probe.data());
    IGetScoreA(Buffer(), list.front().data(), static_cast<int32_t>(list.size()), scores.data());
    for (size_t i = 0; i < list.size(); ++i) {
        scores[i] = -scores[i];
        order[i] = static_cast<int32_t>(i);
    }
    int32_t scratch[kSortScratch];
    quickSortEx(scores.data(), order.data(), static_cast<int32_t>(list.size()), scratch);
    return order;
}

}  // namespace qorfp::cli
