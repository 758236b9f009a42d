// SPDX-License-Identifier: Apache-2.0
//
// qorfp verify: do two images or templates show the same finger?
#include <cmath>
#include <cstdio>
#include <memory>

#include "tools/qorfp/Commands.h"
#include "tools/qorfp/Diagnosis.h"
#include "tools/qorfp/Engine.h"
#include "tools/qorfp/ExitStatus.h"
#include "tools/qorfp/FiguresJson.h"
#include "tools/qorfp/FingerInput.h"
#include "tools/qorfp/MatchedPairs.h"

namespace qorfp::cli {
namespace {

constexpr double kDegreesPerStep = 1.5;

struct VerifyOptions {
    std::string first;
    std::string second;
    int level = kDefaultLevel;
    bool asJson = false;
    ImageOptions imageOptions;
};

struct Comparison {
    FingerFigures first;
    FingerFigures second;
    MatchedPairs match;
    Overlap overlap;
};

FingerFigures Measure(const FingerOrTemplate& input, int dpi) {
    return input.finger ? MeasureFinger(*input.finger, dpi)
                        : MeasureTemplate(ReadTemplate(input.bytes));
}

Comparison Compare(const FingerOrTemplate& first, const FingerOrTemplate& second, int dpi) {
    Comparison comparison;
    comparison.first = Measure(first, dpi);
    comparison.second = Measure(second, dpi);
    comparison.match = FindMatchedPairs(first.bytes, second.bytes);
    comparison.overlap = OverlapOf(ReadTemplate(first.bytes), comparison.match);
    return comparison;
}

Reasons ReasonsOf(const Comparison& comparison) {
    return ReasonsOfPair(comparison.first, comparison.second, comparison.match, comparison.overlap);
}

void PrintComparison(const VerifyOptions& options, const Verification& verification,
                     const Comparison& comparison) {
    const MatchedPairs& match = comparison.match;
    Json root;
    root["score"] = verification.score;
    root["threshold"] = ThresholdOfLevel(options.level);
    root["level"] = options.level;
    root["accepted"] = verification.isMatch;
    root["pairs"] = match.pairs.size();
    root["degreesClockwise"] = match.turn * kDegreesPerStep;
    root["moved"] = {match.moveX, match.moveY};
    root["overlap"] = {{"percent", std::lround(100 * comparison.overlap.part)},
                       {"minutiae", comparison.overlap.minutiae}};
    root["a"] = {{"file", options.first}};
    root["a"].update(FiguresJson(comparison.first));
    root["b"] = {{"file", options.second}};
    root["b"].update(FiguresJson(comparison.second));
    root["poor"] = verification.isMatch ? Reasons() : ReasonsOf(comparison);
    PrintJson(root);
}

// The same members as of a comparison, null where there is none.
void PrintNoComparison(const VerifyOptions& options, const FingerOrTemplate& first,
                       const FingerOrTemplate& second) {
    Json root;
    root["score"] = Json();
    root["threshold"] = ThresholdOfLevel(options.level);
    root["level"] = options.level;
    root["accepted"] = false;
    for (const char* name : {"pairs", "degreesClockwise", "moved", "overlap", "a", "b"}) {
        root[name] = Json();
    }
    Reasons poor;
    const auto add = [&](const char* name, const char* letter, const std::string& path,
                         const FingerOrTemplate& input) {
        const FingerFigures figures = Measure(input, options.imageOptions.dpi);
        root[name] = {{"file", path}};
        root[name].update(FiguresJson(figures));
        Reasons reasons = ReasonsOf(figures);
        if (!input.hasTemplate) {
            reasons.insert(reasons.begin(), kNoTemplateReason);
        }
        for (const std::string& reason : reasons) {
            poor.push_back(std::string(letter) + ": " + reason);
        }
    };
    add("a", "A", options.first, first);
    add("b", "B", options.second, second);
    root["poor"] = poor;
    PrintJson(root);
}

int RunVerify(const VerifyOptions& options) {
    StartEngine();
    const FingerOrTemplate first = LoadAnyFingerOrTemplate(options.first, options.imageOptions);
    const FingerOrTemplate second = LoadAnyFingerOrTemplate(options.second, options.imageOptions);
    if (options.asJson && !(first.hasTemplate && second.hasTemplate)) {
        PrintNoComparison(options, first, second);
    }
    RequireTemplate(options.first, first, options.imageOptions);
    RequireTemplate(options.second, second, options.imageOptions);
    const Verification verification = Verify(first.bytes, second.bytes, options.level);
    if (options.asJson) {
        PrintComparison(options, verification, Compare(first, second, options.imageOptions.dpi));
        return verification.isMatch ? kExitYes : kExitNo;
    }
    std::printf("%s\n", VerificationText(verification, options.level).c_str());
    if (!verification.isMatch) {
        const Comparison comparison = Compare(first, second, options.imageOptions.dpi);
        const Reasons reasons = ReasonsOf(comparison);
        if (!reasons.empty()) {
            std::printf("poor: %s\n", Joined(reasons).c_str());
        }
    }
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
    command->add_flag("--json", options->asJson, "Print JSON, with the figures of both fingers");
    AddImageOptions(*command, options->imageOptions);
    command->footer(
        "After a refusal a second line says what is poor about the fingers, if anything.\n"
        "Exit status: 0 match, 1 no match, 2 error.\n"
        "Example: qorfp verify --level 4 door.png owner.bin");
    command->callback([options, &exitStatus] { exitStatus = RunVerify(*options); });
}

}  // namespace qorfp::cli
