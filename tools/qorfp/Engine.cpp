// SPDX-License-Identifier: Apache-2.0
//
// Calls of the public interface. Arguments are checked before they come here, so a result code that
// speaks of arguments is a defect of this tool and is reported as one.
#include "tools/qorfp/Engine.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>

#include "include/QORFPApi.h"
#include "tools/qorfp/ToolError.h"

namespace qorfp::cli {
namespace {

/// While it lives, what the library prints on standard output goes nowhere.
class QuietStdout {
  public:
    QuietStdout() {
        std::fflush(stdout);
        saved_ = dup(STDOUT_FILENO);
        const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
        if (saved_ >= 0 && nowhere >= 0) {
            dup2(nowhere, STDOUT_FILENO);
        }
        if (nowhere >= 0) {
            close(nowhere);
        }
    }
    ~QuietStdout() {
        std::fflush(stdout);
        if (saved_ >= 0) {
            dup2(saved_, STDOUT_FILENO);
            close(saved_);
        }
    }
    QuietStdout(const QuietStdout&) = delete;
    QuietStdout& operator=(const QuietStdout&) = delete;

  private:
    int saved_ = -1;
};

[[noreturn]] void FailWithCode(const char* call, uint32_t code) {
    throw ToolError(std::string(call) + " returned the unexpected code " + std::to_string(code));
}

}  // namespace

const char* const kNoTemplateReason =
    "no template could be made: fewer than 6 usable minutiae were found";

void StartEngine() {
    const QuietStdout quiet;
    const uint32_t code = QORFP_Initial(0);
    if (code != QORFP_OK) {
        FailWithCode("QORFP_Initial", code);
    }
}

std::string EngineVersion() {
    char version[QORFP_VERSION_BYTES] = {};
    char buildTime[QORFP_BUILD_TIME_BYTES] = {};
    QORFP_Version(version);
    QORFP_BuildTime(buildTime);
    return std::string(version) + ", " + buildTime;
}

Extraction Extract(const GreyImage& finger) {
    Extraction extraction;
    int32_t quality = 0;
    const uint32_t code = QORFP_Extract(finger.pixels.data(), finger.width, finger.height,
                                        extraction.bytes.data(), &quality);
    if (code != QORFP_OK && code != QORFP_FAILED) {
        FailWithCode("QORFP_Extract", code);
    }
    extraction.isDone = code == QORFP_OK;
    extraction.quality = quality;
    return extraction;
}

Verification Verify(const TemplateBytes& first, const TemplateBytes& second, int level) {
    int32_t score = 0;
    const uint32_t code = QORFP_Verify(first.data(), second.data(), level, &score);
    if (code != QORFP_OK && code != QORFP_FAILED) {
        FailWithCode("QORFP_Verify", code);
    }
    Verification verification;
    verification.isMatch = code == QORFP_OK;
    verification.score = score;
    return verification;
}

std::string VerificationText(const Verification& verification, int level) {
    return "score " + std::to_string(verification.score) + ", threshold " +
           std::to_string(ThresholdOfLevel(level)) + " (level " + std::to_string(level) +
           "): " + (verification.isMatch ? "accepted" : "refused");
}

int ThresholdOfLevel(int level) {
    constexpr int kLowestThreshold = 150;
    constexpr int kStep = 15;
    return kLowestThreshold + kStep * (level - kMinLevel);
}

bool HasFinger(const GreyImage& finger) {
    const uint32_t code =
        QORFP_CheckFinger(finger.pixels.data(), static_cast<uint32_t>(finger.width), finger.height);
    if (code != QORFP_OK && code != QORFP_NO_FINGER) {
        FailWithCode("QORFP_CheckFinger", code);
    }
    return code == QORFP_OK;
}

}  // namespace qorfp::cli
