// SPDX-License-Identifier: Apache-2.0
//
// Reading, extraction and notices. An image that cannot be read says nothing about the library, so it
// is left out; one in order that gives no template is a failure to extract.
#include "tools/qorfp/eval/FingerSet.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <filesystem>
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
    std::string fault;  // not empty: no usable image
    bool isFromCache = false;
};

Loaded LoadOne(WorkEngine& engine, const std::string& path, const ImageOptions& options,
               TemplateCache& cache) {
    Loaded loaded;
    try {
        const uint64_t key = TemplateCache::KeyOf(ReadFile(path), options);
        if (const std::optional<Extraction> known = cache.Find(key)) {
            return {*known, "", true};
        }
        loaded.extraction = engine.Extract(LoadFinger(path, options));
        cache.Store(key, loaded.extraction);
    } catch (const ToolError& fault) {
        loaded.fault = fault.what();
    }
    return loaded;
}

void TellFindings(const std::vector<Loaded>& all, size_t otherFiles, const std::string& folder) {
    size_t faults = 0;
    size_t known = 0;
    for (const Loaded& loaded : all) {
        known += loaded.isFromCache ? 1 : 0;
        if (loaded.fault.empty()) {
            continue;
        }
        if (++faults <= kMostFaultsTold) {
            PrintNotice("warning: " + loaded.fault + "; skipped");
        }
    }
    if (faults > kMostFaultsTold) {
        PrintNotice("warning: " + CountText(faults - kMostFaultsTold, "more file") + " skipped");
    }
    if (otherFiles > 0) {
        PrintNotice("note: " + folder + ": " + CountText(otherFiles, "other file") + " ignored");
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
        .add_option("DIR", options.folder,
                    "Folder of captures (PGM, PNG or BMP), named <finger>_<impression>")
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
    TellFindings(all, found.otherFiles, options.folder);
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
