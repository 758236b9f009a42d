# SPDX-License-Identifier: Apache-2.0
# 32-bit ARM, hard-float: ARMv7-A without NEON, the least that Debian's armhf asks for. A NEON
# instruction ends the emulated program.
include(${CMAKE_CURRENT_LIST_DIR}/DebianCross.cmake)
debian_cross(arm-linux-gnueabihf armv7l qemu-arm -cpu cortex-a9,neon=off)
set(CMAKE_C_FLAGS_INIT "-march=armv7-a -mfpu=vfpv3-d16 -mfloat-abi=hard")
# The note concerns calls into objects of a compiler older than GCC 7.
set(CMAKE_CXX_FLAGS_INIT "${CMAKE_C_FLAGS_INIT} -Wno-psabi")
