// SPDX-License-Identifier: Apache-2.0
//
// count_calls --fingers=FOLDER [--most-fingers=N] [--list-divisor=N] WORK: runs a work once,
// for a tool that counts instructions. What counts happens inside CountedRun; the number of calls
// that it makes is printed. Without a work: the names of all.

#if __has_include(<valgrind/callgrind.h>)
#include <valgrind/callgrind.h>
#else
#define CALLGRIND_START_INSTRUMENTATION static_cast<void>(0)
#endif

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>

#include "bench/measured/Work.h"
#include "include/QORFPApi.h"

// The tools find this function by its name.
extern "C" __attribute__((noinline)) void CountedRun(const measure::Work& work, int input);

void CountedRun(const measure::Work& work, int input) {
    work.run(input);
}

namespace {

int Count(const std::vector<measure::NamedWork>& works, const char* name) {
    for (const measure::NamedWork& named : works) {
        if (named.name == name) {
            const measure::Work work = named.prepare();
            // Callgrind looks on from here; the preparation runs faster without it.
            CALLGRIND_START_INSTRUMENTATION;
            for (int i = 0; i < work.cases; ++i) {
                work.restore(i);
                CountedRun(work, i);
            }
            std::printf("calls %d\n", work.Calls());
            return 0;
        }
    }
    std::fprintf(stderr, "count_calls: no work \"%s\"\n", name);
    return 2;
}

// The text behind "--name=", or null.
const char* ValueOf(const char* argument, const char* option) {
    const size_t length = std::strlen(option);
    return std::strncmp(argument, option, length) == 0 ? argument + length : nullptr;
}

}  // namespace

int main(int argumentCount, char** arguments) {
    measure::InputOptions options;
    const char* name = nullptr;
    for (int i = 1; i < argumentCount; ++i) {
        const char* argument = arguments[i];
        if (const char* folder = ValueOf(argument, "--fingers=")) {
            options.fingers = folder;
        } else if (const char* images = ValueOf(argument, "--images=")) {
            options.folders.push_back(images);
        } else if (const char* most = ValueOf(argument, "--most-fingers=")) {
            options.mostFingers = std::atoi(most);
        } else if (const char* divisor = ValueOf(argument, "--list-divisor=")) {
            options.listDivisor = std::atoi(divisor);
        } else {
            name = argument;
        }
    }
    measure::Inputs inputs(options);
    const std::vector<measure::NamedWork> works = measure::AllWorks(inputs);
    if (name == nullptr) {
        for (const measure::NamedWork& work : works) {
            std::printf("%s\n", work.name.c_str());
        }
        return 0;
    }
    try {
        QORFP_Initial(0);
        std::printf("\n");
        return Count(works, name);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "count_calls: %s: %s\n", name, error.what());
        return 2;
    }
}
