# SPDX-License-Identifier: Apache-2.0
# How the programs around the library are compiled that are built far more often than they run long:
# tests, replays of fuzz inputs, makers of tables. They link with qorfp_test_code; the library that they
# test is compiled as the configuration says.
#
#   optimised         -O1: the checks are called by the thousand, not by the million
#   AddressSanitizer  -O0: it then sees every access as it is written, and to optimise what it adds
#                     takes three times as long as to compile it
#
# MemorySanitizer knows of the C++ library only what is inlined, so its tests are optimised as the
# configuration says.
add_library(qorfp_test_code INTERFACE)
if(NOT CMAKE_BUILD_TYPE STREQUAL Debug)
  target_compile_options(qorfp_test_code INTERFACE -O1)
elseif(QORFP_SANITIZE MATCHES address AND QORFP_BUILD_TESTS)
  target_compile_options(qorfp_test_code INTERFACE -O0)
endif()

# Off by default, and in one of the configurations of scripts/test.sh --all: each file of the tests
# includes what it needs.
option(QORFP_PCH "Precompile the headers of GoogleTest and of the standard library for the tests" OFF)
