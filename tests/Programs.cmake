# SPDX-License-Identifier: Apache-2.0
#
# How test programs are built and run, on this machine and in an emulator of another one
# (CMAKE_CROSSCOMPILING_EMULATOR, see cmake/toolchains).

# GTest::gtest_main: the installed library or, for another machine and for MemorySanitizer, which must
# know what it writes, the sources that Debian's package googletest brings.
if(CMAKE_CROSSCOMPILING OR QORFP_SANITIZE STREQUAL "memory")
  set(QORFP_GOOGLETEST /usr/src/googletest/googletest CACHE PATH "Sources of GoogleTest")
  add_library(qorfp_gtest STATIC
    ${QORFP_GOOGLETEST}/src/gtest-all.cc
    ${QORFP_GOOGLETEST}/src/gtest_main.cc)
  target_include_directories(qorfp_gtest PRIVATE ${QORFP_GOOGLETEST})
  target_include_directories(qorfp_gtest SYSTEM PUBLIC ${QORFP_GOOGLETEST}/include)
  target_link_libraries(qorfp_gtest PUBLIC Threads::Threads)
  add_library(GTest::gtest_main ALIAS qorfp_gtest)
else()
  find_package(GTest REQUIRED)
  include(GoogleTest)
endif()

if(QORFP_PCH)
  add_library(qorfp_gtest_headers OBJECT ${PROJECT_SOURCE_DIR}/tests/support/Precompiled.cpp)
  target_link_libraries(qorfp_gtest_headers PRIVATE
    qorfp_warnings qorfp_test_code GTest::gtest_main)
  target_precompile_headers(qorfp_gtest_headers PRIVATE
    <gtest/gtest.h> <algorithm> <array> <fstream> <functional> <map> <random> <set> <string> <vector>)
endif()

# qorfp_add_gtests(TARGET [PREFIX] [SHARDS]): the cases of a GoogleTest program, one ctest each. For
# another machine and for MemorySanitizer one for all of them, or SHARDS with a share each: starting
# the program for every case takes longer there than the cases.
function(qorfp_add_gtests TARGET)
  cmake_parse_arguments(ARG "" "PREFIX;SHARDS" "" ${ARGN})
  if(QORFP_PCH)
    target_precompile_headers(${TARGET} REUSE_FROM qorfp_gtest_headers)
  endif()
  if(NOT CMAKE_CROSSCOMPILING AND NOT QORFP_SANITIZE STREQUAL "memory")
    gtest_discover_tests(${TARGET} TEST_PREFIX "${ARG_PREFIX}" DISCOVERY_TIMEOUT 60)
  elseif(NOT ARG_SHARDS)
    add_test(NAME ${ARG_PREFIX}${TARGET} COMMAND ${TARGET})
  else()
    foreach(SHARD RANGE 1 ${ARG_SHARDS})
      add_test(NAME ${ARG_PREFIX}${TARGET}.${SHARD} COMMAND ${TARGET})
      math(EXPR INDEX "${SHARD} - 1")
      set_tests_properties(${ARG_PREFIX}${TARGET}.${SHARD} PROPERTIES
        ENVIRONMENT "GTEST_TOTAL_SHARDS=${ARG_SHARDS};GTEST_SHARD_INDEX=${INDEX}")
    endforeach()
  endif()
endfunction()

# qorfp_runnable(VARIABLE TARGET): the path under which a script starts a program: its own or, for
# another machine, that of a script of the same name which starts it in the emulator.
function(qorfp_runnable VARIABLE TARGET)
  get_target_property(EMULATOR ${TARGET} CROSSCOMPILING_EMULATOR)
  if(NOT EMULATOR)
    set(${VARIABLE} $<TARGET_FILE:${TARGET}> PARENT_SCOPE)
    return()
  endif()
  list(JOIN EMULATOR " " EMULATOR)
  set(RUNNER ${PROJECT_BINARY_DIR}/emulated/${TARGET})
  file(GENERATE OUTPUT ${RUNNER}
    CONTENT "#!/bin/sh\nexec ${EMULATOR} \"$<TARGET_FILE:${TARGET}>\" \"$@\"\n"
    FILE_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE)
  set(${VARIABLE} ${RUNNER} PARENT_SCOPE)
endfunction()
