// SPDX-License-Identifier: Apache-2.0
//
// qorfp stages: a picture of the finger after every stage of extraction, and all on one sheet.
#include <cstdio>
#include <memory>

#include "tools/qorfp/Commands.h"
#include "tools/qorfp/ExitStatus.h"
#include "tools/qorfp/FileIo.h"
#include "tools/qorfp/FingerInput.h"
#include "tools/qorfp/StagePainter.h"
#include "tools/qorfp/StageRun.h"
#include "tools/qorfp/TemplateView.h"

namespace qorfp::cli {
namespace {

struct StagesOptions {
    std::string image;
    std::string directory;
    ImageOptions imageOptions;
};

std::string StageFileName(size_t number, const std::string& name) {
    return (number < 10 ? "0" : "") + std::to_string(number) + "_" + name + ".png";
}

int RunStagesCommand(const StagesOptions& options) {
    const GreyImage finger = LoadFinger(options.image, options.imageOptions);
    const std::vector<Stage> stages = RunStages(finger);
    MakeDirectory(options.directory);
    for (size_t i = 0; i < stages.size(); ++i) {
        WriteFile(options.directory + "/" + StageFileName(i, stages[i].name),
                  PaintStage(stages[i]));
    }
    const std::string title = "Extraction of " + BaseName(options.image) + ", " +
                              std::to_string(finger.width) + " x " + std::to_string(finger.height);
    WriteFile(options.directory + "/contact-sheet.png", PaintContactSheet(stages, title));
    const size_t minutiae = stages.back().marks.size();
    std::printf("%s: %zu pictures and contact-sheet.png, %zu minutiae%s\n",
                options.directory.c_str(), stages.size(), minutiae,
                minutiae < kMinMinutiae ? " (too few for a template)" : "");
    return kExitYes;
}

}  // namespace

void AddStages(CLI::App& program, int& exitStatus) {
    auto options = std::make_shared<StagesOptions>();
    CLI::App* command =
        program.add_subcommand("stages", "Show the finger after every stage of extraction");
    command->add_option("IMAGE", options->image, "Finger image (PGM, PNG, BMP, TIFF or JPEG 2000)")
        ->required();
    command->add_option("-o,--output", options->directory, "Folder for the PNG files; made if new")
        ->required();
    AddImageOptions(*command, options->imageOptions);
    command->footer(
        "Images keep their exact grey values; orientation, ridge period and minutiae are drawn.\n"
        "Exit status: 0 pictures written, 2 error.\n"
        "Example: qorfp stages finger.png -o stages/");
    command->callback([options, &exitStatus] { exitStatus = RunStagesCommand(*options); });
}

}  // namespace qorfp::cli
