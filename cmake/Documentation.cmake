# SPDX-License-Identifier: Apache-2.0
# The target "docs": the documentation as one static site, see docs/site/build.sh. With
# QORFP_BUILD_DOCS its tools must be there and a test builds it; otherwise they are missed when the
# target is built.
if(QORFP_BUILD_DOCS)
  foreach(TOOL doxygen mkdocs htmlproofer)
    find_program(QORFP_${TOOL} ${TOOL})
    if(NOT QORFP_${TOOL})
      message(FATAL_ERROR "QORFP_BUILD_DOCS needs ${TOOL}; scripts/docs.sh installs it")
    endif()
  endforeach()
endif()
add_custom_target(docs
  COMMAND ${PROJECT_SOURCE_DIR}/docs/site/build.sh ${PROJECT_BINARY_DIR}/docs
          $<TARGET_FILE:qorfp-cli>
  DEPENDS qorfp-cli
  USES_TERMINAL
  VERBATIM)
