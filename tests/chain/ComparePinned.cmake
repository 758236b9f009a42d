# SPDX-License-Identifier: Apache-2.0
#
# Makes the pinned tables anew in the folder FRESH and compares them with those in PINNED.
file(REMOVE_RECURSE ${FRESH})
execute_process(COMMAND ${MAKE_PINNED} ${IMAGES} ${FRESH} RESULT_VARIABLE MAKE_RESULT)
if(NOT MAKE_RESULT EQUAL 0)
  message(FATAL_ERROR "make_pinned failed")
endif()
file(GLOB FRESH_TABLES RELATIVE ${FRESH} ${FRESH}/*.tsv)
file(GLOB PINNED_TABLES RELATIVE ${PINNED} ${PINNED}/*.tsv)
if(NOT FRESH_TABLES OR NOT FRESH_TABLES STREQUAL PINNED_TABLES)
  message(FATAL_ERROR "tables made: ${FRESH_TABLES}; tables pinned: ${PINNED_TABLES}")
endif()
foreach(TABLE IN LISTS PINNED_TABLES)
  execute_process(COMMAND ${CMAKE_COMMAND} -E compare_files ${FRESH}/${TABLE} ${PINNED}/${TABLE}
                  RESULT_VARIABLE IS_DIFFERENT)
  if(IS_DIFFERENT)
    message(FATAL_ERROR "${TABLE} differs from what the models say now: ${FRESH}/${TABLE}")
  endif()
endforeach()
