// SPDX-License-Identifier: Apache-2.0
//
// qorfp import: a template from the finger minutiae record of this or another system.
#include <cstdio>
#include <memory>

#include "tools/qorfp/Commands.h"
#include "tools/qorfp/ExitStatus.h"
#include "tools/qorfp/FileIo.h"
#include "tools/qorfp/Notice.h"
#include "tools/qorfp/RecordTemplate.h"
#include "tools/qorfp/Stored.h"
#include "tools/qorfp/ToolError.h"

namespace qorfp::cli {
namespace {

constexpr int kMaxViews = 255;

struct ImportOptions {
    std::string record;
    std::string output;
    int view = 1;
};

int RunImport(const ImportOptions& options) {
    RefuseToReplace(options.record, options.output);
    const MinutiaeRecord record = ReadRecord(options.record, ReadFile(options.record));
    const size_t views = record.views.size();
    if (static_cast<size_t>(options.view) > views) {
        throw ToolError(options.record, "holds " + CountText(views, "view") + ", not " +
                                            std::to_string(options.view));
    }
    const RecordView& view = record.views[static_cast<size_t>(options.view) - 1];
    if (view.minutiae.size() < kMinMinutiae) {
        std::printf("%s: no template could be made: %zu minutiae, 6 at least\n",
                    options.record.c_str(), view.minutiae.size());
        return kExitNo;
    }
    Losses losses;
    if (views > 1) {
        losses.push_back("view " + std::to_string(options.view) + " of " + std::to_string(views));
    }
    const TemplateView converted = TemplateOfRecord(options.record, record, view, losses);
    const Judgement judgement = JudgeTemplate(WriteOldTemplate(converted));
    if (judgement.state == StoredState::kInvalid) {
        // The minutiae are in order, so it is the index: enough to compare, not to be searched for.
        losses.push_back("the template is not fit for searches: " + judgement.reason);
    }
    WriteFile(options.output, Bytes(judgement.bytes.begin(), judgement.bytes.end()));
    std::printf("%s: %d minutiae, quality %d, from %s\n", options.output.c_str(), converted.count,
                converted.quality, FormatName(record.format));
    for (const std::string& loss : losses) {
        PrintNotice(options.record + ": " + loss);
    }
    return kExitYes;
}

}  // namespace

void AddImport(CLI::App& program, int& exitStatus) {
    auto options = std::make_shared<ImportOptions>();
    CLI::App* command =
        program.add_subcommand("import", "Make a template from a finger minutiae record");
    command
        ->add_option("RECORD", options->record, "ISO/IEC 19794-2:2005 or ANSI INCITS 378-2004 file")
        ->required();
    command->add_option("-o,--output", options->output, "Template file to write (512 bytes)")
        ->required();
    command->add_option("--view", options->view, "Which view of a record of several")
        ->check(CLI::Range(1, kMaxViews))
        ->capture_default_str();
    command->footer(
        "A record that export wrote gives its template back, byte for byte. One of another "
        "system,\n"
        "or written with --plain, gives a template with usual values for what it does not tell.\n"
        "Exit status: 0 template written, 1 no template could be made, 2 error.\n"
        "Example: qorfp import finger.fmr -o finger.bin");
    command->callback([options, &exitStatus] { exitStatus = RunImport(*options); });
}

}  // namespace qorfp::cli
