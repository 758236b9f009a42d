// SPDX-License-Identifier: Apache-2.0
//
// Which finger and which impression a file shows, told by its name. A pattern is the name without
// its ending, with {finger} and {impression} in their places and * for whatever may stand elsewhere.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace qorfp::cli {

struct NameParts {
    std::string finger;
    std::string impression;
};

class NamePattern {
  public:
    /// Throws ToolError unless both places stand in `pattern` once.
    explicit NamePattern(const std::string& pattern);

    /// The parts of a name that fits; each takes as much as it can, from the left, but at least one
    /// character.
    std::optional<NameParts> Match(const std::string& name) const;

    /// As it was given.
    const std::string& Text() const { return text_; }

  private:
    enum class Kind { kText, kFinger, kImpression, kAny };

    struct Piece {
        Kind kind = Kind::kText;
        std::string text;
    };

    bool MatchFrom(size_t piece, const std::string& name, size_t at, NameParts& parts) const;

    std::string text_;
    std::vector<Piece> pieces_;
};

/// Order for people: numbers in a name count by their value, so 2 comes before 10.
bool IsBefore(const std::string& a, const std::string& b);

}  // namespace qorfp::cli
