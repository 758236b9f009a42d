# SPDX-License-Identifier: Apache-2.0
#
# Makes the self-test's tables anew in the folder FRESH and compares them with the COMMITTED ones.
file(REMOVE_RECURSE ${FRESH})
file(MAKE_DIRECTORY ${FRESH})
execute_process(COMMAND ${MAKE_TABLES} ${IMAGES} ${FRESH} RESULT_VARIABLE MAKE_RESULT)
if(NOT MAKE_RESULT EQUAL 0)
  message(FATAL_ERROR "make_selftest_tables failed")
endif()
foreach(TABLE PinnedCaptures.c PinnedResults.c)
  execute_process(COMMAND ${CMAKE_COMMAND} -E compare_files ${FRESH}/${TABLE} ${COMMITTED}/${TABLE}
                  RESULT_VARIABLE IS_DIFFERENT)
  if(IS_DIFFERENT)
    message(FATAL_ERROR "${TABLE} differs from what the models say now: ${FRESH}/${TABLE}")
  endif()
endforeach()
