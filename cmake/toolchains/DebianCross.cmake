# SPDX-License-Identifier: Apache-2.0
# What the toolchain files for Debian's cross compilers (packages g++-TRIPLET) have in common. The
# programs run in QEMU's user emulation (qemu-user), on the C library that comes with the compiler.
#
#   debian_cross(TRIPLET PROCESSOR EMULATOR...)
macro(debian_cross TRIPLET PROCESSOR)
  set(CMAKE_SYSTEM_NAME Linux)
  set(CMAKE_SYSTEM_PROCESSOR ${PROCESSOR})
  set(CMAKE_C_COMPILER ${TRIPLET}-gcc)
  set(CMAKE_CXX_COMPILER ${TRIPLET}-g++)
  set(CMAKE_CROSSCOMPILING_EMULATOR ${ARGN} -L /usr/${TRIPLET})
endmacro()
