# SPDX-License-Identifier: Apache-2.0
# Read by cpack before it makes a package: what the finished files need, as Debian's own tool says.
# For another machine, DEB_HOST_ARCH, DPKG_ADMINDIR and QORFP_LIBRARY_PATH in the environment say
# where its libraries and their packages are known.
function(qorfp_find_dependencies RESULT)
  set(FOLDER ${CPACK_QORFP_LIBRARY_DIR}/debian/shlibdeps)
  file(MAKE_DIRECTORY ${FOLDER}/debian)
  file(WRITE ${FOLDER}/debian/control "Source: qorfp\n\nPackage: qorfp-tools\nArchitecture: any\n")
  # The library is this build's own; the packages state that dependency themselves.
  file(WRITE ${FOLDER}/debian/shlibs.local "libqorfp 1\n")
  set(SEARCH -l${CPACK_QORFP_LIBRARY_DIR})
  if(DEFINED ENV{QORFP_LIBRARY_PATH})
    string(REPLACE ":" ";" FOLDERS "$ENV{QORFP_LIBRARY_PATH}")
    foreach(NAME IN LISTS FOLDERS)
      list(APPEND SEARCH -l${NAME})
    endforeach()
  endif()
  execute_process(COMMAND dpkg-shlibdeps --warnings=1 -O ${SEARCH} ${ARGN}
    WORKING_DIRECTORY ${FOLDER}
    OUTPUT_VARIABLE OUTPUT ERROR_VARIABLE ERRORS RESULT_VARIABLE STATUS)
  if(NOT STATUS EQUAL 0 OR NOT OUTPUT MATCHES "shlibs:Depends=([^\n]+)")
    message(FATAL_ERROR "dpkg-shlibdeps: ${OUTPUT}${ERRORS}")
  endif()
  set(${RESULT} "${CMAKE_MATCH_1}" PARENT_SCOPE)
endfunction()

qorfp_find_dependencies(CPACK_DEBIAN_RUNTIME_PACKAGE_DEPENDS
  ${CPACK_QORFP_LIBRARY_DIR}/libqorfp.so)
qorfp_find_dependencies(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS ${CPACK_QORFP_PROGRAMS})
string(PREPEND CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS
  "${CPACK_DEBIAN_RUNTIME_PACKAGE_NAME} (>= ${CPACK_PACKAGE_VERSION}), ")
