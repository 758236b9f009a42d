// SPDX-License-Identifier: Apache-2.0
//
// qorfp enroll: several captures of one finger become one better template.
#include <algorithm>
#include <cstdio>
#include <memory>
#include <numeric>

#include "tools/qorfp/Commands.h"
#include "tools/qorfp/Engine.h"
#include "tools/qorfp/ExitStatus.h"
#include "tools/qorfp/FileIo.h"
#include "tools/qorfp/FingerInput.h"
#include "tools/qorfp/Notice.h"
#include "tools/qorfp/Stored.h"
#include "tools/qorfp/StoredInput.h"
#include "tools/qorfp/ToolError.h"

namespace qorfp::cli {
namespace {

constexpr size_t kMinCaptures = 2;

struct EnrollOptions {
    std::vector<std::string> inputs;
    std::string output;
    ImageOptions imageOptions;
};

/// Two lists of the same length.
struct Captures {
    std::vector<TemplateBytes> templates;
    std::vector<std::string> names;
};

TemplateBytes LoadCapture(const std::string& path, const ImageOptions& options) {
    const TemplateBytes bytes = LoadOrExtractTemplate(path, options);
    RequireMatchable(path, bytes);
    return bytes;
}

// All of them, so that every bad one is told at once.
Captures LoadCaptures(const EnrollOptions& options) {
    Captures captures;
    size_t faults = 0;
    for (const std::string& input : options.inputs) {
        try {
            captures.templates.push_back(LoadCapture(input, options.imageOptions));
            captures.names.push_back(input);
        } catch (const ToolError& fault) {
            PrintNotice(fault.what());
            ++faults;
        }
    }
    if (faults > 0) {
        throw ToolError("nothing enrolled: " + CountText(faults, "unusable capture"));
    }
    return captures;
}

// The stored quality, or where none is stored what the engine takes instead: 0 to 100 by the number
// of minutiae, to within a few points.
int QualityOf(const TemplateBytes& bytes) {
    constexpr int kMinutiaeOfBest = 45;
    const TemplateView view = ReadTemplate(bytes);
    return view.quality != 0 ? view.quality : std::min(100, 100 * view.count / kMinutiaeOfBest);
}

// Of more captures than fusion takes, the best in the order given; of equal quality, the earlier.
Captures ChooseCaptures(const Captures& all) {
    if (all.names.size() <= kMaxCaptures) {
        return all;
    }
    std::vector<size_t> order(all.names.size());
    std::iota(order.begin(), order.end(), size_t{0});
    std::stable_sort(order.begin(), order.end(), [&all](size_t a, size_t b) {
        return QualityOf(all.templates[a]) > QualityOf(all.templates[b]);
    });
    order.resize(kMaxCaptures);
    std::sort(order.begin(), order.end());
    Captures chosen;
    std::string text;
    for (const size_t i : order) {
        chosen.templates.push_back(all.templates[i]);
        chosen.names.push_back(all.names[i]);
        text += (text.empty() ? "" : ", ") + Printable(all.names[i]) + " (" +
                std::to_string(QualityOf(all.templates[i])) + ")";
    }
    std::printf("of %zu captures the three of the best quality: %s\n", all.names.size(),
                text.c_str());
    return chosen;
}

void PrintRefusal(const Captures& captures) {
    std::printf("the captures cannot be fused: one must match every other with %d or more\n",
                kFusionScore);
    for (size_t i = 0; i < captures.names.size(); ++i) {
        for (size_t j = i + 1; j < captures.names.size(); ++j) {
            const TemplateBytes& first = captures.templates[i];
            const TemplateBytes& second = captures.templates[j];
            std::printf("  %s and %s: scores %d and %d\n", Printable(captures.names[i]).c_str(),
                        Printable(captures.names[j]).c_str(),
                        Verify(first, second, kDefaultLevel).score,
                        Verify(second, first, kDefaultLevel).score);
        }
    }
}

int RunEnroll(const EnrollOptions& options) {
    if (options.inputs.size() < kMinCaptures) {
        throw ToolError("enroll needs two captures of one finger, better three");
    }
    StartEngine();
    const Captures captures = ChooseCaptures(LoadCaptures(options));
    const Enrolment enrolment = Enroll(captures.templates);
    if (!enrolment.isDone) {
        PrintRefusal(captures);
        return kExitNo;
    }
    WriteFile(options.output, Bytes(enrolment.bytes.begin(), enrolment.bytes.end()));
    std::printf("%s: %d minutiae, quality %d, from %zu captures\n", options.output.c_str(),
                ReadTemplate(enrolment.bytes).count, enrolment.quality, captures.names.size());
    return kExitYes;
}

}  // namespace

void AddEnroll(CLI::App& program, int& exitStatus) {
    auto options = std::make_shared<EnrollOptions>();
    CLI::App* command =
        program.add_subcommand("enroll", "Fuse captures of one finger into one template");
    command
        ->add_option("IMAGE_OR_TEMPLATE", options->inputs,
                     "Two or three captures; of more, the three of the best quality are taken")
        ->required();
    command->add_option("-o,--output", options->output, "Template file to write (512 bytes)")
        ->required();
    AddImageOptions(*command, options->imageOptions);
    command->footer(
        "Three good captures with different parts of the finger in the middle are best.\n"
        "Exit status: 0 template written, 1 the captures cannot be fused, 2 error.\n"
        "Example: qorfp enroll alice1.png alice2.png alice3.png -o alice.bin");
    command->callback([options, &exitStatus] { exitStatus = RunEnroll(*options); });
}

}  // namespace qorfp::cli
