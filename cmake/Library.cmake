# SPDX-License-Identifier: Apache-2.0
# The library: one set of object files for the shared object that is shipped (qorfp) and for the
# static archive with all functions visible that tests and benchmarks link (qorfp_core).
find_package(Threads REQUIRED)

add_library(qorfp_objects OBJECT
  ${PROJECT_SOURCE_DIR}/api/Enrolment.cpp
  ${PROJECT_SOURCE_DIR}/api/Extraction.cpp
  ${PROJECT_SOURCE_DIR}/api/FingerCheck.cpp
  ${PROJECT_SOURCE_DIR}/api/Improvement.cpp
  ${PROJECT_SOURCE_DIR}/api/Interpolate.cpp
  ${PROJECT_SOURCE_DIR}/api/Log.cpp
  ${PROJECT_SOURCE_DIR}/api/Matching.cpp
  ${PROJECT_SOURCE_DIR}/api/QORFPApi.cpp
  ${PROJECT_SOURCE_DIR}/api/ScaleImage.cpp
  ${PROJECT_SOURCE_DIR}/api/Search.cpp
  ${PROJECT_SOURCE_DIR}/api/State.cpp
  ${PROJECT_SOURCE_DIR}/api/TemplateCheck.cpp
  ${PROJECT_SOURCE_DIR}/engine/FPEngine.cpp
  ${PROJECT_SOURCE_DIR}/engine/Template.cpp
  ${PROJECT_SOURCE_DIR}/extract/BinImage.cpp
  ${PROJECT_SOURCE_DIR}/extract/BinaryGradients.cpp
  ${PROJECT_SOURCE_DIR}/extract/BitRows.cpp
  ${PROJECT_SOURCE_DIR}/extract/BlockGradients.cpp
  ${PROJECT_SOURCE_DIR}/extract/BoxSmooth.cpp
  ${PROJECT_SOURCE_DIR}/extract/CalcDirA.cpp
  ${PROJECT_SOURCE_DIR}/extract/CalcDirB.cpp
  ${PROJECT_SOURCE_DIR}/extract/FPExtract.cpp
  ${PROJECT_SOURCE_DIR}/extract/FPTable.cpp
  ${PROJECT_SOURCE_DIR}/extract/GradientWindow.cpp
  ${PROJECT_SOURCE_DIR}/extract/HistMap.cpp
  ${PROJECT_SOURCE_DIR}/extract/LineFilter.cpp
  ${PROJECT_SOURCE_DIR}/extract/LineFilterTable.cpp
  ${PROJECT_SOURCE_DIR}/extract/Maths.cpp
  ${PROJECT_SOURCE_DIR}/extract/MinutiaeAssembly.cpp
  ${PROJECT_SOURCE_DIR}/extract/MinutiaeFilter.cpp
  ${PROJECT_SOURCE_DIR}/extract/MinutiaeRefine.cpp
  ${PROJECT_SOURCE_DIR}/extract/MinutiaeScan.cpp
  ${PROJECT_SOURCE_DIR}/extract/Orientation.cpp
  ${PROJECT_SOURCE_DIR}/extract/PrepareImage.cpp
  ${PROJECT_SOURCE_DIR}/extract/RemoveNoise.cpp
  ${PROJECT_SOURCE_DIR}/extract/RidgeDensity.cpp
  ${PROJECT_SOURCE_DIR}/extract/RidgeRayTable.cpp
  ${PROJECT_SOURCE_DIR}/extract/RidgeRepair.cpp
  ${PROJECT_SOURCE_DIR}/extract/RidgeTrace.cpp
  ${PROJECT_SOURCE_DIR}/extract/SkeletonTable.cpp
  ${PROJECT_SOURCE_DIR}/extract/SmoothRidge.cpp
  ${PROJECT_SOURCE_DIR}/extract/Thinning.cpp
  ${PROJECT_SOURCE_DIR}/match/Alignment.cpp
  ${PROJECT_SOURCE_DIR}/match/Bars.cpp
  ${PROJECT_SOURCE_DIR}/match/Correspondence.cpp
  ${PROJECT_SOURCE_DIR}/match/CrowdedLists.cpp
  ${PROJECT_SOURCE_DIR}/match/Fusion.cpp
  ${PROJECT_SOURCE_DIR}/match/FusionGeometry.cpp
  ${PROJECT_SOURCE_DIR}/match/Improve.cpp
  ${PROJECT_SOURCE_DIR}/match/IndexDifference.cpp
  ${PROJECT_SOURCE_DIR}/match/IndexKeys.cpp
  ${PROJECT_SOURCE_DIR}/match/IndexScore.cpp
  ${PROJECT_SOURCE_DIR}/match/IndexThinning.cpp
  ${PROJECT_SOURCE_DIR}/match/Match.cpp
  ${PROJECT_SOURCE_DIR}/match/MinutiaMean.cpp
  ${PROJECT_SOURCE_DIR}/match/Neighbours.cpp
  ${PROJECT_SOURCE_DIR}/match/Octagon.cpp
  ${PROJECT_SOURCE_DIR}/match/ProbeSets.cpp
  ${PROJECT_SOURCE_DIR}/match/ReferenceIndex.cpp
  ${PROJECT_SOURCE_DIR}/match/SimScore.cpp
  ${PROJECT_SOURCE_DIR}/match/Sort.cpp
  ${PROJECT_SOURCE_DIR}/match/Thresholds.cpp
  ${PROJECT_SOURCE_DIR}/match/TriIndex.cpp
  ${PROJECT_SOURCE_DIR}/preprocess/FPPreprocess.cpp
  ${PROJECT_SOURCE_DIR}/preprocess/Mean3x3.cpp
  ${PROJECT_SOURCE_DIR}/preprocess/Normalize9x9.cpp
  ${PROJECT_SOURCE_DIR}/preprocess/NormalizeImage.cpp
  ${PROJECT_SOURCE_DIR}/preprocess/PuttyImage.cpp
  ${PROJECT_SOURCE_DIR}/preprocess/SmoothImage.cpp)
