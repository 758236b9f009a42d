// SPDX-License-Identifier: Apache-2.0
//
// A page that stands by itself: its style, plots and pictures are in the one file, nothing is
// fetched and nothing runs.
#pragma once

#include <string>
#include <vector>

#include "tools/qorfp/FileIo.h"

namespace qorfp::cli {

class HtmlPage {
  public:
    explicit HtmlPage(const std::string& title);

    void AddHeading(const std::string& text);

    /// Text that may hold file names.
    void AddParagraph(const std::string& text);

    /// The first row is the head; the first column is set to the left, the others to the right.
    void AddTable(const std::vector<std::vector<std::string>>& rows);

    /// Figures from here to EndGrid stand side by side where there is room.
    void BeginGrid(bool isWide = false);
    void EndGrid();

    void AddPlot(const std::string& heading, const std::string& svg, const std::string& caption);
    void AddPicture(const Bytes& png, const std::string& caption);

    std::string ToHtml() const;

  private:
    std::string title_;
    std::string body_;
};

}  // namespace qorfp::cli
