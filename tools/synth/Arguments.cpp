// SPDX-License-Identifier: Apache-2.0
// Options of qorfp-synth, their limits and their help.
#include "tools/synth/Arguments.h"

#include <CLI/CLI.hpp>
#include <map>

namespace qorfp::synth {
namespace {

constexpr int kMostFingers = 1000000;
constexpr int kMostImpressions = 1000;
constexpr int kSmallestSide = 64;  // pixels
constexpr int kLargestSide = 1024;

const std::map<std::string, Difficulty> kDifficulties = {
    {"easy", Difficulty::kEasy}, {"normal", Difficulty::kNormal}, {"hard", Difficulty::kHard}};

// Decimal digits only, below 2^64. The library's own conversion would take "-1" and "010" for other
// numbers than they look.
std::string CheckSeed(const std::string& text) {
    uint64_t value = 0;
    bool isNumber = !text.empty();
    for (const char digit : text) {
        const auto number = static_cast<uint64_t>(digit - '0');
        isNumber = isNumber && digit >= '0' && digit <= '9' && value <= (UINT64_MAX - number) / 10;
        value = value * 10 + number;
    }
    return isNumber ? std::string() : "must be a whole number from 0 to 18446744073709551615";
}

std::string CheckMultipleOfFour(const std::string& text) {
    return !text.empty() && std::atoi(text.c_str()) % 4 == 0 ? std::string()
                                                             : "must be a multiple of 4";
}

std::string CheckClass(const std::string& text) {
    return ClassFromName(text) ? std::string()
                               : "\"" + text +
                                     "\" is none of arch, tented-arch, left-loop, right-loop, "
                                     "whorl, double-loop";
}

std::string OneLine(std::string text) {
    for (char& character : text) {
        character = character == '\n' ? ' ' : character;
    }
    return text;
}

// Options as they stand on the command line, where they need a conversion.
struct RawOptions {
    std::string seed = "1";
    std::string difficulty = "normal";
    std::vector<std::string> classes;
};

void AddOptions(CLI::App& program, Arguments& arguments, RawOptions& raw) {
    BatchOptions& batch = arguments.batch;
    program.add_option("-o,--output", arguments.folder, "Folder to write to, made if missing")
        ->required();
    program.add_option("--fingers", batch.fingers, "Number of fingers")
        ->capture_default_str()
        ->check(CLI::Range(1, kMostFingers));
    program.add_option("--first-finger", batch.firstFinger, "Number of the first finger")
        ->capture_default_str()
        ->check(CLI::Range(1, kMostFingers));
    program.add_option("--impressions", batch.impressions, "Impressions of each finger")
        ->capture_default_str()
        ->check(CLI::Range(1, kMostImpressions));
    program
        .add_option("--first-impression", batch.firstImpression, "Number of the first impression")
        ->capture_default_str()
        ->check(CLI::Range(1, kMostImpressions));
    program.add_option("--width", batch.frame.width, "Image width in pixels, a multiple of 4")
        ->capture_default_str()
        ->check(CLI::Range(kSmallestSide, kLargestSide))
        ->check(CheckMultipleOfFour);
    program.add_option("--height", batch.frame.height, "Image height in pixels, a multiple of 4")
        ->capture_default_str()
        ->check(CLI::Range(kSmallestSide, kLargestSide))
        ->check(CheckMultipleOfFour);
    program.add_option("--dpi", batch.frame.dpi, "Resolution of the images")
        ->capture_default_str()
        ->check(CLI::Range(250, 1000));
    program.add_option("--seed", raw.seed, "Seed; the same seed gives the same images everywhere")
        ->capture_default_str()
        ->check(CheckSeed);
    program.add_option("--difficulty", raw.difficulty, "Quality of the impressions")
        ->capture_default_str()
        ->check(CLI::IsMember({"easy", "normal", "hard"}));
    program
        .add_option("--class", raw.classes,
                    "Pattern: arch, tented-arch, left-loop, right-loop, whorl or double-loop; "
                    "several, separated by commas, are given to the fingers in turn. Without it "
                    "the patterns come in natural proportion")
        ->delimiter(',')
        ->check(CheckClass);
    program.add_option("-j,--threads", batch.threads, "Threads; the images do not depend on it")
        ->capture_default_str()
        ->check(CLI::Range(1, 64));
    program.add_flag("-q,--quiet", arguments.isQuiet, "Print nothing but errors");
}

}  // namespace

ParseOutcome ParseArguments(int argc, const char* const* argv, Arguments& arguments,
                            std::string& text) {
    CLI::App program(
        "qorfp-synth: images of fingers that do not exist, as <finger>_<impression>.pgm",
        "qorfp-synth");
    program.footer(
        "Exit status: 0 images written, 2 error.\n"
        "Example: qorfp-synth --fingers 4 --impressions 3 --seed 7 --class whorl,left-loop -o out");
    RawOptions raw;
    AddOptions(program, arguments, raw);
    try {
        program.parse(argc, argv);
    } catch (const CLI::CallForHelp&) {
        text = program.help();
        return ParseOutcome::kHelpShown;
    } catch (const CLI::ParseError& error) {
        text = OneLine(error.what());
        return ParseOutcome::kRefused;
    }
    arguments.batch.seed = std::stoull(raw.seed);
    arguments.batch.difficulty = kDifficulties.at(raw.difficulty);
    for (const std::string& name : raw.classes) {
        arguments.batch.classes.push_back(*ClassFromName(name));
    }
    return ParseOutcome::kRun;
}

}  // namespace qorfp::synth
