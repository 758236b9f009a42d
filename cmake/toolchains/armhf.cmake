# SPDX-License-Identifier: Apache-2.0
# 32-bit ARM, hard-float: ARMv7-A with NEON. The emulated Cortex-A9 has no instruction beyond that.
include(${CMAKE_CURRENT_LIST_DIR}/DebianCross.cmake)
debian_cross(arm-linux-gnueabihf armv7l qemu-arm -cpu cortex-a9)
set(CMAKE_C_FLAGS_INIT "-march=armv7-a -mfpu=neon -mfloat-abi=hard")
# The note concerns calls into objects of a compiler older than GCC 7.
set(CMAKE_CXX_FLAGS_INIT "${CMAKE_C_FLAGS_INIT} -Wno-psabi")
