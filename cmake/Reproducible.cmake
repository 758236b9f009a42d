# SPDX-License-Identifier: Apache-2.0
# The same sources give the same files in any folder: what the compiler writes down of paths (in
# debug information and __FILE__) counts from the root of the sources. Of two maps that fit, the
# compilers take the last one.
set(QORFP_PREFIX_MAP
  -ffile-prefix-map=${PROJECT_SOURCE_DIR}=.
  -ffile-prefix-map=${PROJECT_BINARY_DIR}=./build)

# Programs look for the library relative to themselves in the build folder too.
set(CMAKE_BUILD_RPATH_USE_ORIGIN ON)
