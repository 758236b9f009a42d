// SPDX-License-Identifier: Apache-2.0
//
// qorfp eval-search: how well a search finds fingers in a gallery made of a folder.
#include <cstdio>
#include <memory>

#include "tools/qorfp/Commands.h"
#include "tools/qorfp/ExitStatus.h"
#include "tools/qorfp/Stored.h"
#include "tools/qorfp/eval/ReportFolder.h"
#include "tools/qorfp/eval/Searching.h"

namespace qorfp::cli {
namespace {

int RunEvalSearch(const SearchOptions& options) {
    const SearchEvaluation evaluation = EvaluateSearch(options);
    WriteReport(options.set.report, "searches.csv", SearchesCsv(evaluation));
    WriteReport(options.set.report, "search.json", SearchJson(evaluation));
    WriteReport(options.set.report, "search.html", SearchReport(evaluation));
    std::fputs(SearchTable(evaluation).c_str(), stdout);
    return kExitYes;
}

}  // namespace

void AddEvalSearch(CLI::App& program, int& exitStatus) {
    auto options = std::make_shared<SearchOptions>();
    CLI::App* command = program.add_subcommand(
        "eval-search", "Measure how well a search finds the fingers of a folder");
    AddFingerSetOptions(*command, options->set);
    command
        ->add_option("--captures", options->captures,
                     "First captures of each finger to enrol; several are fused")
        ->check(CLI::Range(1, static_cast<int>(kMaxCaptures)))
        ->capture_default_str();
    command
        ->add_option("--level", options->level,
                     "Security level: accept from score 150, 165, 180, 195, 210 on")
        ->check(CLI::Range(kMinLevel, kMaxLevel))
        ->capture_default_str();
    command->footer(
        "Searches for every capture that is not enrolled, in the gallery of all fingers and in "
        "that\n"
        "without its own. Writes search.html, search.json and searches.csv, and prints a table.\n"
        "Exit status: 0 report written, 2 error.\n"
        "Example: qorfp eval-search captures/ -o report/");
    command->callback([options, &exitStatus] { exitStatus = RunEvalSearch(*options); });
}

}  // namespace qorfp::cli
