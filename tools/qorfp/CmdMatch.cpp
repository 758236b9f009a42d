// SPDX-License-Identifier: Apache-2.0
//
// qorfp match: a picture of what two fingers have in common for the matcher.
#include <cstdio>
#include <memory>

#include "tools/qorfp/Commands.h"
#include "tools/qorfp/Engine.h"
#include "tools/qorfp/ExitStatus.h"
#include "tools/qorfp/FileIo.h"
#include "tools/qorfp/FingerInput.h"
#include "tools/qorfp/MatchedPairs.h"
#include "tools/qorfp/PairPicture.h"
#include "tools/qorfp/PngWriter.h"
#include "tools/qorfp/Resample.h"
#include "tools/qorfp/ToolError.h"

namespace qorfp::cli {
namespace {

constexpr int kMaxScale = 8;

struct MatchOptions {
    std::string first;
    std::string second;
    std::string output;
    int level = kDefaultLevel;
    int scale = 2;
    ImageOptions imageOptions;
};

PairSide LoadSide(const char* letter, const std::string& path, const ImageOptions& options,
                  TemplateBytes& bytes) {
    const FingerOrTemplate input = LoadFingerOrTemplate(path, options);
    bytes = input.bytes;
    PairSide side;
    side.caption = std::string(letter) + ": " + BaseName(path);
    side.view = ReadTemplate(bytes);
    if (input.finger) {
        side.finger = AsTheEngineSeesIt(*input.finger);
    }
    return side;
}

int RunMatch(const MatchOptions& options) {
    RefuseToReplace(options.first, options.output);
    RefuseToReplace(options.second, options.output);
    RequirePngName(options.output);
    StartEngine();
    TemplateBytes firstBytes = {};
    TemplateBytes secondBytes = {};
    const PairSide first = LoadSide("A", options.first, options.imageOptions, firstBytes);
    const PairSide second = LoadSide("B", options.second, options.imageOptions, secondBytes);
    const Verification verification = Verify(firstBytes, secondBytes, options.level);
    const MatchedPairs match = FindMatchedPairs(firstBytes, secondBytes);
    if (match.score != verification.score) {
        throw ToolError("the pairs found have the score " + std::to_string(match.score) +
                        ", the verification " + std::to_string(verification.score));
    }
    const std::string headline = VerificationText(verification, options.level);
    const std::string detail = match.pairs.empty() ? "no pairs of minutiae in common"
                                                   : std::to_string(match.pairs.size()) +
                                                         " pairs; B is " + AlignmentText(match);
    WriteFile(options.output, PaintPair(first, second, match, options.scale, headline, detail));
    std::printf("%s\n%s: %s\n", headline.c_str(), options.output.c_str(), detail.c_str());
    return verification.isMatch ? kExitYes : kExitNo;
}

}  // namespace

void AddMatch(CLI::App& program, int& exitStatus) {
    auto options = std::make_shared<MatchOptions>();
    CLI::App* command =
        program.add_subcommand("match", "Draw two fingers with the minutiae they have in common");
    command->add_option("A", options->first, "Image or template of the fresh finger")->required();
    command->add_option("B", options->second, "Image or template to compare with")->required();
    command->add_option("-o,--output", options->output, "PNG file to write")->required();
    command
        ->add_option("--level", options->level,
                     "Security level: accept from score 150, 165, 180, 195, 210 on")
        ->check(CLI::Range(kMinLevel, kMaxLevel))
        ->capture_default_str();
    command->add_option("--scale", options->scale, "Picture pixels a finger pixel")
        ->check(CLI::Range(1, kMaxScale))
        ->capture_default_str();
    AddImageOptions(*command, options->imageOptions);
    command->footer(
        "Lines join the minutiae that the matcher takes for the same ones; others are pale. Of a\n"
        "template, the minutiae are drawn on white. B is turned around the middle of its minutiae\n"
        "and moved to lie on A. The picture is written whether they match or not.\n"
        "Exit status: 0 match, 1 no match, 2 error.\n"
        "Example: qorfp match door.png owner.png -o pairs.png");
    command->callback([options, &exitStatus] { exitStatus = RunMatch(*options); });
}

}  // namespace qorfp::cli
