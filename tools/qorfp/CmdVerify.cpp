// SPDX-License-Identifier: Apache-2.0
//
// qorfp verify: do two images or templates show the same finger?
#include <cstdio>
#include <memory>

#include "tools/qorfp/Commands.h"
#include "tools/qorfp/Engine.h"
#include "tools/qorfp/ExitStatus.h"
#include "tools/qorfp/FingerInput.h"

namespace qorfp::cli {
namespace {

struct VerifyOptions {
    std::string first;
    std::string second;
    int level = kDefaultLevel;
    ImageOptions imageOptions;
};

int RunVerify(const VerifyOptions& options) {
    StartEngine();
    const TemplateBytes first = LoadOrExtractTemplate(options.first, options.imageOptions);
    const TemplateBytes second = LoadOrExtractTemplate(options.second, options.imageOptions);
    const Verification verification = Verify(first, second, options.level);
    std::printf("%s\n", VerificationText(verification, options.level).c_str());
    return verification.isMatch ? kExitYes : kExitNo;
}

}  // namespace

void AddVerify(CLI::App& program, int& exitStatus) {
    auto options = std::make_shared<VerifyOptions>();
    CLI::App* command = program.add_subcommand("verify", "Compare two images or templates");
    command->add_option("A", options->first, "Image or template of the fresh finger")->required();
    command->add_option("B", options->second, "Image or template to compare with")->required();
    command
        ->add_option("--level", options->level,
                     "Security level: accept from score 150, 165, 180, 195, 210 on")
        ->check(CLI::Range(kMinLevel, kMaxLevel))
        ->capture_default_str();
    AddImageOptions(*command, options->imageOptions);
    command->footer(
        "Exit status: 0 match, 1 no match, 2 error.\n"
        "Example: qorfp verify --level 4 door.png owner.bin");
    command->callback([options, &exitStatus] { exitStatus = RunVerify(*options); });
}

}  // namespace qorfp::cli