# What these spend their time on is written with vectors; the loops beside them are short, or for
# other sizes and radii than extraction's, and are kept small.
set_source_files_properties(
  ${PROJECT_SOURCE_DIR}/api/Interpolate.cpp
  ${PROJECT_SOURCE_DIR}/api/ScaleImage.cpp
  ${PROJECT_SOURCE_DIR}/extract/CalcDirA.cpp
  ${PROJECT_SOURCE_DIR}/extract/CalcDirB.cpp
  ${PROJECT_SOURCE_DIR}/extract/RemoveNoise.cpp
  ${PROJECT_SOURCE_DIR}/preprocess/NormalizeImage.cpp
  ${PROJECT_SOURCE_DIR}/preprocess/PuttyImage.cpp
  ${PROJECT_SOURCE_DIR}/preprocess/SmoothImage.cpp
  PROPERTIES COMPILE_OPTIONS -fno-tree-vectorize)
# What runs once a call, or on a handful of minutiae: -O3 only makes copies of it (on ARM 10 KB).
set_source_files_properties(
  ${PROJECT_SOURCE_DIR}/api/FingerCheck.cpp
  ${PROJECT_SOURCE_DIR}/api/QORFPApi.cpp
  ${PROJECT_SOURCE_DIR}/api/Search.cpp
  ${PROJECT_SOURCE_DIR}/engine/FPEngine.cpp
  ${PROJECT_SOURCE_DIR}/extract/MinutiaeAssembly.cpp
  ${PROJECT_SOURCE_DIR}/extract/MinutiaeFilter.cpp
  ${PROJECT_SOURCE_DIR}/extract/MinutiaeRefine.cpp
  ${PROJECT_SOURCE_DIR}/extract/RidgeRepair.cpp
  ${PROJECT_SOURCE_DIR}/extract/RidgeTrace.cpp
  ${PROJECT_SOURCE_DIR}/match/Fusion.cpp
  ${PROJECT_SOURCE_DIR}/match/Improve.cpp
  ${PROJECT_SOURCE_DIR}/match/IndexKeys.cpp
  ${PROJECT_SOURCE_DIR}/match/ProbeSets.cpp
  PROPERTIES COMPILE_OPTIONS $<$<CONFIG:Release>:-O2>)
set_target_properties(qorfp_objects PROPERTIES
  POSITION_INDEPENDENT_CODE ON
  CXX_VISIBILITY_PRESET hidden
  VISIBILITY_INLINES_HIDDEN ON)
target_compile_options(qorfp_objects PRIVATE
  ${QORFP_PREFIX_MAP}
  # Stage after stage lays other records out in the same bytes.
  -fno-strict-aliasing
  -fno-exceptions -fno-rtti -fno-threadsafe-statics -ffunction-sections -fdata-sections
  # tests/abi reads types from it, whatever less the rest of a configuration is content with.
  $<$<CONFIG:Debug>:-g>)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  # GCC would add up in another order, with more vectors at a time than there are registers.
  set_source_files_properties(${PROJECT_SOURCE_DIR}/extract/LineFilter.cpp
    PROPERTIES COMPILE_OPTIONS -fno-tree-reassoc)
endif()
target_include_directories(qorfp_objects PUBLIC ${PROJECT_SOURCE_DIR})
target_link_libraries(qorfp_objects PRIVATE qorfp_warnings)
qorfp_sanitize_like_library(qorfp_objects)
if(QORFP_BUDGET)
  # GCC then writes call graph and frame sizes beside each object file, for tests/budget; the code
  # is the same. ccache would not keep these files.
  target_compile_options(qorfp_objects PRIVATE -fcallgraph-info=su)
  set_target_properties(qorfp_objects PROPERTIES CXX_COMPILER_LAUNCHER "")
endif()

# The version script names what is exported. Linking with --as-needed leaves out the C++ run-time
# libraries that the compiler driver adds. Everything is bound and made read-only at load time, and
# the library calls its own functions whatever else a program defines under their names (quickSort,
# say). tests/abi checks the finished file.
add_library(qorfp SHARED $<TARGET_OBJECTS:qorfp_objects>)
add_library(qorfp::qorfp ALIAS qorfp)
target_include_directories(qorfp INTERFACE
  $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>)
target_link_libraries(qorfp PRIVATE Threads::Threads)
set_target_properties(qorfp PROPERTIES
  VERSION ${PROJECT_VERSION}
  SOVERSION ${PROJECT_VERSION_MAJOR}
  LINK_DEPENDS ${PROJECT_SOURCE_DIR}/cmake/qorfp.map)
target_link_options(qorfp PRIVATE
  -Wl,--as-needed -Wl,--gc-sections -static-libgcc
  -Wl,-z,relro -Wl,-z,now -Wl,-z,noexecstack -Wl,-z,text -Wl,-Bsymbolic-functions
  -Wl,--version-script=${PROJECT_SOURCE_DIR}/cmake/qorfp.map)
if(NOT QORFP_SANITIZE)
  target_link_options(qorfp PRIVATE -Wl,--no-undefined)
endif()

add_library(qorfp_core STATIC $<TARGET_OBJECTS:qorfp_objects>)
target_include_directories(qorfp_core PUBLIC
  ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/include)
target_link_libraries(qorfp_core PUBLIC Threads::Threads)
