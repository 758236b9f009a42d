// SPDX-License-Identifier: Apache-2.0
#include <cstdio>

#include "fuzz/support/Expect.h"
#include "fuzz/support/Target.h"
#include "include/QORFPApi.h"

int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
    // The library's log lines; findings and statistics are on standard error.
    fuzz::Expect(std::freopen("/dev/null", "w", stdout) != nullptr, "/dev/null opens");
    QORFP_Initial(0);
    return 0;
}
