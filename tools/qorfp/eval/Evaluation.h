// SPDX-License-Identifier: Apache-2.0
//
// What an evaluation of verification has found, as all its outputs read it.
#pragma once

#include <string>
#include <vector>

#include "tools/qorfp/eval/ErrorRates.h"
#include "tools/qorfp/eval/FingerSet.h"
#include "tools/qorfp/eval/Pairs.h"
#include "tools/qorfp/eval/Verifying.h"

namespace qorfp::cli {

struct Evaluation {
    FingerSetOptions options;
    Protocol protocol = Protocol::kFvc;
    FingerSet set;
    PairLists pairs;
    std::vector<int> genuine;   // scores of the genuine pairs, kNoScore where a template is missing
    std::vector<int> impostor;  // likewise

    ErrorRates Rates() const { return {WithoutMissing(genuine), WithoutMissing(impostor)}; }

    /// False non-matches at a threshold, with the genuine pairs of which a template is missing.
    Share FalseNonMatchesWithFailures(int threshold) const;
};

/// "fvc" or "all".
const char* ProtocolName(Protocol protocol);

/// Makes the templates and scores all pairs. Throws ToolError when there is no pair with templates.
Evaluation Evaluate(const FingerSetOptions& options, Protocol protocol);

/// "0.123 %".
std::string PercentText(double rate);

/// "1.20 to 3.45".
std::string IntervalText(const Interval& interval);

/// The table on standard output.
std::string EvaluationTable(const Evaluation& evaluation);

/// summary.json: all figures of the table.
std::string EvaluationJson(const Evaluation& evaluation);

/// scores.csv: kind, first and second capture, score (empty where a template is missing).
std::string ScoresCsv(const Evaluation& evaluation);

/// captures.csv: file, finger, impression, minutiae and quality (empty where there is no template).
std::string CapturesCsv(const FingerSet& set);

/// A field of a CSV line, in quotes where needed.
std::string CsvField(const std::string& text);

}  // namespace qorfp::cli
