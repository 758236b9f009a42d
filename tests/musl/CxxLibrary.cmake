# SPDX-License-Identifier: Apache-2.0
#
# The compiler's C++ library for tools and tests on musl. Debian's libstdc++ is made for glibc. musl
# keeps to glibc's binary interface where it can; what it lacks is little, and is here: a header that
# comes before all others, and the library glibc_names. The library under test has none of this.
execute_process(COMMAND ${CMAKE_CXX_COMPILER} -dumpversion
  OUTPUT_VARIABLE LIBSTDCXX_VERSION OUTPUT_STRIP_TRAILING_WHITESPACE)
add_compile_options("$<$<COMPILE_LANGUAGE:CXX>:SHELL:\
-isystem /usr/include/c++/${LIBSTDCXX_VERSION} \
-isystem /usr/include/x86_64-linux-gnu/c++/${LIBSTDCXX_VERSION} \
-include ${CMAKE_CURRENT_LIST_DIR}/GlibcNames.h>")

add_library(glibc_names STATIC ${CMAKE_CURRENT_LIST_DIR}/GlibcNames.c)
target_compile_definitions(glibc_names PRIVATE _GNU_SOURCE)
target_link_libraries(glibc_names PRIVATE qorfp_warnings)
link_libraries($<$<LINK_LANGUAGE:CXX>:glibc_names>)
# Exceptions find their handlers through a table. The names are wanted before libstdc++ asks for them.
add_link_options("$<$<LINK_LANGUAGE:CXX>:SHELL:-static-libstdc++ \
-Wl,--eh-frame-hdr,--wrap=__newlocale,-u,__libc_single_threaded>")

# Header-only packages, without glibc's headers that lie beside them.
file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/headers)
file(CREATE_LINK /usr/include/CLI ${PROJECT_BINARY_DIR}/headers/CLI SYMBOLIC)
add_library(CLI11::CLI11 INTERFACE IMPORTED)
target_include_directories(CLI11::CLI11 SYSTEM INTERFACE ${PROJECT_BINARY_DIR}/headers)
