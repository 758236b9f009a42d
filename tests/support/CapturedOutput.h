// SPDX-License-Identifier: Apache-2.0
//
// What a piece of code writes to the process's standard output, byte for byte.
#pragma once

#include <stdio.h>
#include <unistd.h>

#include <stdexcept>
#include <string>

namespace testsupport {

template <class Code>
std::string OutputOf(Code code) {
    FILE* const file = tmpfile();
    if (file == nullptr) {
        throw std::runtime_error("no temporary file");
    }
    fflush(stdout);
    const int saved = dup(STDOUT_FILENO);
    dup2(fileno(file), STDOUT_FILENO);
    code();
    fflush(stdout);
    dup2(saved, STDOUT_FILENO);
    close(saved);
    std::string text;
    rewind(file);
    for (int character = fgetc(file); character != EOF; character = fgetc(file)) {
        text.push_back(static_cast<char>(character));
    }
    fclose(file);
    return text;
}

}  // namespace testsupport
