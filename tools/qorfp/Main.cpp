// SPDX-License-Identifier: Apache-2.0
//
// qorfp, the command line of the fingerprint library: arguments, sub-commands, and one place where
// every failure becomes one line on standard error and exit status 2.
#include <fcntl.h>

#include <csignal>
#include <cstdio>
#include <exception>
#include <new>
#include <string>

#include "tools/qorfp/Commands.h"
#include "tools/qorfp/Engine.h"
#include "tools/qorfp/ExitStatus.h"
#include "tools/qorfp/ToolError.h"

namespace {

using namespace qorfp::cli;

// File names may hold anything; the message must stay one line and leave the terminal alone.
int ReportFailure(std::string message) {
    for (char& letter : message) {
        if (static_cast<unsigned char>(letter) < 0x20 || letter == 0x7F) {
            letter = '?';
        }
    }
    std::fprintf(stderr, "qorfp: %s\n", message.c_str());
    return kExitError;
}

// A closed standard stream would give its number to the next file, and messages would go into that.
// In its place comes something that cannot be read, or not written: using it fails as before.
void FillClosedStreams() {
    for (int number = 0; number <= 2; ++number) {
        if (fcntl(number, F_GETFD) < 0) {
            // Opens the lowest free number, which is this one.
            static_cast<void>(open("/dev/null", number == 0 ? O_WRONLY : O_RDONLY));
        }
    }
}

void AddCommands(CLI::App& program, int& exitStatus) {
    AddExtract(program, exitStatus);
    AddVerify(program, exitStatus);
    AddEnroll(program, exitStatus);
    AddImprove(program, exitStatus);
    AddIdentify(program, exitStatus);
    AddCheck(program, exitStatus);
    AddCheckFinger(program, exitStatus);
    AddInfo(program, exitStatus);
    AddExport(program, exitStatus);
    AddImport(program, exitStatus);
    AddDraw(program, exitStatus);
    AddMatch(program, exitStatus);
    AddStages(program, exitStatus);
    AddEval(program, exitStatus);
    AddEvalSearch(program, exitStatus);
}

/// A better sentence than the parser's for a mistyped command.
std::string ExplainParseError(const CLI::App& program, const CLI::ParseError& error,
                              const char* firstArgument) {
    const bool isWord = firstArgument != nullptr && firstArgument[0] != '-';
    const auto isNamed = [firstArgument](const CLI::App* command) {
        return command->get_name() == firstArgument;
    };
    if (isWord && program.get_subcommands(isNamed).empty()) {
        return std::string("\"") + firstArgument + "\" is not a command (see --help)";
    }
    return std::string(error.what()) + " (see --help)";
}

int RunProgram(int argumentCount, char** arguments) {
    CLI::App program("Fingerprint templates from images: make, compare and look into them.",
                     "qorfp");
    int exitStatus = kExitYes;
    program.require_subcommand(1);
    program.set_version_flag("--version", [] {
        return std::string("qorfp ") + QORFP_TOOL_VERSION + " (engine " + EngineVersion() + ")";
    });
    program.footer(
        "Images: PGM, PNG, BMP, TIFF or JPEG 2000, dark ridges on a light ground, 508 dpi, at "
        "most\n"
        "256 x 360.\n"
        "Exit status: 0 yes or done, 1 no, 2 error.\n"
        "\"qorfp COMMAND --help\" shows the options and an example.");
    AddCommands(program, exitStatus);
    try {
        program.parse(argumentCount, arguments);
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success)) {
            program.exit(error);  // --help or --version: prints it
        } else {
            return ReportFailure(ExplainParseError(program, error, arguments[1]));
        }
    }
    // Output that was too long for the buffer may have failed earlier.
    if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0 || !std::cout.flush()) {
        return ReportFailure("standard output: cannot be written");
    }
    return exitStatus;
}

}  // namespace

int main(int argumentCount, char** arguments) {
    FillClosedStreams();
    std::signal(SIGXFSZ, SIG_IGN);  // a file too large is an error like a full disk
    try {
        return RunProgram(argumentCount, arguments);
    } catch (const std::bad_alloc&) {
        return ReportFailure("out of memory");
    } catch (const std::exception& failure) {
        return ReportFailure(failure.what());
    }
}
