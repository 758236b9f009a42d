// SPDX-License-Identifier: Apache-2.0
//
// Figures first, then the plots, then the pairs to look at.
#include "tools/qorfp/eval/EvaluationReport.h"

#include <algorithm>

#include "tools/qorfp/Notice.h"
#include "tools/qorfp/eval/EvaluationPlots.h"
#include "tools/qorfp/eval/HtmlPage.h"
#include "tools/qorfp/eval/PairPictures.h"

namespace qorfp::cli {
namespace {

constexpr int kLowScores = 300;  // upper end of the plot where the levels lie

std::string RateCell(const Share& share) {
    return share.all == 0 ? std::string("n/a") : PercentText(share.Rate());
}

std::string IntervalCell(const Share& share) {
    return share.all == 0 ? std::string() : IntervalText(WilsonInterval(share));
}

std::string ComparedText(const std::vector<int>& scores, const char* kind) {
    const size_t compared = WithoutMissing(scores).size();
    return std::to_string(compared) + " " + kind + " pairs" +
           (compared == scores.size() ? std::string()
                                      : " (of " + std::to_string(scores.size()) +
                                            "; a template of the others is missing)");
}

void AddCounts(HtmlPage& page, const Evaluation& evaluation) {
    const FingerSet& set = evaluation.set;
    page.AddParagraph(
        "Folder " + evaluation.options.folder + ": " + CountText(set.FingerCount(), "finger") +
        ", " + CountText(set.captures.size(), "capture") +
        (set.skipped > 0 ? ", " + CountText(set.skipped, "unreadable file") + " left out" : "") +
        ". Compared: " + ComparedText(evaluation.genuine, "genuine") + " and " +
        ComparedText(evaluation.impostor, "impostor") + ". Impostors: " +
        (evaluation.protocol == Protocol::kAll ? "all captures" : "the first captures") +
        " of every two fingers. Library " + EngineVersion() + ".");
}

void AddSummary(HtmlPage& page, const Evaluation& evaluation, const ErrorRates& rates) {
    const FingerSet& set = evaluation.set;
    const Share failures = {static_cast<int64_t>(set.Failures()),
                            static_cast<int64_t>(set.captures.size())};
    std::vector<std::vector<std::string>> rows = {{"", "Rate", "95 % interval", "Threshold"}};
    rows.push_back({"Failure to extract", RateCell(failures), IntervalCell(failures), ""});
    if (const std::optional<EqualErrorRate> equal = rates.Equal()) {
        rows.push_back({"EER", PercentText(equal->rate), IntervalText(equal->interval),
                        std::to_string(equal->threshold)});
    }
    const auto addPoint = [&](const char* name, int64_t impostors) {
        const OperatingPoint point = rates.AtFalseMatchRate(impostors);
        if (point.falseMatches.all > 0 && point.falseNonMatches.all > 0) {
            rows.push_back({name, RateCell(point.falseNonMatches),
                            IntervalCell(point.falseNonMatches), std::to_string(point.threshold)});
        }
    };
    addPoint("FMR100: FNMR at FMR ≤ 1 %", 100);
    addPoint("FMR1000: FNMR at FMR ≤ 0.1 %", 1000);
    addPoint("ZeroFMR: FNMR without a false match", 0);
    page.AddTable(rows);
}

void AddLevelTable(HtmlPage& page, const Evaluation& evaluation, const ErrorRates& rates) {
    std::vector<std::vector<std::string>> rows = {{"Level", "Threshold", "FMR", "95 % interval",
                                                   "FNMR", "95 % interval", "FNMR with failures"}};
    for (int level = kMinLevel; level <= kMaxLevel; ++level) {
        const OperatingPoint point = rates.At(ThresholdOfLevel(level));
        rows.push_back({std::to_string(level), std::to_string(point.threshold),
                        RateCell(point.falseMatches), IntervalCell(point.falseMatches),
                        RateCell(point.falseNonMatches), IntervalCell(point.falseNonMatches),
                        RateCell(evaluation.FalseNonMatchesWithFailures(point.threshold))});
    }
    page.AddTable(rows);
    page.AddParagraph(
        "FMR: share of impostor pairs accepted. FNMR: share of genuine pairs refused; with "
        "failures: also those of which a template is missing. The intervals are Wilson's and take "
        "the pairs as independent; pairs that share a finger are not, so the truth may lie further "
        "out.");
}

void AddPlots(HtmlPage& page, const Evaluation& evaluation, const ErrorRates& rates) {
    const std::vector<int> genuine = WithoutMissing(evaluation.genuine);
    const std::vector<int> impostor = WithoutMissing(evaluation.impostor);
    page.AddHeading("Errors");
    page.BeginGrid();
    if (!genuine.empty() && !impostor.empty()) {
        page.AddPlot("DET curve", DetPlot(rates),
                     "Every threshold is a point; dots are the levels 1 to 5; the dashed line is "
                     "where both rates are equal. A rate of 0 lies on the edge.");
    }
    page.AddPlot("Error rates against threshold", ThresholdPlot(rates),
                 "With 95 % intervals. A line ends where no error is left.");
    page.EndGrid();
    page.AddHeading("Scores");
    page.BeginGrid();
    page.AddPlot("Scores around the levels", ScorePlot(genuine, impostor, kLowScores, 5),
                 "Five scores a bar; levels 1 to 5 marked.");
    page.AddPlot("All scores", ScorePlot(genuine, impostor, kNoAcceptance, 32),
                 "32 scores a bar; 2047 also stands for all above.");
    page.EndGrid();
    page.AddHeading("Templates");
    page.BeginGrid();
    page.AddPlot("Minutiae", MinutiaPlot(evaluation.set),
                 "Two counts a bar; the last one holds 58 to 60. Fewer than 6 make no template.");
    page.AddPlot("Quality", QualityPlot(evaluation.set),
                 "The coherence of the ridges, 0 to 100, two values a bar.");
    page.EndGrid();
}

// The pairs with the lowest or highest scores; of equals, the first.
std::vector<size_t> FindExtremes(const std::vector<int>& scores, bool isLowest, size_t most) {
    std::vector<size_t> order;
    for (size_t i = 0; i < scores.size(); ++i) {
        if (scores[i] != kNoScore) {
            order.push_back(i);
        }
    }
    const size_t count = std::min(order.size(), most);
    std::partial_sort(order.begin(), order.begin() + static_cast<std::ptrdiff_t>(count),
                      order.end(), [&scores, isLowest](size_t a, size_t b) {
                          if (scores[a] != scores[b]) {
                              return (scores[a] < scores[b]) == isLowest;
                          }
                          return a < b;
                      });
    order.resize(count);
    return order;
}

void AddPairs(HtmlPage& page, const Evaluation& evaluation, const std::vector<Pair>& pairs,
              const std::vector<int>& scores, bool isLowest, size_t most) {
    page.BeginGrid(true);
    for (const size_t i : FindExtremes(scores, isLowest, most)) {
        const PairPicture picture =
            DrawPair(evaluation.set, pairs[i], evaluation.options.imageOptions, isLowest);
        page.AddPicture(picture.png, picture.caption);
    }
    page.EndGrid();
}

}  // namespace

std::string EvaluationReport(const Evaluation& evaluation, size_t pairsShown) {
    const ErrorRates rates = evaluation.Rates();
    HtmlPage page("Fingerprint verification: " + BaseName(evaluation.options.folder));
    AddCounts(page, evaluation);
    AddSummary(page, evaluation, rates);
    AddLevelTable(page, evaluation, rates);
    AddPlots(page, evaluation, rates);
    if (pairsShown > 0 && !WithoutMissing(evaluation.genuine).empty()) {
        page.AddHeading("Genuine pairs with the lowest scores");
        AddPairs(page, evaluation, evaluation.pairs.genuine, evaluation.genuine, true, pairsShown);
    }
    if (pairsShown > 0 && !WithoutMissing(evaluation.impostor).empty()) {
        page.AddHeading("Impostor pairs with the highest scores");
        AddPairs(page, evaluation, evaluation.pairs.impostor, evaluation.impostor, false,
                 pairsShown);
    }
    return page.ToHtml();
}

}  // namespace qorfp::cli
