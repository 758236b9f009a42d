// SPDX-License-Identifier: Apache-2.0
//
// The library's inner calls with a work buffer of their own, for measurements that run in several
// threads: the public calls share one buffer and run one at a time. Templates and scores are those
// of QORFP_Extract and QORFP_Verify.
#pragma once

#include <cstdint>
#include <vector>

#include "tools/qorfp/Engine.h"

namespace qorfp::cli {

class WorkEngine {
  public:
    WorkEngine();

    /// `finger` must be of legal size.
    Extraction Extract(const GreyImage& finger);

    /// Score of `first` and `second`.
    int Score(const TemplateBytes& first, const TemplateBytes& second);

    /// Score of the last Score's `first` and another `second`; no other call in between.
    int ScoreNext(const TemplateBytes& second);

    /// Positions of a list in the order in which a search for `probe` would match them.
    std::vector<int32_t> RankList(const TemplateBytes& probe,
                                  const std::vector<TemplateBytes>& list);

  private:
    uint8_t* Buffer() { return reinterpret_cast<uint8_t*>(buffer_.data()); }

    std::vector<uint64_t> buffer_;  // words, for the alignment
};

}  // namespace qorfp::cli
