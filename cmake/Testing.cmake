# seg_mask_add_test(NAME name SOURCES file... [LIBRARIES target...] [LABELS label...])
#
# One GoogleTest program; each of its tests becomes a CTest test named "<name>.<suite>.<test>".

if(NOT SEG_MASK_BUILD_TESTS)
  function(seg_mask_add_test)
  endfunction()
  return()
endif()

enable_testing()
find_package(GTest REQUIRED)
include(GoogleTest)

set(_tsan_suppressions "${PROJECT_SOURCE_DIR}/cmake/tsan.supp")
set(SEG_MASK_TEST_ENVIRONMENT
  "ASAN_OPTIONS=detect_stack_use_after_return=1:strict_string_checks=1"
  "UBSAN_OPTIONS=print_stacktrace=1"
  "TSAN_OPTIONS=suppressions=${_tsan_suppressions}")

function(seg_mask_add_test)
  cmake_parse_arguments(ARG "" "NAME" "SOURCES;LIBRARIES;LABELS" ${ARGN})
  add_executable(${ARG_NAME} ${ARG_SOURCES})
  target_link_libraries(${ARG_NAME} PRIVATE ${ARG_LIBRARIES} GTest::gtest_main)
  gtest_discover_tests(${ARG_NAME}
    TEST_PREFIX "${ARG_NAME}."
    DISCOVERY_TIMEOUT 120
    PROPERTIES TIMEOUT 300 LABELS "${ARG_LABELS}" ENVIRONMENT "${SEG_MASK_TEST_ENVIRONMENT}")
endfunction()
