// SPDX-License-Identifier: Apache-2.0
//
// Reading a gallery. Faults are gathered and told at the end, clear of the progress bar.
#include "tools/qorfp/Gallery.h"

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <utility>

#include "tools/qorfp/Notice.h"
#include "tools/qorfp/ProgressBar.h"
#include "tools/qorfp/Stored.h"
#include "tools/qorfp/ToolError.h"

namespace qorfp::cli {
namespace {

namespace fs = std::filesystem;

const char* const kLoadingLabel = "Reading the gallery";

struct Loading {
    Gallery gallery;
    std::vector<std::string> faults;
    size_t upgraded = 0;
    size_t otherFiles = 0;
};

void AddEntry(Loading& loading, const std::string& name, const std::string& place,
              const TemplateBytes& bytes) {
    const Judgement judgement = JudgeTemplate(bytes);
    if (judgement.state == StoredState::kInvalid) {
        loading.faults.push_back(place + ": not a usable template: " + judgement.reason);
        return;
    }
    if (judgement.state == StoredState::kOld) {
        ++loading.upgraded;
    }
    loading.gallery.templates.push_back(judgement.bytes);
    loading.gallery.names.push_back(name);
}

void LoadGalleryFile(Loading& loading, const std::string& path) {
    const std::vector<TemplateBytes> templates = SplitTemplates(path, ReadFile(path));
    ProgressBar bar(kLoadingLabel, templates.size());
    for (size_t i = 0; i < templates.size(); ++i) {
        const std::string name = "entry " + std::to_string(i);
        AddEntry(loading, name, path + ": " + name, templates[i]);
        bar.Advance();
    }
}

// Whether a directory entry is meant as a template. One whose target is gone still is.
bool IsTemplateFile(const fs::directory_entry& entry) {
    if (entry.path().extension() != ".bin") {
        return false;
    }
    std::error_code error;
    const fs::file_type type = entry.status(error).type();
    return type == fs::file_type::regular || type == fs::file_type::not_found ||
           type == fs::file_type::none;
}

/// File names with .bin, sorted by byte value, so that positions do not depend on the file system.
std::vector<std::string> ListTemplateFiles(Loading& loading, const std::string& path) {
    std::vector<std::string> names;
    std::error_code error;
    fs::directory_iterator entry(path, error);
    for (; !error && entry != fs::directory_iterator(); entry.increment(error)) {
        if (IsTemplateFile(*entry)) {
            names.push_back(entry->path().filename().string());
        } else {
            ++loading.otherFiles;
        }
    }
    if (error) {
        throw ToolError(path, error.message());
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::string SizeFault(uintmax_t bytes) {
    return "not a usable template: " + std::to_string(bytes) + " bytes instead of 512";
}

/// The template in a file of its own.
TemplateBytes ReadTemplateFile(const std::string& path) {
    std::error_code error;
    const uintmax_t size = fs::file_size(path, error);
    if (!error && size > kTemplateBytes) {
        throw ToolError(path, SizeFault(size));  // however large: it is not read
    }
    const Bytes bytes = ReadFile(path);
    if (bytes.size() != kTemplateBytes) {
        throw ToolError(path, SizeFault(bytes.size()));
    }
    return SplitTemplates(path, bytes).front();
}

void LoadGalleryFolder(Loading& loading, const std::string& path) {
    const std::vector<std::string> names = ListTemplateFiles(loading, path);
    ProgressBar bar(kLoadingLabel, names.size());
    for (const std::string& name : names) {
        const std::string file = (fs::path(path) / name).string();
        try {
            AddEntry(loading, Printable(name), file, ReadTemplateFile(file));
        } catch (const ToolError& fault) {
            loading.faults.push_back(fault.what());
        }
        bar.Advance();
    }
}

void TellFindings(const Loading& loading, const std::string& path, bool isStrict) {
    for (const std::string& fault : loading.faults) {
        PrintNotice(isStrict ? fault : "warning: " + fault + "; skipped");
    }
    if (loading.otherFiles > 0) {
        PrintNotice("note: " + path + ": " + CountText(loading.otherFiles, "other file") +
                    " ignored");
    }
    if (loading.upgraded > 0) {
        PrintNotice("note: " + path + ": " + CountText(loading.upgraded, "old template") +
                    " upgraded for this search only; \"qorfp check --write\" does it for good");
    }
    if (isStrict && !loading.faults.empty()) {
        throw ToolError(path, CountText(loading.faults.size(), "unusable template") +
                                  " (refused because of --strict)");
    }
    if (loading.gallery.templates.empty()) {
        throw ToolError(path, "holds no usable template");
    }
}

}  // namespace

std::vector<TemplateBytes> SplitTemplates(const std::string& path, const Bytes& bytes) {
    if (bytes.empty() || bytes.size() % kTemplateBytes != 0) {
        throw ToolError(path, "is not a file of templates: its size of " +
                                  CountText(bytes.size(), "byte") + " is not a multiple of 512");
    }
    std::vector<TemplateBytes> templates(bytes.size() / kTemplateBytes);
    auto from = bytes.begin();
    for (TemplateBytes& entry : templates) {
        std::copy_n(from, kTemplateBytes, entry.begin());
        from += kTemplateBytes;
    }
    return templates;
}

Gallery LoadGallery(const std::string& path, bool isStrict) {
    Loading loading;
    std::error_code error;
    if (fs::is_directory(path, error)) {
        LoadGalleryFolder(loading, path);
    } else {
        LoadGalleryFile(loading, path);
    }
    TellFindings(loading, path, isStrict);
    return std::move(loading.gallery);
}

}  // namespace qorfp::cli
