// SPDX-License-Identifier: Apache-2.0
//
// What is written about searches: table, JSON, CSV and page.
#include <algorithm>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <set>

#include "tools/qorfp/Notice.h"
#include "tools/qorfp/eval/Evaluation.h"
#include "tools/qorfp/eval/HtmlPage.h"
#include "tools/qorfp/eval/Searching.h"
#include "tools/qorfp/eval/SvgPlot.h"

namespace qorfp::cli {
namespace {

using Json = nlohmann::ordered_json;

// Ranks to tell of: 1, 2, 5, 10, ... as far as there are entries, and that up to which a search
// matches in full.
std::vector<size_t> RanksTold(size_t galleryCount) {
    std::set<size_t> ranks = {1, MatchLimit(galleryCount)};
    for (size_t decade = 1; decade < galleryCount; decade *= 10) {
        for (const size_t step : {decade, 2 * decade, 5 * decade}) {
            if (step < galleryCount) {
                ranks.insert(step);
            }
        }
    }
    return {ranks.begin(), ranks.end()};
}

struct Row {
    std::string name;
    std::string value;
    std::string interval;
};

Row ShareRow(const std::string& name, const Share& share) {
    return {name,
            std::to_string(share.count) + " of " + std::to_string(share.all) + ": " +
                PercentText(share.Rate()),
            IntervalText(WilsonInterval(share))};
}

std::string Number(const char* format, double value) {
    char text[64];
    std::snprintf(text, sizeof(text), format, value);
    return text;
}

std::vector<Row> ResultRows(const SearchEvaluation& evaluation) {
    std::vector<Row> rows = {
        ShareRow("own finger found", evaluation.Hits()),
        ShareRow("another finger found", evaluation.WrongHits()),
        ShareRow("none found", evaluation.Misses()),
    };
    if (evaluation.enrolled.size() > 1) {
        rows.push_back(ShareRow("found when not enrolled", evaluation.FalseHits()));
    }
    rows.push_back({"mean rank by index score", Number("%.2f", evaluation.MeanRank()), ""});
    rows.push_back(
        {"mean time of a search", Number("%.3f ms", 1000 * evaluation.MeanSeconds()), ""});
    return rows;
}

std::vector<Row> RankRows(const SearchEvaluation& evaluation) {
    const size_t count = evaluation.enrolled.size();
    std::vector<Row> rows;
    for (const size_t rank : RanksTold(count)) {
        const double penetration = static_cast<double>(rank) / static_cast<double>(count);
        rows.push_back(ShareRow(
            "rank " + std::to_string(rank) + " (" + Number("%.2f", 100 * penetration) + " %)",
            evaluation.FoundWithin(rank)));
    }
    return rows;
}

std::string RowLines(const std::vector<Row>& rows) {
    std::string text;
    for (const Row& row : rows) {
        char line[256];
        std::snprintf(line, sizeof(line), "%-24s  %24s%s%s\n", row.name.c_str(), row.value.c_str(),
                      row.interval.empty() ? "" : "  ", row.interval.c_str());
        text += line;
    }
    return text;
}

std::vector<std::vector<std::string>> TableOf(const char* first, const std::vector<Row>& rows) {
    std::vector<std::vector<std::string>> table = {{first, "", "95 % interval"}};
    for (const Row& row : rows) {
        table.push_back({row.name, row.value, row.interval});
    }
    return table;
}

std::string HeadText(const SearchEvaluation& evaluation) {
    const int captures = evaluation.options.captures;
    return CountText(evaluation.enrolled.size(), "finger") + " enrolled, " +
           (captures == 1 ? std::string("one capture each")
                          : std::to_string(captures) + " captures each, fused") +
           (evaluation.notEnrolled == 0
                ? std::string()
                : " (" + std::to_string(evaluation.notEnrolled) + " could not be)") +
           "; " +
           (evaluation.results.size() == 1
                ? std::string("1 search")
                : std::to_string(evaluation.results.size()) + " searches") +
           " at level " + std::to_string(evaluation.options.level) + ", at most " +
           std::to_string(MatchLimit(evaluation.enrolled.size())) + " entries matched in full";
}

// Hit rate by the share of the gallery that is looked at in the order of rank.
std::string PenetrationPlot(const SearchEvaluation& evaluation) {
    const size_t count = evaluation.enrolled.size();
    std::vector<PlotPoint> line;
    for (size_t rank = 1; rank <= count; ++rank) {
        const double rate = evaluation.FoundWithin(rank).Rate();
        if (line.empty() || rate != line.back().y || rank == count) {
            const double share = static_cast<double>(rank) / static_cast<double>(count);
            if (!line.empty()) {
                line.push_back({share, line.back().y});  // a staircase
            }
            line.push_back({share, rate});
        }
    }
    const double tenths = static_cast<double>(static_cast<int>(line.front().y * 10)) / 10;
    const double low = std::min(tenths, 0.9);
    const double least = 1 / static_cast<double>(std::max<size_t>(count, 2));
    SvgPlot plot("Hit rate against penetration",
                 {"penetration: share of the gallery, by rank", least, 1, true, true},
                 {"own finger within", low, 1, false, true});
    plot.AddLine(line, "#1864ab", "");
    return plot.ToSvg();
}

Json ShareJson(const Share& share) {
    if (share.all == 0) {
        return nullptr;
    }
    const Interval interval = WilsonInterval(share);
    return {{"count", share.count},
            {"of", share.all},
            {"rate", share.Rate()},
            {"interval95", {interval.low, interval.high}}};
}

}  // namespace

std::string SearchTable(const SearchEvaluation& evaluation) {
    return HeadText(evaluation) + "\n\n" + RowLines(ResultRows(evaluation)) +
           "\nown finger by index score (penetration)\n" + RowLines(RankRows(evaluation));
}

std::string SearchJson(const SearchEvaluation& evaluation) {
    Json root;
    root["engine"] = EngineVersion();
    root["enrolled"] = evaluation.enrolled.size();
    root["notEnrolled"] = evaluation.notEnrolled;
    root["capturesEnrolled"] = evaluation.options.captures;
    root["level"] = evaluation.options.level;
    root["matchedInFullAtMost"] = MatchLimit(evaluation.enrolled.size());
    root["ownFingerFound"] = ShareJson(evaluation.Hits());
    root["anotherFound"] = ShareJson(evaluation.WrongHits());
    root["noneFound"] = ShareJson(evaluation.Misses());
    root["foundWhenNotEnrolled"] = ShareJson(evaluation.FalseHits());
    root["meanRank"] = evaluation.MeanRank();
    Json ranks = Json::array();
    for (const size_t rank : RanksTold(evaluation.enrolled.size())) {
        ranks.push_back({{"rank", rank}, {"within", ShareJson(evaluation.FoundWithin(rank))}});
    }
    root["ranks"] = ranks;
    root["meanSeconds"] = evaluation.MeanSeconds();
    constexpr int kIndent = 2;
    return root.dump(kIndent) + "\n";
}

std::string SearchesCsv(const SearchEvaluation& evaluation) {
    const FingerSet& set = evaluation.set;
    // The name of an entry's finger stands at any capture of it.
    std::vector<std::string> names(set.FingerCount());
    for (size_t i = 0; i < set.captures.size(); ++i) {
        names[set.fingers[i]] = CsvField(set.captures[i].finger);
    }
    const auto name = [&](const std::optional<size_t>& entry) {
        return entry ? names[evaluation.enrolled[*entry]] : std::string();
    };
    std::string csv = "probe,rank,result,found,found_when_not_enrolled\n";
    for (const SearchResult& result : evaluation.results) {
        const char* outcome = !result.hit ? "none" : *result.hit == result.mate ? "right" : "wrong";
        csv += CsvField(set.captures[result.probe].name) + "," + std::to_string(result.rank) + "," +
               outcome + "," + name(result.hit) + "," + name(result.falseHit) + "\n";
    }
    return csv;
}

std::string SearchReport(const SearchEvaluation& evaluation) {
    HtmlPage page("Fingerprint search: " + BaseName(evaluation.options.set.folder));
    page.AddParagraph(HeadText(evaluation) + ". Library " + EngineVersion() + ".");
    page.AddTable(TableOf("Searches", ResultRows(evaluation)));
    page.AddParagraph(
        "Not enrolled: the same search in the gallery without the probe's own finger. The time is "
        "that of the search alone, one at a time, on this machine.");
    page.AddHeading("Ranking by index score");
    page.AddTable(TableOf("Own finger within (penetration)", RankRows(evaluation)));
    page.BeginGrid();
    page.AddPlot("Hit rate against penetration", PenetrationPlot(evaluation),
                 "How often the own finger is among the best-ranked part of the gallery.");
    page.EndGrid();
    return page.ToHtml();
}

}  // namespace qorfp::cli
