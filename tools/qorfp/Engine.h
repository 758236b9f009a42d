// SPDX-License-Identifier: Apache-2.0
//
// The library as the sub-commands see it: the public calls with C++ types, ready for use, and
// silent (the library's own log line does not mix with the tool's output).
#pragma once

#include <string>

#include "tools/qorfp/GreyImage.h"
#include "tools/qorfp/TemplateView.h"

namespace qorfp::cli {

constexpr int kMinLevel = 1;
constexpr int kMaxLevel = 5;
constexpr int kDefaultLevel = 3;

/// Why an image in order gives no template: the engine tells no more than this.
extern const char* const kNoTemplateReason;

struct Extraction {
    bool isDone = false;  // false: no usable template; the other fields mean nothing then
    TemplateBytes bytes = {};
    int quality = 0;
};

struct Verification {
    bool isMatch = false;
    int score = 0;  // 0..2047
};

/// Makes the library ready; call once before the others.
void StartEngine();

/// "MEL_FPR_..., frozen date time".
std::string EngineVersion();

/// `finger` must be of legal size.
Extraction Extract(const GreyImage& finger);

/// Both templates must have passed CheckTemplate; `level` kMinLevel..kMaxLevel.
Verification Verify(const TemplateBytes& first, const TemplateBytes& second, int level);

/// "score 415, threshold 180 (level 3): accepted".
std::string VerificationText(const Verification& verification, int level);

/// Score from which a security level accepts.
int ThresholdOfLevel(int level);

/// `finger` must be of legal size.
bool HasFinger(const GreyImage& finger);

}  // namespace qorfp::cli
