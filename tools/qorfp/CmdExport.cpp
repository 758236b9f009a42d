// SPDX-License-Identifier: Apache-2.0
//
// qorfp export: a template's minutiae for other systems.
#include <cstdio>
#include <cstring>
#include <memory>
#include <nlohmann/json.hpp>

#include "tools/qorfp/Commands.h"
#include "tools/qorfp/ExitStatus.h"
#include "tools/qorfp/FileIo.h"
#include "tools/qorfp/FingerInput.h"
#include "tools/qorfp/Notice.h"
#include "tools/qorfp/RecordTemplate.h"
#include "tools/qorfp/StoredInput.h"
#include "tools/qorfp/ToolError.h"

namespace qorfp::cli {
namespace {

constexpr int kDirections = 240;
constexpr double kDegreesPerDirection = 1.5;
constexpr int kDpi = 508;
constexpr int kPerCentimetre = 200;

struct ExportOptions {
    std::string file;
    std::string output;
    std::string format;
    int finger = 0;
    std::string product;  // OWNER:TYPE
    bool isPlain = false;
};

TemplateView LoadForExport(const std::string& path) {
    const TemplateBytes bytes = LoadTemplate(path);
    RequireMatchable(path, bytes);
    TemplateView view = ReadTemplate(bytes);
    for (size_t i = 0; i < view.minutiae.size(); ++i) {
        if (view.minutiae[i].direction >= kDirections) {
            throw ToolError(path, "damaged template: minutia " + std::to_string(i) +
                                      " has the direction " +
                                      std::to_string(view.minutiae[i].direction) + ", 239 at most");
        }
    }
    if (view.quality > kMaxRecordQuality) {
        throw ToolError(
            path, "damaged template: quality " + std::to_string(view.quality) + ", 100 at most");
    }
    return view;
}

Bytes JsonOf(const TemplateView& view, int finger) {
    using Json = nlohmann::ordered_json;
    Json root;
    root["dpi"] = kDpi;
    root["pixelsPerCentimetre"] = kPerCentimetre;
    root["finger"] = finger;
    root["quality"] = view.quality;
    root["minutiae"] = Json::array();
    for (const MinutiaView& minutia : view.minutiae) {
        const int turn = (kDirections - minutia.direction) % kDirections;
        root["minutiae"].push_back({{"type", minutia.type == kEnding ? "ending" : "bifurcation"},
                                    {"x", minutia.x},
                                    {"y", minutia.y},
                                    {"degrees", turn * kDegreesPerDirection},
                                    {"confidence", minutia.confidence},
                                    {"period", minutia.ridgePeriod},
                                    {"disorder", minutia.disorder}});
    }
    const std::string text = root.dump(2) + "\n";
    return Bytes(text.begin(), text.end());
}

/// Two numbers of 16 bits with a colon between them, as the record holds them.
uint32_t ProductOfText(const std::string& text) {
    constexpr unsigned kTypeBits = 16;
    unsigned owner = 0;
    unsigned type = 0;
    int length = 0;
    const bool isRead = text.size() <= std::strlen("65535:65535") &&
                        std::sscanf(text.c_str(), "%5u:%5u%n", &owner, &type, &length) == 2;
    if (!isRead || static_cast<size_t>(length) != text.size() || owner > 0xFFFF || type > 0xFFFF) {
        throw ToolError("--product: \"" + text + "\" is not OWNER:TYPE, 0 to 65535 each");
    }
    return owner << kTypeBits | type;
}

int RunExport(const ExportOptions& options) {
    RefuseToReplace(options.file, options.output);
    if (!options.product.empty() && options.format != "ansi378") {
        throw ToolError("--product: only records of the format ansi378 tell a product");
    }
    const uint32_t product = options.product.empty() ? 0 : ProductOfText(options.product);
    const TemplateView view = LoadForExport(options.file);
    Losses losses;
    Bytes bytes;
    std::string name = "JSON";
    if (options.format == "json") {
        bytes = JsonOf(view, options.finger);
    } else {
        const RecordFormat format =
            options.format == "ansi378" ? RecordFormat::kAnsi378 : RecordFormat::kIso19794;
        MinutiaeRecord record =
            RecordOfTemplate(view, format, options.finger, options.isPlain, losses);
        record.product = product;
        bytes = WriteRecord(record);
        name = FormatName(format);
    }
    WriteFile(options.output, bytes);
    std::printf("%s: %s, %d minutiae, %zu bytes\n", options.output.c_str(), name.c_str(),
                view.count, bytes.size());
    for (const std::string& loss : losses) {
        PrintNotice(options.output + ": " + loss);
    }
    return kExitYes;
}

}  // namespace

void AddExport(CLI::App& program, int& exitStatus) {
    auto options = std::make_shared<ExportOptions>();
    CLI::App* command =
        program.add_subcommand("export", "Write a template's minutiae for other systems");
    command->add_option("TEMPLATE", options->file, "Template file")->required();
    command->add_option("-o,--output", options->output, "File to write")->required();
    command->add_option("--format", options->format, "iso19794-2 (2005), ansi378 (2004) or json")
        ->required()
        ->check(CLI::IsMember({"iso19794-2", "ansi378", "json"}));
    command
        ->add_option("--finger", options->finger,
                     "Finger position to write: 1 right thumb to 10 left little finger, 0 unknown")
        ->check(CLI::Range(0, kMaxRecordFinger))
        ->capture_default_str();
    command
        ->add_option("--product", options->product,
                     "OWNER:TYPE that an ansi378 record names as its maker's product")
        ->option_text("OWNER:TYPE");
    command->add_flag(
        "--plain", options->isPlain,
        "Record without extended data: no template can be got back that scores alike");
    command->footer(
        "A record holds position, angle, type and confidence (as quality) of the minutiae, and in\n"
        "extended data, which other readers skip, the rest of the template. JSON: degrees count\n"
        "counter-clockwise from the x axis.\n"
        "Exit status: 0 written, 2 error.\n"
        "Example: qorfp export finger.bin --format iso19794-2 -o finger.fmr");
    command->callback([options, &exitStatus] { exitStatus = RunExport(*options); });
}

}  // namespace qorfp::cli
