// SPDX-License-Identifier: Apache-2.0
//
// Scoring all pairs, and the outputs for terminals and programs.
#include "tools/qorfp/eval/Evaluation.h"

#include <algorithm>
#include <cstdio>
#include <nlohmann/json.hpp>

#include "tools/qorfp/Notice.h"
#include "tools/qorfp/TemplateView.h"
#include "tools/qorfp/ToolError.h"

namespace qorfp::cli {
namespace {

using Json = nlohmann::ordered_json;

struct NamedPoint {
    const char* name;
    int64_t impostors;  // false match rate at most 1 in so many; 0: none
};

constexpr NamedPoint kPoints[] = {{"FMR100", 100}, {"FMR1000", 1000}, {"ZeroFMR", 0}};

template <class... Values>
std::string Format(const char* format, Values... values) {
    char text[256];
    std::snprintf(text, sizeof(text), format, values...);
    return text;
}

std::string RateText(const Share& share) {
    return share.all == 0 ? std::string("n/a") : PercentText(share.Rate());
}

std::string IntervalOf(const Share& share) {
    return share.all == 0 ? std::string() : IntervalText(WilsonInterval(share));
}

std::string CountsText(const Evaluation& evaluation) {
    const FingerSet& set = evaluation.set;
    const Share failures = {static_cast<int64_t>(set.Failures()),
                            static_cast<int64_t>(set.captures.size())};
    std::string text =
        CountText(set.FingerCount(), "finger") + ", " + CountText(set.captures.size(), "capture");
    text += Format("\nfailures to extract  %zu of %zu", set.Failures(), set.captures.size());
    text += ": " + RateText(failures) + " (" + IntervalOf(failures) + ")\n";
    const auto told = [](const std::vector<int>& scores) {
        const size_t compared = WithoutMissing(scores).size();
        return std::to_string(compared) +
               (compared == scores.size() ? std::string() : " of " + std::to_string(scores.size()));
    };
    text += "pairs compared       " + told(evaluation.genuine) + " genuine, " +
            told(evaluation.impostor) + " impostor\n";
    return text;
}

std::string PointLines(const ErrorRates& rates) {
    std::string text = "                           95 % interval     threshold\n";
    if (const std::optional<EqualErrorRate> equal = rates.Equal()) {
        text += Format("EER              %9s  %-16s  %9d\n", PercentText(equal->rate).c_str(),
                       IntervalText(equal->interval).c_str(), equal->threshold);
    }
    for (const NamedPoint& named : kPoints) {
        const OperatingPoint point = rates.AtFalseMatchRate(named.impostors);
        if (point.falseMatches.all > 0 && point.falseNonMatches.all > 0) {
            text += Format("%-16s %9s  %-16s  %9d\n", named.name,
                           RateText(point.falseNonMatches).c_str(),
                           IntervalOf(point.falseNonMatches).c_str(), point.threshold);
        }
    }
    return text;
}

std::string LevelLines(const Evaluation& evaluation, const ErrorRates& rates) {
    std::string text =
        "level  threshold       FMR  95 % interval         FNMR  95 % interval       with "
        "failures\n";
    for (int level = kMinLevel; level <= kMaxLevel; ++level) {
        const OperatingPoint point = rates.At(ThresholdOfLevel(level));
        text += Format("%5d  %9d  %8s  %-16s  %8s  %-16s  %14s\n", level, point.threshold,
                       RateText(point.falseMatches).c_str(), IntervalOf(point.falseMatches).c_str(),
                       RateText(point.falseNonMatches).c_str(),
                       IntervalOf(point.falseNonMatches).c_str(),
                       RateText(evaluation.FalseNonMatchesWithFailures(point.threshold)).c_str());
    }
    return text;
}

Json IntervalJson(const Interval& interval) {
    return Json::array({interval.low, interval.high});
}

Json ShareJson(const Share& share) {
    if (share.all == 0) {
        return nullptr;
    }
    return {{"count", share.count},
            {"of", share.all},
            {"rate", share.Rate()},
            {"interval95", IntervalJson(WilsonInterval(share))}};
}

Json PointJson(const OperatingPoint& point) {
    return {{"threshold", point.threshold},
            {"fmr", ShareJson(point.falseMatches)},
            {"fnmr", ShareJson(point.falseNonMatches)}};
}

Json LevelsJson(const Evaluation& evaluation, const ErrorRates& rates) {
    Json levels = Json::array();
    for (int level = kMinLevel; level <= kMaxLevel; ++level) {
        const int threshold = ThresholdOfLevel(level);
        Json entry = {{"level", level}};
        entry.update(PointJson(rates.At(threshold)));
        entry["fnmrWithFailures"] = ShareJson(evaluation.FalseNonMatchesWithFailures(threshold));
        levels.push_back(entry);
    }
    return levels;
}

void AddScoreLines(std::string& csv, const char* kind, const Evaluation& evaluation,
                   const std::vector<Pair>& pairs, const std::vector<int>& scores) {
    for (size_t i = 0; i < pairs.size(); ++i) {
        csv += std::string(kind) + "," + CsvField(evaluation.set.captures[pairs[i].first].name) +
               "," + CsvField(evaluation.set.captures[pairs[i].second].name) + "," +
               (scores[i] == kNoScore ? std::string() : std::to_string(scores[i])) + "\n";
    }
}

}  // namespace

Share Evaluation::FalseNonMatchesWithFailures(int threshold) const {
    // kNoScore lies below every threshold but 0, at which nothing else is refused.
    return {
        std::count_if(genuine.begin(), genuine.end(),
                      [threshold](int score) { return score < threshold || score == kNoScore; }),
        static_cast<int64_t>(genuine.size())};
}

const char* ProtocolName(Protocol protocol) {
    return protocol == Protocol::kAll ? "all" : "fvc";
}

Evaluation Evaluate(const FingerSetOptions& options, Protocol protocol) {
    Evaluation evaluation;
    evaluation.options = options;
    evaluation.protocol = protocol;
    evaluation.set = LoadFingerSet(options);
    evaluation.pairs = MakePairs(evaluation.set.fingers, protocol);
    evaluation.genuine = ScorePairs(evaluation.set, evaluation.pairs.genuine,
                                    "Matching genuine pairs", options.threads);
    evaluation.impostor = ScorePairs(evaluation.set, evaluation.pairs.impostor,
                                     "Matching impostor pairs", options.threads);
    if (WithoutMissing(evaluation.genuine).empty() && WithoutMissing(evaluation.impostor).empty()) {
        throw ToolError(options.folder, "holds no two captures with templates to compare");
    }
    return evaluation;
}

std::string PercentText(double rate) {
    return Format("%.3f %%", 100 * rate);
}

std::string IntervalText(const Interval& interval) {
    return Format("%.3f to %.3f", 100 * interval.low, 100 * interval.high);
}

std::string EvaluationTable(const Evaluation& evaluation) {
    const ErrorRates rates = evaluation.Rates();
    return CountsText(evaluation) + "\n" + PointLines(rates) + "\n" + LevelLines(evaluation, rates);
}

std::string EvaluationJson(const Evaluation& evaluation) {
    const FingerSet& set = evaluation.set;
    const ErrorRates rates = evaluation.Rates();
    Json root;
    root["engine"] = EngineVersion();
    root["protocol"] = ProtocolName(evaluation.protocol);
    root["fit"] = evaluation.options.imageOptions.fit;
    root["dpi"] = evaluation.options.imageOptions.dpi;
    root["fingers"] = set.FingerCount();
    root["captures"] = set.captures.size();
    root["skippedFiles"] = set.skipped;
    root["failuresToExtract"] = ShareJson(
        {static_cast<int64_t>(set.Failures()), static_cast<int64_t>(set.captures.size())});
    root["pairs"] = {{"genuine", evaluation.genuine.size()},
                     {"genuineCompared", WithoutMissing(evaluation.genuine).size()},
                     {"impostor", evaluation.impostor.size()},
                     {"impostorCompared", WithoutMissing(evaluation.impostor).size()}};
    if (const std::optional<EqualErrorRate> equal = rates.Equal()) {
        root["eer"] = {{"rate", equal->rate},
                       {"interval95", IntervalJson(equal->interval)},
                       {"threshold", equal->threshold}};
    }
    root["fmr100"] = PointJson(rates.AtFalseMatchRate(100));
    root["fmr1000"] = PointJson(rates.AtFalseMatchRate(1000));
    root["zeroFmr"] = PointJson(rates.AtFalseMatchRate(0));
    root["levels"] = LevelsJson(evaluation, rates);
    constexpr int kIndent = 2;
    return root.dump(kIndent) + "\n";
}

std::string CsvField(const std::string& text) {
    if (text.find_first_of(",\"\r\n") == std::string::npos) {
        return text;
    }
    std::string field = "\"";
    for (const char letter : text) {
        field += letter == '"' ? "\"\"" : std::string(1, letter);
    }
    return field + "\"";
}

std::string ScoresCsv(const Evaluation& evaluation) {
    std::string csv = "kind,first,second,score\n";
    AddScoreLines(csv, "genuine", evaluation, evaluation.pairs.genuine, evaluation.genuine);
    AddScoreLines(csv, "impostor", evaluation, evaluation.pairs.impostor, evaluation.impostor);
    return csv;
}

std::string CapturesCsv(const FingerSet& set) {
    std::string csv = "file,finger,impression,minutiae,quality\n";
    for (size_t i = 0; i < set.captures.size(); ++i) {
        const Capture& capture = set.captures[i];
        const Extraction& extraction = set.extractions[i];
        csv += CsvField(capture.name) + "," + CsvField(capture.finger) + "," +
               CsvField(capture.impression) + ",";
        if (extraction.isDone) {
            csv += std::to_string(ReadTemplate(extraction.bytes).count) + "," +
                   std::to_string(extraction.quality);
        } else {
            csv += ",";
        }
        csv += "\n";
    }
    return csv;
}

}  // namespace qorfp::cli
