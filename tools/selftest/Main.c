// SPDX-License-Identifier: Apache-2.0
//
// qorfp-selftest: runs stored images through every call of the library on the machine at hand and
// prints one line: PASS, or FAIL with the first difference from what the results must be. Needs no
// file and no library but libqorfp and the C library.
#include <stdio.h>
#include <string.h>

#include "tools/selftest/Checks.h"
#include "tools/selftest/Report.h"

static const char kUsage[] =
    "usage: qorfp-selftest [-v]\n"
    "Runs stored images through every call of libqorfp and compares the results.\n"
    "Prints PASS, or FAIL with the first difference; -v also prints each call with its time.\n"
    "Exit status: 0 pass, 1 fail, 2 wrong use.\n";

int main(int argc, char** argv) {
    const int isVerbose = argc == 2 && strcmp(argv[1], "-v") == 0;
    if (argc == 2 && (strcmp(argv[1], "-h") == 0 || strcmp(argv[1], "--help") == 0)) {
        fputs(kUsage, stdout);
        return 0;
    }
    if (argc != 1 && !isVerbose) {
        fputs(kUsage, stderr);
        return 2;
    }
    if (!StartReport(isVerbose)) {
        fputs("qorfp-selftest: standard output cannot be redirected\n", stderr);
        return 2;
    }
    CheckStart();
    if (!HasFailed()) {
        CheckExtraction();
    }
    if (!HasFailed()) {
        CheckTemplates();
    }
    if (!HasFailed()) {
        CheckMatching();
    }
    return EndReport("MEL_FPR_AI3_V1.1.3");
}
