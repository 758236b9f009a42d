# SPDX-License-Identifier: Apache-2.0
# Run by cpack between staging and packing: does what Debian's own tools do with the files of a
# package. Programs and the library are stripped, manual pages compressed without name and time.
function(qorfp_run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE STATUS)
  if(NOT STATUS EQUAL 0)
    message(FATAL_ERROR "${ARGN}: ${STATUS}")
  endif()
endfunction()

set(STAGE ${CPACK_TEMPORARY_INSTALL_DIRECTORY})
file(GLOB PAGES ${STAGE}/*/usr/share/man/man[1-9]/*.[1-9])
foreach(PAGE IN LISTS PAGES)
  if(IS_SYMLINK ${PAGE})
    file(READ_SYMLINK ${PAGE} TARGET)
    file(REMOVE ${PAGE})
    file(CREATE_LINK ${TARGET}.gz ${PAGE}.gz SYMBOLIC)
  else()
    qorfp_run(gzip -9nf ${PAGE})
  endif()
endforeach()

file(GLOB_RECURSE BINARIES
  ${STAGE}/tools/usr/bin/* ${STAGE}/runtime/usr/*/libqorfp.so.${CPACK_PACKAGE_VERSION})
foreach(BINARY IN LISTS BINARIES)
  qorfp_run(${CPACK_QORFP_STRIP} --strip-unneeded --remove-section=.comment --remove-section=.note
    ${BINARY})
endforeach()
