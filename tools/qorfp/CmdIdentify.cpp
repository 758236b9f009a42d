// SPDX-License-Identifier: Apache-2.0
//
// qorfp identify: whose finger is it, among many?
#include <algorithm>
#include <cstdio>
#include <memory>
#include <numeric>

#include "tools/qorfp/Commands.h"
#include "tools/qorfp/Engine.h"
#include "tools/qorfp/ExitStatus.h"
#include "tools/qorfp/FingerInput.h"
#include "tools/qorfp/Gallery.h"
#include "tools/qorfp/Notice.h"
#include "tools/qorfp/ProgressBar.h"
#include "tools/qorfp/Stored.h"
#include "tools/qorfp/StoredInput.h"

namespace qorfp::cli {
namespace {

constexpr int kMostRanks = 1000000;

struct IdentifyOptions {
    std::string probe;
    std::string gallery;
    int level = kDefaultLevel;
    int top = 0;  // 0: not asked for
    bool isStrict = false;
    ImageOptions imageOptions;
};

std::string ThresholdText(int level) {
    return "threshold " + std::to_string(ThresholdOfLevel(level)) + " (level " +
           std::to_string(level) + ")";
}

int PrintBest(const TemplateBytes& probe, const Gallery& gallery, int level) {
    const std::optional<size_t> found = Search(probe, gallery.templates, level);
    if (!found) {
        std::printf("no match among %s, %s\n", CountText(gallery.names.size(), "template").c_str(),
                    ThresholdText(level).c_str());
        return kExitNo;
    }
    // The score that the search gives is that of the entry it matched last.
    const Verification best = Verify(probe, gallery.templates[*found], level);
    std::printf("%s: score %d, %s: found among %s\n", gallery.names[*found].c_str(), best.score,
                ThresholdText(level).c_str(), CountText(gallery.names.size(), "template").c_str());
    return kExitYes;
}

std::vector<int> MatchAll(const TemplateBytes& probe, const Gallery& gallery) {
    std::vector<int> scores;
    ProgressBar bar("Matching", gallery.templates.size());
    for (const TemplateBytes& entry : gallery.templates) {
        scores.push_back(Verify(probe, entry, kDefaultLevel).score);
        bar.Advance();
    }
    return scores;
}

int PrintRanking(const TemplateBytes& probe, const Gallery& gallery, int level, int top) {
    const std::vector<int> scores = MatchAll(probe, gallery);
    std::vector<size_t> order(scores.size());
    std::iota(order.begin(), order.end(), size_t{0});
    std::stable_sort(order.begin(), order.end(),
                     [&scores](size_t a, size_t b) { return scores[a] > scores[b]; });
    order.resize(std::min(order.size(), static_cast<size_t>(top)));
    std::printf("rank  score  template\n");
    for (size_t rank = 0; rank < order.size(); ++rank) {
        std::printf("%4zu  %5d  %s\n", rank + 1, scores[order[rank]],
                    gallery.names[order[rank]].c_str());
    }
    const int threshold = ThresholdOfLevel(level);
    const auto accepted = std::count_if(scores.begin(), scores.end(),
                                        [threshold](int score) { return score >= threshold; });
    std::printf("%td of %s accepted, %s\n", accepted, CountText(scores.size(), "template").c_str(),
                ThresholdText(level).c_str());
    return accepted > 0 ? kExitYes : kExitNo;
}

int RunIdentify(const IdentifyOptions& options) {
    StartEngine();
    const TemplateBytes probe = LoadCurrentTemplate(options.probe, options.imageOptions);
    const Gallery gallery = LoadGallery(options.gallery, options.isStrict);
    return options.top > 0 ? PrintRanking(probe, gallery, options.level, options.top)
                           : PrintBest(probe, gallery, options.level);
}

}  // namespace

void AddIdentify(CLI::App& program, int& exitStatus) {
    auto options = std::make_shared<IdentifyOptions>();
    CLI::App* command =
        program.add_subcommand("identify", "Find the finger in a gallery of templates");
    command->add_option("PROBE", options->probe, "Image or template of the fresh finger")
        ->required();
    command
        ->add_option("GALLERY", options->gallery,
                     "File of templates back to back, or folder with a .bin file each")
        ->required();
    command
        ->add_option("--level", options->level,
                     "Security level: accept from score 150, 165, 180, 195, 210 on")
        ->check(CLI::Range(kMinLevel, kMaxLevel))
        ->capture_default_str();
    command
        ->add_option("--top", options->top,
                     "List the best K, matching the whole gallery in full (slower)")
        ->type_name("K")
        ->check(CLI::Range(1, kMostRanks));
    command->add_flag("--strict", options->isStrict,
                      "Refuse a gallery with an unusable template instead of skipping it");
    AddImageOptions(*command, options->imageOptions);
    command->footer(
        "Without --top, all are ranked by a fast index score and matched in full from the best "
        "ranked on, up to the first that scores 225 or more; --top finds the highest scores.\n"
        "Entries of a gallery file count from 0; a folder is taken in the order of file names.\n"
        "Exit status: 0 found, 1 no match, 2 error.\n"
        "Example: qorfp identify --top 5 door.png gallery/");
    command->callback([options, &exitStatus] { exitStatus = RunIdentify(*options); });
}

}  // namespace qorfp::cli
