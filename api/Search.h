// SPDX-License-Identifier: Apache-2.0
//
// The 1:N search behind QORFP_Identify and QORFP_Search.
#pragma once

#include <stdint.h>

namespace qorfp {

/// A caller's list of templates, in either of its two forms.
class TemplateList {
  public:
    /// By pointers, which may be null.
    static TemplateList OfPointers(const uint8_t* const* pointers) {
        return TemplateList(pointers, nullptr);
    }

    /// Back to back.
    static TemplateList Contiguous(const uint8_t* bytes) { return TemplateList(nullptr, bytes); }

    bool IsNull() const { return pointers_ == nullptr && bytes_ == nullptr; }

    /// Template `i`, or null.
    const uint8_t* At(uint32_t i) const;

    /// Index scores of the first `count` templates against the probe of the last FPM_SetIndex.
    void GetScores(int32_t count, int32_t* scores) const;

  private:
    TemplateList(const uint8_t* const* pointers, const uint8_t* bytes)
        : pointers_(pointers), bytes_(bytes) {}

    const uint8_t* const* pointers_;
    const uint8_t* bytes_;
};

/// The two arrays of a search, allocated before the engine is locked and freed when they go.
class CandidateArrays {
  public:
    explicit CandidateArrays(uint32_t count);
    ~CandidateArrays();
    CandidateArrays(const CandidateArrays&) = delete;
    CandidateArrays& operator=(const CandidateArrays&) = delete;

    bool HasFailed() const { return hasFailed_; }
    int32_t* Scores() const { return scores_; }
    int32_t* Order() const { return order_; }

  private:
    int32_t* scores_;  ///< index score of each list entry, negated for sorting
    int32_t* order_;   ///< list positions, best-ranked first
    bool hasFailed_;
};

/// How a call logs invalid templates.
struct SearchLog {
    void (*probeInvalid)();
    void (*entryInvalid)(uint32_t entry, const uint8_t* bytes);
};

/// Ranks the list by index score and matches its best-ranked part in full.
/// @param index, score out, may be null: written only when the result is 0
/// @return a result code
uint32_t SearchList(const uint8_t* probe, const TemplateList& list, uint32_t count, uint32_t level,
                    const CandidateArrays& arrays, const SearchLog& log, uint32_t* index,
                    int32_t* score);

}  // namespace qorfp
