// SPDX-License-Identifier: Apache-2.0
//
// What a fuzz target defines, under the names that libFuzzer calls; ReplayMain.cpp calls the same.
#pragma once

#include <cstddef>
#include <cstdint>

extern "C" {

/// Once, before the first input. Initialize.cpp has it for all targets.
int LLVMFuzzerInitialize(int* argc, char*** argv);

/// One input. What is wrong with the tested code ends the process.
/// @return 0
int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

}  // extern "C"
