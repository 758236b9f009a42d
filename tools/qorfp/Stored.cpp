// SPDX-License-Identifier: Apache-2.0
//
// Calls of the public interface on stored templates. Arguments are checked before they come here, so
// a result code that speaks of arguments is a defect of this tool and is reported as one.
#include "tools/qorfp/Stored.h"

#include <cstring>
#include <new>

#include "include/QORFPApi.h"
#include "tools/qorfp/ToolError.h"

namespace qorfp::cli {
namespace {

static_assert(sizeof(TemplateBytes) == QORFP_TEMPLATE_BYTES,
              "a vector of templates is a list of templates back to back");

constexpr size_t kVersionBytes = 3;
constexpr size_t kCountAt = 3;

[[noreturn]] void FailWithCode(const char* call, uint32_t code) {
    throw ToolError(std::string(call) + " returned the unexpected code " + std::to_string(code));
}

/// Success or failure of a call that has no other result here.
bool HasSucceeded(const char* call, uint32_t code) {
    if (code != QORFP_OK && code != QORFP_FAILED) {
        FailWithCode(call, code);
    }
    return code == QORFP_OK;
}

// What the engine's check does not say: why. Empty when nothing is known to be wrong.
std::string FindFault(const TemplateBytes& bytes) {
    if (!HasTemplateVersion(bytes)) {
        return "it does not begin with \"300\" or \"301\"";
    }
    if (bytes[kCountAt] > kMaxMinutiae) {
        return std::to_string(bytes[kCountAt]) + " minutiae, 60 at most";
    }
    return ReadTemplate(bytes).problem;
}

// A key is made of a minutia with neighbours in three directions; scattered minutiae may have none.
std::string FindIndexFault(const TemplateView& view) {
    if (view.keyCount == 0) {
        return "it has no index keys";
    }
    if (view.keyCount > kMaxKeys) {
        return std::to_string(view.keyCount) + " index keys, 19 at most";
    }
    return "damaged index area";
}

/// The engine's check, which upgrades `bytes` when they are of the older version.
struct EngineCheck {
    bool isUsable = false;
    bool isConverted = false;
};

EngineCheck CheckFeature(TemplateBytes& bytes) {
    int32_t isConverted = 0;
    const uint32_t code = QORFP_CheckFeature(bytes.data(), &isConverted);
    if (code != QORFP_OK && code != QORFP_BAD_TEMPLATE) {
        FailWithCode("QORFP_CheckFeature", code);
    }
    EngineCheck check;
    check.isUsable = code == QORFP_OK;
    check.isConverted = isConverted != 0;
    return check;
}

}  // namespace

bool HasTemplateVersion(const TemplateBytes& bytes) {
    return std::memcmp(bytes.data(), "300", kVersionBytes) == 0 ||
           std::memcmp(bytes.data(), "301", kVersionBytes) == 0;
}

Enrolment Enroll(const std::vector<TemplateBytes>& captures) {
    Enrolment enrolment;
    int32_t quality = 0;
    enrolment.isDone = HasSucceeded(
        "QORFP_Enroll", QORFP_Enroll(captures.front().data(), static_cast<int32_t>(captures.size()),
                                     enrolment.bytes.data(), &quality));
    enrolment.quality = quality;
    return enrolment;
}

bool Improve(const TemplateBytes& sample, TemplateBytes& enrolled) {
    // A failed call may still have changed its copy.
    TemplateBytes updated = enrolled;
    if (!HasSucceeded("QORFP_Improve", QORFP_Improve(sample.data(), updated.data()))) {
        return false;
    }
    enrolled = updated;
    return true;
}

std::optional<size_t> Search(const TemplateBytes& probe, const std::vector<TemplateBytes>& list,
                             int level) {
    uint32_t index = 0;
    const uint32_t code =
        QORFP_Search(probe.data(), list.front().data(), static_cast<uint32_t>(list.size()),
                     static_cast<uint32_t>(level), &index, nullptr);
    if (code == QORFP_NO_MEMORY) {
        throw std::bad_alloc();
    }
    if (!HasSucceeded("QORFP_Search", code)) {
        return std::nullopt;
    }
    return index;
}

Judgement JudgeTemplate(const TemplateBytes& bytes) {
    Judgement judgement;
    judgement.bytes = bytes;
    // The engine's check passes some templates whose minutiae cannot be decoded for matching.
    judgement.reason = FindFault(bytes);
    if (!judgement.reason.empty()) {
        return judgement;
    }
    const EngineCheck first = CheckFeature(judgement.bytes);
    // An upgrade succeeds also where no index key can be made; only a second check tells.
    if (!first.isUsable || (first.isConverted && !CheckFeature(judgement.bytes).isUsable)) {
        judgement.reason = FindIndexFault(ReadTemplate(judgement.bytes));
        return judgement;
    }
    judgement.state = first.isConverted ? StoredState::kOld : StoredState::kUsable;
    return judgement;
}

}  // namespace qorfp::cli
