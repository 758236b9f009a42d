// SPDX-License-Identifier: Apache-2.0
//
// Searches in long lists, and the index scores that they rank by.

#include <memory>

#include "bench/measured/Gallery.h"
#include "bench/measured/Work.h"
#include "engine/FPEngine.h"
#include "include/QORFPApi.h"

namespace measure {

namespace {

constexpr uint32_t kStrictest = 5;

struct NamedArrangement {
    const char* suffix;
    Arrangement arrangement;
};

constexpr NamedArrangement kArrangements[] = {
    {"", Arrangement::kAsTheyCome},           {"-equal", Arrangement::kEqual},
    {"-ascending", Arrangement::kAscending},  {"-descending", Arrangement::kDescending},
    {"-two-values", Arrangement::kTwoValues}, {"-staircase", Arrangement::kStaircase},
};

uint32_t SearchIn(const Gallery& gallery) {
    uint32_t index = 0;
    int32_t score = 0;
    return QORFP_Search(gallery.probe.data(), gallery.list.data(),
                        static_cast<uint32_t>(gallery.count), kStrictest, &index, &score);
}

// Nothing matches at the strictest level, so no search ends early.
Work Search(Inputs& inputs, int32_t length, Arrangement arrangement) {
    auto gallery =
        std::make_shared<Gallery>(MakeGallery(inputs, inputs.ListLength(length), arrangement));
    Require(gallery->count > 100000 || SearchIn(*gallery) == QORFP_FAILED,
            "an entry matches: the search ends early");
    Work work;
    work.run = [gallery](int) { SearchIn(*gallery); };
    return work;
}

Work IndexScoring(Inputs& inputs, int32_t length) {
    auto gallery = std::make_shared<Gallery>(
        MakeGallery(inputs, inputs.ListLength(length), Arrangement::kAsTheyCome));
    auto buffer = std::make_shared<WorkBuffer>();
    auto scores = std::make_shared<std::vector<int32_t>>(static_cast<size_t>(gallery->count));
    ISetIndex(buffer->Bytes(), gallery->probe.data());  // survives the scores
    Work work;
    work.callsPerCase = gallery->count;
    work.run = [gallery, buffer, scores](int) {
        IGetScoreA(buffer->Bytes(), gallery->list.data(), gallery->count, scores->data());
    };
    return work;
}

// The probe's side of the index scores.
Work IndexPreparation(Inputs& inputs) {
    const std::vector<Impression>& impressions = inputs.Ordinary();
    auto buffer = std::make_shared<WorkBuffer>();
    Work work;
    work.cases = static_cast<int>(impressions.size());
    work.run = [&impressions, buffer](int i) {
        ISetIndex(buffer->Bytes(), impressions[static_cast<size_t>(i)].bytes.data());
    };
    return work;
}

}  // namespace

void AddSearching(Inputs& inputs, std::vector<NamedWork>* works) {
    works->push_back({"index-score/template", [&inputs] { return IndexScoring(inputs, 50000); }});
    works->push_back({"stage/ISetIndex", [&inputs] { return IndexPreparation(inputs); }});
    for (const int32_t length : {100000, 1000000}) {
        for (const NamedArrangement& named : kArrangements) {
            const Arrangement arrangement = named.arrangement;
            works->push_back(
                {"search/" + std::to_string(length) + named.suffix,
                 [&inputs, length, arrangement] { return Search(inputs, length, arrangement); }});
        }
    }
}

}  // namespace measure
