// SPDX-License-Identifier: Apache-2.0
//
// Reading, extraction and notices. An image that cannot be read says nothing about the library, so it
// is left out; one in order that gives no template is a failure to extract.
#include "tools/qorfp/eval/FingerSet.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <filesystem>
#include <map>
#include <utility>

#include "tools/qorfp/FileIo.h"
#include "tools/qorfp/Notice.h"
#include "tools/qorfp/ToolError.h"
#include "tools/qorfp/eval/Parallel.h"
#include "tools/qorfp/eval/TemplateCache.h"

namespace qorfp::cli {
namespace {

constexpr size_t kMostFaultsTold = 10;

struct Loaded {
    Extraction extraction;
    uint64_t key = 0;   // the same for the same image
    std::string fault;  // not empty: no usable image
    bool isFromCache = false;
};

Loaded LoadOne(WorkEngine& engine, const std::string& path, const ImageOptions& options,
               TemplateCache& cache) {
    Loaded loaded;
    try {
        loaded.key = TemplateCache::KeyOf(ReadFile(path), options);
        if (const std::optional<Extraction> known = cache.Find(loaded.key)) {
            loaded.extraction = *known;
            loaded.isFromCache = true;
            return loaded;
        }
        loaded.extraction = engine.Extract(LoadFinger(path, options));
        cache.Store(loaded.key, loaded.extraction);
    } catch (const ToolError& fault) {
        loaded.fault = fault.what();
    }
    return loaded;
}

/// Warnings, of which the first ones are told and the others counted.
void TellWarnings(const std::vector<std::string>& warnings, const std::string& outcome) {
    for (size_t i = 0; i < warnings.size() && i < kMostFaultsTold; ++i) {
        PrintNotice("warning: " + warnings[i] + "; " + outcome);
    }
    if (warnings.size() > kMostFaultsTold) {
        PrintNotice("warning: " + CountText(warnings.size() - kMostFaultsTold, "more file") + " " +
                    outcome);
    }
}

void TellFindings(const std::vector<Loaded>& all, const CaptureFolder& found,
                  const std::string& folder) {
    std::vector<std::string> faults;
    std::vector<std::string> copies;  // a capture that was copied makes every rate look better
    std::map<uint64_t, size_t> firsts;
    size_t known = 0;
    for (size_t i = 0; i < all.size(); ++i) {
        known += all[i].isFromCache ? size_t{1} : size_t{0};
        if (!all[i].fault.empty()) {
            faults.push_back(all[i].fault);
            continue;
        }
        const auto [first, isNew] = firsts.emplace(all[i].key, i);
        if (!isNew) {
            copies.push_back(found.captures[i].path + " is the same file as " +
                             found.captures[first->second].name);
        }
    }
    TellWarnings(faults, "skipped");
    TellWarnings(copies, "compared nevertheless");
    if (found.otherFiles > 0) {
        PrintNotice("note: " + folder + ": " + CountText(found.otherFiles, "other file") +
                    " ignored");
    }
    if (known > 0) {
        PrintNotice("note: " + CountText(known, "extraction") + " known from an earlier run");
    }
}

}  // namespace

size_t FingerSet::Failures() const {
    return static_cast<size_t>(std::count_if(extractions.begin(), extractions.end(),
                                             [](const Extraction& e) { return !e.isDone; }));
}

void AddFingerSetOptions(CLI::App& command, FingerSetOptions& options) {
    command
        .add_option(
            "DIR", options.folder,
            "Folder of captures (PGM, PNG, BMP, TIFF or JPEG 2000), named <finger>_<impression>")
        ->required();
    command
        .add_option("-o,--output", options.report,
                    "Folder for the report; made if new. Keeps the templates made, so that a run "
                    "that was broken off goes on")
        ->required();
    command
        .add_option("--pattern", options.pattern,
                    "How files are named, without the ending; * stands for anything")
        ->capture_default_str();
    command
        .add_option("-j,--threads", options.threads, "Threads; the figures do not depend on them")
        ->check(CLI::Range(1, kMaxThreads))
        ->capture_default_str();
    AddImageOptions(command, options.imageOptions);
}

FingerSet LoadFingerSet(const FingerSetOptions& options) {
    const CaptureFolder found = ListCaptures(options.folder, NamePattern(options.pattern));
    MakeDirectory(options.report);
    TemplateCache cache((std::filesystem::path(options.report) / "templates.cache").string());
    StartEngine();
    std::vector<Loaded> all(found.captures.size());
    RunSteps("Extracting", all.size(), options.threads, [&](WorkEngine& engine, size_t i) {
        all[i] = LoadOne(engine, found.captures[i].path, options.imageOptions, cache);
    });
    TellFindings(all, found, options.folder);
    FingerSet set;
    for (size_t i = 0; i < all.size(); ++i) {
        if (all[i].fault.empty()) {
            set.captures.push_back(found.captures[i]);
            set.extractions.push_back(all[i].extraction);
        }
    }
    set.skipped = all.size() - set.captures.size();
    set.fingers = NumberFingers(set.captures);
    if (set.captures.empty()) {
        throw ToolError(options.folder, "holds no usable image");
    }
    return set;
}

}  // namespace qorfp::cli
