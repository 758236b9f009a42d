// SPDX-License-Identifier: Apache-2.0
//
// The verdict of the self-test: the first difference, or how many calls were right. While calls
// run, what the library prints on standard output goes into a pipe, because its text is checked as
// well; a signal (an instruction that the processor does not have, say) is reported like a
// difference, with the call that it stopped.
#ifndef QORFP_SELFTEST_REPORT_H
#define QORFP_SELFTEST_REPORT_H

#include <stddef.h>
#include <stdint.h>

/// Takes over standard output and the signals of a crash. Returns 0 when that is not possible.
int StartReport(int isVerbose);

/// Comes before a call of the library: its name, and what it works on (or "").
void BeginCall(const char* call, const char* subject);

/// Comes directly after the call.
void EndCall(void);

// Comparisons, to be made after EndCall. Only the first one that fails counts.

void ExpectResult(uint32_t actual, uint32_t expected);
void ExpectNumber(const char* what, int64_t actual, int64_t expected);
void ExpectBytes(const char* what, const uint8_t* actual, const uint8_t* expected, size_t count);
void ExpectText(const char* what, const char* actual, const char* expected);

/// What the last call has printed. Calls without it must not have printed anything.
void ExpectLog(const char* expected);

/// Nothing more needs to be called.
int HasFailed(void);

/// Prints the verdict, one line, with `about` behind "PASS". Returns the exit status.
int EndReport(const char* about);

#endif
