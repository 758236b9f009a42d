# SPDX-License-Identifier: Apache-2.0
# IBM Z: the big-endian machine that shows that nothing depends on the order of bytes in memory.
include(${CMAKE_CURRENT_LIST_DIR}/DebianCross.cmake)
debian_cross(s390x-linux-gnu s390x qemu-s390x)
