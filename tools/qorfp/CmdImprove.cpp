// SPDX-License-Identifier: Apache-2.0
//
// qorfp improve: an enrolled template learns from a fresh capture that surely shows its finger.
#include <cstdio>
#include <memory>

#include "tools/qorfp/Commands.h"
#include "tools/qorfp/Engine.h"
#include "tools/qorfp/ExitStatus.h"
#include "tools/qorfp/FileIo.h"
#include "tools/qorfp/FingerInput.h"
#include "tools/qorfp/Stored.h"
#include "tools/qorfp/StoredInput.h"

namespace qorfp::cli {
namespace {

struct ImproveOptions {
    std::string enrolled;
    std::string sample;
    ImageOptions imageOptions;
};

int RunImprove(const ImproveOptions& options) {
    StartEngine();
    const TemplateBytes before = LoadTemplate(options.enrolled);
    RequireMatchable(options.enrolled, before);
    const TemplateBytes sample = LoadCurrentTemplate(options.sample, options.imageOptions);
    const int score = Verify(sample, before, kDefaultLevel).score;
    TemplateBytes after = before;
    if (!Improve(sample, after)) {
        std::printf("%s: not updated: score %d, %s\n", options.enrolled.c_str(), score,
                    score < kImprovementScore ? "225 is needed" : "nothing to learn");
        return kExitNo;
    }
    WriteFile(options.enrolled, Bytes(after.begin(), after.end()));
    std::printf("%s: updated: score %d, %d minutiae (%d before)\n", options.enrolled.c_str(), score,
                ReadTemplate(after).count, ReadTemplate(before).count);
    return kExitYes;
}

}  // namespace

void AddImprove(CLI::App& program, int& exitStatus) {
    auto options = std::make_shared<ImproveOptions>();
    CLI::App* command =
        program.add_subcommand("improve", "Update an enrolled template from a fresh capture");
    command
        ->add_option("ENROLLED", options->enrolled,
                     "Template file; rewritten in one step when it is updated, else left alone")
        ->required();
    command
        ->add_option("SAMPLE", options->sample,
                     "Image or template of the same finger; must match with a score of 225 or more")
        ->required();
    AddImageOptions(*command, options->imageOptions);
    command->footer(
        "Exit status: 0 updated, 1 not updated, 2 error.\n"
        "Example: qorfp improve alice.bin door.png");
    command->callback([options, &exitStatus] { exitStatus = RunImprove(*options); });
}

}  // namespace qorfp::cli
