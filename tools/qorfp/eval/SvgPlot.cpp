// SPDX-License-Identifier: Apache-2.0
//
// Places count in the picture's own units; the page scales it to the room there is.
#include "tools/qorfp/eval/SvgPlot.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "tools/qorfp/Utf8Text.h"

namespace qorfp::cli {
namespace {

constexpr double kWidth = 520;
constexpr double kHeight = 350;
constexpr double kLeft = 66;
constexpr double kRight = 498;
constexpr double kTop = 44;
constexpr double kBottom = 296;
constexpr double kFar = 1e4;  // beyond any edge

std::string Number(double value) {
    char text[32];
    std::snprintf(text, sizeof(text), "%.1f", value);
    return text;
}

std::string Attribute(const char* name, double value) {
    return std::string(" ") + name + "=\"" + Number(value) + "\"";
}

std::string TextAt(double x, double y, const char* anchor, const std::string& text,
                   const std::string& more = "") {
    return "<text" + Attribute("x", x) + Attribute("y", y) + " text-anchor=\"" + anchor + "\"" +
           more + ">" + HtmlText(text) + "</text>\n";
}

std::string LineFrom(double x1, double y1, double x2, double y2, const char* kind) {
    return "<line" + Attribute("x1", x1) + Attribute("y1", y1) + Attribute("x2", x2) +
           Attribute("y2", y2) + " class=\"" + kind + "\"/>\n";
}

double Place(const Axis& axis, double value, double from, double to) {
    if (axis.isLog) {
        if (value <= 0) {
            return from < to ? -kFar : kFar;
        }
        const double share = std::log(value / axis.low) / std::log(axis.high / axis.low);
        return from + share * (to - from);
    }
    return from + (value - axis.low) / (axis.high - axis.low) * (to - from);
}

// Numbers on an axis: decades, or steps of 1, 2 or 5 times a power of ten.
std::vector<double> TicksOf(const Axis& axis) {
    constexpr double kSlack = 1e-9;
    std::vector<double> ticks;
    if (axis.isLog) {
        const int first = static_cast<int>(std::ceil(std::log10(axis.low) - kSlack));
        const int last = static_cast<int>(std::floor(std::log10(axis.high) + kSlack));
        for (int power = first; power <= last; ++power) {
            ticks.push_back(std::pow(10.0, power));
        }
        return ticks;
    }
    constexpr double kMostTicks = 7;
    const double rough = (axis.high - axis.low) / kMostTicks;
    const double decade = std::pow(10.0, std::floor(std::log10(rough)));
    double step = 10 * decade;
    for (const double factor : {5.0, 2.0, 1.0}) {
        step = factor * decade >= rough ? factor * decade : step;
    }
    const auto first = static_cast<long>(std::ceil(axis.low / step - kSlack));
    const auto last = static_cast<long>(std::floor(axis.high / step + kSlack));
    for (long i = first; i <= last; ++i) {
        ticks.push_back(static_cast<double>(i) * step);
    }
    return ticks;
}

std::string TickText(const Axis& axis, double value) {
    char text[32];
    std::snprintf(text, sizeof(text), axis.isRate ? "%g %%" : "%g",
                  axis.isRate ? 100 * value : value);
    return text;
}

}  // namespace

SvgPlot::SvgPlot(const std::string& title, const Axis& x, const Axis& y)
    : title_(title), x_(x), y_(y), legendEnd_(kLeft) {}

double SvgPlot::PlaceX(double value) const {
    return Place(x_, value, kLeft, kRight);
}

double SvgPlot::PlaceY(double value) const {
    return Place(y_, value, kBottom, kTop);
}

std::string SvgPlot::Path(const std::vector<PlotPoint>& points) const {
    std::string path;
    for (const PlotPoint& point : points) {
        path += (path.empty() ? "" : " ") + Number(PlaceX(point.x)) + "," + Number(PlaceY(point.y));
    }
    return path;
}

void SvgPlot::AddLine(const std::vector<PlotPoint>& points, const std::string& colour,
                      const std::string& name, bool isDashed) {
    inside_ += "<polyline points=\"" + Path(points) + "\" fill=\"none\" stroke=\"" + colour +
               "\" stroke-width=\"" + (isDashed ? "1" : "2") + "\"" +
               (isDashed ? " stroke-dasharray=\"5 4\"" : "") + "/>\n";
    AddLegend(name, colour);
}

void SvgPlot::AddBand(const std::vector<PlotPoint>& low, const std::vector<PlotPoint>& high,
                      const std::string& colour) {
    std::vector<PlotPoint> border(low.rbegin(), low.rend());
    border.insert(border.begin(), high.begin(), high.end());
    inside_ += "<polygon points=\"" + Path(border) + "\" fill=\"" + colour +
               "\" fill-opacity=\"0.15\"/>\n";
}

void SvgPlot::AddBars(const std::vector<PlotPoint>& points, double width, const std::string& colour,
                      const std::string& name) {
    for (const PlotPoint& point : points) {
        const double top = PlaceY(point.y);
        if (point.y > 0 && top < kBottom) {
            const double left = PlaceX(point.x);
            inside_ += "<rect" + Attribute("x", left) + Attribute("y", top) +
                       Attribute("width", PlaceX(point.x + width) - left) +
                       Attribute("height", kBottom - top) + " fill=\"" + colour +
                       "\" fill-opacity=\"0.6\" stroke=\"" + colour + "\"/>\n";
        }
    }
    AddLegend(name, colour);
}

void SvgPlot::AddVertical(double x, const std::string& label) {
    const double place = PlaceX(x);
    above_ += LineFrom(place, kTop, place, kBottom, "level");
    above_ += TextAt(place, kTop - 5, "middle", label, " class=\"small\"");
}

void SvgPlot::AddMark(const PlotPoint& point, const std::string& label) {
    const double x = std::clamp(PlaceX(point.x), kLeft, kRight);
    const double y = std::clamp(PlaceY(point.y), kTop, kBottom);
    above_ += "<circle" + Attribute("cx", x) + Attribute("cy", y) + " r=\"4.5\"/>\n";
    // Labels of dots that lie closer than text is wide or high would write over each other.
    constexpr double kLabelWidth = 60;
    constexpr double kLabelHeight = 16;
    if (!markLabels_.empty()) {
        MarkLabel& last = markLabels_.back();
        if (std::fabs(last.lastX - x) < kLabelWidth && std::fabs(last.lastY - y) < kLabelHeight) {
            last.text += ", " + label;
            last.left = std::min(last.left, x);
            last.right = std::max(last.right, x);
            last.top = std::min(last.top, y);
            last.bottom = std::max(last.bottom, y);
            last.lastX = x;
            last.lastY = y;
            return;
        }
    }
    markLabels_.push_back({label, x, y, x, x, y, y});
}

void SvgPlot::AddLegend(const std::string& name, const std::string& colour) {
    if (name.empty()) {
        return;
    }
    constexpr double kLetter = 7.2;  // mean width
    constexpr double kLine = 14;
    legend_ += "<rect" + Attribute("x", legendEnd_) + " y=\"8\" width=\"" + Number(kLine) +
               "\" height=\"9\" fill=\"" + colour + "\"/>\n";
    legend_ += TextAt(legendEnd_ + kLine + 5, 17, "start", name);
    legendEnd_ += kLine + 22 + kLetter * static_cast<double>(name.size());
}

std::string SvgPlot::Ticks() const {
    std::string svg;
    for (const double tick : TicksOf(x_)) {
        svg += LineFrom(PlaceX(tick), kTop, PlaceX(tick), kBottom, "grid");
        svg += TextAt(PlaceX(tick), kBottom + 20, "middle", TickText(x_, tick));
    }
    for (const double tick : TicksOf(y_)) {
        svg += LineFrom(kLeft, PlaceY(tick), kRight, PlaceY(tick), "grid");
        svg += TextAt(kLeft - 7, PlaceY(tick) + 5, "end", TickText(y_, tick));
    }
    svg += TextAt((kLeft + kRight) / 2, kHeight - 12, "middle", x_.label);
    const std::string middle = Number((kTop + kBottom) / 2);
    svg +=
        TextAt(0, 0, "middle", y_.label, " transform=\"translate(14 " + middle + ") rotate(-90)\"");
    return svg;
}

std::string SvgPlot::ToSvg() const {
    std::string svg = "<svg role=\"img\" viewBox=\"0 0 " + Number(kWidth) + " " + Number(kHeight) +
                      "\">\n<title>" + HtmlText(title_) + "</title>\n" + Ticks();
    // An inner picture cuts what is drawn at its edges.
    const std::string place = Attribute("x", kLeft) + Attribute("y", kTop) +
                              Attribute("width", kRight - kLeft) +
                              Attribute("height", kBottom - kTop);
    svg += "<svg" + place + " viewBox=\"" + Number(kLeft) + " " + Number(kTop) + " " +
           Number(kRight - kLeft) + " " + Number(kBottom - kTop) + "\">\n" + inside_ + "</svg>\n";
    svg += "<rect" + place + " class=\"frame\"/>\n" + above_ + legend_;
    for (const MarkLabel& label : markLabels_) {
        const bool isFarRight = label.right > kRight - 60;
        svg += TextAt(isFarRight ? label.left - 8 : label.right + 8,
                      (label.top + label.bottom) / 2 - 3, isFarRight ? "end" : "start", label.text,
                      " class=\"mark\"");
    }
    return svg + "</svg>\n";
}

std::string HtmlText(const std::string& text) {
    std::string html;
    for (const char letter : PrintableUtf8(text)) {
        switch (letter) {
            case '&':
                html += "&amp;";
                break;
            case '<':
                html += "&lt;";
                break;
            case '>':
                html += "&gt;";
                break;
            case '"':
                html += "&quot;";
                break;
            case '\'':
                html += "&#39;";
                break;
            default:
                html += letter;
        }
    }
    return html;
}

}  // namespace qorfp::cli
