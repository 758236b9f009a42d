// SPDX-License-Identifier: Apache-2.0
//
// qorfp info: what stands in a template, as text for people or as JSON for programs.
#include <array>
#include <cstdio>
#include <memory>

#include "tools/qorfp/Commands.h"
#include "tools/qorfp/ExitStatus.h"
#include "tools/qorfp/FiguresJson.h"
#include "tools/qorfp/FingerInput.h"
#include "tools/qorfp/TemplateView.h"

namespace qorfp::cli {
namespace {

constexpr double kDegreesPerStep = 1.5;

struct InfoOptions {
    std::string file;
    bool asJson = false;
};

std::string TypeName(uint8_t type) {
    if (type == kEnding) {
        return "ending";
    }
    return type == kBifurcation ? "bifurcation" : "unknown " + std::to_string(type);
}

const char* ChecksumState(const TemplateView& view) {
    if (!view.hasIndex) {
        return "none";
    }
    return view.storedChecksum == view.computedChecksum ? "correct" : "wrong";
}

void PrintHead(const std::string& file, const TemplateView& view) {
    std::printf("%s\n", file.c_str());
    std::printf("  version     %s\n", view.version.c_str());
    std::printf("  minutiae    %d (%d endings, %d bifurcations)\n", view.count,
                view.CountOfType(kEnding), view.CountOfType(kBifurcation));
    std::printf("  quality     %d%s\n", view.quality, view.quality == 0 ? " (not stored)" : "");
    if (view.hasIndex) {
        std::printf("  index keys  %d%s\n", view.keyCount,
                    view.keyCount > kMaxKeys ? " (damaged: 19 at most)" : "");
        std::printf("  checksum    0x%04x, %s", view.storedChecksum, ChecksumState(view));
        if (view.storedChecksum != view.computedChecksum) {
            std::printf(" (the bytes give 0x%04x)", view.computedChecksum);
        }
        std::printf("\n");
    } else {
        std::printf("  index keys  none in this version\n");
        std::printf("  checksum    none in this version\n");
    }
    std::printf("  matching    %s\n",
                view.problem.empty() ? "usable" : ("not usable: " + view.problem).c_str());
}

void PrintMinutiae(const TemplateView& view) {
    if (view.minutiae.empty()) {
        return;
    }
    std::printf("\n   #     x     y  type         degrees  confidence  period  disorder\n");
    for (size_t i = 0; i < view.minutiae.size(); ++i) {
        const MinutiaView& minutia = view.minutiae[i];
        std::printf("%4zu %5d %5d  %-11s  %7.1f  %10d  %6d  %8d\n", i, minutia.x, minutia.y,
                    TypeName(minutia.type).c_str(), minutia.direction * kDegreesPerStep,
                    minutia.confidence, minutia.ridgePeriod, minutia.disorder);
    }
}

void PrintKeys(const TemplateView& view) {
    if (view.keys.empty()) {
        return;
    }
    std::printf("\n key  minutia  degrees  neighbours: direction   bearing    distance\n");
    for (size_t i = 0; i < view.keys.size(); ++i) {
        const KeyView& key = view.keys[i];
        std::printf("%4zu  %7d  %7.1f               %2d %2d %2d  %2d %2d %2d    %2d %2d %2d\n", i,
                    key.minutia, key.direction * kDegreesPerStep, key.neighbourDirection[0],
                    key.neighbourDirection[1], key.neighbourDirection[2], key.bearing[0],
                    key.bearing[1], key.bearing[2], key.distance[0], key.distance[1],
                    key.distance[2]);
    }
}

Json MinutiaeJson(const TemplateView& view) {
    Json list = Json::array();
    for (const MinutiaView& minutia : view.minutiae) {
        list.push_back({{"x", minutia.x},
                        {"y", minutia.y},
                        {"type", TypeName(minutia.type)},
                        {"direction240", minutia.direction},
                        {"degrees", minutia.direction * kDegreesPerStep},
                        {"confidence", minutia.confidence},
                        {"period", minutia.ridgePeriod},
                        {"disorder", minutia.disorder}});
    }
    return list;
}

Json KeysJson(const TemplateView& view) {
    Json list = Json::array();
    for (const KeyView& key : view.keys) {
        list.push_back({{"minutia", key.minutia},
                        {"direction240", key.direction},
                        {"neighbourDirection", key.neighbourDirection},
                        {"bearing", key.bearing},
                        {"distance", key.distance}});
    }
    return list;
}

void PrintTemplateJson(const std::string& file, const TemplateView& view) {
    Json root;
    root["file"] = file;
    root["version"] = view.version;
    root["count"] = view.count;
    root["endings"] = view.CountOfType(kEnding);
    root["bifurcations"] = view.CountOfType(kBifurcation);
    root["quality"] = view.quality;
    root["usable"] = view.problem.empty();
    root["problem"] = view.problem;
    root["minutiae"] = MinutiaeJson(view);
    root["keyCount"] = view.keyCount;
    root["keys"] = KeysJson(view);
    root["checksum"] = {{"state", ChecksumState(view)},
                        {"stored", view.storedChecksum},
                        {"computed", view.computedChecksum}};
    PrintJson(root);
}

int RunInfo(const InfoOptions& options) {
    const TemplateView view = ReadTemplate(LoadTemplate(options.file));
    if (options.asJson) {
        PrintTemplateJson(options.file, view);
    } else {
        PrintHead(options.file, view);
        PrintMinutiae(view);
        PrintKeys(view);
    }
    return kExitYes;
}

}  // namespace

void AddInfo(CLI::App& program, int& exitStatus) {
    auto options = std::make_shared<InfoOptions>();
    CLI::App* command = program.add_subcommand("info", "Show what stands in a template");
    command->add_option("TEMPLATE", options->file, "Template file")->required();
    command->add_flag("--json", options->asJson, "Print JSON");
    command->footer(
        "Degrees count from the x axis towards the y axis, which points down. Period: 8 a pixel "
        "of\n"
        "ridge period above 4. Disorder: 0 parallel ridges around, 63 turning. A wrong checksum\n"
        "does not keep a template from matching.\n"
        "Example: qorfp info --json finger.bin");
    command->callback([options, &exitStatus] { exitStatus = RunInfo(*options); });
}

}  // namespace qorfp::cli
