// SPDX-License-Identifier: Apache-2.0
//
// qorfp extract: a finger image becomes a template file.
#include <cstdio>
#include <memory>

#include "tools/qorfp/Commands.h"
#include "tools/qorfp/Diagnosis.h"
#include "tools/qorfp/Engine.h"
#include "tools/qorfp/ExitStatus.h"
#include "tools/qorfp/FiguresJson.h"
#include "tools/qorfp/FileIo.h"
#include "tools/qorfp/FingerInput.h"

namespace qorfp::cli {
namespace {

struct ExtractOptions {
    std::string image;
    std::string output;
    bool asJson = false;
    ImageOptions imageOptions;
};

void PrintFigures(const ExtractOptions& options, const Extraction& extraction,
                  const FingerFigures& figures) {
    Json root;
    root["image"] = options.image;
    root["template"] = extraction.isDone ? Json(options.output) : Json();
    root.update(FiguresJson(figures));
    root["poor"] = ReasonsOf(figures);
    PrintJson(root);
}

int RunExtract(const ExtractOptions& options) {
    RefuseToReplace(options.image, options.output);
    const GreyImage finger = LoadFinger(options.image, options.imageOptions);
    StartEngine();
    const Extraction extraction = Extract(finger);
    if (extraction.isDone) {
        WriteFile(options.output, Bytes(extraction.bytes.begin(), extraction.bytes.end()));
    }
    const FingerFigures figures = MeasureFinger(finger, options.imageOptions.dpi);
    if (options.asJson) {
        PrintFigures(options, extraction, figures);
    } else if (!extraction.isDone) {
        std::printf("%s: %s\n", options.image.c_str(), NoTemplateText(figures).c_str());
    } else {
        std::printf("%s: %d minutiae, quality %d\n", options.output.c_str(),
                    ReadTemplate(extraction.bytes).count, extraction.quality);
        const Reasons reasons = ReasonsOf(figures);
        if (!reasons.empty()) {
            std::printf("poor: %s\n", Joined(reasons).c_str());
        }
    }
    return extraction.isDone ? kExitYes : kExitNo;
}

}  // namespace

void AddExtract(CLI::App& program, int& exitStatus) {
    auto options = std::make_shared<ExtractOptions>();
    CLI::App* command = program.add_subcommand("extract", "Make a template from a finger image");
    command->add_option("IMAGE", options->image, "Finger image (PGM, PNG, BMP, TIFF or JPEG 2000)")
        ->required();
    command->add_option("-o,--output", options->output, "Template file to write (512 bytes)")
        ->required();
    command->add_flag("--json", options->asJson, "Print JSON, with the figures of the finger");
    AddImageOptions(*command, options->imageOptions);
    command->footer(
        "A second line says what is poor about the finger, if anything.\n"
        "Exit status: 0 template written, 1 no template could be made, 2 error.\n"
        "Example: qorfp extract finger.png -o finger.bin");
    command->callback([options, &exitStatus] { exitStatus = RunExtract(*options); });
}

}  // namespace qorfp::cli
