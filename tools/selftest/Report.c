// SPDX-License-Identifier: Apache-2.0
#define _POSIX_C_SOURCE 200809L

#include "tools/selftest/Report.h"

#include <fcntl.h>
#include <signal.h>
#include <stdarg.h>
#include <stdio.h>
#include <string.h>
#include <time.h>
#include <unistd.h>

enum { kTextBytes = 160, kLogBytes = 1024 };

static struct {
    int isVerbose;
    FILE* out;    // what standard output was
    int pipeEnd;  // where the library's lines can be read

    char call[kTextBytes];  // name and subject of the current call
    int isLogChecked;       // its log lines have been compared
    struct timespec started;
    int calls;

    char failure[3 * kTextBytes];  // empty: none yet
} report = {.call = "start"};

// The library's lines go into a pipe that never blocks: a flood of them ends in the pipe's full
// buffer, and is a difference already.
static int RedirectOutput(void) {
    int ends[2];
    fflush(stdout);
    const int terminal = dup(STDOUT_FILENO);
    if (terminal < 0 || pipe(ends) != 0 || dup2(ends[1], STDOUT_FILENO) < 0) {
        return 0;
    }
    close(ends[1]);
    report.pipeEnd = ends[0];
    report.out = fdopen(terminal, "w");
    return report.out != NULL && fcntl(ends[0], F_SETFL, O_NONBLOCK) == 0 &&
           fcntl(STDOUT_FILENO, F_SETFL, O_NONBLOCK) == 0;
}

static void WriteText(int file, const char* text) {
    const ssize_t written = write(file, text, strlen(text));
    (void)written;  // on the way out: nothing is left to be done about a failure
}

// Only what may be called in a signal handler.
static void OnSignal(int number) {
    const int file = fileno(report.out);
    WriteText(file, "FAIL ");
    WriteText(file, report.call);
    WriteText(file, number == SIGILL    ? ": illegal instruction\n"
                    : number == SIGBUS  ? ": bus error\n"
                    : number == SIGSEGV ? ": invalid memory access\n"
                    : number == SIGFPE  ? ": arithmetic exception\n"
                                        : ": aborted\n");
    _exit(1);
}

int StartReport(int isVerbose) {
    static const int kSignals[] = {SIGILL, SIGBUS, SIGSEGV, SIGFPE, SIGABRT};
    struct sigaction action;
    report.isVerbose = isVerbose;
    if (!RedirectOutput()) {
        return 0;
    }
    memset(&action, 0, sizeof action);
    action.sa_handler = OnSignal;
    for (size_t i = 0; i < sizeof kSignals / sizeof kSignals[0]; ++i) {
        if (sigaction(kSignals[i], &action, NULL) != 0) {
            return 0;
        }
    }
    return 1;
}

static void Fail(const char* format, ...) {
    if (HasFailed()) {
        return;
    }
    va_list arguments;
    const int length = snprintf(report.failure, sizeof report.failure, "%s: ", report.call);
    va_start(arguments, format);
    vsnprintf(report.failure + length, sizeof report.failure - (size_t)length, format, arguments);
    va_end(arguments);
}

static void FinishCall(void) {
    if (report.calls > 0 && !report.isLogChecked) {
        ExpectLog("");
    }
}

void BeginCall(const char* call, const char* subject) {
    FinishCall();
    snprintf(report.call, sizeof report.call, "%s%s%s", call, *subject != '\0' ? ", " : "",
             subject);
    report.isLogChecked = 0;
    ++report.calls;
    clock_gettime(CLOCK_MONOTONIC, &report.started);
}

void EndCall(void) {
    struct timespec ended;
    clock_gettime(CLOCK_MONOTONIC, &ended);
    if (report.isVerbose) {
        const long long microseconds = (ended.tv_sec - report.started.tv_sec) * 1000000LL +
                                       (ended.tv_nsec - report.started.tv_nsec) / 1000;
        fprintf(report.out, "%9lld us  %s\n", microseconds, report.call);
        fflush(report.out);
    }
}

void ExpectResult(uint32_t actual, uint32_t expected) {
    ExpectNumber("result", actual, expected);
}

void ExpectNumber(const char* what, int64_t actual, int64_t expected) {
    if (actual != expected) {
        Fail("%s is %lld, expected %lld", what, (long long)actual, (long long)expected);
    }
}

void ExpectBytes(const char* what, const uint8_t* actual, const uint8_t* expected, size_t count) {
    for (size_t i = 0; i < count; ++i) {
        if (actual[i] != expected[i]) {
            Fail("byte %lu of the %s is %d, expected %d", (unsigned long)i, what, actual[i],
                 expected[i]);
            return;
        }
    }
}

// A text that may hold anything, in one line.
static void CopyPrintable(char* to, size_t size, const char* from) {
    size_t length = 0;
    for (; *from != '\0' && length + 1 < size; ++from) {
        to[length++] = *from >= ' ' && *from <= '~' ? *from : '?';
    }
    to[length] = '\0';
}

void ExpectText(const char* what, const char* actual, const char* expected) {
    if (strcmp(actual, expected) != 0) {
        char actualText[kTextBytes];
        char expectedText[kTextBytes];
        CopyPrintable(actualText, sizeof actualText, actual);
        CopyPrintable(expectedText, sizeof expectedText, expected);
        Fail("%s is \"%s\", expected \"%s\"", what, actualText, expectedText);
    }
}

void ExpectLog(const char* expected) {
    char text[kLogBytes];
    fflush(stdout);
    const ssize_t length = read(report.pipeEnd, text, sizeof text - 1);
    text[length < 0 ? 0 : length] = '\0';
    report.isLogChecked = 1;
    ExpectText("text on standard output", text, expected);
}

int HasFailed(void) {
    return report.failure[0] != '\0';
}

int EndReport(const char* about) {
    FinishCall();
    if (HasFailed()) {
        fprintf(report.out, "FAIL %s\n", report.failure);
    } else {
        fprintf(report.out, "PASS %s, %d calls\n", about, report.calls);
    }
    return fclose(report.out) == 0 && !HasFailed() ? 0 : 1;
}
