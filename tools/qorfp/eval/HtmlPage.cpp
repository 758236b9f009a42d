// SPDX-License-Identifier: Apache-2.0
//
// All text goes through HtmlText; only SVG and the page's own markup are written as they are.
#include "tools/qorfp/eval/HtmlPage.h"

#include "tools/qorfp/eval/SvgPlot.h"

namespace qorfp::cli {
namespace {

const char* const kStyle = R"(
:root { color-scheme: light; }
body { margin: 0 auto; max-width: 1120px; padding: 1.2rem; background: #fff; color: #212529;
  font: 16px/1.5 system-ui, "DejaVu Sans", sans-serif; }
h1 { font-size: 1.7rem; line-height: 1.2; margin: .3rem 0 1rem; overflow-wrap: anywhere; }
h2 { font-size: 1.25rem; margin: 2.2rem 0 .6rem; border-bottom: 1px solid #dee2e6; }
h3 { font-size: 1rem; margin: 0 0 .3rem; }
p { margin: .5rem 0; max-width: 72ch; overflow-wrap: anywhere; }
.table { overflow-x: auto; }
table { border-collapse: collapse; margin: .6rem 0; font-variant-numeric: tabular-nums; }
th, td { padding: .28rem .8rem; text-align: right; white-space: nowrap;
  border-bottom: 1px solid #dee2e6; }
th { font-weight: 600; background: #f1f3f5; }
th:first-child, td:first-child { text-align: left; }
.grid { display: grid; gap: 1.4rem 2rem;
  grid-template-columns: repeat(auto-fit, minmax(min(100%, 440px), 1fr)); }
.grid.wide { grid-template-columns: repeat(auto-fit, minmax(min(100%, 520px), 1fr)); }
figure { margin: 0; min-width: 0; max-width: 640px; }
figcaption { font-size: .88rem; color: #495057; overflow-wrap: anywhere; }
svg { width: 100%; height: auto; display: block; }
svg text { font: 14px system-ui, "DejaVu Sans", sans-serif; fill: #212529; }
svg .small { font-size: 12px; fill: #495057; }
svg .mark { font-weight: 600; }
svg .grid { stroke: #e9ecef; }
svg .level { stroke: #495057; stroke-dasharray: 2 3; }
svg .frame { fill: none; stroke: #868e96; }
@media (max-width: 600px) {
  th, td { padding: .28rem .4rem; font-size: .85rem; }
  td:first-child { white-space: normal; }
}
img { max-width: 100%; height: auto; display: block; border: 1px solid #dee2e6; }
)";

std::string Base64(const Bytes& bytes) {
    static const char kDigits[] =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    for (size_t i = 0; i < bytes.size(); i += 3) {
        const size_t count = bytes.size() - i;
        const uint32_t group = static_cast<uint32_t>(bytes[i]) << 16 |
                               (count > 1 ? static_cast<uint32_t>(bytes[i + 1]) << 8 : 0) |
                               (count > 2 ? bytes[i + 2] : 0U);
        text += kDigits[group >> 18];
        text += kDigits[group >> 12 & 63];
        text += count > 1 ? kDigits[group >> 6 & 63] : '=';
        text += count > 2 ? kDigits[group & 63] : '=';
    }
    return text;
}

}  // namespace

HtmlPage::HtmlPage(const std::string& title) : title_(HtmlText(title)) {}

void HtmlPage::AddHeading(const std::string& text) {
    body_ += "<h2>" + HtmlText(text) + "</h2>\n";
}

void HtmlPage::AddParagraph(const std::string& text) {
    body_ += "<p>" + HtmlText(text) + "</p>\n";
}

void HtmlPage::AddTable(const std::vector<std::vector<std::string>>& rows) {
    body_ += "<div class=\"table\"><table>\n";
    for (size_t i = 0; i < rows.size(); ++i) {
        const std::string cell = i == 0 ? "th" : "td";
        body_ += "<tr>";
        for (const std::string& text : rows[i]) {
            body_ += "<" + cell + ">" + HtmlText(text) + "</" + cell + ">";
        }
        body_ += "</tr>\n";
    }
    body_ += "</table></div>\n";
}

void HtmlPage::BeginGrid(bool isWide) {
    body_ += isWide ? "<div class=\"grid wide\">\n" : "<div class=\"grid\">\n";
}

void HtmlPage::EndGrid() {
    body_ += "</div>\n";
}

void HtmlPage::AddPlot(const std::string& heading, const std::string& svg,
                       const std::string& caption) {
    body_ += "<figure>\n<h3>" + HtmlText(heading) + "</h3>\n" + svg + "<figcaption>" +
             HtmlText(caption) + "</figcaption>\n</figure>\n";
}

void HtmlPage::AddPicture(const Bytes& png, const std::string& caption) {
    body_ += "<figure>\n<img alt=\"" + HtmlText(caption) + "\" src=\"data:image/png;base64," +
             Base64(png) + "\">\n<figcaption>" + HtmlText(caption) + "</figcaption>\n</figure>\n";
}

std::string HtmlPage::ToHtml() const {
    return "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
           "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n<title>" +
           title_ + "</title>\n<style>" + kStyle + "</style>\n</head>\n<body>\n<h1>" + title_ +
           "</h1>\n" + body_ + "</body>\n</html>\n";
}

}  // namespace qorfp::cli
