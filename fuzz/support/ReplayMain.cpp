// SPDX-License-Identifier: Apache-2.0
//
// replay_TARGET FILE_OR_FOLDER...: runs a fuzz target on stored inputs, without libFuzzer, built
// with any compiler for any machine. Ends like the target: abnormally at the first finding, whose
// file was named on standard error before.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

#include "fuzz/support/Target.h"

namespace {

namespace fs = std::filesystem;

void AddInputs(const fs::path& path, std::vector<fs::path>& inputs) {
    if (!fs::is_directory(path)) {
        inputs.push_back(path);
        return;
    }
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(path)) {
        if (entry.is_regular_file()) {
            inputs.push_back(entry.path());
        }
    }
}

std::vector<uint8_t> Read(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        throw std::runtime_error(path.string() + ": cannot be read");
    }
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

void Replay(const std::vector<fs::path>& inputs) {
    for (const fs::path& path : inputs) {
        std::fprintf(stderr, "%s\n", path.c_str());
        const std::vector<uint8_t> bytes = Read(path);
        LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
    }
    std::fprintf(stderr, "%zu inputs, no finding\n", inputs.size());
}

}  // namespace

int main(int argc, char** argv) {
    try {
        std::vector<fs::path> inputs;
        for (int i = 1; i < argc; ++i) {
            AddInputs(argv[i], inputs);
        }
        if (inputs.empty()) {
            std::fprintf(stderr, "usage: %s FILE_OR_FOLDER...; no input found\n", argv[0]);
            return 2;
        }
        std::sort(inputs.begin(), inputs.end());
        LLVMFuzzerInitialize(&argc, &argv);
        Replay(inputs);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 2;
    }
    return 0;
}
