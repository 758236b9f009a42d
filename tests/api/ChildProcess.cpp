// SPDX-License-Identifier: Apache-2.0
//
// Child processes with captured output, see ChildProcess.h.
#include "tests/api/ChildProcess.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <stdexcept>

namespace apitest {

ChildOutcome RunInChild(const std::function<int()>& body) {
    int ends[2];
    if (pipe(ends) != 0) {
        throw std::runtime_error("no pipe");
    }
    std::fflush(stdout);  // or the child would print the parent's unwritten text again
    const pid_t child = fork();
    if (child < 0) {
        throw std::runtime_error("no child process");
    }
    if (child == 0) {
        dup2(ends[1], STDOUT_FILENO);
        close(ends[0]);
        close(ends[1]);
        const int status = body();
        std::fflush(stdout);
        _exit(status);
    }
    close(ends[1]);
    ChildOutcome outcome;
    char chunk[512];
    for (ssize_t count = 0; (count = read(ends[0], chunk, sizeof(chunk))) > 0;) {
        outcome.output.append(chunk, static_cast<size_t>(count));
    }
    close(ends[0]);
    int status = 0;
    waitpid(child, &status, 0);
    outcome.exited = WIFEXITED(status);
    outcome.status = outcome.exited ? WEXITSTATUS(status) : -1;
    return outcome;
}

}  // namespace apitest
