// SPDX-License-Identifier: Apache-2.0
//
// qorfp eval: error rates of verification on a folder of fingers.
#include <cstdio>
#include <memory>

#include "tools/qorfp/Commands.h"
#include "tools/qorfp/ExitStatus.h"
#include "tools/qorfp/eval/Evaluation.h"
#include "tools/qorfp/eval/EvaluationReport.h"
#include "tools/qorfp/eval/ReportFolder.h"

namespace qorfp::cli {
namespace {

constexpr int kMostPairs = 100;

struct EvalOptions {
    FingerSetOptions set;
    std::string protocol = "fvc";
    int pairs = 6;
};

int RunEval(const EvalOptions& options) {
    const Protocol protocol = options.protocol == "all" ? Protocol::kAll : Protocol::kFvc;
    const Evaluation evaluation = Evaluate(options.set, protocol);
    const std::string& folder = options.set.report;
    WriteReport(folder, "scores.csv", ScoresCsv(evaluation));
    WriteReport(folder, "captures.csv", CapturesCsv(evaluation.set));
    WriteReport(folder, "summary.json", EvaluationJson(evaluation));
    WriteReport(folder, "report.html",
                EvaluationReport(evaluation, static_cast<size_t>(options.pairs)));
    std::fputs(EvaluationTable(evaluation).c_str(), stdout);
    return kExitYes;
}

}  // namespace

void AddEval(CLI::App& program, int& exitStatus) {
    auto options = std::make_shared<EvalOptions>();
    CLI::App* command =
        program.add_subcommand("eval", "Measure the error rates of verification on a folder");
    AddFingerSetOptions(*command, options->set);
    command
        ->add_option("--protocol", options->protocol,
                     "Impostor pairs: of the first captures of every two fingers, or of all")
        ->check(CLI::IsMember({"fvc", "all"}))
        ->capture_default_str();
    command
        ->add_option("--pairs", options->pairs,
                     "Genuine and impostor pairs to draw in the report; with 0 it shows no finger")
        ->check(CLI::Range(0, kMostPairs))
        ->capture_default_str();
    command->footer(
        "Writes report.html, summary.json, scores.csv and captures.csv, and prints a table.\n"
        "Genuine pairs are every two captures of a finger, the earlier one as the first argument.\n"
        "Exit status: 0 report written, 2 error.\n"
        "Example: qorfp eval captures/ -o report/ -j 4");
    command->callback([options, &exitStatus] { exitStatus = RunEval(*options); });
}

}  // namespace qorfp::cli
