// SPDX-License-Identifier: Apache-2.0
//
// Genuine pairs are blue, impostor pairs orange, in every plot.
#include "tools/qorfp/eval/EvaluationPlots.h"

#include <algorithm>
#include <cmath>

#include "tools/qorfp/Engine.h"
#include "tools/qorfp/TemplateView.h"
#include "tools/qorfp/eval/SvgPlot.h"

namespace qorfp::cli {
namespace {

const char* const kGenuineColour = "#1864ab";
const char* const kImpostorColour = "#e8590c";
const char* const kNeutralColour = "#5f3dc4";

// The decade below one error among `all`, where a logarithmic axis of a rate begins.
double LowestRate(int64_t all) {
    const double one = 1 / static_cast<double>(std::max<int64_t>(all, 10));
    return std::pow(10.0, std::floor(std::log10(one) + 1e-9));
}

Axis RateAxis(const char* label, double low) {
    return {label, low, 1, true, true};
}

void AddLevels(SvgPlot& plot) {
    for (int level = kMinLevel; level <= kMaxLevel; ++level) {
        plot.AddVertical(ThresholdOfLevel(level), std::to_string(level));
    }
}

std::vector<PlotPoint> SharesByScore(const std::vector<int>& scores, int high, int width) {
    std::vector<double> counts(static_cast<size_t>(high / width));
    for (const int score : scores) {
        const auto bar = static_cast<size_t>(score / width);
        if (bar < counts.size()) {
            counts[bar] += 1 / static_cast<double>(scores.size());
        }
    }
    std::vector<PlotPoint> points;
    for (size_t bar = 0; bar < counts.size(); ++bar) {
        points.push_back({static_cast<double>(bar) * width, counts[bar]});
    }
    return points;
}

// Counts of templates by a value of 0..`high`, `width` values a bar; the last bar takes in `high`.
std::string CountPlot(const std::vector<int>& values, const char* title, const char* label,
                      int high, int width) {
    std::vector<PlotPoint> points;
    for (int from = 0; from < high; from += width) {
        points.push_back({static_cast<double>(from), 0});
    }
    for (const int value : values) {
        const auto bar = static_cast<size_t>(value / width);
        points[std::min(bar, points.size() - 1)].y += 1;
    }
    double most = 1;
    for (const PlotPoint& point : points) {
        most = std::max(most, point.y);
    }
    SvgPlot plot(title, {label, 0, static_cast<double>(high)}, {"templates", 0, most * 1.05});
    plot.AddBars(points, width, kNeutralColour, "");
    return plot.ToSvg();
}

}  // namespace

std::string DetPlot(const ErrorRates& rates) {
    const double lowX = LowestRate(rates.FalseMatches(0).all);
    const double lowY = LowestRate(rates.FalseNonMatches(0).all);
    SvgPlot plot("Detection error trade-off: false non-match rate against false match rate",
                 RateAxis("false match rate (FMR)", lowX),
                 RateAxis("false non-match rate (FNMR)", lowY));
    const double low = std::min(lowX, lowY);
    plot.AddLine({{low, low}, {1, 1}}, "#868e96", "", true);
    // Rates of 0 lie on the edges.
    std::vector<PlotPoint> curve;
    for (int threshold = 0; threshold <= kNoAcceptance; ++threshold) {
        const OperatingPoint point = rates.At(threshold);
        curve.push_back({std::max(point.falseMatches.Rate(), lowX),
                         std::max(point.falseNonMatches.Rate(), lowY)});
    }
    plot.AddLine(curve, kGenuineColour, "");
    for (int level = kMinLevel; level <= kMaxLevel; ++level) {
        const OperatingPoint point = rates.At(ThresholdOfLevel(level));
        plot.AddMark({point.falseMatches.Rate(), point.falseNonMatches.Rate()},
                     std::to_string(level));
    }
    return plot.ToSvg();
}

std::string ThresholdPlot(const ErrorRates& rates) {
    constexpr int kLeastHigh = 300;
    constexpr int kStep = 50;
    // Up to where no false match is left, and a little further.
    const int none = rates.AtFalseMatchRate(0).threshold;
    const int high = std::min(std::max(kLeastHigh, (none / kStep + 2) * kStep), kNoAcceptance);
    const double low =
        std::min(LowestRate(rates.FalseMatches(0).all), LowestRate(rates.FalseNonMatches(0).all));
    SvgPlot plot("False match rate and false non-match rate against the threshold",
                 {"threshold (levels 1 to 5 marked)", 0, static_cast<double>(high)},
                 RateAxis("error rate", low));
    const auto add = [&](const auto& shareAt, const char* colour, const char* name) {
        std::vector<PlotPoint> line;
        std::vector<PlotPoint> bandLow;
        std::vector<PlotPoint> bandHigh;
        for (int threshold = 0; threshold <= high; ++threshold) {
            const Share share = shareAt(threshold);
            const Interval interval = WilsonInterval(share);
            bandLow.push_back({static_cast<double>(threshold), std::max(interval.low, low / 10)});
            bandHigh.push_back({static_cast<double>(threshold), interval.high});
            if (share.count > 0) {
                line.push_back({static_cast<double>(threshold), share.Rate()});
            }
        }
        plot.AddBand(bandLow, bandHigh, colour);
        plot.AddLine(line, colour, name);
    };
    add([&](int threshold) { return rates.FalseMatches(threshold); }, kImpostorColour, "FMR");
    add([&](int threshold) { return rates.FalseNonMatches(threshold); }, kGenuineColour, "FNMR");
    AddLevels(plot);
    return plot.ToSvg();
}

std::string ScorePlot(const std::vector<int>& genuine, const std::vector<int>& impostor, int high,
                      int width) {
    const double low = LowestRate(static_cast<int64_t>(std::max(genuine.size(), impostor.size())));
    SvgPlot plot("Shares of pairs by score, 0 to " + std::to_string(high),
                 {"score", 0, static_cast<double>(high)}, RateAxis("share of pairs", low / 2));
    plot.AddBars(SharesByScore(impostor, high, width), width, kImpostorColour, "impostor pairs");
    plot.AddBars(SharesByScore(genuine, high, width), width, kGenuineColour, "genuine pairs");
    if (high < kMaxScore) {
        AddLevels(plot);
    }
    return plot.ToSvg();
}

std::string MinutiaPlot(const FingerSet& set) {
    std::vector<int> counts;
    for (const Extraction& extraction : set.extractions) {
        if (extraction.isDone) {
            counts.push_back(ReadTemplate(extraction.bytes).count);
        }
    }
    return CountPlot(counts, "Templates by number of minutiae", "minutiae", kMaxMinutiae, 2);
}

std::string QualityPlot(const FingerSet& set) {
    std::vector<int> qualities;
    for (const Extraction& extraction : set.extractions) {
        if (extraction.isDone) {
            qualities.push_back(extraction.quality);
        }
    }
    return CountPlot(qualities, "Templates by quality", "quality", 100, 2);
}

}  // namespace qorfp::cli
