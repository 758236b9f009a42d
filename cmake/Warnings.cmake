# SPDX-License-Identifier: Apache-2.0
# Warnings and sanitizers of every target of this project.
add_library(qorfp_warnings INTERFACE)
target_compile_options(qorfp_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wundef -Wvla
  $<$<COMPILE_LANGUAGE:CXX>:-Wold-style-cast -Wmissing-declarations>
  $<$<BOOL:${QORFP_WERROR}>:-Werror>)
if(QORFP_SANITIZE)
  add_compile_options(-fsanitize=${QORFP_SANITIZE} -fno-sanitize-recover=all
                      -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${QORFP_SANITIZE})
endif()
