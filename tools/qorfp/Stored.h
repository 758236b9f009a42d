// SPDX-License-Identifier: Apache-2.0
//
// The public calls on stored templates, with C++ types: fusing captures, improving, checking and
// searching. Beside Engine.h, which holds those on single images and pairs.
#pragma once

#include <optional>
#include <vector>

#include "tools/qorfp/TemplateView.h"

namespace qorfp::cli {

/// Scores that fusion and improvement ask for, whatever the security level.
constexpr int kFusionScore = 210;
constexpr int kImprovementScore = 225;

/// The most captures that fusion looks at.
constexpr size_t kMaxCaptures = 3;

struct Enrolment {
    bool isDone = false;  // false: the captures cannot be fused; the other fields mean nothing then
    TemplateBytes bytes = {};
    int quality = 0;
};

/// Fuses 2 or 3 captures; of two, the first counts twice.
Enrolment Enroll(const std::vector<TemplateBytes>& captures);

/// True when `enrolled` was updated from `sample`, which must be of version 301.
bool Improve(const TemplateBytes& sample, TemplateBytes& enrolled);

/// Position of the best match of `probe` in a list that is not empty, if one reaches `level`. All
/// must have been judged usable.
std::optional<size_t> Search(const TemplateBytes& probe, const std::vector<TemplateBytes>& list,
                             int level);

enum class StoredState {
    kUsable,   // in every call
    kOld,      // usable once upgraded
    kInvalid,  // never matches anything, or has no index to be searched by
};

struct Judgement {
    StoredState state = StoredState::kInvalid;
    std::string reason;        // of kInvalid, for people
    TemplateBytes bytes = {};  // upgraded where that was possible, also when of no use
};

/// What a stored template is worth. Any 512 bytes will do.
Judgement JudgeTemplate(const TemplateBytes& bytes);

/// Whether the bytes begin with a version text of templates.
bool HasTemplateVersion(const TemplateBytes& bytes);

}  // namespace qorfp::cli
