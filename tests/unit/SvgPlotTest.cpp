// SPDX-License-Identifier: Apache-2.0
//
// Marks of the command line's plots: every one is drawn where it lies, whatever becomes of its label.
#include <gtest/gtest.h>

#include <regex>
#include <string>
#include <vector>

#include "tools/qorfp/eval/SvgPlot.h"

namespace {

using qorfp::cli::SvgPlot;
using Texts = std::vector<std::string>;

/// What the first group of `pattern` finds, from the beginning to the end.
Texts FindAll(const std::string& text, const std::string& pattern) {
    const std::regex regex(pattern);
    Texts found;
    for (std::sregex_iterator it(text.begin(), text.end(), regex), end; it != end; ++it) {
        found.push_back((*it)[1]);
    }
    return found;
}

Texts Labels(const std::string& svg) {
    return FindAll(svg, "class=\"mark\">([^<]*)<");
}

SvgPlot UnitPlot() {
    return SvgPlot("a test", {"across", 0, 1}, {"up", 0, 1});
}

TEST(SvgPlotMarks, CloseOnesShareALabelAndKeepTheirPlaces) {
    SvgPlot plot = UnitPlot();
    plot.AddMark({0, 0.50}, "1");
    plot.AddMark({0, 0.55}, "2");
    plot.AddMark({0, 0.60}, "3");
    const std::string svg = plot.ToSvg();
    EXPECT_EQ(Labels(svg), Texts({"1, 2, 3"}));
    const Texts heights = FindAll(svg, "<circle cx=\"[0-9.]+\" cy=\"([0-9.]+)\"");
    ASSERT_EQ(heights.size(), 3U);
    const double first = std::stod(heights[0]);
    const double second = std::stod(heights[1]);
    const double third = std::stod(heights[2]);
    EXPECT_GT(first, second + 3);  // up is less
    EXPECT_NEAR(first - second, second - third, 0.11);
}

TEST(SvgPlotMarks, LabelsOfDistantOnesStandInTheirOrder) {
    SvgPlot plot = UnitPlot();
    plot.AddMark({0, 0.50}, "1");
    plot.AddMark({0, 0.62}, "2");
    const std::string svg = plot.ToSvg();
    EXPECT_EQ(Labels(svg), Texts({"1", "2"}));
    const Texts heights =
        FindAll(svg, "<text x=\"[0-9.]+\" y=\"([0-9.]+)\" text-anchor=\"[a-z]+\" class=\"mark\"");
    ASSERT_EQ(heights.size(), 2U);
    EXPECT_GT(std::stod(heights[0]), std::stod(heights[1]) + 14);
}

TEST(SvgPlotMarks, OutsideTheAxesLieOnTheirEdge) {
    SvgPlot plot = UnitPlot();
    plot.AddMark({-3, 0.5}, "out");
    plot.AddMark({0, 0.5}, "edge");
    const Texts across = FindAll(plot.ToSvg(), "<circle cx=\"([0-9.]+)\"");
    ASSERT_EQ(across.size(), 2U);
    EXPECT_EQ(across[0], across[1]);
}

}  // namespace
