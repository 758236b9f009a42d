// SPDX-License-Identifier: Apache-2.0
//
// A small plot as SVG, to stand in a page: two axes, linear or logarithmic, with lines, bars and
// marks. What lies outside the axes is cut off; on a logarithmic axis, 0 lies below everything.
#pragma once

#include <string>
#include <vector>

namespace qorfp::cli {

struct Axis {
    std::string label;
    double low = 0;
    double high = 1;
    bool isLog = false;
    bool isRate = false;  // numbers on the axis in percent
};

struct PlotPoint {
    double x = 0;
    double y = 0;
};

class SvgPlot {
  public:
    /// `title` is read out in place of the picture.
    SvgPlot(const std::string& title, const Axis& x, const Axis& y);

    /// Colours as in CSS. A line or bars with a name stand in the legend.
    void AddLine(const std::vector<PlotPoint>& points, const std::string& colour,
                 const std::string& name, bool isDashed = false);

    /// A pale area between two lines with the same x values.
    void AddBand(const std::vector<PlotPoint>& low, const std::vector<PlotPoint>& high,
                 const std::string& colour);

    /// Bars that begin at the points' x.
    void AddBars(const std::vector<PlotPoint>& points, double width, const std::string& colour,
                 const std::string& name);

    /// A thin line across, labelled at its upper end.
    void AddVertical(double x, const std::string& label);

    /// A dot; of several that follow each other closely, the labels stand together beside them.
    void AddMark(const PlotPoint& point, const std::string& label);

    std::string ToSvg() const;

  private:
    /// Of one dot or several, in places on the picture.
    struct MarkLabel {
        std::string text;
        double lastX = 0;
        double lastY = 0;
        double left = 0;
        double right = 0;
        double top = 0;
        double bottom = 0;
    };

    double PlaceX(double value) const;
    double PlaceY(double value) const;
    std::string Path(const std::vector<PlotPoint>& points) const;
    void AddLegend(const std::string& name, const std::string& colour);
    std::string Ticks() const;

    std::string title_;
    Axis x_;
    Axis y_;
    std::string inside_;  // drawn, cut at the axes
    std::string above_;   // drawn on top, not cut
    std::string legend_;
    double legendEnd_;
    std::vector<MarkLabel> markLabels_;
};

/// `text` in a page: markup escaped, what is not UTF-8 or not printable replaced.
std::string HtmlText(const std::string& text);

}  // namespace qorfp::cli
