include(GoogleTest)

# quarn_test_layer(<layer> [LINK <libs>] [MAIN <source>] [COMPUTES] [PRECOMPILE <headers>])
#
# One test program from every *_test.cpp of the calling folder; each TEST is one entry of ctest, labelled with the layer.
# Without MAIN the program uses GoogleTest's own main(). With QUARN_PRECOMPILE the headers that most of them include are
# read once. QUARN_TEST_FLAGS are the compiler flags of tests alone: most of the time of a build goes into optimising and
# watching what a test does once; those that say COMPUTES, as they compare with loops over many voxels, do without.
function(quarn_test_layer layer)
  cmake_parse_arguments(arg "COMPUTES" "MAIN" "LINK;PRECOMPILE" ${ARGN})
  file(GLOB_RECURSE sources CONFIGURE_DEPENDS "${CMAKE_CURRENT_SOURCE_DIR}/*.cpp" "${CMAKE_CURRENT_SOURCE_DIR}/*.h")
  add_executable(test_${layer} ${sources})
  target_link_libraries(test_${layer} PRIVATE ${arg_LINK} quarn_compiler GTest::gmock
    $<IF:$<BOOL:${arg_MAIN}>,GTest::gtest,GTest::gtest_main>)
  target_include_directories(test_${layer} PRIVATE "${PROJECT_SOURCE_DIR}")
  target_compile_definitions(test_${layer} PRIVATE
    QUARN_SOURCE_DIR="${PROJECT_SOURCE_DIR}" QUARN_BINARY_DIR="${PROJECT_BINARY_DIR}")
  if(NOT arg_COMPUTES)
    separate_arguments(flags UNIX_COMMAND "${QUARN_TEST_FLAGS}")
    target_compile_options(test_${layer} PRIVATE ${flags})
  endif()
  if(QUARN_PRECOMPILE)
    target_precompile_headers(test_${layer} PRIVATE <gmock/gmock.h> <gtest/gtest.h> <algorithm> <functional> <memory>
      <random> <string> <vector> ${arg_PRECOMPILE})
    target_compile_options(test_${layer} PRIVATE ${QUARN_PRECOMPILED_OPTIONS})
  endif()
  gtest_discover_tests(test_${layer} TEST_PREFIX "${layer}." DISCOVERY_MODE PRE_TEST
    PROPERTIES LABELS ${layer} TIMEOUT 300 ENVIRONMENT "QT_QPA_PLATFORM=offscreen;LC_ALL=C.UTF-8")
endfunction()
