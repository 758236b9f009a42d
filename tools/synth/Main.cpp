// SPDX-License-Identifier: Apache-2.0
// qorfp-synth: writes images of synthetic fingers. Exit status 0, or 2 after an error, with one
// line on standard error.
#include <cstdio>
#include <exception>

#include "tools/synth/Arguments.h"
#include "tools/synth/Progress.h"

namespace {

constexpr int kExitDone = 0;
constexpr int kExitError = 2;

void Run(const qorfp::synth::Arguments& arguments) {
    const qorfp::synth::BatchOptions& batch = arguments.batch;
    const qorfp::synth::ImageSink sink = qorfp::synth::FolderSink(arguments.folder, batch.frame);
    const qorfp::synth::Progress progress(batch.fingers, arguments.isQuiet);
    qorfp::synth::MakeBatch(batch, sink, [&progress](int finished) { progress.Show(finished); });
}

}  // namespace

int main(int argc, char** argv) {
    qorfp::synth::Arguments arguments;
    std::string text;
    switch (qorfp::synth::ParseArguments(argc, argv, arguments, text)) {
        case qorfp::synth::ParseOutcome::kHelpShown:
            std::fputs(text.c_str(), stdout);
            return kExitDone;
        case qorfp::synth::ParseOutcome::kRefused:
            std::fprintf(stderr, "qorfp-synth: %s\n", text.c_str());
            return kExitError;
        case qorfp::synth::ParseOutcome::kRun:
            break;
    }
    try {
        Run(arguments);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "qorfp-synth: %s\n", error.what());
        return kExitError;
    }
    if (!arguments.isQuiet) {
        const qorfp::synth::BatchOptions& batch = arguments.batch;
        std::printf("%s: %d images of %d fingers\n", arguments.folder.c_str(),
                    batch.fingers * batch.impressions, batch.fingers);
    }
    return kExitDone;
}
