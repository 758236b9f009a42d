# SPDX-License-Identifier: Apache-2.0
# Debian packages by CPack, of the components that cmake/Install.cmake names: libqorfp1, libqorfp-dev
# and qorfp-tools. scripts/package.sh configures the build for them, sets SOURCE_DATE_EPOCH and
# looks at the result.
set(QORFP_PACKAGE_MAINTAINER "qorfp maintainers <maintainers@qorfp.example.org>" CACHE STRING
  "Name and address of who makes the packages")
set(QORFP_PACKAGE_ARCHITECTURE "" CACHE STRING "Debian's name of the machine, e.g. armhf")
if(NOT CMAKE_INSTALL_PREFIX STREQUAL "/usr" OR NOT QORFP_PACKAGE_ARCHITECTURE)
  message(FATAL_ERROR "Packages need -DCMAKE_INSTALL_PREFIX=/usr and QORFP_PACKAGE_ARCHITECTURE: "
                      "use scripts/package.sh")
endif()
set(QORFP_DEBIAN_DIR ${CMAKE_CURRENT_LIST_DIR}/debian)

set(CPACK_GENERATOR DEB)
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_PACKAGE_NAME ${PROJECT_NAME})
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")  # each has its own, below
set(CPACK_PACKAGE_CONTACT "${QORFP_PACKAGE_MAINTAINER}")
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/packages)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_COMPONENTS_ALL runtime development tools)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE ${QORFP_PACKAGE_ARCHITECTURE})
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
# CPack's own search for dependencies would also write maintainer scripts that call ldconfig, where
# Debian has a trigger: the finished files are looked at in PackageDependencies.cmake instead.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS OFF)
set(CPACK_PROJECT_CONFIG_FILE ${CMAKE_CURRENT_LIST_DIR}/PackageDependencies.cmake)
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_CURRENT_LIST_DIR}/PackageFiles.cmake)
set(CPACK_QORFP_STRIP ${CMAKE_STRIP})
set(CPACK_QORFP_LIBRARY_DIR ${PROJECT_BINARY_DIR})
set(CPACK_QORFP_PROGRAMS
  ${PROJECT_BINARY_DIR}/tools/qorfp/qorfp
  ${PROJECT_BINARY_DIR}/tools/synth/qorfp-synth
  ${PROJECT_BINARY_DIR}/tools/selftest/qorfp-selftest)

# This CPack has no word for the field Multi-Arch, which therefore rides on another one.
set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libqorfp${PROJECT_VERSION_MAJOR})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION "libs\nMulti-Arch: same")
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION "fingerprint recognition for embedded Linux (library)
qorfp turns finger images into templates of 512 bytes and compares them:
verification of two fingers, search in a list, enrolment from several
captures. It needs 200 KiB of static memory and integer arithmetic only, and
gives the same result on every machine.
.
This package holds the shared library.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libqorfp-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION "libdevel\nMulti-Arch: same")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS
  "${CPACK_DEBIAN_RUNTIME_PACKAGE_NAME} (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION "fingerprint recognition for embedded Linux (development)
qorfp turns finger images into templates of 512 bytes and compares them.
.
This package holds the header and what CMake and pkg-config need to find the
library.")

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME qorfp-tools)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION "utils\nMulti-Arch: foreign")
set(CPACK_DEBIAN_TOOLS_DESCRIPTION "fingerprint recognition for embedded Linux (programs)
qorfp turns finger images into templates of 512 bytes and compares them.
.
This package holds the command line qorfp, the self-test of the library
qorfp-selftest, and qorfp-synth, which makes images of fingers that do not
exist, for tests.")

# Control files of the library: how other packages come to depend on it, and that the linker's cache
# is stale.
configure_file(${QORFP_DEBIAN_DIR}/shlibs.in ${PROJECT_BINARY_DIR}/debian/shlibs @ONLY)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA
  ${PROJECT_BINARY_DIR}/debian/shlibs ${QORFP_DEBIAN_DIR}/symbols ${QORFP_DEBIAN_DIR}/triggers)

# Every package has the licence and the changelog.
execute_process(
  COMMAND ${CMAKE_CURRENT_LIST_DIR}/debian/changelog.sh
          ${PROJECT_SOURCE_DIR}/CHANGELOG.md ${PROJECT_VERSION} "${QORFP_PACKAGE_MAINTAINER}"
          ${PROJECT_BINARY_DIR}/debian/changelog.gz
  RESULT_VARIABLE QORFP_STATUS)
if(NOT QORFP_STATUS EQUAL 0)
  message(FATAL_ERROR "The changelog of the packages cannot be made")
endif()
foreach(COMPONENT IN LISTS CPACK_COMPONENTS_ALL)
  string(TOUPPER ${COMPONENT} NAME)
  install(FILES ${QORFP_DEBIAN_DIR}/copyright ${PROJECT_BINARY_DIR}/debian/changelog.gz
    DESTINATION share/doc/${CPACK_DEBIAN_${NAME}_PACKAGE_NAME} COMPONENT ${COMPONENT})
endforeach()
include(CPack)
