# SPDX-License-Identifier: Apache-2.0
# musl on x86-64, with Debian's musl-tools. They wrap the C compiler only; the same wrapping serves
# the library, which is C++ without its standard library. Tools and tests need that: see
# QORFP_CXX_LIBRARY. The programs run without emulator.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(CMAKE_C_COMPILER musl-gcc)
set(CMAKE_CXX_COMPILER ${CMAKE_CURRENT_LIST_DIR}/musl-g++)
set(QORFP_CXX_LIBRARY ${CMAKE_CURRENT_LIST_DIR}/../../tests/musl/CxxLibrary.cmake)
