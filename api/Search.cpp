// SPDX-License-Identifier: Apache-2.0
//
// The 1:N search: check everything, rank by index score, match the best-ranked part in full.

#include "api/Search.h"

#include <stddef.h>
#include <stdlib.h>

#include "api/Fpm.h"
#include "engine/FPEngine.h"
#include "match/FPMatch.h"
#include "match/Thresholds.h"

namespace {

using namespace qorfp;

// Lists shorter than this are matched whole; of longer ones, this many and every 20th more.
constexpr uint32_t kWholeList = 200;
constexpr uint32_t kShareOfRest = 20;

// The most entries that memory can address and that the sort's 32-bit positions can hold.
constexpr size_t kMostAddressable = SIZE_MAX / sizeof(int32_t);
constexpr uint32_t kMostEntries =
    kMostAddressable < INT32_MAX ? static_cast<uint32_t>(kMostAddressable) : INT32_MAX;

int32_t* AllocateEntries(uint32_t count) {
    if (count > kMostEntries) {
        return nullptr;
    }
    return static_cast<int32_t*>(malloc(count * sizeof(int32_t)));
}

// The first thing wrong with the list, or QORFP_OK.
uint32_t CheckList(const TemplateList& list, uint32_t count, const SearchLog& log) {
    for (uint32_t i = 0; i < count; ++i) {
        const uint8_t* entry = list.At(i);
        if (entry == nullptr) {
            return QORFP_BAD_ARGUMENT;
        }
        if (FPM_CheckTemplateValidity(entry) != QORFP_OK) {
            log.entryInvalid(i, entry);
            return QORFP_BAD_TEMPLATE;
        }
    }
    return QORFP_OK;
}

// Puts the list positions into descending order of index score, ties as the sort leaves them.
void RankList(const uint8_t* probe, const TemplateList& list, int32_t count, int32_t* scores,
              int32_t* order) {
    FPM_SetIndex(probe);
    list.GetScores(count, scores);
    for (int32_t i = 0; i < count; ++i) {
        scores[i] = -scores[i];
        order[i] = i;
    }
    int32_t scratch[kSortScratch];
    quickSortEx(scores, order, count, scratch);
}

uint32_t MatchLimit(uint32_t count) {
    if (count < kWholeList) {
        return count;
    }
    const uint32_t limit = count / kShareOfRest + kWholeList;
    return limit < count ? limit : count;
}

// What the full matches have found so far.
struct Outcome {
    uint32_t result;
    uint32_t index;  // of the best candidate
    int32_t bestScore;
    int32_t lastScore;  // of the candidate matched last
    bool hasOutputs;    // an entry was accepted, and no match failed
};

Outcome MatchRanked(const uint8_t* probe, const TemplateList& list, const int32_t* order,
                    uint32_t limit, int32_t threshold) {
    Outcome outcome = {QORFP_FAILED, 0, 0, 0, false};
    for (uint32_t k = 0; k < limit; ++k) {
        const uint32_t position = static_cast<uint32_t>(order[k]);
        // The probe is decoded and described once, with the first candidate.
        if (FPM_Match(k == 0 ? probe : nullptr, list.At(position), &outcome.lastScore) != 0) {
            outcome.hasOutputs = false;
            break;
        }
        if (outcome.lastScore < threshold) {
            continue;
        }
        if (outcome.lastScore > outcome.bestScore) {
            outcome.bestScore = outcome.lastScore;
            outcome.index = position;
            outcome.result = QORFP_OK;
            outcome.hasOutputs = true;
        }
        if (outcome.lastScore >= gnMatchThr[kCertainThreshold]) {
            break;
        }
    }
    return outcome;
}

}  // namespace

const uint8_t* qorfp::TemplateList::At(uint32_t i) const {
    return pointers_ != nullptr ? pointers_[i] : bytes_ + static_cast<size_t>(i) * kTemplateBytes;
}

void qorfp::TemplateList::GetScores(int32_t count, int32_t* scores) const {
    if (pointers_ != nullptr) {
        FPM_GetScoreB(pointers_, count, scores);
    } else {
        FPM_GetScoreA(bytes_, count, scores);
    }
}

qorfp::CandidateArrays::CandidateArrays(uint32_t count)
    : scores_(AllocateEntries(count)),
      order_(AllocateEntries(count)),
      hasFailed_(count > 0 && (scores_ == nullptr || order_ == nullptr)) {}

qorfp::CandidateArrays::~CandidateArrays() {
    free(scores_);
    free(order_);
}

uint32_t qorfp::SearchList(const uint8_t* probe, const TemplateList& list, uint32_t count,
                           uint32_t level, const CandidateArrays& arrays, const SearchLog& log,
                           uint32_t* index, int32_t* score) {
    if (arrays.HasFailed()) {
        return QORFP_NO_MEMORY;
    }
    if (probe == nullptr || list.IsNull()) {
        return QORFP_BAD_ARGUMENT;
    }
    if (FPM_CheckTemplateValidity(probe) != QORFP_OK) {
        log.probeInvalid();
        return QORFP_BAD_TEMPLATE;
    }
    const uint32_t listResult = CheckList(list, count, log);
    if (listResult != QORFP_OK) {
        return listResult;
    }
    if (level < static_cast<uint32_t>(kLowestLevel) ||
        level > static_cast<uint32_t>(kHighestLevel) || count == 0) {
        return QORFP_BAD_ARGUMENT;
    }
    RankList(probe, list, static_cast<int32_t>(count), arrays.Scores(), arrays.Order());
    const Outcome outcome =
        MatchRanked(probe, list, arrays.Order(), MatchLimit(count), gnMatchThr[level]);
    if (outcome.hasOutputs) {
        if (index != nullptr) {
            *index = outcome.index;
        }
        // Deliberate: the score of the candidate matched last, which is the best one's only when
        // the search stopped early. Hosts read the index as the answer.
        if (score != nullptr) {
            *score = outcome.lastScore;
        }
    }
    return outcome.result;
}
