// SPDX-License-Identifier: Apache-2.0
//
// The sub-commands. Each lives in a file of its own, adds itself with its options and its help to
// the program, and when chosen runs and leaves its exit status.
#pragma once

#include <CLI/CLI.hpp>

namespace qorfp::cli {

void AddExtract(CLI::App& program, int& exitStatus);
void AddVerify(CLI::App& program, int& exitStatus);
void AddEnroll(CLI::App& program, int& exitStatus);
void AddImprove(CLI::App& program, int& exitStatus);
void AddIdentify(CLI::App& program, int& exitStatus);
void AddCheck(CLI::App& program, int& exitStatus);
void AddCheckFinger(CLI::App& program, int& exitStatus);
void AddInfo(CLI::App& program, int& exitStatus);
void AddExport(CLI::App& program, int& exitStatus);
void AddImport(CLI::App& program, int& exitStatus);
void AddDraw(CLI::App& program, int& exitStatus);
void AddMatch(CLI::App& program, int& exitStatus);
void AddStages(CLI::App& program, int& exitStatus);
void AddEval(CLI::App& program, int& exitStatus);
void AddEvalSearch(CLI::App& program, int& exitStatus);

}  // namespace qorfp::cli
