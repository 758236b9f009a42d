# SPDX-License-Identifier: Apache-2.0
# 64-bit ARM.
include(${CMAKE_CURRENT_LIST_DIR}/DebianCross.cmake)
debian_cross(aarch64-linux-gnu aarch64 qemu-aarch64 -cpu cortex-a53)
