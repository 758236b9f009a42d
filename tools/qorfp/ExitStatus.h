// SPDX-License-Identifier: Apache-2.0
//
// Exit statuses, the same for every sub-command, so that scripts can tell an answer from a failure.
#pragma once

namespace qorfp::cli {

constexpr int kExitYes = 0;    // done; match; a finger is present
constexpr int kExitNo = 1;     // the engine's answer is no: no match, no finger, no template
constexpr int kExitError = 2;  // bad arguments or a file that cannot be used

}  // namespace qorfp::cli
