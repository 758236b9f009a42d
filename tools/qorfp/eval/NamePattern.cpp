// SPDX-License-Identifier: Apache-2.0
//
// Matching by trying the longest part first, and the order of names.
#include "tools/qorfp/eval/NamePattern.h"

#include <algorithm>

#include "tools/qorfp/ToolError.h"

namespace qorfp::cli {
namespace {

const std::string kFingerPlace = "{finger}";
const std::string kImpressionPlace = "{impression}";

bool IsDigit(char letter) {
    return letter >= '0' && letter <= '9';
}

// The digits that begin at `at`, without zeros in front.
std::string NumberAt(const std::string& text, size_t at) {
    size_t end = at;
    while (end < text.size() && IsDigit(text[end])) {
        ++end;
    }
    const size_t begin = std::min(text.find_first_not_of('0', at), end);
    return text.substr(begin, end - begin);
}

size_t SkipDigits(const std::string& text, size_t at) {
    while (at < text.size() && IsDigit(text[at])) {
        ++at;
    }
    return at;
}

}  // namespace

NamePattern::NamePattern(const std::string& pattern) : text_(pattern) {
    int fingers = 0;
    int impressions = 0;
    for (size_t at = 0; at < pattern.size();) {
        if (pattern.compare(at, kFingerPlace.size(), kFingerPlace) == 0) {
            pieces_.push_back({Kind::kFinger, ""});
            at += kFingerPlace.size();
            ++fingers;
        } else if (pattern.compare(at, kImpressionPlace.size(), kImpressionPlace) == 0) {
            pieces_.push_back({Kind::kImpression, ""});
            at += kImpressionPlace.size();
            ++impressions;
        } else if (pattern[at] == '*') {
            pieces_.push_back({Kind::kAny, ""});
            ++at;
        } else {
            if (pieces_.empty() || pieces_.back().kind != Kind::kText) {
                pieces_.push_back({Kind::kText, ""});
            }
            pieces_.back().text += pattern[at];
            ++at;
        }
    }
    if (fingers != 1 || impressions != 1) {
        throw ToolError("the pattern \"" + pattern +
                        "\" must hold {finger} once and {impression} once");
    }
}

std::optional<NameParts> NamePattern::Match(const std::string& name) const {
    NameParts parts;
    if (!MatchFrom(0, name, 0, parts)) {
        return std::nullopt;
    }
    return parts;
}

bool NamePattern::MatchFrom(size_t piece, const std::string& name, size_t at,
                            NameParts& parts) const {
    if (piece == pieces_.size()) {
        return at == name.size();
    }
    const Piece& wanted = pieces_[piece];
    if (wanted.kind == Kind::kText) {
        return name.compare(at, wanted.text.size(), wanted.text) == 0 &&
               MatchFrom(piece + 1, name, at + wanted.text.size(), parts);
    }
    const size_t shortest = wanted.kind == Kind::kAny ? 0 : 1;
    for (size_t length = name.size() - at + 1; length-- > shortest;) {
        if (MatchFrom(piece + 1, name, at + length, parts)) {
            if (wanted.kind == Kind::kFinger) {
                parts.finger = name.substr(at, length);
            } else if (wanted.kind == Kind::kImpression) {
                parts.impression = name.substr(at, length);
            }
            return true;
        }
    }
    return false;
}

bool IsBefore(const std::string& a, const std::string& b) {
    size_t i = 0;
    size_t k = 0;
    while (i < a.size() && k < b.size()) {
        if (IsDigit(a[i]) && IsDigit(b[k])) {
            const std::string numberA = NumberAt(a, i);
            const std::string numberB = NumberAt(b, k);
            if (numberA != numberB) {
                return numberA.size() != numberB.size() ? numberA.size() < numberB.size()
                                                        : numberA < numberB;
            }
            i = SkipDigits(a, i);
            k = SkipDigits(b, k);
        } else {
            if (a[i] != b[k]) {
                return static_cast<unsigned char>(a[i]) < static_cast<unsigned char>(b[k]);
            }
            ++i;
            ++k;
        }
    }
    const size_t restA = a.size() - i;
    const size_t restB = b.size() - k;
    return restA != restB ? restA < restB : a < b;  // "01" and "1": some order, always the same
}

}  // namespace qorfp::cli
