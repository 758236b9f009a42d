// SPDX-License-Identifier: Apache-2.0
//
// Runs a piece of code in a child process, with what it prints on standard output. The child
// starts from the library's state in the parent, so a parent that has never called QORFP_Initial
// can look at the library before and after it as often as it likes.
#pragma once

#include <functional>
#include <string>

namespace apitest {

struct ChildOutcome {
    bool exited = false;  ///< false when a signal ended the child
    int status = -1;      ///< what the body returned, 0..255
    std::string output;   ///< standard output, byte for byte
};

ChildOutcome RunInChild(const std::function<int()>& body);

}  // namespace apitest
