// SPDX-License-Identifier: Apache-2.0
//
// qorfp check-finger: does an image show a finger at all?
#include <cstdio>
#include <memory>

#include "tools/qorfp/Commands.h"
#include "tools/qorfp/Engine.h"
#include "tools/qorfp/ExitStatus.h"
#include "tools/qorfp/FingerInput.h"

namespace qorfp::cli {
namespace {

struct CheckFingerOptions {
    std::string image;
    ImageOptions imageOptions;
};

int RunCheckFinger(const CheckFingerOptions& options) {
    const GreyImage finger = LoadFinger(options.image, options.imageOptions);
    StartEngine();
    const bool isFinger = HasFinger(finger);
    std::printf("%s: %s\n", options.image.c_str(), isFinger ? "finger" : "no finger");
    return isFinger ? kExitYes : kExitNo;
}

}  // namespace

void AddCheckFinger(CLI::App& program, int& exitStatus) {
    auto options = std::make_shared<CheckFingerOptions>();
    CLI::App* command =
        program.add_subcommand("check-finger", "Tell whether an image shows a finger");
    command->add_option("IMAGE", options->image, "Image (PGM, PNG, BMP, TIFF or JPEG 2000)")
        ->required();
    AddImageOptions(*command, options->imageOptions);
    command->footer(
        "Exit status: 0 finger, 1 no finger, 2 error.\n"
        "Example: qorfp check-finger frame.pgm && echo \"finger down\"");
    command->callback([options, &exitStatus] { exitStatus = RunCheckFinger(*options); });
}

}  // namespace qorfp::cli
