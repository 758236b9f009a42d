# SPDX-License-Identifier: Apache-2.0
# What `cmake --install` puts where, in three components that are also the Debian packages:
# runtime (the shared object), development (header, link name, what CMake and pkg-config read) and
# tools (programs with their manual pages and shell completion).
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(QORFP_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/qorfp)
set(QORFP_PKGCONFIG_DIR ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

install(TARGETS qorfp EXPORT qorfp-targets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
          COMPONENT runtime
          NAMELINK_COMPONENT development
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(FILES ${PROJECT_SOURCE_DIR}/include/QORFPApi.h
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)

# find_package(qorfp): the target qorfp::qorfp, found relative to the files themselves.
install(EXPORT qorfp-targets
  NAMESPACE qorfp::
  FILE qorfpTargets.cmake
  DESTINATION ${QORFP_CMAKE_DIR}
  COMPONENT development)
configure_package_config_file(
  ${CMAKE_CURRENT_LIST_DIR}/qorfpConfig.cmake.in ${PROJECT_BINARY_DIR}/qorfpConfig.cmake
  INSTALL_DESTINATION ${QORFP_CMAKE_DIR}
  NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/qorfpConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES
    ${PROJECT_BINARY_DIR}/qorfpConfig.cmake
    ${PROJECT_BINARY_DIR}/qorfpConfigVersion.cmake
  DESTINATION ${QORFP_CMAKE_DIR} COMPONENT development)

# qorfp.pc: the prefix is what lies above the file, so that the tree may be installed anywhere with
# `cmake --install --prefix`, and moved. For a system's own tree, configured with the prefix /usr, it
# is plain: pkg-config then leaves the compiler's own folders out and puts PKG_CONFIG_SYSROOT_DIR
# before the rest. Folders that were chosen as absolute paths stay as they are.
set(QORFP_PC_PREFIX ${CMAKE_INSTALL_PREFIX})
set(QORFP_PC_LIBDIR ${CMAKE_INSTALL_LIBDIR})
set(QORFP_PC_INCLUDEDIR ${CMAKE_INSTALL_INCLUDEDIR})
if(NOT IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}")
  set(QORFP_PC_LIBDIR "\${prefix}/${CMAKE_INSTALL_LIBDIR}")
  if(NOT CMAKE_INSTALL_PREFIX STREQUAL "/usr")
    file(RELATIVE_PATH QORFP_PC_UP /${QORFP_PKGCONFIG_DIR} /)
    string(REGEX REPLACE "/$" "" QORFP_PC_UP "${QORFP_PC_UP}")
    set(QORFP_PC_PREFIX "\${pcfiledir}/${QORFP_PC_UP}")
  endif()
endif()
if(NOT IS_ABSOLUTE "${CMAKE_INSTALL_INCLUDEDIR}")
  set(QORFP_PC_INCLUDEDIR "\${prefix}/${CMAKE_INSTALL_INCLUDEDIR}")
endif()
configure_file(${CMAKE_CURRENT_LIST_DIR}/qorfp.pc.in ${PROJECT_BINARY_DIR}/qorfp.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/qorfp.pc
  DESTINATION ${QORFP_PKGCONFIG_DIR} COMPONENT development)

# qorfp(3), made from the comments of the header, under the name of every call as well.
find_program(QORFP_AWK awk)
if(QORFP_AWK)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS
    ${PROJECT_SOURCE_DIR}/include/QORFPApi.h ${CMAKE_CURRENT_LIST_DIR}/HeaderManual.awk)
  set(PAGE ${PROJECT_BINARY_DIR}/man/qorfp.3)
  file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/man)
  execute_process(
    COMMAND ${QORFP_AWK} -v version=${PROJECT_VERSION}
            -f ${CMAKE_CURRENT_LIST_DIR}/HeaderManual.awk ${PROJECT_SOURCE_DIR}/include/QORFPApi.h
    OUTPUT_FILE ${PAGE} RESULT_VARIABLE QORFP_STATUS)
  if(NOT QORFP_STATUS EQUAL 0)
    message(FATAL_ERROR "The manual page of the library cannot be made: ${QORFP_STATUS}")
  endif()
  set(PAGES ${PAGE})
  file(STRINGS ${PAGE} CALLS REGEX "^[.]SS QORFP_")
  foreach(CALL IN LISTS CALLS)
    string(REPLACE ".SS " "" CALL ${CALL})
    execute_process(COMMAND ${CMAKE_COMMAND} -E create_symlink
      qorfp.3 ${PROJECT_BINARY_DIR}/man/${CALL}.3)
    list(APPEND PAGES ${PROJECT_BINARY_DIR}/man/${CALL}.3)
  endforeach()
  install(FILES ${PAGES} DESTINATION ${CMAKE_INSTALL_MANDIR}/man3 COMPONENT development)
endif()

# Programs find the library in the tree they were installed with. Each has a manual page.
file(RELATIVE_PATH QORFP_BIN_TO_LIB ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
function(qorfp_install_program TARGET PAGE)
  set_target_properties(${TARGET} PROPERTIES INSTALL_RPATH "\$ORIGIN/${QORFP_BIN_TO_LIB}")
  install(TARGETS ${TARGET} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tools)
  get_filename_component(NAME ${PAGE} NAME)
  string(REGEX REPLACE "[.]in$" "" NAME ${NAME})
  configure_file(${PAGE} ${PROJECT_BINARY_DIR}/man/${NAME} @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/man/${NAME}
    DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tools)
endfunction()

if(QORFP_BUILD_TOOLS)
  qorfp_install_program(qorfp-cli ${PROJECT_SOURCE_DIR}/tools/qorfp/qorfp.1.in)
  qorfp_install_program(qorfp-synth ${PROJECT_SOURCE_DIR}/tools/synth/qorfp-synth.1.in)

  # bash loads the file that has the command's name: one file, three names.
  set(QORFP_COMPLETION_DIR ${CMAKE_INSTALL_DATAROOTDIR}/bash-completion/completions)
  install(FILES ${PROJECT_SOURCE_DIR}/tools/qorfp/qorfp.bash
    DESTINATION ${QORFP_COMPLETION_DIR} RENAME qorfp COMPONENT tools)
  foreach(NAME qorfp-synth qorfp-selftest)
    file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/completions)
    execute_process(COMMAND ${CMAKE_COMMAND} -E create_symlink
      qorfp ${PROJECT_BINARY_DIR}/completions/${NAME})
    install(FILES ${PROJECT_BINARY_DIR}/completions/${NAME}
      DESTINATION ${QORFP_COMPLETION_DIR} COMPONENT tools)
  endforeach()
endif()
if(QORFP_BUILD_SELFTEST)
  qorfp_install_program(qorfp-selftest ${PROJECT_SOURCE_DIR}/tools/selftest/qorfp-selftest.1.in)
endif()
