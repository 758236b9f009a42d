// SPDX-License-Identifier: Apache-2.0
//
// Searches of an enrolled gallery: how often the right finger is found, and at what cost.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tools/qorfp/eval/ErrorRates.h"
#include "tools/qorfp/eval/FingerSet.h"

namespace qorfp::cli {

struct SearchOptions {
    FingerSetOptions set;
    int captures = 1;  // enrolled of each finger: one template, or the fusion of two or three
    int level = kDefaultLevel;
};

/// A probe's search of the whole gallery, and of the gallery without its own finger.
struct SearchResult {
    size_t probe = 0;                // capture
    size_t mate = 0;                 // gallery entry of the same finger
    size_t rank = 0;                 // of the mate by index score, from 1
    std::optional<size_t> hit;       // gallery entry found
    double seconds = 0;              // of the search of the whole gallery
    std::optional<size_t> falseHit;  // entry found without the mate, counted in the whole gallery
};

struct SearchEvaluation {
    SearchOptions options;
    FingerSet set;
    std::vector<size_t> enrolled;  // finger of each gallery entry
    size_t notEnrolled = 0;        // fingers without an entry
    std::vector<SearchResult> results;

    /// Probes whose mate ranks `rank` or better.
    Share FoundWithin(size_t rank) const;
    /// Probes for which their own finger was found, or another one, or none.
    Share Hits() const;
    Share WrongHits() const;
    Share Misses() const;
    /// Probes for which a finger was found in the gallery without their own.
    Share FalseHits() const;
    double MeanRank() const;
    double MeanSeconds() const;
};

/// How many of the best-ranked entries a search matches in full at most.
size_t MatchLimit(size_t galleryCount);

/// Enrols the first captures of every finger and searches for all the others, one after the other,
/// so that the times are those of an idle machine's one core. Throws ToolError when there is nothing
/// to search in or for.
SearchEvaluation EvaluateSearch(const SearchOptions& options);

/// The table on standard output.
std::string SearchTable(const SearchEvaluation& evaluation);

/// search.json: all figures of the table.
std::string SearchJson(const SearchEvaluation& evaluation);

/// searches.csv: probe, rank of its finger, result (right, wrong, none), finger found, and the finger
/// found when its own is not enrolled.
std::string SearchesCsv(const SearchEvaluation& evaluation);

/// search.html.
std::string SearchReport(const SearchEvaluation& evaluation);

}  // namespace qorfp::cli
