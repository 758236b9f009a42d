// SPDX-License-Identifier: Apache-2.0
//
// qorfp check: are stored templates usable, and upgrade those of the older version.
#include <algorithm>
#include <cstdio>
#include <memory>

#include "tools/qorfp/Commands.h"
#include "tools/qorfp/ExitStatus.h"
#include "tools/qorfp/FileIo.h"
#include "tools/qorfp/Gallery.h"
#include "tools/qorfp/Notice.h"
#include "tools/qorfp/Stored.h"
#include "tools/qorfp/ToolError.h"

namespace qorfp::cli {
namespace {

struct CheckOptions {
    std::vector<std::string> files;
    bool isWriting = false;
};

/// What was found in one file.
struct Findings {
    std::string text;  // a line for each template
    bool isAllUsable = true;
    bool isUpgraded = false;  // `content` holds upgraded templates
    Bytes content;
};

Findings RefuseFile(const std::string& name, const std::string& reason) {
    Findings findings;
    findings.text = name + ": invalid: " + reason + "\n";
    findings.isAllUsable = false;
    return findings;
}

void AddFinding(Findings& findings, const std::string& name, const TemplateBytes& original,
                bool isWriting) {
    const Judgement judgement = JudgeTemplate(original);
    const bool isOld = judgement.state == StoredState::kOld;
    const TemplateBytes& content = isOld ? judgement.bytes : original;
    findings.content.insert(findings.content.end(), content.begin(), content.end());
    switch (judgement.state) {
        case StoredState::kUsable:
            findings.text += name + ": ok\n";
            break;
        case StoredState::kOld:
            findings.text += name + (isWriting ? ": old, upgraded\n" : ": old, can be upgraded\n");
            findings.isUpgraded = true;
            findings.isAllUsable = findings.isAllUsable && isWriting;
            break;
        case StoredState::kInvalid:
            findings.text += name + ": invalid: " + judgement.reason + "\n";
            findings.isAllUsable = false;
            break;
    }
}

Findings JudgeFile(const std::string& path, bool isWriting) {
    const std::string name = Printable(path);
    const Bytes bytes = ReadFile(path);
    if (bytes.size() % kTemplateBytes != 0) {
        return RefuseFile(name, CountText(bytes.size(), "byte") + ", not a multiple of 512");
    }
    const std::vector<TemplateBytes> templates = SplitTemplates(path, bytes);
    const bool isOne = templates.size() == 1;
    if (!isOne && std::none_of(templates.begin(), templates.end(), HasTemplateVersion)) {
        return RefuseFile(name, "it does not hold templates");
    }
    Findings findings;
    for (size_t i = 0; i < templates.size(); ++i) {
        AddFinding(findings, isOne ? name : name + ": entry " + std::to_string(i), templates[i],
                   isWriting);
    }
    return findings;
}

bool CheckFile(const std::string& path, bool isWriting) {
    const Findings findings = JudgeFile(path, isWriting);
    if (isWriting && findings.isUpgraded) {
        WriteFile(path, findings.content);
    }
    std::fputs(findings.text.c_str(), stdout);
    return findings.isAllUsable;
}

int RunCheck(const CheckOptions& options) {
    int exitStatus = kExitYes;
    for (const std::string& file : options.files) {
        try {
            if (!CheckFile(file, options.isWriting) && exitStatus == kExitYes) {
                exitStatus = kExitNo;
            }
        } catch (const ToolError& fault) {
            PrintNotice(fault.what());
            exitStatus = kExitError;
        }
    }
    return exitStatus;
}

}  // namespace

void AddCheck(CLI::App& program, int& exitStatus) {
    auto options = std::make_shared<CheckOptions>();
    CLI::App* command = program.add_subcommand("check", "Test stored templates, upgrade old ones");
    command
        ->add_option("TEMPLATE", options->files, "Template files, also with several back to back")
        ->required();
    command->add_flag("--write", options->isWriting,
                      "Upgrade old templates; each file is rewritten in one step");
    command->footer(
        "Says of each template: ok; old, can be upgraded; or invalid and why.\n"
        "Exit status: 0 all are usable, 1 some are invalid or still old, 2 error.\n"
        "Example: qorfp check --write gallery/*.bin");
    command->callback([options, &exitStatus] { exitStatus = RunCheck(*options); });
}

}  // namespace qorfp::cli
