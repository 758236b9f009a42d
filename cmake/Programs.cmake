# SPDX-License-Identifier: Apache-2.0
# How the installed programs are compiled and linked, besides warnings. They read files from
# anywhere: the C library checks the sizes it can know of, and everything is bound and made read-only
# at load time. Files may be larger than 2 GB on 32-bit machines too.
add_library(qorfp_program INTERFACE)
target_compile_options(qorfp_program INTERFACE ${QORFP_PREFIX_MAP})
target_compile_definitions(qorfp_program INTERFACE _FILE_OFFSET_BITS=64)
target_link_options(qorfp_program INTERFACE -Wl,-z,relro -Wl,-z,now)
if(NOT QORFP_SANITIZE)
  target_compile_options(qorfp_program INTERFACE
    -fstack-protector-strong
    $<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE>
    $<$<NOT:$<CONFIG:Debug>>:-D_FORTIFY_SOURCE=2>)
endif()
