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
if(QORFP_SANITIZE STREQUAL "memory")
  # The standard libraries of the tests do not tell MemorySanitizer what they write. So it watches the
  # library only, for which everything that its callers hand over counts as written.
  add_compile_options($<$<NOT:$<BOOL:$<TARGET_PROPERTY:QORFP_IS_WATCHED>>>:-fsanitize-ignorelist=${PROJECT_SOURCE_DIR}/tests/sanitizers/callers.ignore>)
  # Without these instructions extract/Vector.h does all in plain operators. Of those
  # MemorySanitizer knows what a zero in a mask or a product hides; of a sum of products in one
  # instruction it does not.
  add_compile_options($<$<COMPILE_LANGUAGE:CXX>:-U__SSE2__>)
endif()

# qorfp_sanitize_like_library(TARGET): what is for the library's own files and not for all.
function(qorfp_sanitize_like_library TARGET)
  set_target_properties(${TARGET} PROPERTIES QORFP_IS_WATCHED ON)
  if(QORFP_SANITIZE_LIBRARY)
    target_compile_options(${TARGET} PRIVATE
      -fsanitize=${QORFP_SANITIZE_LIBRARY} -fno-sanitize-recover=all)
  endif()
endfunction()
